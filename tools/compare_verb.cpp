#include <fmt/format.h>

#include <memory>

#include "tools/compare/picture_comparison.h"
#include "tools/errors.h"
#include "tools/media/open_media.h"
#include "tools/progress.h"
#include "tools/record_writer.h"
#include "tools/verbs.h"

namespace OrvelTool {
namespace {

constexpr const char* compareHelp =
    R"(Compared are format, size, number and samples of the pictures; not container, rate and field order. Told are
whether the clips are equal, the first difference (chroma counted in its own samples), and for each component the peak
signal-to-noise ratio in dB over the frames that both clips have, inf where they are equal; the peak is 255, or 65535 for
16 bits. Exit code 0 when equal, 1 when not.)";

struct CompareOptions {
    std::string a, b;
    InputOptions source, other;
    bool json = false;
};

/// What b is read with: the options of a, but for those of its own.
InputOptions optionsOfB(const CompareOptions& options) {
    InputOptions b = options.source;
    if (!options.other.size.empty()) b.size = options.other.size;
    if (!options.other.format.empty()) b.format = options.other.format;
    return b;
}

/// Why no sample can be compared with another; empty when they can.
std::string mismatch(const ClipInfo& a, const ClipInfo& b) {
    if (a.format != b.format)
        return fmt::format("the formats differ: {} and {}", lowerName(*a.format), lowerName(*b.format));
    if (a.width != b.width || a.height != b.height)
        return fmt::format("the sizes differ: {}x{} and {}x{}", a.width, a.height, b.width, b.height);
    return {};
}

std::string differenceText(const Difference& difference) {
    const auto& [frame, component, x, y, a, b] = difference;
    return fmt::format("frame {} differs first in {} at ({}, {}): {} and {}", frame, component, x, y, a, b);
}

class ClipPair {
public:
    explicit ClipPair(const CompareOptions& options)
        : a_(openSource(options.a, options.source)),
          b_(openSource(options.b, optionsOfB(options))),
          comparison_(*a_->info().format),
          difference_(mismatch(a_->info(), b_->info())) {
        if (difference_.empty()) compareFrames();
    }

    /// In words; empty when the clips are equal.
    const std::string& difference() const noexcept { return difference_; }
    const std::string& name() const noexcept { return b_->name(); }
    void print(bool json) const {
        std::vector<std::pair<const char*, RecordValue>> fields{
            {"a", a_->name()},
            {"b", b_->name()},
            {"equal", difference_.empty() ? "yes" : "no"},
            {"difference", difference_.empty() ? "none" : difference_},
            {"frames", comparison_.frames()}};
        std::vector<std::string> names;
        for (const Component& component : comparison_.components())
            names.push_back(fmt::format("psnr_{}", component.name));
        for (std::size_t i = 0; i < names.size() && comparison_.frames() > 0; ++i) {
            fields.emplace_back(names[i].c_str(), comparison_.psnr(i));
        }
        printRecord(fields, json);
    }

private:
    void compareFrames() {
        const ClipInfo& info = a_->info();
        const auto a = makePicture(*info.format, info.width, info.height);
        const auto b = makePicture(*info.format, info.width, info.height);
        Progress progress("compare", info.frames);
        bool moreA = a_->read(*a), moreB = b_->read(*b);
        for (; moreA && moreB; moreA = a_->read(*a), moreB = b_->read(*b)) {
            comparison_.add(*a, *b);
            progress.step();
        }
        if (comparison_.first()) difference_ = differenceText(*comparison_.first());
        if (moreA == moreB) return;
        difference_ += fmt::format("{}{} ends after {} frames, {} goes on", difference_.empty() ? "" : "; ",
                                   (moreA ? b_ : a_)->name(), comparison_.frames(), (moreA ? a_ : b_)->name());
    }

    std::unique_ptr<FrameSource> a_, b_;
    PictureComparison comparison_;
    std::string difference_;
};

void compareClips(const CompareOptions& options) {
    if (options.a == "-" && options.b == "-")
        throw ToolError(ExitCode::usage, "compare", "standard input is one clip only", "name a file for A or B");
    const ClipPair clips(options);
    clips.print(options.json);
    if (!clips.difference().empty()) throw ToolError(ExitCode::no, options.a + ", " + options.b, clips.difference());
}

}  // namespace

void addCompare(Verb& program) {
    Verb verb = program.addVerb("compare", "Tell whether two clips hold the same pictures, and how they differ");
    auto options = std::make_shared<CompareOptions>();
    verb.footer(compareHelp);
    verb.addOption("A", options->a, "file, or - for standard input").required();
    verb.addOption("B", options->b, "file, or - for standard input").required();
    verb.addFlag("--json", options->json, "the record as JSON");
    verb.addOption("--b-size", options->other.size, "--size of B, where it is not that of A");
    verb.addOption("--b-format", options->other.format, "--format of B, where it is not that of A");
    addInputOptions(verb, options->source);
    verb.action([options] { compareClips(*options); });
}

}  // namespace OrvelTool
