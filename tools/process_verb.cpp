#include <fmt/format.h>
#include <tbb/global_control.h>

#include <memory>
#include <optional>

#include "orvel/pipeline/process_video.h"
#include "tools/errors.h"
#include "tools/format_converter.h"
#include "tools/media/frame_writer.h"
#include "tools/media/open_media.h"
#include "tools/process_plan.h"
#include "tools/progress.h"
#include "tools/verbs.h"

namespace OrvelTool {
namespace {

using namespace Orvel;

struct ProcessOptions {
    std::string input, output, outputFormat, working;
    InputOptions source;
    ProcessTexts texts;
    int threads = 0;
};

// Pushes the clip through the engine; take receives each finished picture.
template <class T, class Take>
void pump(ProcessVideo<T>& engine, FrameSource& source, const Take& take) {
    const ClipInfo& info = source.info();
    const auto picture = makePicture(*info.format, info.width, info.height);
    for (std::int64_t frame = 0; source.read(*picture); ++frame) {
        bool ok = false;
        for (T* out = engine.process(*picture, ok); out != nullptr; out = engine.isOutputAvailable(ok)) {
            take(*out);
            engine.returnImg(out);
        }
        if (!ok)
            throw ToolError(ExitCode::refused, source.name(), fmt::format("frame {} cannot be processed", frame),
                            "the picture may be too small for the scaling method; try --interp linear");
    }
}

template <class T>
void processAs(const ProcessOptions& options, FrameSource& source) {
    auto params = planParams<T>(parsePlan(options.texts), source.info());
    ProcessVideo<T> engine;
    if (!engine.allocate(params))
        throw ToolError(ExitCode::refused, source.name(), "the engine cannot be set up for these sizes and this method",
                        "try --interp linear or other sizes");

    ClipInfo info = processedInfo(source.info(), params);
    const OutputKind kind = outputKind(options.output, options.outputFormat, *info.format);
    FormatConverter converter(*info.format, *kind.format, info.width, info.height, {info.interlaced(), false});
    info.container = kind.container;
    info.format = kind.format;
    info.oddChroma = kind.container == Container::y4m ? OddChroma::up : parseOddChroma(options.source.oddChroma);
    FrameWriter writer(options.output, info);
    Progress progress("process", source.info().frames);
    pump(engine, source, [&](T& picture) {
        writer.write(converter.convert(picture));
        progress.step();
    });
    writer.finish();
}

void processClip(const ProcessOptions& options) {
    std::optional<tbb::global_control> limit;
    if (options.threads > 0)
        limit.emplace(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(options.threads));
    const auto source = openSource(options.input, options.source);
    switch (workingFormat(source->info(), options.working).code) {
        case I420Img::getClassFormat():
            return processAs<I420Img>(options, *source);
        case YV16Img::getClassFormat():
            return processAs<YV16Img>(options, *source);
        default:
            return processAs<HY16Img>(options, *source);
    }
}

}  // namespace

void addProcess(CLI::App& program) {
    auto* verb = program.add_subcommand("process", "Cut, scale and place the pictures of a clip");
    auto options = std::make_shared<ProcessOptions>();
    verb->add_option("INPUT", options->input, "file, or - for standard input")->required();
    verb->add_option("OUTPUT", options->output, "file, or - for standard output")->required();
    verb->add_option("--output-format", options->outputFormat,
                     "y4m, i420, yv16, hy16, uyvy, yuyv, v216 or bgr; else by extension (- is Y4M)");

    const std::string group = "Processing";
    ProcessTexts& texts = options->texts;
    verb->add_option("--crop", texts.crop, "WxH+X+Y: the part of the source that is used")->group(group);
    auto* scale = verb->add_option("--scale", texts.scale, "WxH: size of the picture afterwards")->group(group);
    auto* canvas = verb->add_option("--canvas", texts.canvas, "WxH: size of the output around it")->group(group);
    verb->add_option("--place", texts.place, "WxH+X+Y: where the picture goes on the canvas, scaled to this size")
        ->group(group)
        ->needs(canvas)
        ->excludes(scale);
    verb->add_option("--background", texts.background, "Y,U,V of the canvas, default 16,128,128")
        ->group(group)
        ->needs(canvas);
    verb->add_option("--interp", texts.interp, "scaling method: " + interpNames())->group(group);
    verb->add_option("--working", options->working, "i420, yv16 or hy16; default: the closest to the source")
        ->group(group);
    verb->add_option("--threads", options->threads, "at most so many")->check(CLI::Range(1, 1024))->group(group);
    addInputOptions(*verb, options->source);
    verb->callback([options] { processClip(*options); });
}

}  // namespace OrvelTool
