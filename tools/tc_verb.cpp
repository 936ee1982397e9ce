#include <fmt/format.h>

#include <memory>
#include <optional>

#include "orvel/img/yv16_img.h"
#include "tools/errors.h"
#include "tools/marks/code_check.h"
#include "tools/marks/marked_clip.h"
#include "tools/marks/verdict.h"
#include "tools/record_writer.h"
#include "tools/verbs.h"

namespace OrvelTool {
namespace {

using Orvel::Img;
using Orvel::TimeCodeValue;

constexpr const char* stampHelp =
    R"(The code is a grid of blocks in chroma, which costs the picture its colour in the middle; luma stays. It survives
scaling and strong compression. Chroma must have 96x96 samples, each field's for interlaced clips.
Behind 23:59:59 the code goes on from 00:00:00:00, with a note.
The code holds frame numbers up to 39: clips of 48, 50 and 60 frames a second need --pairs.)";

constexpr const char* readHelp =
    R"(A record for each frame. What there is not is empty (CSV) or null (JSON).
  frame             counted from 0
  time_code         of the frame, or of the top field where fields are read: hh:mm:ss:ff, drop-frame hh:mm:ss;ff
  flags             of that code: top, bottom, both, or none
  bottom_time_code, bottom_flags
                    of the bottom field
  fault             what is wrong, by the checks that are asked for
The exit code is 1 when a frame (or field) has no code or a check fails; the first fault is told. Pictures of strong
colours can look like a code where none is: --strict and --expect-continuous tell.)";

struct CodeOptions {
    std::string input;
    InputOptions source;
    bool interlaced = false, pairs = false;
};

struct StampOptions : CodeOptions {
    ClipOutput output;
    std::string start;
    bool readable = false;
};

struct ReadOptions : CodeOptions {
    RecordOutput output;
    bool fields = false, continuous = false, strict = false;
};

bool hasFields(const CodeOptions& options, const FrameSource& source) {
    return options.interlaced || source.info().interlaced();
}

CodeClock clockOf(const CodeOptions& options, const FrameSource& source) {
    if (options.pairs && hasFields(options, source))
        throw ToolError(ExitCode::refused, source.name(), "an interlaced clip has no pairs of frames", "leave --pairs");
    if (!source.info().rate)
        throw ToolError(ExitCode::usage, source.name(), "does not tell its frames a second", "give --fps");
    return CodeClock(source.name(), *source.info().rate, options.pairs);
}

void stampClip(const StampOptions& options) {
    const auto source = openSource(options.input, options.source);
    const bool fields = hasFields(options, *source);
    const CodeClock clock = clockOf(options, *source);
    const MarkedClip clip{*source, formatOf<Orvel::YV16Img>(), "tc stamp", fields};
    requireRoomForCode(source->name(), source->info(), carrierOf(clip), fields);
    TimeCodeValue code = clock.start("--start", options.start);
    CodeStamp stamp(fields, options.readable);
    writeMarks(clip, options.output, options.source, [&](Img& picture, std::int64_t frame) {
        if (frame > 0 && clock.next(code))
            notice(source->name(), fmt::format("midnight: frame {} is {}", frame, codeText(code)));
        stamp.write(picture, code);
    });
}

std::vector<RecordValue> record(std::int64_t frame, const PictureReading& reading, const std::string& fault) {
    std::vector<RecordValue> values{frame};
    for (const auto& part : {reading.frame, reading.bottom}) {
        values.push_back(part ? codeText(part->code) : "");
        values.push_back(part ? flagsText(part->code) : "");
    }
    values.push_back(fault);
    return values;
}

void readCodesOf(const ReadOptions& options) {
    const auto source = openSource(options.input, options.source);
    const bool fields = options.fields || hasFields(options, *source);
    const MarkedClip clip{*source, formatOf<Orvel::YV16Img>(), "tc read", fields};
    requireRoomForCode(source->name(), source->info(), carrierOf(clip), fields);
    CheckPlan plan;
    if (options.continuous) plan.continuous = clockOf(options, *source);
    plan.fields = options.fields;
    plan.strict = options.strict;

    CodeCheck check(plan, fields);
    Verdict verdict;
    RecordWriter writer(options.output, {"frame", "time_code", "flags", "bottom_time_code", "bottom_flags", "fault"});
    readMarks(clip, [&](Img& picture, std::int64_t frame) {
        const PictureReading reading = readCodes(picture, fields);
        const std::string fault = check.fault(reading);
        writer.write(record(frame, reading, fault));
        verdict.add(frame, fault);
    });
    writer.finish();
    verdict.pronounce(source->name());
}

void addRate(Verb& verb, CodeOptions& options) {
    addInputOptions(verb, options.source);
    verb.addOption("--fps", options.source.rate, "frames a second that codes count by, where the file does not tell")
        .excludes("--rate");
}

void addStamp(Verb& tc) {
    Verb verb = tc.addVerb("stamp", "Stamp a time code into each frame");
    auto options = std::make_shared<StampOptions>();
    verb.footer(stampHelp);
    addInput(verb, options->input);
    addClipOutput(verb, options->output);
    verb.addOption("--start", options->start,
                   "code of the first frame: 10:00:00:00, or 10:00:00;00 for drop-frame (29.97, by pairs 59.94)")
        .required();
    verb.addFlag("--readable", options->readable, "also write it for people, below the grid");
    verb.addFlag("--interlaced", options->interlaced,
                 "a code with its own flag in each field; so are clips that tell a field order");
    verb.addFlag("--pairs", options->pairs,
                 "two frames share a code, which counts at half the rate; the first has the flag of a top field, the "
                 "second that of a bottom field")
        .excludes("--interlaced");
    addRate(verb, *options);
    verb.action([options] { stampClip(*options); });
}

void addRead(Verb& tc) {
    Verb verb = tc.addVerb("read", "Read and check the time codes of a clip, frame by frame");
    auto options = std::make_shared<ReadOptions>();
    verb.footer(readHelp);
    addInput(verb, options->input);
    addRecordOutput(verb, options->output);
    verb.addFlag("--interlaced", options->interlaced, "read each field; so are clips that tell a field order");
    verb.addFlag("--check-fields", options->fields,
                 "read each field: both must carry the same code, each with its own flag; flags get "
                 "lost where fields were scaled as one picture");
    verb.addFlag("--expect-continuous", options->continuous,
                 "each code must be the next one, by the clip's rate; midnight may pass");
    verb.addFlag("--pairs", options->pairs, "with --expect-continuous: two frames share a code, see tc stamp --help")
        .needs("--expect-continuous")
        .excludes("--check-fields");
    verb.addFlag("--strict", options->strict,
                 "codes must be intact: constant bits as they are stamped, digits up to 9, times below 24:00:00");
    addRate(verb, *options);
    verb.action([options] { readCodesOf(*options); });
}

}  // namespace

void addTimeCode(Verb& program) {
    Verb verb = program.addVerb("tc", "Stamp time codes into a clip's pictures, or read and check them");
    addStamp(verb);
    addRead(verb);
}

}  // namespace OrvelTool
