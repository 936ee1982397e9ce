#pragma once
#include <algorithm>
#include <atomic>

#include "orvel/sys/wait_briefly.h"

namespace Orvel {

/// One row of blocks in a wavefront: its blocks are done from left to right, each after those it reads of the row
/// above, the one right above and the one to the right of that.
class RowTask {
public:
    /// Back to the start of a picture. above: null for the first row.
    void reset(const RowTask* above, int columns) noexcept {
        above_ = above;
        columns_ = columns;
        // A report from core to core takes as long as a block: several columns share one.
        stride_ = std::clamp(columns / 8, 1, 16);
        nextReport_ = stride_;
        aboveDone_ = above == nullptr ? columns : 0;
        done_.store(0, std::memory_order_relaxed);
    }

    /// Returns when the row above has finished what block `column` reads of it.
    void waitForAbove(int column) noexcept {
        const int needed = std::min(column + 2, columns_);
        if (aboveDone_ < needed) aboveDone_ = above_->waitUntilDone(needed);
    }

    /// Makes the blocks up to this column, this one included, known to the row below, at the latest with the last one.
    void finish(int column) noexcept {
        const int done = column + 1;
        if (done < nextReport_ && done != columns_) return;
        nextReport_ = done + stride_;
        done_.store(done);
        done_.notify_one();
    }

private:
    int waitUntilDone(int needed) const noexcept {
        // The row above is usually a few blocks away.
        int done = 0;
        const auto enough = [&] { return (done = done_.load(std::memory_order_acquire)) >= needed; };
        if (OrvelSys::waitBriefly(enough)) return done;
        while (!enough()) done_.wait(done, std::memory_order_acquire);
        return done;
    }

    static constexpr int cacheLine = 64;

    alignas(cacheLine) std::atomic<int> done_{0};  // columns that the row below may read; it waits on this
    // What only the row's own thread uses lies apart from that.
    alignas(cacheLine) const RowTask* above_ = nullptr;
    int columns_ = 0;
    int stride_ = 1;  // columns from one report to the next
    int nextReport_ = 1;
    int aboveDone_ = 0;  // columns the row above is known to have finished
};

}  // namespace Orvel
