#include <memory>

#include "orvel/img/i420_img.h"
#include "tools/analyze/clip_analysis.h"
#include "tools/errors.h"
#include "tools/format_converter.h"
#include "tools/media/open_media.h"
#include "tools/progress.h"
#include "tools/record_writer.h"
#include "tools/verbs.h"

namespace OrvelTool {
namespace {

using Orvel::I420Img;

constexpr const char* recordHelp =
    R"(A record for each frame. All but its number tells how it compares with the frame before; for the first frame that
is empty (CSV) or null (JSON).
  frame           counted from 0
  mean_cost       sum of absolute luma differences that the best match of an 8x8 block leaves, mean of all blocks
  noise           figure of the noise filter: on a still picture about 90, 190, 320, 520 for white noise of
                  deviation 2, 6, 20, 28
  level           of the filter for this frame: --denoise, changed by the noise of the frame before (0 for frame 1):
                  lower below 180, at strength 2 and 3 also below 275; higher above 375 and 575
  scene_cut       1 when a scene begins: mean_cost above 100 and three times its mean over up to five frames of
                  the scene before; else 0, always so for frame 1 and for the frame after a cut
  mean_x, mean_y  mean vector in pixels, right and down, from a block to its match in the frame before: it points
                  left where things move right
Luma counts, in 8 bits. Of interlaced clips the top fields are compared, and mean_y is in lines of a field. Frames stay
as they are; the filter compares with frames that it has filtered, so its own noise and level can be lower.)";

struct AnalyzeOptions {
    std::string input;
    RecordOutput output;
    InputOptions source;
    int strength = 3;
};

std::vector<RecordValue> record(std::int64_t frame, const std::optional<PictureMeasures>& measures) {
    if (!measures) return {frame, {}, {}, {}, {}, {}, {}};
    return {frame,
            measures->meanCost,
            double{measures->noise},
            std::int64_t{measures->level},
            std::int64_t{measures->sceneCut},
            measures->meanX,
            measures->meanY};
}

void analyzeClip(const AnalyzeOptions& options) {
    const auto source = openSource(options.input, options.source);
    const ClipInfo& info = source->info();
    const bool fields = info.interlaced();
    FormatConverter converter(*info.format, formatOf<I420Img>(), info.width, info.height, {fields, false});
    ClipAnalysis analysis(info.width, fields ? (info.height + 1) / 2 : info.height, options.strength);
    RecordWriter writer(options.output, {"frame", "mean_cost", "noise", "level", "scene_cut", "mean_x", "mean_y"});
    if (fields) notice(source->name(), "frames hold two fields: the top fields are analysed");

    Progress progress("analyze", info.frames);
    const auto picture = makePicture(*info.format, info.width, info.height);
    I420Img top;
    for (std::int64_t number = 0; source->read(*picture); ++number) {
        auto& frame = static_cast<I420Img&>(converter.convert(*picture));
        if (fields) frame.getTopFieldShadow(top);
        writer.write(record(number, analysis.next(fields ? top : frame)));
        progress.step();
    }
    writer.finish();
}

}  // namespace

void addAnalyze(Verb& program) {
    Verb verb = program.addVerb("analyze", "Measure motion, noise and scene cuts of a clip, frame by frame");
    auto options = std::make_shared<AnalyzeOptions>();
    verb.footer(recordHelp);
    addInput(verb, options->input);
    addRecordOutput(verb, options->output);
    verb.addOption("--denoise", options->strength, "strength that the noise filter would be given, 0 to 7; default 3")
        .range(0, 7);
    addInputOptions(verb, options->source);
    verb.action([options] { analyzeClip(*options); });
}

}  // namespace OrvelTool
