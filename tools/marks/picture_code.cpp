#include "tools/marks/picture_code.h"

#include <fmt/format.h>

#include "orvel/img/i420_img.h"
#include "orvel/img/yv16_img.h"
#include "orvel/watermark/readable_time_code.h"
#include "orvel/watermark/unified_watermark_interlace.h"
#include "tools/errors.h"
#include "tools/marks/code_clock.h"

namespace OrvelTool {
namespace {

using namespace Orvel;

/// Calls body with the picture as what it is.
template <class Body>
auto asCarrier(Img& picture, const Body& body) {
    if (picture.getFormat() == I420Img::getClassFormat()) return body(static_cast<I420Img&>(picture));
    return body(static_cast<YV16Img&>(picture));
}

template <class T>
std::optional<CodeReading> readFrame(T& picture) {
    UnifiedWatermark<T> mark;
    CodeReading reading;
    if (!mark.decode(picture, reading.code)) return std::nullopt;
    reading.bitsFault = findTimeCodeBitsFault(mark.bits());
    return reading;
}

template <class T>
std::optional<CodeReading> readField(T& picture, FieldFrameSelect field) {
    UnifiedWatermarkInterlace<T> mark;
    CodeReading reading;
    if (!mark.decode(picture, field, reading.code)) return std::nullopt;
    reading.bitsFault = findTimeCodeBitsFault(mark.bits());
    return reading;
}

}  // namespace

void requireRoomForCode(const std::string& clip, const ClipInfo& info, const FormatInfo& format, bool fields) {
    constexpr int least = UnifiedWatermark<I420Img>::smallestSide;
    const int width = info.width / 2, lines = fields ? info.height / 2 : info.height;
    const int rows = format.halfHeightChroma ? (info.height + 1) / 2 / (fields ? 2 : 1) : lines;
    if (width >= least && rows >= least) return;
    throw ToolError(
        ExitCode::refused, clip,
        fmt::format("chroma of {}x{} samples{} has no room for a time code", width, rows, fields ? " a field" : ""),
        fmt::format("{0}x{0} are needed: scale the clip up (process --scale)", least));
}

void CodeStamp::write(Img& picture, const TimeCodeValue& code) {
    const bool stamped = asCarrier(
        picture, [&](auto& carrier) { return fields_ ? stampFields(carrier, code) : stampFrame(carrier, code); });
    if (!stamped) throw ToolError(ExitCode::refused, codeText(code), "the picture cannot be stamped");
}

template <class T>
bool CodeStamp::stampFrame(T& picture, const TimeCodeValue& code) {
    UnifiedWatermark<T> mark;
    tagSIZE room;
    if (!mark.encode(picture, code, &room)) return false;
    // Of a pair the text tells the pictures apart as it tells fields.
    const FieldFrameSelect select = code.topField ? FieldFrameTop : FieldFrameBoth;
    return !readable_ || (renderReadable(code, select, room, strip_) && mark.encodeReadable(picture, strip_));
}

template <class T>
bool CodeStamp::stampFields(T& picture, const TimeCodeValue& code) {
    UnifiedWatermarkInterlace<T> mark;
    tagSIZE room;
    if (!mark.encode(picture, code, &room)) return false;
    for (const FieldFrameSelect field : {FieldFrameTop, FieldFrameBottom})
        if (readable_ && (!renderReadable(code, field, room, strip_) || !mark.encodeReadable(picture, field, strip_)))
            return false;
    return true;
}

PictureReading readCodes(Img& picture, bool fields) {
    return asCarrier(picture, [&](auto& carrier) -> PictureReading {
        if (!fields) return {readFrame(carrier), std::nullopt};
        return {readField(carrier, FieldFrameTop), readField(carrier, FieldFrameBottom)};
    });
}

}  // namespace OrvelTool
