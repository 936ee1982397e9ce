#include <fmt/format.h>
#include <tbb/global_control.h>

#include <memory>
#include <optional>

#include "orvel/img/all_formats.h"
#include "tools/errors.h"
#include "tools/format_converter.h"
#include "tools/media/open_media.h"
#include "tools/process/clip_run.h"
#include "tools/process/process_chain.h"
#include "tools/process/process_setup.h"
#include "tools/process/working_format.h"
#include "tools/verbs.h"

namespace OrvelTool {
namespace {

using namespace Orvel;

struct ProcessOptions {
    std::string input, working;
    ClipOutput output;
    InputOptions source;
    ProcessTexts texts;
};

template <class T>
void processAs(const ProcessOptions& options, FrameSource& source) {
    const ProcessPlan plan = parsePlan(options.texts);
    const ProcessSetup<T> setup = setUpProcess<T>(plan, source.info());
    ProcessChain chain(setup);

    const ClipInfo& info = setup.output;
    const OutputKind kind = outputKind(options.output, *info.format);
    FormatConverter converter(*info.format, *kind.format, info.width, info.height, {info.interlaced(), false});
    FrameWriter writer = openOutput(options.output, kind, info, options.source);
    for (const auto& [option, text] : setup.notes) notice(option, text);

    ClipRun run(source, engineInput(source.info(), *info.format), chain,
                [&](Img& picture) { writer.write(converter.convert(picture)); });
    run.wholeClip(plan.repeatEnds ? std::optional(setup.ends) : std::nullopt);
    writer.finish();
    fmt::print(stderr, "orvelvis: process: {}\n", run.ledger().text());
}

void processClip(const ProcessOptions& options) {
    std::optional<tbb::global_control> limit;
    if (options.texts.threads > 0)
        limit.emplace(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(options.texts.threads));
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

void addGeometry(Verb& verb, ProcessTexts& texts) {
    const std::string group = "Geometry";
    verb.addOption("--crop", texts.crop, "WxH+X+Y: the part of the source that is used").group(group);
    verb.addOption("--scale", texts.scale, "WxH: size of the picture afterwards").group(group);
    verb.addOption("--canvas", texts.canvas, "WxH: size of the output around it").group(group);
    verb.addOption("--place", texts.place, "WxH+X+Y: where the picture goes on the canvas, scaled to this size")
        .group(group)
        .needs("--canvas")
        .excludes("--scale");
    verb.addOption("--background", texts.background, "Y,U,V of the canvas, default 16,128,128")
        .group(group)
        .needs("--canvas");
    verb.addOption("--interp", texts.interp, "scaling method: " + interpNames()).group(group);
}

void addFieldsAndRate(Verb& verb, ProcessTexts& texts) {
    const std::string group = "Fields and rate";
    verb.addOption("--deinterlace", texts.deinterlace,
                   "what becomes of interlaced pictures: off (default) keeps them interlaced, triangle filters "
                   "vertically, cavt adapts to the content, blend also to the motion over three pictures; 16-bit "
                   "pictures: triangle only")
        .group(group);
    verb.addFlag("--keep-interlaced", texts.keepInterlaced, "the same as --deinterlace off").group(group);
    verb.addFlag("--double-rate", texts.doubleRate, "with --deinterlace blend: a picture of each field").group(group);
    verb.addOption("--fps", texts.rate, "pictures a second of the output, such as 50 or 30000/1001").group(group);
    verb.addOption("--fps-mode", texts.rateMode,
                   "how they are made: blend mixes neighbours, nearest repeats or drops; auto (default) blends when "
                   "the rate goes up")
        .group(group)
        .needs("--fps");
    verb.addOption("--ends", texts.ends,
                   "at the ends of the clip, where blend, --denoise and --fps lack a neighbour: drop (default) what "
                   "cannot be made, or repeat the first and last picture, so that the output lasts as long as the clip")
        .group(group);
}

void addNoise(Verb& verb, ProcessTexts& texts) {
    verb.addOption("--denoise", texts.denoise,
                   "filter noise with the motion from picture to picture; strength 0 (copies) to 7; 8-bit 4:2:0 "
                   "only, others with --working i420; the first picture serves the second one only, unless --ends "
                   "repeat brings it out")
        .range(0, 7)
        .group("Noise");
}

}  // namespace

void addProcess(Verb& program) {
    Verb verb =
        program.addVerb("process", "Cut, deinterlace, scale, place and denoise a clip's pictures, change their rate");
    auto options = std::make_shared<ProcessOptions>();
    addInput(verb, options->input);
    addClipOutput(verb, options->output);

    const std::string group = "Processing";
    verb.addOption("--working", options->working, "i420, yv16 or hy16; default: the closest to the source")
        .group(group);
    verb.addOption("--threads", options->texts.threads, "at most so many").range(1, 1024).group(group);
    addGeometry(verb, options->texts);
    addFieldsAndRate(verb, options->texts);
    addNoise(verb, options->texts);
    addInputOptions(verb, options->source);
    verb.action([options] { processClip(*options); });
}

}  // namespace OrvelTool
