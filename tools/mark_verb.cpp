#include <fmt/format.h>

#include <functional>
#include <limits>
#include <memory>
#include <optional>

#include "orvel/img/all_formats.h"
#include "orvel/watermark/spit_watermark.h"
#include "orvel/watermark/watermark.h"
#include "tools/errors.h"
#include "tools/marks/line_numbers.h"
#include "tools/marks/marked_clip.h"
#include "tools/marks/verdict.h"
#include "tools/record_writer.h"
#include "tools/verbs.h"

namespace OrvelTool {
namespace {

using namespace Orvel;

constexpr const char* blocksHelp =
    R"(A record for each frame: frame, counted from 0, and value, empty (CSV) or null (JSON) for none.
The blocks bring no proof of themselves: colourless pictures without a mark read as 4294967295 (4:2:0) or 0 (others).
--expect tells for certain.)";

constexpr tagSIZE smallest{64, 32};  // pictures that these marks go into

struct WriteOptions {
    std::string input;
    ClipOutput output;
    InputOptions source;
    std::uint32_t value = 0;
    bool count = false;
};

struct ReadOptions {
    std::string input;
    RecordOutput output;
    InputOptions source;
    std::optional<std::uint32_t> expected;
    bool count = false, field = false, strict = false;
};

void requireRoom(const FrameSource& source) {
    const ClipInfo& info = source.info();
    if (info.width >= smallest.cx && info.height >= smallest.cy) return;
    throw ToolError(ExitCode::refused, source.name(),
                    fmt::format("pictures of {}x{} are too small for a mark", info.width, info.height),
                    fmt::format("{}x{} or more are needed", smallest.cx, smallest.cy));
}

/// Opens a clip whose pictures have room and writes it with the marks that mark leaves, false when it is refused.
void markClip(const WriteOptions& options, const char* label, const std::function<bool(Img&, std::int64_t)>& mark) {
    const auto source = openSource(options.input, options.source);
    requireRoom(*source);
    const auto require = [&](Img& picture, std::int64_t frame) {
        if (!mark(picture, frame))
            throw ToolError(ExitCode::refused, source->name(), fmt::format("frame {} cannot be marked", frame));
    };
    writeMarks({*source, formatOf<UYVYImg>(), label}, options.output, options.source, require);
}

void writeBlocks(const WriteOptions& options) {
    markClip(options, "mark write", [&](Img& picture, std::int64_t frame) {
        const std::int64_t value = options.value + (options.count ? frame : 0);
        if (value > std::numeric_limits<std::uint32_t>::max())
            throw ToolError(ExitCode::refused, "--count", fmt::format("the value of frame {} exceeds 32 bits", frame),
                            "start from a smaller --value");
        return SpitWatermark::write(picture, static_cast<std::uint32_t>(value));
    });
}

void writeLines(const WriteOptions& options) {
    markClip(options, "lines write", [](Img& picture, std::int64_t) { return Watermark::write(picture); });
}

void readBlocks(const ReadOptions& options) {
    const auto source = openSource(options.input, options.source);
    requireRoom(*source);
    const auto fault = [&](std::int64_t frame, std::optional<std::int64_t> value) -> std::string {
        if (!value) return "no value is found: a block is neither dark nor bright";
        if (!options.expected) return {};
        const std::int64_t expected = *options.expected + (options.count ? frame : 0);
        return *value == expected ? "" : fmt::format("holds {}, not {}", *value, expected);
    };
    Verdict verdict;
    RecordWriter writer(options.output, {"frame", "value"});
    readMarks({*source, formatOf<UYVYImg>(), "mark read"}, [&](Img& picture, std::int64_t frame) {
        unsigned read = 0;
        std::optional<std::int64_t> value;
        if (SpitWatermark::read(picture, read)) value = read;
        writer.write({frame, value});
        verdict.add(frame, fault(frame, value));
    });
    writer.finish();
    verdict.pronounce(source->name());
}

std::string lineFault(I420Img& picture, const LineNumbers& numbers, const ReadOptions& options, bool fields) {
    const bool inPlace = !options.strict && Watermark::searchWatermark(picture, options.field);
    return inPlace ? "" : numbers.firstOutOfPlace(fields);
}

std::vector<RecordValue> record(std::int64_t frame, const LineNumbers& numbers, const std::string& fault) {
    std::vector<RecordValue> values{frame};
    for (int line = 0; line < LineNumbers::lines; ++line) values.push_back(numbers[line]);
    values.push_back(fault);
    return values;
}

void checkLines(const ReadOptions& options) {
    const auto source = openSource(options.input, options.source);
    requireRoom(*source);
    const bool fields = options.field || source->info().interlaced();
    Verdict verdict;
    LineNumbers numbers;
    RecordWriter writer(options.output, {"frame", "line_0", "line_1", "line_2", "line_3", "line_4", "line_5", "fault"});
    readMarks({*source, formatOf<I420Img>(), "lines check"}, [&](Img& picture, std::int64_t frame) {
        auto& planar = static_cast<I420Img&>(picture);
        numbers.read(planar);
        const std::string fault = lineFault(planar, numbers, options, fields);
        writer.write(record(frame, numbers, fault));
        verdict.add(frame, fault);
    });
    writer.finish();
    verdict.pronounce(source->name());
}

using Write = void(const WriteOptions&);
using Read = void(const ReadOptions&);

std::shared_ptr<WriteOptions> addWriter(Verb& verb, Write* write) {
    auto options = std::make_shared<WriteOptions>();
    addInput(verb, options->input);
    addClipOutput(verb, options->output);
    addInputOptions(verb, options->source);
    verb.action([options, write] { write(*options); });
    return options;
}

std::shared_ptr<ReadOptions> addReader(Verb& verb, Read* read) {
    auto options = std::make_shared<ReadOptions>();
    addInput(verb, options->input);
    addRecordOutput(verb, options->output);
    addInputOptions(verb, options->source);
    verb.action([options, read] { read(*options); });
    return options;
}

}  // namespace

