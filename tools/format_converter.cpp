#include "tools/format_converter.h"

#include <fmt/format.h>

#include <algorithm>
#include <deque>
#include <map>

#include "orvel/convert/convert_img.h"
#include "orvel/img/all_formats.h"
#include "tools/errors.h"
#include "tools/media/frame_shape.h"

namespace OrvelTool {
namespace {

using namespace Orvel;

// One conversion of the library.
struct Step {
    std::uint32_t from, to;
    bool fieldAware;   // right for interlaced pictures
    bool pairsOfRows;  // an odd height would leave the last row unwritten
    bool subsampled;   // needs two columns
    bool (*run)(Img& dst, Img& src, const ConversionMode& mode);
};

template <class To, class From, class Convert>
constexpr Step step(bool fieldAware, bool pairsOfRows, bool subsampled, Convert) {
    return {From::getClassFormat(),
            To::getClassFormat(),
            fieldAware,
            pairsOfRows,
            subsampled,
            [](Img& dst, Img& src, const ConversionMode& mode) {
                return Convert{}(static_cast<To&>(dst), static_cast<From&>(src), mode);
            }};
}

using Mode = ConversionMode;
// Direct conversions and, by the steps' order, which of two equally short routes is taken.
constexpr Step steps[] = {
    step<I420Img, UYVYImg>(true, true, true,
                           [](auto& d, auto& s, const Mode& m) { return ConvertImg::UYVYToI420(d, s, m.interlaced); }),
    step<YV16Img, UYVYImg>(true, false, true,
                           [](auto& d, auto& s, const Mode&) { return ConvertImg::UYVYToYV16(d, s); }),
    step<YUYVImg, UYVYImg>(true, false, true,
                           [](auto& d, auto& s, const Mode&) { return ConvertImg::UYVYToYUYV(d, s); }),
    step<V216Img, UYVYImg>(true, false, true,
                           [](auto& d, auto& s, const Mode&) { return ConvertImg::UYVYToV216(d, s); }),
    step<BGRImg, UYVYImg>(true, false, false,
                          [](auto& d, auto& s, const Mode& m) { return ConvertImg::UYVYToBGR(d, s, m.hdtv); }),
    step<UYVYImg, YUYVImg>(true, false, true,
                           [](auto& d, auto& s, const Mode&) { return ConvertImg::YUYVToUYVY(d, s); }),
    step<YV16Img, YUYVImg>(true, false, true,
                           [](auto& d, auto& s, const Mode&) { return ConvertImg::YUYVToYV16(d, s); }),
    step<I420Img, YUYVImg>(false, true, true,
                           [](auto& d, auto& s, const Mode&) { return ConvertImg::YUYVToI420(d, s); }),
    step<UYVYImg, I420Img>(true, true, true,
                           [](auto& d, auto& s, const Mode& m) { return ConvertImg::I420ToUYVY(d, s, m.interlaced); }),
    step<YV16Img, I420Img>(true, true, true,
                           [](auto& d, auto& s, const Mode& m) { return ConvertImg::I420ToYV16(d, s, m.interlaced); }),
    step<YUYVImg, I420Img>(false, true, true,
                           [](auto& d, auto& s, const Mode&) { return ConvertImg::I420ToYUYV(d, s); }),
    step<BGRImg, I420Img>(false, false, false,
                          [](auto& d, auto& s, const Mode& m) { return ConvertImg::I420ToBGR(d, s, m.hdtv); }),
    step<UYVYImg, YV16Img>(true, false, true,
                           [](auto& d, auto& s, const Mode&) { return ConvertImg::YV16ToUYVY(d, s); }),
    step<YUYVImg, YV16Img>(true, false, true,
                           [](auto& d, auto& s, const Mode&) { return ConvertImg::YV16ToYUYV(d, s); }),
    step<V216Img, HY16Img>(true, false, true,
                           [](auto& d, auto& s, const Mode&) { return ConvertImg::HY16ToV216(d, s); }),
    step<HY16Img, V216Img>(true, false, true,
                           [](auto& d, auto& s, const Mode&) { return ConvertImg::V216ToHY16(d, s); }),
    step<UYVYImg, V216Img>(true, false, true,
                           [](auto& d, auto& s, const Mode&) { return ConvertImg::V216ToUYVY(d, s); }),
    step<UYVYImg, BGRImg>(true, false, false,
                          [](auto& d, auto& s, const Mode& m) { return ConvertImg::BGRToUYVY(d, s, m.hdtv); }),
};

// Between the ends only 4:2:2: 4:2:0 would lose chroma rows and RGB would round. UYVY is the one 8-bit format that
// reaches every other, so a route that has to go through 8 bits has an 8-bit end.
bool mayPass(std::uint32_t format) {
    return format != I420Img::getClassFormat() && format != BGRImg::getClassFormat();
}

std::vector<const Step*> shortestRoute(std::uint32_t from, std::uint32_t to, bool interlaced) {
    std::map<std::uint32_t, const Step*> reachedBy{{from, nullptr}};
    for (std::deque<std::uint32_t> waiting{from}; !waiting.empty() && !reachedBy.contains(to); waiting.pop_front())
        for (const Step& step : steps) {
            const bool open =
                step.from == waiting.front() && (step.fieldAware || !interlaced) && (step.to == to || mayPass(step.to));
            if (open && reachedBy.try_emplace(step.to, &step).second) waiting.push_back(step.to);
        }
    std::vector<const Step*> route;
    for (auto at = to; at != from; at = route.back()->from) route.push_back(reachedBy.at(at));
    std::reverse(route.begin(), route.end());
    return route;
}

void checkSize(const Step& step, int width, int height) {
    const FormatInfo& to = *findFormat(step.to);
    const std::string what = fmt::format("{} to {} at {}x{}", findFormat(step.from)->name, to.name, width, height);
    const auto refuse = [&](std::string_view why, std::string_view hint) {
        throw ToolError(ExitCode::refused, what, why, hint);
    };
    if (step.pairsOfRows && height % 2 != 0)
        refuse("the odd last row has no chroma partner", "cut the picture to an even height first (process --crop)");
    if (step.subsampled && width < 2) refuse("a width below 2 has no chroma", "use a wider picture");
    if (const auto problem = sizeProblem(to, width, height); !problem.empty())
        refuse(problem,
               to.evenWidthOnly ? "cut the picture to an even width first (process --crop)" : "use a smaller size");
}

}  // namespace

struct FormatConverter::Stage {
    const Step* step;
    std::unique_ptr<Img> result;
};

FormatConverter::FormatConverter(const FormatInfo& from, const FormatInfo& to, int width, int height,
                                 ConversionMode mode)
    : first_(from.name), mode_(mode) {
    const auto route = shortestRoute(from.code, to.code, mode.interlaced);
    for (const Step* step : route) checkSize(*step, width, height);
    for (const Step* step : route) stages_.push_back({step, makePicture(*findFormat(step->to), width, height)});
}

FormatConverter::~FormatConverter() = default;

Img& FormatConverter::convert(Img& picture) {
    Img* current = &picture;
    for (const Stage& stage : stages_) {
        if (!stage.step->run(*stage.result, *current, mode_))
            throw ToolError(ExitCode::refused, route(), "the conversion failed");
        current = stage.result.get();
    }
    return *current;
}

std::string FormatConverter::route() const {
    std::string text = first_;
    for (const Stage& stage : stages_) text += fmt::format(" > {}", findFormat(stage.step->to)->name);
    return text;
}

}  // namespace OrvelTool
