#include <memory>

#include "tools/errors.h"
#include "tools/format_converter.h"
#include "tools/media/open_media.h"
#include "tools/progress.h"
#include "tools/verbs.h"

namespace OrvelTool {
namespace {

struct ConvertOptions {
    std::string input, matrix = "601";
    ClipOutput output;
    InputOptions source;
    bool interlaced = false;
};

void convertClip(const ConvertOptions& options) {
    const auto source = openSource(options.input, options.source);
    const ClipInfo& info = source->info();
    const Orvel::FormatInfo& from = *info.format;
    const OutputKind kind = outputKind(options.output, from);
    const ConversionMode mode{options.interlaced || info.interlaced(), options.matrix == "709"};
    FormatConverter converter(from, *kind.format, info.width, info.height, mode);

    FrameWriter writer = openOutput(options.output, kind, info, options.source);
    Progress progress("convert", info.frames);
    const auto picture = makePicture(from, info.width, info.height);
    while (source->read(*picture)) {
        writer.write(converter.convert(*picture));
        progress.step();
    }
    writer.finish();
}

}  // namespace

void addConvert(Verb& program) {
    Verb verb = program.addVerb("convert", "Change the layout of a clip's pictures, frame by frame");
    auto options = std::make_shared<ConvertOptions>();
    addInput(verb, options->input);
    addClipOutput(verb, options->output);
    verb.addFlag("--interlaced", options->interlaced,
                 "resample chroma within fields; what a Y4M header tells counts too");
    verb.addOption("--matrix", options->matrix,
                   "RGB: 601 (BT.601, RGB 0..255) or 709 (BT.709, RGB 16..235); default 601")
        .oneOf({"601", "709"});
    addInputOptions(verb, options->source);
    verb.action([options] { convertClip(*options); });
}

}  // namespace OrvelTool
