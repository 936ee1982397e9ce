#include "orvel/mctf/wavefront.h"

#include <algorithm>

#include "orvel/sys/wait_briefly.h"

namespace Orvel {
namespace {

/// Alone, a thread goes row by row. Four rows make far fewer visits to the other core's cache than one, more rows
/// hardly fewer; small pictures have fewer, so that there are bands enough for all.
int bandRowsFor(int rows, int threads) noexcept {
    return threads == 1 ? 1 : std::clamp(rows / (4 * threads), 1, 4);
}

/// As long as a band has several runs for every thread, there is a ready one for a thread that looks for it. Below some
/// dozen columns the caches, which fetch ahead along rows, fall behind.
int runLengthFor(int columns, int threads) noexcept {
    return threads == 1 ? columns : std::clamp(columns / (4 * threads), 4, 32);
}

}  // namespace

Wavefront::Wavefront(int rows, int columns, int threads)
    : rows_(rows),
      columns_(columns),
      bandRows_(bandRowsFor(rows, threads)),
      bands_((rows + bandRows_ - 1) / bandRows_),
      bandColumns_(columns + bandRows_ - 1),
      runLength_(runLengthFor(columns, threads)),
      band_(std::make_unique<Band[]>(static_cast<std::size_t>(bands_))) {}

void Wavefront::reset() noexcept {
    std::fill_n(band_.get(), bands_, Band{});
    first_ = 0;
    undealt_ = bands_ * bandColumns_;
}

bool Wavefront::isReady(int band) const noexcept {
    const auto [done, taken] = band_[static_cast<std::size_t>(band)];
    if (taken || done == bandColumns_) return false;
    // The first row reads the last one of the band above up to one column further, which is bandRows_ further there.
    return band == 0 ||
           band_[static_cast<std::size_t>(band) - 1].done >= std::min(done + runLength_ + bandRows_, bandColumns_);
}

/// The band to go on with after `last` (-1: none yet); -1 when none is ready.
int Wavefront::readyBand(int last, bool othersWait) const noexcept {
    if (last >= 0 && !othersWait && isReady(last)) return last;
    int found = -1;
    for (int band = first_; band < bands_; ++band) {
        if (isReady(band)) {
            found = band;
            // Who waits has caught up with somebody: it gets the upper band, on which the others depend.
            if (!othersWait) break;
        }
        if (band_[static_cast<std::size_t>(band)].done == 0) break;  // nothing below has begun
    }
    return found;
}

Wavefront::Run Wavefront::take(int last, bool othersWait) noexcept {
    const int index = readyBand(last, othersWait);
    Run run;
    if (index < 0) return run;
    Band& band = band_[static_cast<std::size_t>(index)];
    band.taken = true;
    run.band_ = index;
    run.top_ = index * bandRows_;
    run.rows_ = std::min(bandRows_, rows_ - run.top_);
    run.columns_ = columns_;
    run.first_ = band.done;
    run.last_ = std::min(band.done + runLength_, bandColumns_);
    undealt_ -= run.last_ - run.first_;
    return run;
}

/// @return whether somebody waits for it.
bool Wavefront::handIn(const Run& finished) noexcept {
    band_[static_cast<std::size_t>(finished.band_)] = {finished.last_, false};
    while (first_ < bands_ && band_[static_cast<std::size_t>(first_)].done == bandColumns_) ++first_;
    timesHandedIn_.fetch_add(1, std::memory_order_release);
    return waiting_ > 0;
}

Wavefront::Run Wavefront::next(const Run& finished) noexcept {
    int last = -1;
    bool waits = false;
    for (;;) {
        bool awaited = false;
        Run run;
        int seen = 0;
        {
            const tbb::spin_mutex::scoped_lock guard(lock_);
            if (last < 0 && !finished.empty()) {
                last = finished.band_;
                awaited = handIn(finished);
            }
            run = take(last, waiting_ > (waits ? 1 : 0));
            const bool willWait = run.empty() && undealt_ > 0;
            waiting_ += int{willWait} - int{waits};
            waits = willWait;
            seen = timesHandedIn_.load(std::memory_order_relaxed);
        }
        if (awaited) timesHandedIn_.notify_all();
        if (!waits) return run;
        const auto handedIn = [&] { return timesHandedIn_.load(std::memory_order_acquire) != seen; };
        if (!OrvelSys::waitBriefly(handedIn)) timesHandedIn_.wait(seen, std::memory_order_acquire);
    }
}

}  // namespace Orvel
