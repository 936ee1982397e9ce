#include <fmt/format.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/media/open_media.h"
#include "tools/record_writer.h"
#include "tools/verbs.h"

namespace OrvelTool {
namespace {

struct ProbeOptions {
    std::string input;
    InputOptions source;
    bool json = false;
};

// Frames of a pipe have to be read to be counted.
std::int64_t countFrames(FrameSource& source) {
    if (source.info().frames) return *source.info().frames;
    const auto picture = makePicture(*source.info().format, source.info().width, source.info().height);
    std::int64_t frames = 0;
    while (source.read(*picture)) ++frames;
    return frames;
}

std::vector<std::pair<const char*, RecordValue>> describe(FrameSource& source) {
    const ClipInfo& info = source.info();
    const auto ratio = [](const std::optional<Ratio>& r) { return r ? fmt::format("{}/{}", r->num, r->den) : ""; };
    const std::int64_t width = info.width, height = info.height;
    return {{"file", source.name()},
            {"container", info.container == Container::y4m ? "y4m" : "raw"},
            {"format", lowerName(*info.format)},
            {"samples", formatDescription(*info.format)},
            {"width", width},
            {"height", height},
            {"frames", countFrames(source)},
            {"rate", ratio(info.rate)},
            {"pixel_aspect", ratio(info.pixel)},
            {"scan", info.scan == Scan::unknown ? "" : scanName(info.scan)},
            {"frame_bytes", static_cast<std::int64_t>(source.frameBytes())}};
}

void probe(const ProbeOptions& options) {
    const auto source = openSource(options.input, options.source);
    printRecord(describe(*source), options.json);
}

}  // namespace

void addProbe(Verb& program) {
    Verb verb = program.addVerb("probe", "Tell format, size, frames, rate and interlacing of a clip");
    auto options = std::make_shared<ProbeOptions>();
    addInput(verb, options->input);
    verb.addFlag("--json", options->json, "the record as JSON; null stands for unknown");
    addInputOptions(verb, options->source);
    verb.action([options] { probe(*options); });
}

}  // namespace OrvelTool
