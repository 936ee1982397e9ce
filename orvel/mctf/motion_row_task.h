#pragma once
#include <atomic>
#include <thread>

namespace Orvel {

/// One row of blocks in a wavefront: its blocks are done from left to right, each after those it reads of the row
/// above, the one right above and the one to the right of that.
class alignas(64) RowTask {  // a cache line each: neighbours run on different cores
public:
    /// Back to the start of a picture. above: null for the first row.
    void reset(const RowTask* above, int columns) noexcept {
        above_ = above;
        columns_ = columns;
        aboveDone_ = above == nullptr ? columns : 0;
        done_.store(0, std::memory_order_relaxed);
    }

    /// Returns when the row above has finished what block `column` reads of it.
    void waitForAbove(int column) noexcept {
        const int needed = column + 2 < columns_ ? column + 2 : columns_;
        if (aboveDone_ < needed) aboveDone_ = above_->waitUntilDone(needed);
    }

    /// Makes the blocks up to this column, this one included, known to the row below.
    void finish(int column) noexcept {
        done_.store(column + 1);
        done_.notify_one();
    }

private:
    int waitUntilDone(int needed) const noexcept {
        // The row above is usually a fraction of a block away, far less than going to sleep and waking up takes; and
        // where its thread waits for a core, it gets this one.
        int done = 0;
        for (int spin = 0; spin < 2000; ++spin)
            if ((done = done_.load(std::memory_order_acquire)) >= needed) return done;
        for (int turn = 0; turn < 100; ++turn) {
            std::this_thread::yield();
            if ((done = done_.load(std::memory_order_acquire)) >= needed) return done;
        }
        while ((done = done_.load(std::memory_order_acquire)) < needed) done_.wait(done, std::memory_order_acquire);
        return done;
    }

    std::atomic<int> done_{0};  // columns finished; the row below waits on it
    const RowTask* above_ = nullptr;
    int columns_ = 0;
    int aboveDone_ = 0;  // columns the row above is known to have finished
};

}  // namespace Orvel
