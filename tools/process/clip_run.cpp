#include "tools/process/clip_run.h"

#include <fmt/format.h>

#include <utility>

#include "tools/errors.h"
#include "tools/media/frame_shape.h"
#include "tools/progress.h"

namespace OrvelTool {
namespace {

// Frame queues one behind the other hold back fewer pictures than this.
constexpr int mostRepetitions = 8;

/// The whole pictures that frames pictures of the source last for.
std::int64_t lasting(std::int64_t frames, const Ratio& yield) {
    const std::int64_t num = yield.num, den = yield.den;
    return frames / den * num + (frames % den * num + den - 1) / den;
}

}  // namespace

ClipRun::ClipRun(FrameSource& source, const Orvel::FormatInfo& input, ProcessChain& chain,
                 std::function<void(Orvel::Img&)> take)
    : source_(source),
      chain_(chain),
      take_(std::move(take)),
      picture_(makePicture(*source.info().format, source.info().width, source.info().height)),
      toInput_(*source.info().format, input, source.info().width, source.info().height,
               {source.info().interlaced(), false}) {}

void ClipRun::wholeClip(const std::optional<EndRepetition>& ends) {
    Progress progress("process", source_.info().frames);
    if (ends && ends->firstField) chain_.repeatFirst();
    while (source_.read(*picture_)) {
        feed(true);
        if (ends && ledger_.pictures() == 1)
            for (int i = 0; i < ends->first; ++i) feed(false);
        progress.step();
    }
    if (ends) repeatLast(ends->yield);
    chain_.drain([this](void* mark) { ledger_.held(mark); });
    ledger_.close();
}

/// Gives the picture to the stages, as one of the source or as a repetition that nobody counts.
void ClipRun::feed(bool fromSource) {
    Orvel::Img& picture = toInput_.convert(*picture_);
    if (fromSource) ledger_.read(picture);
    try {
        chain_.push(picture);
        collect();
    } catch (const StageFailed&) {
        throw ToolError(ExitCode::refused, source_.name(),
                        fmt::format("frame {} cannot be processed", ledger_.pictures() - 1),
                        "the picture may be too small for the scaling method; try --interp linear");
    }
}

void ClipRun::collect() {
    while (Orvel::Img* out = chain_.pull()) {
        if (wanted_ && ledger_.output() >= *wanted_) {
            ledger_.discarded(*out);
        } else {
            ledger_.written(*out);
            take_(*out);
        }
        chain_.giveBack(*out);
    }
}

/// A rate converter also makes the picture that stands at the clip's very end; it is one too many.
void ClipRun::repeatLast(const Ratio& yield) {
    wanted_ = lasting(ledger_.pictures(), yield);
    for (int i = 0; i < mostRepetitions && ledger_.output() < *wanted_; ++i) feed(false);
}

}  // namespace OrvelTool
