#include "tools/marks/marked_clip.h"

#include <fmt/format.h>

#include <memory>
#include <new>

#include "orvel/img/all_formats.h"
#include "tools/errors.h"
#include "tools/format_converter.h"
#include "tools/progress.h"

namespace OrvelTool {
namespace {

using namespace Orvel;

/// Rows lie a row's bytes apart: block value marks count on that.
std::unique_ptr<Img> makeTightPicture(const ClipInfo& info) {
    auto picture = makePicture(*info.format, info.width, info.height);
    for (int plane = 0; plane < picture->numPlanes(); ++plane)
        if (!picture->allocatePlane(plane, picture->getWidth(plane), picture->getHeight(plane), 1,
                                    picture->getBpp(plane)))
            throw std::bad_alloc();
    return picture;
}

ConversionMode modeOf(const MarkedClip& clip) {
    return {clip.fields || clip.source.info().interlaced(), false};
}

FormatConverter converterTo(const MarkedClip& clip, const FormatInfo& from, const FormatInfo& to) {
    const ClipInfo& info = clip.source.info();
    return FormatConverter(from, to, info.width, info.height, modeOf(clip));
}

void forEachPicture(const MarkedClip& clip, const UsePicture& use) {
    const ClipInfo& info = clip.source.info();
    FormatConverter toCarrier = converterTo(clip, *info.format, carrierOf(clip));
    const auto picture = makeTightPicture(info);
    Progress progress(clip.label, info.frames);
    for (std::int64_t frame = 0; clip.source.read(*picture); ++frame) {
        use(toCarrier.convert(*picture), frame);
        progress.step();
    }
}

void requireLossless(const MarkedClip& clip) {
    const ClipInfo& info = clip.source.info();
    const FormatInfo& format = *info.format;
    const auto refuse = [&](const std::string& what, const char* hint) {
        throw ToolError(ExitCode::refused, clip.source.name(), what, hint);
    };
    const bool eightBitYuv = format.classBpp == format.channels && format.channels < 3;
    if (!eightBitYuv)
        refuse(fmt::format("pictures of {} would lose more than the mark covers", formatDescription(format)),
               "marks are for 8-bit YUV: convert the clip first (convert --to uyvy)");
    if (info.width % 2 != 0 && &carrierOf(clip) != &format)
        refuse(fmt::format("the last chroma sample of the odd width {} would be lost", info.width),
               "cut the pictures to an even width first (process --crop)");
}

}  // namespace

const FormatInfo& carrierOf(const MarkedClip& clip) {
    const FormatInfo& format = *clip.source.info().format;
    return format.code == I420Img::getClassFormat() ? format : clip.of422;
}

void readMarks(const MarkedClip& clip, const UsePicture& use) {
    forEachPicture(clip, use);
}

void writeMarks(const MarkedClip& clip, const ClipOutput& output, const InputOptions& options, const UsePicture& mark) {
    requireLossless(clip);
    const OutputKind kind = outputKind(output, *clip.source.info().format);
    FormatConverter toOutput = converterTo(clip, carrierOf(clip), *kind.format);
    FrameWriter writer = openOutput(output, kind, clip.source.info(), options);
    forEachPicture(clip, [&](Img& picture, std::int64_t frame) {
        mark(picture, frame);
        writer.write(toOutput.convert(picture));
    });
    writer.finish();
}

}  // namespace OrvelTool
