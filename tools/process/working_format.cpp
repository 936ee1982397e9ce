#include "tools/process/working_format.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "orvel/img/all_formats.h"
#include "tools/errors.h"
#include "tools/media/frame_shape.h"

namespace OrvelTool {
namespace {

using namespace Orvel;

struct Acceptance {
    std::uint32_t working, source;
};
// The first working format of a source is the default.
constexpr Acceptance acceptances[] = {
    {I420Img::getClassFormat(), I420Img::getClassFormat()}, {YV16Img::getClassFormat(), YV16Img::getClassFormat()},
    {YV16Img::getClassFormat(), UYVYImg::getClassFormat()}, {YV16Img::getClassFormat(), YUYVImg::getClassFormat()},
    {I420Img::getClassFormat(), UYVYImg::getClassFormat()}, {I420Img::getClassFormat(), YUYVImg::getClassFormat()},
    {HY16Img::getClassFormat(), HY16Img::getClassFormat()}, {HY16Img::getClassFormat(), V216Img::getClassFormat()},
};

}  // namespace

const FormatInfo& workingFormat(const ClipInfo& source, const std::string& name) {
    const FormatInfo* wanted = name.empty() ? nullptr : findFormatByName(name);
    if (!name.empty() && (wanted == nullptr || wanted->planes != 3))
        throw ToolError(ExitCode::usage, "--working", fmt::format("{} is no working format", name),
                        "i420, yv16 and hy16 are");
    std::string choices;
    for (const auto& [working, format] : acceptances) {
        if (format != source.format->code) continue;
        const FormatInfo& info = *findFormat(working);
        if (wanted == nullptr || wanted == &info) return info;
        choices += fmt::format("{}--working {}", choices.empty() ? "" : " or ", lowerName(info));
    }
    if (choices.empty())
        throw ToolError(ExitCode::refused, "process", fmt::format("{} pictures are not processed", source.format->name),
                        "convert the clip to uyvy first (orvelvis convert)");
    throw ToolError(ExitCode::refused, "--working",
                    fmt::format("{} pictures are not processed as {}", source.format->name, name), "use " + choices);
}

bool takesAs(const FormatInfo& working, const FormatInfo& source) {
    return std::any_of(std::begin(acceptances), std::end(acceptances),
                       [&](const Acceptance& a) { return a.working == working.code && a.source == source.code; });
}

const FormatInfo& engineInput(const ClipInfo& source, const FormatInfo& working) {
    const bool yuyv = source.format->code == YUYVImg::getClassFormat();
    return yuyv && source.interlaced() && working.halfHeightChroma ? formatOf<UYVYImg>() : *source.format;
}

}  // namespace OrvelTool
