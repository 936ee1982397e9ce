#pragma once
#include <tbb/spin_mutex.h>

#include <algorithm>
#include <atomic>
#include <memory>

namespace Orvel {

/// Deals the blocks of a picture out to several threads, so that each block comes after those it reads: the left, the
/// top and the top right one. A thread gets a run of blocks of one band of rows at a time and goes on in the same band,
/// unless it stands in another one's way: then they change places. So one that is slow, or that the system has put
/// aside, does not hold up the others. Bands have several rows, since what a row reads of the one above and of the
/// picture behind it is at hand where that one was worked on, and far away in another core's cache.
class Wavefront {
public:
    /// Some blocks of each row of a band, further left in lower rows.
    class Run {
    public:
        bool empty() const noexcept { return first_ == last_; }
        /// Calls block(row, column) for each of them in a proper order.
        template <class Block>
        void forEachBlock(const Block& block) const {
            for (int i = 0; i < rows_; ++i)
                for (int col = std::max(first_ - i, 0); col < std::min(last_ - i, columns_); ++col)
                    block(top_ + i, col);
        }

    private:
        friend class Wavefront;
        int band_ = 0, top_ = 0, rows_ = 0, columns_ = 0;
        int first_ = 0, last_ = 0;  // columns of the band, in which row i begins at column i
    };

    /// For pictures of that many blocks and at most that many threads. Throws std::bad_alloc.
    Wavefront(int rows, int columns, int threads);

    /// Back to the start of a picture; no thread may hold a run.
    void reset() noexcept;
    /// Hands in what a thread has finished, an empty run at first, and takes its next run, as soon as there is one.
    /// What was written for the blocks that it reads is then seen.
    /// @return an empty run when all others are dealt out.
    Run next(const Run& finished) noexcept;

private:
    struct Band {
        int done = 0;        // columns that are finished
        bool taken = false;  // whether a thread has a run of it
    };

    // With the lock held:
    bool isReady(int band) const noexcept;
    int readyBand(int last, bool othersWait) const noexcept;
    Run take(int last, bool othersWait) noexcept;
    bool handIn(const Run& finished) noexcept;

    const int rows_, columns_;  // of blocks
    const int bandRows_, bands_;
    const int bandColumns_;  // each row of a band begins a column after the one above
    const int runLength_;
    const std::unique_ptr<Band[]> band_;
    tbb::spin_mutex lock_;
    int first_ = 0;                      // the first row that is not finished
    int undealt_ = 0;                    // columns of all rows that no thread has got
    int waiting_ = 0;                    // threads without a run
    std::atomic<int> timesHandedIn_{0};  // threads without a run watch this
};

}  // namespace Orvel
