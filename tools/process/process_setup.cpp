#include "tools/process/process_setup.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <numeric>
#include <type_traits>
#include <utility>

#include "orvel/img/all_formats.h"
#include "orvel/pipeline/process_video.h"
#include "tools/errors.h"
#include "tools/media/frame_shape.h"
#include "tools/process/process_checks.h"

namespace OrvelTool {
namespace {

using namespace Orvel;

std::optional<Ratio> reduced(std::uint64_t num, std::uint64_t den) {
    const std::uint64_t common = std::gcd(num, den);
    constexpr std::uint64_t limit = std::numeric_limits<std::int32_t>::max();
    if (common == 0 || num / common > limit || den / common > limit) return std::nullopt;
    return Ratio{static_cast<std::uint32_t>(num / common), static_cast<std::uint32_t>(den / common)};
}

/// num / den, of rates that the user gave or that follow from them.
Ratio rateOf(const char* option, std::uint64_t num, std::uint64_t den) {
    if (const auto ratio = reduced(num, den)) return *ratio;
    throw ToolError(ExitCode::refused, option, fmt::format("{}/{} is more than can be counted", num, den),
                    "give the source a simpler --rate");
}

Rectangle destination(const ProcessPlan& plan, Size canvas, Size picture) {
    if (plan.place) return *plan.place;
    if (!plan.scale) return {canvas.width, canvas.height, 0, 0};
    // Multiples of 4 keep chroma samples whole and the fields of 4:2:0 where they are.
    const auto centred = [](int outer, int inner) { return std::max(0, outer - inner) / 2 / 4 * 4; };
    return {picture.width, picture.height, centred(canvas.width, picture.width),
            centred(canvas.height, picture.height)};
}

template <class T>
void fillGeometry(const ProcessPlan& plan, const ClipInfo& source, ProcessVideoParams<T>& p) {
    p.srcWidth = source.width;
    p.srcHeight = source.height;
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
    if (plan.interp) p.resizeInterp = *plan.interp;
}

template <class T>
void fillBackground(const ProcessPlan& plan, ProcessVideoParams<T>& p) {
    // The engine paints plane 1 with backgroundU, and plane 1 of YV16 is V.
    const bool vFirst = std::is_same_v<T, YV16Img>;
    p.backgroundY = plan.background[0];
    p.backgroundU = plan.background[vFirst ? 2 : 1];
    p.backgroundV = plan.background[vFirst ? 1 : 2];
}

template <class T>
void fillRates(const ProcessPlan& plan, const ClipInfo& source, ProcessVideoParams<T>& p) {
    if (source.rate) {
        p.srcFrameRateNum = source.rate->num;
        p.srcFrameRateDen = source.rate->den;
    }
    p.frameRateBlend = plan.rateBlend;
    if (plan.rate) {
        p.dstFrameRateNum = plan.rate->num;
        p.dstFrameRateDen = plan.rate->den;
    }
}

template <class T>
void fillFilter(const ProcessPlan& plan, ProcessVideoParams<T>& p) {
    p.mctfEnable = plan.denoise.has_value();
    p.mctfParams.strength = plan.denoise.value_or(p.mctfParams.strength);
    p.mctfParams.me.poolThreads = plan.threads;
}

/// The whole plan as the fields of one engine.
template <class T>
ProcessVideoParams<T> fill(const ProcessPlan& plan, const ClipInfo& source) {
    ProcessVideoParams<T> p;
    fillGeometry(plan, source, p);
    fillBackground(plan, p);
    fillRates(plan, source, p);
    fillFilter(plan, p);
    p.srcProgressive = !source.interlaced();
    p.dstProgressive = p.srcProgressive || plan.deinterlace != DeinterlaceTypeNone;
    if (plan.deinterlace != DeinterlaceTypeNone) p.deinterlaceType = plan.deinterlace;
    p.keepUserData = true;  // pictures are followed by it
    return p;
}

// The engine calls its deinterlacer once a picture, so at double rate that stands between two engines: p is divided
// into the one that cuts and converts and the one that does the rest, for pictures of the cut at twice the rate.
template <class T>
ProcessVideoParams<T> takeFront(ProcessVideoParams<T>& p) {
    ProcessVideoParams<T> front;
    front.srcWidth = std::exchange(p.srcWidth, p.cropWidth);
    front.srcHeight = std::exchange(p.srcHeight, p.cropHeight);
    front.cropX = std::exchange(p.cropX, 0);
    front.cropY = std::exchange(p.cropY, 0);
    front.cropWidth = p.cropWidth;
    front.cropHeight = p.cropHeight;
    front.srcProgressive = front.dstProgressive = false;
    front.keepUserData = p.keepUserData;
    const Ratio twice = rateOf("--double-rate", std::uint64_t{2} * p.srcFrameRateNum, p.srcFrameRateDen);
    p.srcFrameRateNum = twice.num;
    p.srcFrameRateDen = twice.den;
    p.srcProgressive = true;
    return front;
}

// Equal rates written differently would have the engine convert one to the other.
template <class T>
void dropIdleRate(ProcessVideoParams<T>& p) {
    if (std::uint64_t{p.dstFrameRateNum} * p.srcFrameRateDen == std::uint64_t{p.srcFrameRateNum} * p.dstFrameRateDen)
        p.dstFrameRateNum = p.dstFrameRateDen = 0;
}

template <class T>
ProcessVideoParams<T> completed(const ProcessVideoParams<T>& params) {
    ProcessVideoParams<T> complete;
    if (!ProcessVideo<T>::validateParams(complete, params))
        throw ToolError(
            ExitCode::refused, "process",
            fmt::format("the engine refuses a {}x{} source with these options", params.srcWidth, params.srcHeight),
            "try without --place and --canvas");
    DeinterlaceImgParams::deleteDealloc(complete.deinterlaceParams);
    return complete;
}

/// The order of the fields in pictures that are cut from source.
Scan scanOfCut(const ProcessPlan& plan, const ClipInfo& source) {
    const bool swapped = plan.crop && plan.crop->y % 2 != 0;
    if (swapped && source.scan == Scan::topFirst) return Scan::bottomFirst;
    if (swapped && source.scan == Scan::bottomFirst) return Scan::topFirst;
    return source.scan;
}

std::vector<SetupNote> notesOn(const ProcessPlan& plan, const ClipInfo& source) {
    std::vector<SetupNote> notes;
    const Scan cut = scanOfCut(plan, source);
    if (cut != source.scan)
        notes.push_back(
            {"--crop", fmt::format("Y {} is odd, so the fields change places: what is cut is {} field first",
                                   plan.crop->y, cut == Scan::topFirst ? "top" : "bottom")});
    if (source.interlaced() && plan.deinterlace == DeinterlaceTypeNone && plan.place && plan.place->y % 2 != 0)
        notes.push_back({"--place", fmt::format("Y {} becomes {}: pictures with two fields begin on an even line",
                                                plan.place->y, plan.place->y - 1)});
    return notes;
}

/// @param p the plan as the fields of one engine.
template <class T>
ClipInfo processedInfo(const ProcessPlan& plan, const ClipInfo& source, const ProcessVideoParams<T>& p) {
    ClipInfo info = source;
    info.format = &formatOf<T>();
    info.width = p.dstWidth;
    info.height = p.dstHeight;
    info.scan = plan.deinterlace != DeinterlaceTypeNone ? Scan::progressive : scanOfCut(plan, source);
    if (source.pixel) {
        const auto wide = static_cast<std::uint64_t>(p.cropWidth) * static_cast<std::uint64_t>(p.dstCropHeight);
        const auto high = static_cast<std::uint64_t>(p.cropHeight) * static_cast<std::uint64_t>(p.dstCropWidth);
        info.pixel = reduced(wide * source.pixel->num, high * source.pixel->den);
    }
    return info;
}

}  // namespace

template <class T>
ProcessSetup<T> setUpProcess(const ProcessPlan& plan, const ClipInfo& source) {
    ProcessSetup<T> setup;
    ProcessVideoParams<T>& engine = setup.engine;
    engine = fill<T>(plan, source);
    checkProcess(plan, source, engine);
    setup.topFirst = scanOfCut(plan, source) != Scan::bottomFirst;
    setup.output = processedInfo(plan, source, engine);
    setup.notes = notesOn(plan, source);
    // The blend deinterlacer and the filter each need a picture before the first one they make.
    setup.ends.firstField = plan.denoise && plan.doubleRate;
    setup.ends.first = (plan.deinterlace == DeinterlaceTypeBlend) + (plan.denoise && !plan.doubleRate);

    const ProcessVideoParams<T> asked = engine;
    if (plan.doubleRate) setup.front = completed(takeFront(engine));
    dropIdleRate(engine);
    engine = completed(engine);
    if (plan.rate || plan.doubleRate) setup.output.rate = Ratio{engine.dstFrameRateNum, engine.dstFrameRateDen};
    setup.ends.yield = rateOf("--fps", std::uint64_t{engine.dstFrameRateNum} * asked.srcFrameRateDen,
                              std::uint64_t{engine.dstFrameRateDen} * asked.srcFrameRateNum);
    return setup;
}

template ProcessSetup<I420Img> setUpProcess(const ProcessPlan&, const ClipInfo&);
template ProcessSetup<YV16Img> setUpProcess(const ProcessPlan&, const ClipInfo&);
template ProcessSetup<HY16Img> setUpProcess(const ProcessPlan&, const ClipInfo&);

}  // namespace OrvelTool
