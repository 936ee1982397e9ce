#include "tools/process/process_checks.h"

#include <fmt/format.h>

#include "orvel/img/all_formats.h"
#include "tools/errors.h"
#include "tools/media/frame_shape.h"
#include "tools/process/working_format.h"

namespace OrvelTool {
namespace {

using namespace Orvel;

[[noreturn]] void refuse(std::string_view where, std::string_view what, std::string_view hint) {
    throw ToolError(ExitCode::refused, where, what, hint);
}

int down(int value, int unit) {
    return value / unit * unit;
}

std::string sizeText(int width, int height) {
    return fmt::format("{}x{}", width, height);
}

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

void checkScan(const ProcessPlan& plan, const ClipInfo& source) {
    if (source.scan == Scan::mixed)
        refuse("--field-order", "interlaced and progressive pictures mixed are processed one way only",
               "say which with --field-order tff, bff or progressive");
    if (plan.deinterlace == DeinterlaceTypeNone || source.interlaced()) return;
    refuse("--deinterlace",
           source.scan == Scan::unknown ? "nothing tells that the source is interlaced" : "the source is progressive",
           "if it is interlaced, say which field comes first: --field-order tff or bff");
}

// A line of 4:2:0 chroma belongs to the field that its number tells, and so do the lines of luma: only multiples of 4
// keep both. A cut of 4:2:2 may begin with either field; on a canvas the engine goes up to an even line by itself.
void checkFields(const ClipInfo& source, const FormatInfo& working, const Rectangle& crop, const Rectangle& place,
                 bool fieldsInOutput) {
    const char* why = "the chroma of the two fields would change places";
    if (source.interlaced() && source.format->halfHeightChroma) checkMultiple("--crop", "Y", crop.y, 4, why);
    if (fieldsInOutput && working.halfHeightChroma && down(place.y, 2) % 4 != 0)
        checkMultiple("--place", "Y", place.y, 4, why);
}

void checkDeinterlacer(const ProcessPlan& plan, const FormatInfo& working, const Rectangle& crop) {
    if (plan.deinterlace == DeinterlaceTypeNone) return;
    const bool triangle = plan.deinterlace == DeinterlaceTypeTriangle, blend = plan.deinterlace == DeinterlaceTypeBlend;
    if (working.classBpp > 1 && !triangle)
        refuse("--deinterlace", "this method is for 8-bit pictures only",
               "use triangle, or convert the clip to uyvy first (orvelvis convert)");
    // Each plane must have the lines that the filter looks at.
    const int lines = triangle ? 3 : blend ? 1 : 2;
    const int least = working.halfHeightChroma ? 2 * lines - 1 : lines;
    if (crop.width < 2 || crop.height < least)
        refuse("--deinterlace", fmt::format("{} is too small for this method", sizeText(crop.width, crop.height)),
               fmt::format("it needs 2 columns and {} lines", least));
}

void checkRate(const ProcessPlan& plan, const ClipInfo& source) {
    if (!plan.rate) return;
    if (!source.rate) refuse("--fps", "the rate of the source is unknown", "say it with --rate, such as --rate 25");
    const bool changes =
        std::uint64_t{plan.rate->num} * source.rate->den != std::uint64_t{source.rate->num} * plan.rate->den;
    if (changes && source.interlaced() && plan.deinterlace == DeinterlaceTypeNone)
        refuse("--fps", "pictures repeated, mixed or left out would break the cadence of their fields",
               "make them progressive with --deinterlace");
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

void checkFilter(const ProcessPlan& plan, const ClipInfo& source, const FormatInfo& working, Size picture,
                 bool fields) {
    if (!plan.denoise) return;
    const FormatInfo& filtered = formatOf<I420Img>();
    if (&working != &filtered)
        refuse("--denoise", fmt::format("the filter is for 8-bit 4:2:0, not for {} pictures", working.name),
               takesAs(filtered, *source.format) ? "add --working i420"
                                                 : "convert the clip to i420 first (orvelvis convert)");
    const int lines = fields ? 64 : 32;
    if (picture.width % 2 != 0 || picture.width < 64 || picture.height < lines)
        refuse("--denoise",
               fmt::format("{}{} is no size for the filter", sizeText(picture.width, picture.height),
                           fields ? " interlaced" : ""),
               fmt::format("it needs an even width of 64 columns or more and {} lines", lines));
}

void checkSizes(const FormatInfo& working, const Rectangle& crop, Size canvas, const Rectangle& place) {
    for (const auto& [option, width, height] :
         {std::tuple("--crop", crop.width, crop.height), std::tuple("--canvas", canvas.width, canvas.height),
          std::tuple("--scale", place.width, place.height)})
        if (const auto problem = sizeProblem(working, width, height); !problem.empty())
            refuse(option, problem, "choose another size");
}

}  // namespace

template <class T>
void checkProcess(const ProcessPlan& plan, const ClipInfo& source, const ProcessVideoParams<T>& p) {
    const Rectangle crop{p.cropWidth, p.cropHeight, p.cropX, p.cropY};
    const Rectangle place{p.dstCropWidth, p.dstCropHeight, p.dstCropX, p.dstCropY};
    const FormatInfo& working = formatOf<T>();
    checkWithin("--crop", crop, p.srcWidth, p.srcHeight, "picture");
    checkWithin("--place", place, p.dstWidth, p.dstHeight, "canvas");
    checkSizes(working, crop, {p.dstWidth, p.dstHeight}, place);
    checkScan(plan, source);
    checkFields(source, working, crop, place, !p.dstProgressive);
    checkDeinterlacer(plan, working, crop);
    checkRate(plan, source);
    checkCut(source, working, crop);
    checkScaling(p);
    checkFilter(plan, source, working, {p.dstWidth, p.dstHeight}, !p.dstProgressive);
}

template void checkProcess(const ProcessPlan&, const ClipInfo&, const ProcessVideoParams<I420Img>&);
template void checkProcess(const ProcessPlan&, const ClipInfo&, const ProcessVideoParams<YV16Img>&);
template void checkProcess(const ProcessPlan&, const ClipInfo&, const ProcessVideoParams<HY16Img>&);

}  // namespace OrvelTool
