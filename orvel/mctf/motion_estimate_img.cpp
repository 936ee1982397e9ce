#include "orvel/mctf/motion_estimate_img.h"

#include <algorithm>
#include <exception>
#include <limits>

#include "orvel/mctf/motion_row_task.h"

namespace Orvel {

template <class T>
MotionEstimateImg<T>::MotionEstimateImg() noexcept = default;

template <class T>
MotionEstimateImg<T>::~MotionEstimateImg() {
    deallocate();
}

template <class T>
bool MotionEstimateImg<T>::validateParams(MotionEstimateImgParams& params) noexcept {
    if (params.width < 1 || params.height < 1) return false;
    params.blkCols = params.width / 8;
    params.blkRows = params.height / 8;
    return true;
}

template <class T>
bool MotionEstimateImg<T>::allocate(MotionEstimateImgParams& params) noexcept {
    deallocate();
    if (!validateParams(params)) return false;
    params_ = params;
    const std::int64_t blocks = std::int64_t{params.blkCols} * params.blkRows;
    try {
        data_ = std::make_unique<MEData>();
        blk_ = std::make_unique<MotionEstimateBlk<T>>();
        if (blocks <= std::numeric_limits<int>::max() && data_->allocate(static_cast<int>(blocks)) &&
            blk_->init(&params_, data_.get())) {
            pool_ = std::make_unique<SharedThreadPool>(1, params.poolThreads);
            forkJoin_ = std::make_unique<ForkJoin>(*pool_, params.blkRows);
            rows_ = std::make_unique<RowTask[]>(static_cast<std::size_t>(params.blkRows));
            return true;
        }
    } catch (const std::exception&) {
        // Memory ran out; what was made so far goes the same way.
    }
    deallocate();
    return false;
}

template <class T>
void MotionEstimateImg<T>::deallocate() noexcept {
    data_.reset();
    blk_.reset();
    rows_.reset();
    forkJoin_.reset();
    pool_.reset();
    params_ = {};
    clearHistory();
}

template <class T>
bool MotionEstimateImg<T>::process(T* cur, T* ref) noexcept {
    if (data_ == nullptr || !blk_->setImgs(cur, ref)) return false;
    resetThreading();  // the records need no clearing: every one is written
    for (int row = 0; row < params_.blkRows; ++row)
        if (!forkJoin_->AddTask([this, row] { searchRow(row); })) searchRow(row);
    forkJoin_->WaitForCompletion();
    freeThreading();
    return !params_.sceneCutDetect || detectSceneCut();
}

template <class T>
void MotionEstimateImg<T>::searchRow(int row) noexcept {
    RowTask& task = rows_[static_cast<std::size_t>(row)];
    for (int col = 0; col < params_.blkCols; ++col) {
        task.waitForAbove(col);
        blk_->process(row * params_.blkCols + col);
        task.finish(col);
    }
}

template <class T>
void MotionEstimateImg<T>::resetThreading() noexcept {
    const RowTask* above = nullptr;
    for (int row = 0; row < params_.blkRows; ++row) {
        RowTask& task = rows_[static_cast<std::size_t>(row)];
        task.reset(above, params_.blkCols);
        above = &task;
    }
}

template <class T>
void MotionEstimateImg<T>::freeThreading() noexcept {
    if (blk_ != nullptr) blk_->setImgs(nullptr, nullptr);  // the pictures are the caller's again
}

template <class T>
bool MotionEstimateImg<T>::detectSceneCut() noexcept {
    if (data_ == nullptr) return false;
    double mean = 0;
    const int blocks = data_->numBlocks();
    for (int i = 0; i < blocks; ++i) mean += (data_->getBlockData(i).sad - mean) / (i + 1);

    if (historyCount_ > 0) {
        double past = 0;
        for (std::size_t i = 0; i < static_cast<std::size_t>(historyCount_); ++i) past += sadHistory_[i];
        past /= historyCount_;
        if (3.0 * past < mean && mean > 100.0) {
            clearHistory();
            return true;
        }
    }
    if (mean <= 10.0) return false;  // an almost still picture says nothing about its scene
    sadHistory_[static_cast<std::size_t>(historyPos_)] = mean;
    historyPos_ = (historyPos_ + 1) % static_cast<std::int32_t>(sadHistory_.size());
    historyCount_ = std::min<std::int32_t>(historyCount_ + 1, static_cast<std::int32_t>(sadHistory_.size()));
    return false;
}

template <class T>
void MotionEstimateImg<T>::clearHistory() noexcept {
    sadHistory_ = {};
    historyPos_ = historyCount_ = 0;
}

template class MotionEstimateImg<I420Img>;

}  // namespace Orvel
