#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tools/media/open_media.h"
#include "tools/verbs.h"

namespace OrvelTool {
namespace {

struct ProbeOptions {
    std::string input;
    InputOptions source;
    bool json = false;
};

/// One line of the record; an empty value stands for unknown.
struct Field {
    const char* name;
    std::string value;
    bool number = false;
};

// Frames of a pipe have to be read to be counted.
std::int64_t countFrames(FrameSource& source) {
    if (source.info().frames) return *source.info().frames;
    const auto picture = makePicture(*source.info().format, source.info().width, source.info().height);
    std::int64_t frames = 0;
    while (source.read(*picture)) ++frames;
    return frames;
}

std::vector<Field> describe(FrameSource& source) {
    const ClipInfo& info = source.info();
    const auto ratio = [](const std::optional<Ratio>& r) { return r ? fmt::format("{}/{}", r->num, r->den) : ""; };
    return {{"file", source.name()},
            {"container", info.container == Container::y4m ? "y4m" : "raw"},
            {"format", lowerName(*info.format)},
            {"samples", formatDescription(*info.format)},
            {"width", std::to_string(info.width), true},
            {"height", std::to_string(info.height), true},
            {"frames", std::to_string(countFrames(source)), true},
            {"rate", ratio(info.rate)},
            {"pixel_aspect", ratio(info.pixel)},
            {"scan", info.scan == Scan::unknown ? "" : scanName(info.scan)},
            {"frame_bytes", std::to_string(source.frameBytes()), true}};
}

void printJson(const std::vector<Field>& record) {
    nlohmann::ordered_json json;
    for (const Field& field : record) {
        auto& value = json[field.name];
        if (field.number)
            value = std::stoll(field.value);
        else if (!field.value.empty())
            value = field.value;
    }
    // File names may hold any bytes.
    fmt::print("{}\n", json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

void probe(const ProbeOptions& options) {
    const auto source = openSource(options.input, options.source);
    const auto record = describe(*source);
    if (options.json) return printJson(record);
    for (const Field& field : record)
        fmt::print("{:<13} {}\n", field.name, field.value.empty() ? "unknown" : field.value);
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
