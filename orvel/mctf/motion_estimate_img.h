#pragma once
#include <array>
#include <cstdint>
#include <memory>

#include "orvel/img/i420_img.h"
#include "orvel/mctf/me_data.h"
#include "orvel/mctf/motion_estimate_blk.h"
#include "orvel/mctf/motion_estimate_params.h"
#include "orvel/sys/api.h"
#include "orvel/sys/fork_join.h"
#include "orvel/sys/shared_thread_pool.h"

namespace Orvel {

class RowTask;

/// Estimates the motion of a whole picture against a reference picture, block by block (see MotionEstimateBlk), and can
/// tell from the costs whether a new scene begins. Only luma is looked at; columns and rows behind the last whole block
/// are left out.
///
/// Block rows run in parallel on a pool of threads. The result is that of one thread going through the blocks row by
/// row, whatever the number of threads. One thread at a time may use an estimator; different estimators are
/// independent.
template <class T>
class ORVEL_API MotionEstimateImg {
public:
    /// An unallocated estimator.
    MotionEstimateImg() noexcept;
    ~MotionEstimateImg();
    MotionEstimateImg(const MotionEstimateImg&) = delete;
    MotionEstimateImg& operator=(const MotionEstimateImg&) = delete;

    /// Completes the parameters: sets blkCols and blkRows. @return false, with nothing changed, for a side below 1.
    [[nodiscard]] static bool validateParams(MotionEstimateImgParams& params) noexcept;
    /// Gets ready for pictures of params.width x params.height with an empty scene history; what was allocated before
    /// is let go of. The parameters are completed and copied.
    /// @return false for a side below 1 or when memory runs out: the estimator is then unallocated.
    [[nodiscard]] bool allocate(MotionEstimateImgParams& params) noexcept;
    /// Back to the unallocated state. May be called twice.
    void deallocate() noexcept;

    /// Finds where the blocks of cur come from in ref. The pictures may be views, for instance fields.
    /// @return with sceneCutDetect whether cur begins a new scene, else true. Pictures that are null or whose luma is
    /// not of the allocated size are refused with false, as is a call without allocate(): results and scene history
    /// then stay as they were.
    bool process(T* cur, T* ref) noexcept;
    /// The result of the last process(), owned by the estimator and valid until the next; null when unallocated.
    MEData* getMEData() noexcept { return data_.get(); }

protected:
    /// Puts the row tasks to the start of a picture.
    void resetThreading() noexcept;
    /// Lets go of what the search of one picture held.
    void freeThreading() noexcept;
    /// Decides from the mean cost of the last search and those of up to five pictures before it, and records it.
    bool detectSceneCut() noexcept;

private:
    void searchRow(int row) noexcept;
    void clearHistory() noexcept;

    MotionEstimateImgParams params_;
    std::unique_ptr<MEData> data_;
    std::unique_ptr<MotionEstimateBlk<T>> blk_;
    std::unique_ptr<RowTask[]> rows_;
    std::unique_ptr<SharedThreadPool> pool_;
    std::unique_ptr<ForkJoin> forkJoin_;

    std::array<double, 5> sadHistory_{};  // mean costs of the latest pictures of the scene, a ring
    std::int32_t historyPos_ = 0;         // where the next one goes
    std::int32_t historyCount_ = 0;
};

extern template class MotionEstimateImg<I420Img>;

}  // namespace Orvel
