#include <memory>
#include <vector>

#include "tools/media/open_media.h"
#include "tools/progress.h"
#include "tools/record_writer.h"
#include "tools/sha256.h"
#include "tools/verbs.h"

namespace OrvelTool {
namespace {

constexpr const char* hashHelp =
    R"(A record for each frame, frame (counted from 0) and sha256; with --whole one record, frames and sha256.
Hashed are the bytes of the pictures as they lie in a headerless file, with (W-1)/2 chroma columns for odd widths: the
same for a Y4M and a headerless file that hold the same pictures, and for a headerless file what sha256sum says of it.
Size, rate and format do not enter.)";

struct HashOptions {
    std::string input;
    RecordOutput output;
    InputOptions source;
    bool whole = false;
};

void hashClip(const HashOptions& options) {
    const auto source = openSource(options.input, options.source);
    const ClipInfo& info = source->info();
    const FrameShape shape(*info.format, info.width, info.height, OddChroma::down);
    const auto picture = makePicture(*info.format, info.width, info.height);
    std::vector<std::uint8_t> bytes(shape.bytes());
    Sha256 whole;
    RecordWriter writer(options.output, {options.whole ? "frames" : "frame", "sha256"});
    Progress progress("hash", info.frames);
    std::int64_t frames = 0;
    for (; source->read(*picture); ++frames) {
        shape.pack(*picture, bytes);
        Sha256 frame;
        (options.whole ? whole : frame).add(bytes);
        if (!options.whole) writer.write({frames, frame.hex()});
        progress.step();
    }
    if (options.whole) writer.write({frames, whole.hex()});
    writer.finish();
}

}  // namespace

void addHash(Verb& program) {
    Verb verb = program.addVerb("hash", "Tell the SHA-256 of each picture of a clip, or of all together");
    auto options = std::make_shared<HashOptions>();
    verb.footer(hashHelp);
    addInput(verb, options->input);
    addRecordOutput(verb, options->output);
    verb.addFlag("--whole", options->whole, "one hash of all pictures");
    addInputOptions(verb, options->source);
    verb.action([options] { hashClip(*options); });
}

}  // namespace OrvelTool
