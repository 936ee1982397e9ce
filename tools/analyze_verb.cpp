#include <memory>

#include "orvel/img/i420_img.h"
#include "tools/analyze/clip_analysis.h"
#include "tools/analyze/record_writer.h"
#include "tools/errors.h"
#include "tools/format_converter.h"
#include "tools/media/open_media.h"
#include "tools/progress.h"
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
    std::string input, output = "-", form;
    InputOptions source;
    int strength = 3;
};

void analyzeClip(const AnalyzeOptions& options) {
    const auto source = openSource(options.input, options.source);
    const ClipInfo& info = source->info();
    const bool fields = info.interlaced();
    FormatConverter converter(*info.format, formatOf<I420Img>(), info.width, info.height, {fields, false});
    ClipAnalysis analysis(info.width, fields ? (info.height + 1) / 2 : info.height, options.strength);
    RecordWriter writer(options.output, recordForm(options.output, options.form));
    if (fields) notice(source->name(), "frames hold two fields: the top fields are analysed");

    Progress progress("analyze", info.frames);
    const auto picture = makePicture(*info.format, info.width, info.height);
    I420Img top;
    while (source->read(*picture)) {
        auto& frame = static_cast<I420Img&>(converter.convert(*picture));
        if (fields) frame.getTopFieldShadow(top);
        writer.write(analysis.next(fields ? top : frame));
        progress.step();
    }
    writer.finish();
}

}  // namespace

void addAnalyze(CLI::App& program) {
    auto* verb = program.add_subcommand("analyze", "Measure motion, noise and scene cuts of a clip, frame by frame");
    auto options = std::make_shared<AnalyzeOptions>();
    verb->footer(recordHelp);
    verb->add_option("INPUT", options->input, "file, or - for standard input")->required();
    verb->add_option("OUTPUT", options->output, "file, or - for standard output (default)");
    verb->add_option("--output-format,--to", options->form, "csv or json; else by extension, .json or CSV")
        ->check(CLI::IsMember({"csv", "json"}));
    verb->add_option("--denoise", options->strength, "strength that the noise filter would be given, 0 to 7; default 3")
        ->check(CLI::Range(0, 7));
    addInputOptions(*verb, options->source);
    verb->callback([options] { analyzeClip(*options); });
}

}  // namespace OrvelTool
