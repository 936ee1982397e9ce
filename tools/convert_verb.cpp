#include <memory>

#include "tools/errors.h"
#include "tools/format_converter.h"
#include "tools/media/frame_writer.h"
#include "tools/media/open_media.h"
#include "tools/progress.h"
#include "tools/verbs.h"

namespace OrvelTool {
namespace {

struct ConvertOptions {
    std::string input, output, outputFormat, matrix = "601";
    InputOptions source;
    bool interlaced = false;
};

void convertClip(const ConvertOptions& options) {
    const auto source = openSource(options.input, options.source);
    ClipInfo info = source->info();
    const Orvel::FormatInfo& from = *info.format;
    const OutputKind kind = outputKind(options.output, options.outputFormat, from);
    const ConversionMode mode{options.interlaced || info.interlaced(), options.matrix == "709"};
    FormatConverter converter(from, *kind.format, info.width, info.height, mode);

    info.container = kind.container;
    info.format = kind.format;
    info.oddChroma = kind.container == Container::y4m ? OddChroma::up : parseOddChroma(options.source.oddChroma);
    FrameWriter writer(options.output, info);
    Progress progress("convert", info.frames);
    const auto picture = makePicture(from, info.width, info.height);
    while (source->read(*picture)) {
        writer.write(converter.convert(*picture));
        progress.step();
    }
    writer.finish();
}

}  // namespace

void addConvert(CLI::App& program) {
    auto* verb = program.add_subcommand("convert", "Change the layout of a clip's pictures, frame by frame");
    auto options = std::make_shared<ConvertOptions>();
    verb->add_option("INPUT", options->input, "file, or - for standard input")->required();
    verb->add_option("OUTPUT", options->output, "file, or - for standard output")->required();
    verb->add_option("--output-format,--to", options->outputFormat,
                     "y4m, i420, yv16, hy16, uyvy, yuyv, v216 or bgr; else by extension (- is Y4M)");
    verb->add_flag("--interlaced", options->interlaced,
                   "resample chroma within fields; what a Y4M header tells counts too");
    verb->add_option("--matrix", options->matrix,
                     "RGB: 601 (BT.601, RGB 0..255) or 709 (BT.709, RGB 16..235); default 601")
        ->check(CLI::IsMember({"601", "709"}));
    addInputOptions(*verb, options->source);
    verb->callback([options] { convertClip(*options); });
}

}  // namespace OrvelTool
