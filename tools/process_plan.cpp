#include "tools/process_plan.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <numeric>

#include "orvel/img/all_formats.h"
#include "orvel/pipeline/process_video.h"
#include "tools/errors.h"
#include "tools/media/frame_shape.h"

namespace OrvelTool {
namespace {

using namespace Orvel;

struct InterpName {
    const char* name;
    ResizeInterp interp;
};
constexpr InterpName interps[] = {
    {"nearest", ResizeInterpNearest},
    {"linear", ResizeInterpLinear},
    {"cubic", ResizeInterpCubic},
    {"super", ResizeInterpSuper},
    {"supersampling", ResizeInterpSuperSampling},
    {"lanczos", ResizeInterpLanczos},
    {"lanczos-filter", ResizeInterpLanczosFilter},
    {"hann-filter", ResizeInterpHannFilter},
};

struct Acceptance {
    std::uint32_t working, source;
    bool interlaced;  // fields are kept apart
};
// The first working format of a source is the default.
constexpr Acceptance acceptances[] = {
    {I420Img::getClassFormat(), I420Img::getClassFormat(), true},
    {YV16Img::getClassFormat(), YV16Img::getClassFormat(), true},
    {YV16Img::getClassFormat(), UYVYImg::getClassFormat(), true},
    {YV16Img::getClassFormat(), YUYVImg::getClassFormat(), true},
    {I420Img::getClassFormat(), UYVYImg::getClassFormat(), true},
    {I420Img::getClassFormat(), YUYVImg::getClassFormat(), false},
    {HY16Img::getClassFormat(), HY16Img::getClassFormat(), true},
    {HY16Img::getClassFormat(), V216Img::getClassFormat(), true},
};

[[noreturn]] void refuse(std::string_view where, std::string_view what, std::string_view hint) {
    throw ToolError(ExitCode::refused, where, what, hint);
}

int down(int value, int unit) {
    return value / unit * unit;
}

std::string sizeText(int width, int height) {
    return fmt::format("{}x{}", width, height);
}

// ---- from the plan to the engine's fields

Rectangle destination(const ProcessPlan& plan, Size canvas, Size picture) {
    if (plan.place) return *plan.place;
    if (!plan.scale) return {canvas.width, canvas.height, 0, 0};
    // Multiples of 4 keep chroma samples whole and the fields of 4:2:0 where they are.
    return {picture.width, picture.height, down(std::max(0, canvas.width - picture.width) / 2, 4),
            down(std::max(0, canvas.height - picture.height) / 2, 4)};
}

template <class T>
ProcessVideoParams<T> fill(const ProcessPlan& plan, const ClipInfo& source) {
    ProcessVideoParams<T> p;
    p.srcWidth = source.width;
    p.srcHeight = source.height;
    p.srcProgressive = p.dstProgressive = !source.interlaced();
    if (source.rate) {
        p.srcFrameRateNum = source.rate->num;
        p.srcFrameRateDen = source.rate->den;
    }
    const Rectangle crop = plan.crop.value_or(Rectangle{source.width, source.height, 0, 0});
    p.cropX = crop.x;
    p.cropY = crop.y;
    p.cropWidth = crop.width;
    p.cropHeight = crop.height;
    const Size picture = plan.scale.value_or(Size{crop.width, crop.height});
    const Size canvas = plan.canvas.value_or(picture);
    const Rectangle place = destination(plan, canvas, picture);
    p.dstWidth = canvas.width;
    p.dstHeight = canvas.height;
    p.dstCropX = place.x;
    p.dstCropY = place.y;
    p.dstCropWidth = place.width;
    p.dstCropHeight = place.height;
    // The engine paints plane 1 with backgroundU, and plane 1 of YV16 is V.
    const bool vFirst = std::is_same_v<T, YV16Img>;
    p.backgroundY = plan.background[0];
    p.backgroundU = plan.background[vFirst ? 2 : 1];
    p.backgroundV = plan.background[vFirst ? 1 : 2];
    if (plan.interp) p.resizeInterp = *plan.interp;
    return p;
}

// ---- refusals

void checkWithin(const char* option, const Rectangle& r, int width, int height, const char* outer) {
    if (r.x + r.width > width || r.y + r.height > height)
        refuse(option,
               fmt::format("{}x{}+{}+{} leaves the {} of {}x{}", r.width, r.height, r.x, r.y, outer, width, height),
               fmt::format("the right edge is at {} and the lower at {}", r.x + r.width, r.y + r.height));
}

void checkMultiple(const char* option, const char* what, int value, int unit, const char* why) {
    if (value % unit != 0)
        refuse(option, fmt::format("{} {}: {}", what, value, why),
               fmt::format("use {} or {}", down(value, unit), down(value, unit) + unit));
}

void checkFields(const ClipInfo& source, const FormatInfo& working, const Rectangle& crop, const Rectangle& place) {
    if (!source.interlaced()) return;
    const char* why = "lines of the two fields would change places";
    checkMultiple("--crop", "Y", crop.y, source.format->halfHeightChroma ? 4 : 2, why);
    checkMultiple("--place", "Y", place.y, working.halfHeightChroma ? 4 : 2, why);
}

// The engine copies and converts whole samples: each plane of the cut must have the size of the picture it goes to.
void checkCut(const ClipInfo& source, const FormatInfo& working, const Rectangle& crop) {
    const FormatInfo& from = *source.format;
    if (from.planes == 1) {
        checkMultiple("--crop", "X", crop.x, 2, "the pixels of a pair share their chroma");
        if (working.halfHeightChroma) checkMultiple("--crop", "height", crop.height, 2, "4:2:0 needs pairs of lines");
        return;
    }
    if (crop.width == source.width && crop.height == source.height) return;  // nothing is cut
    const auto picture = makePicture(from, source.width, source.height);
    const auto target = makePicture(working, crop.width, crop.height);
    Img cut;
    picture->getShadowRoi(cut, {crop.x, crop.y}, {crop.width, crop.height});
    for (int plane = 1; plane < from.planes; ++plane) {
        if (cut.getWidth(plane) == target->getWidth(plane) && cut.getHeight(plane) == target->getHeight(plane))
            continue;
        refuse("--crop",
               fmt::format("{} cannot be cut from {} {}: it divides a chroma sample", sizeText(crop.width, crop.height),
                           from.name, sizeText(source.width, source.height)),
               source.width % 2 != 0 ? "use an odd width and an even height" : "use an even height");
    }
}

template <class T>
void checkScaling(const ProcessVideoParams<T>& p) {
    const bool scaled = p.cropWidth != p.dstCropWidth || p.cropHeight != p.dstCropHeight;
    const bool wholeCanvas = p.dstCropWidth == p.dstWidth && p.dstCropHeight == p.dstHeight;
    if (!scaled && !wholeCanvas)
        refuse("--canvas",
               fmt::format("{} around a picture that stays {}: only scaled pictures are placed on a canvas",
                           sizeText(p.dstWidth, p.dstHeight), sizeText(p.cropWidth, p.cropHeight)),
               "scale it, be it by two pixels (--scale or --place with another size), or leave --canvas out");
    if (!scaled) return;
    const std::string what =
        fmt::format("from {} to {}", sizeText(p.cropWidth, p.cropHeight), sizeText(p.dstCropWidth, p.dstCropHeight));
    const auto is = [&](auto... codes) { return ((p.resizeInterp == codes) || ...); };
    if (is(ResizeInterpSuper, ResizeInterpSuperSampling) &&
        (p.dstCropWidth > p.cropWidth || p.dstCropHeight > p.cropHeight))
        refuse("--interp", "this method only reduces, not " + what, "use cubic or lanczos");
    if (p.is16Bit && is(ResizeInterpSuperSampling, ResizeInterpLanczosFilter, ResizeInterpHannFilter))
        refuse("--interp", "this method is for 8-bit pictures only", "use super, cubic or lanczos");
}

void checkSizes(const FormatInfo& working, const Rectangle& crop, Size canvas, const Rectangle& place) {
    for (const auto& [option, width, height] :
         {std::tuple("--crop", crop.width, crop.height), std::tuple("--canvas", canvas.width, canvas.height),
          std::tuple("--scale", place.width, place.height)})
        if (const auto problem = sizeProblem(working, width, height); !problem.empty())
            refuse(option, problem, "choose another size");
}

template <class T>
void check(const ProcessVideoParams<T>& p, const ClipInfo& source) {
    const Rectangle crop{p.cropWidth, p.cropHeight, p.cropX, p.cropY};
    const Rectangle place{p.dstCropWidth, p.dstCropHeight, p.dstCropX, p.dstCropY};
    const FormatInfo& working = formatOf<T>();
    if (source.scan == Scan::mixed)
        refuse("--scan", "interlaced and progressive pictures mixed are processed one way only",
               "say which with --scan tff, bff or progressive");
    checkWithin("--crop", crop, p.srcWidth, p.srcHeight, "picture");
    checkWithin("--place", place, p.dstWidth, p.dstHeight, "canvas");
    checkSizes(working, crop, {p.dstWidth, p.dstHeight}, place);
    checkFields(source, working, crop, place);
    checkCut(source, working, crop);
    checkScaling(p);
}

std::optional<Ratio> scaledAspect(const Ratio& pixel, std::uint64_t num, std::uint64_t den) {
    num *= pixel.num;
    den *= pixel.den;
    const std::uint64_t common = std::gcd(num, den);
    constexpr std::uint64_t limit = std::numeric_limits<std::int32_t>::max();
    if (common == 0 || num / common > limit || den / common > limit) return std::nullopt;
    return Ratio{static_cast<std::uint32_t>(num / common), static_cast<std::uint32_t>(den / common)};
}

}  // namespace

ProcessPlan parsePlan(const ProcessTexts& texts) {
    ProcessPlan plan;
    if (!texts.crop.empty()) plan.crop = parseRectangle("--crop", texts.crop);
    if (!texts.scale.empty()) plan.scale = parseSize("--scale", texts.scale);
    if (!texts.canvas.empty()) plan.canvas = parseSize("--canvas", texts.canvas);
    if (!texts.place.empty()) plan.place = parseRectangle("--place", texts.place);
    if (!texts.background.empty()) plan.background = parseColour("--background", texts.background);
    if (texts.interp.empty() || texts.interp == "auto") return plan;
    for (const auto& [name, interp] : interps)
        if (texts.interp == name) plan.interp = interp;
    if (!plan.interp)
        throw ToolError(ExitCode::usage, "--interp", fmt::format("{} is unknown", texts.interp),
                        interpNames() + " are known");
    return plan;
}

std::string interpNames() {
    std::string names = "auto";
    for (const auto& entry : interps) names += fmt::format(", {}", entry.name);
    return names;
}

const FormatInfo& workingFormat(const ClipInfo& source, const std::string& name) {
    const FormatInfo* wanted = name.empty() ? nullptr : findFormatByName(name);
    if (!name.empty() && (wanted == nullptr || wanted->planes != 3))
        throw ToolError(ExitCode::usage, "--working", fmt::format("{} is no working format", name),
                        "i420, yv16 and hy16 are");
    std::string choices;
    for (const auto& [working, format, interlaced] : acceptances) {
        if (format != source.format->code || (source.interlaced() && !interlaced)) continue;
        const FormatInfo& info = *findFormat(working);
        if (wanted == nullptr || wanted == &info) return info;
        choices += fmt::format("{}--working {}", choices.empty() ? "" : " or ", lowerName(info));
    }
    const char* kind = source.interlaced() ? "interlaced " : "";
    if (choices.empty())
        refuse("process", fmt::format("{}{} pictures are not processed", kind, source.format->name),
               "convert the clip to uyvy first (orvelvis convert)");
    refuse("--working", fmt::format("{}{} pictures are not processed as {}", kind, source.format->name, name),
           "use " + choices);
}

template <class T>
ProcessVideoParams<T> planParams(const ProcessPlan& plan, const ClipInfo& source) {
    const ProcessVideoParams<T> params = fill<T>(plan, source);
    check(params, source);
    ProcessVideoParams<T> complete;
    if (!ProcessVideo<T>::validateParams(complete, params))
        refuse("process",
               fmt::format("the engine refuses a {} source with these options", sizeText(source.width, source.height)),
               "try without --place and --canvas");
    return complete;
}

template <class T>
ClipInfo processedInfo(const ClipInfo& source, const ProcessVideoParams<T>& params) {
    ClipInfo info = source;
    info.format = &formatOf<T>();
    info.width = params.dstWidth;
    info.height = params.dstHeight;
    if (source.pixel)
        info.pixel = scaledAspect(
            *source.pixel,
            static_cast<std::uint64_t>(params.cropWidth) * static_cast<std::uint64_t>(params.dstCropHeight),
            static_cast<std::uint64_t>(params.cropHeight) * static_cast<std::uint64_t>(params.dstCropWidth));
    return info;
}

template ProcessVideoParams<I420Img> planParams(const ProcessPlan&, const ClipInfo&);
template ProcessVideoParams<YV16Img> planParams(const ProcessPlan&, const ClipInfo&);
template ProcessVideoParams<HY16Img> planParams(const ProcessPlan&, const ClipInfo&);
template ClipInfo processedInfo(const ClipInfo&, const ProcessVideoParams<I420Img>&);
template ClipInfo processedInfo(const ClipInfo&, const ProcessVideoParams<YV16Img>&);
template ClipInfo processedInfo(const ClipInfo&, const ProcessVideoParams<HY16Img>&);

}  // namespace OrvelTool