void addMark(Verb& program) {
    Verb verb = program.addVerb("mark", "Write a number into a clip's pictures as large blocks, or read it");
    Verb write = verb.addVerb("write", "Fill chroma with a value as 8x4 blocks: the picture loses its colour");
    auto options = addWriter(write, writeBlocks);
    write.addOption("--value", options->value, "0 to 4294967295, also as 0x80000001").required();
    write.addFlag("--count", options->count, "add 1 from each frame to the next");
    Verb read = verb.addVerb("read", "Read the value of each frame; exit code 1 when a frame holds none");
    auto readOptions = addReader(read, readBlocks);
    read.addOption("--expect", readOptions->expected, "exit code 1 also for another value than this");
    read.addFlag("--count", readOptions->count, "expect 1 more from each frame to the next").needs("--expect");
    read.footer(blocksHelp);
}

void addLines(Verb& program) {
    Verb verb =
        program.addVerb("lines", "Number a clip's first six lines, or check whether they are still in their place");
    Verb write = verb.addVerb("write", "Mark the first six lines with their numbers, at both edges");
    addWriter(write, writeLines);
    Verb check = verb.addVerb(
        "check",
        "Read the lines' numbers; exit code 1 when lines 0 to 3, or 2 to 5, of a frame are not in their place");
    auto options = addReader(check, checkLines);
    check.addFlag("--field", options->field, "one field in its place is enough: lines 0, 2, 4 or 1, 3, 5");
    check.addFlag("--strict", options->strict, "all six lines must be in their place").excludes("--field");
    check.footer(
        "A record for each frame: frame, counted from 0; line_0 to line_5, the numbers that the lines carry; fault, "
        "the\n"
        "first line that is out of its place. What there is not is empty (CSV) or null (JSON).");
}

}  // namespace OrvelTool
