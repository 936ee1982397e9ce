#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "tools/media/open_media.h"
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

nlohmann::ordered_json describe(FrameSource& source) {
    const ClipInfo& info = source.info();
    const auto ratio = [](const std::optional<Ratio>& r) {
        return r ? nlohmann::ordered_json(fmt::format("{}/{}", r->num, r->den)) : nlohmann::ordered_json();
    };
    nlohmann::ordered_json record;
    record["file"] = source.name();
    record["container"] = info.container == Container::y4m ? "y4m" : "raw";
    record["format"] = lowerName(*info.format);
    record["samples"] = formatDescription(*info.format);
    record["width"] = info.width;
    record["height"] = info.height;
    record["frames"] = countFrames(source);
    record["rate"] = ratio(info.rate);
    record["pixel_aspect"] = ratio(info.pixel);
    record["scan"] =
        info.scan == Scan::unknown ? nlohmann::ordered_json() : nlohmann::ordered_json(scanName(info.scan));
    record["frame_bytes"] = source.frameBytes();
    return record;
}

void probe(const ProbeOptions& options) {
    const auto source = openSource(options.input, options.source);
    const auto record = describe(*source);
    if (options.json) {
        fmt::print("{}\n", record.dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
        return;
    }
    for (const auto& [key, value] : record.items())
        fmt::print("{:<13} {}\n", key,
                   value.is_string() ? value.get<std::string>()
                   : value.is_null() ? "unknown"
                                     : value.dump());
}

}  // namespace

void addProbe(CLI::App& program) {
    auto* verb = program.add_subcommand("probe", "Tell format, size, frames, rate and interlacing of a clip");
    auto options = std::make_shared<ProbeOptions>();
    verb->add_option("INPUT", options->input, "file, or - for standard input")->required();
    verb->add_flag("--json", options->json, "the record as JSON; null stands for unknown");
    addInputOptions(*verb, options->source);
    verb->callback([options] { probe(*options); });
}

}  // namespace OrvelTool
