#include "orvel/mctf/motion_estimate_blk.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "orvel/img/plane_access.h"
#include "orvel/primitives/half_sample_ring.h"
#include "orvel/primitives/interpolate_luma.h"
#include "orvel/primitives/sad.h"

namespace Orvel {
namespace {

constexpr int blockSide = 8;
constexpr int goodEnough = 255;  // cost up to which a block is not refined
constexpr int mostPasses = 8;    // of the large diamond

constexpr tagPOINT largePattern[] = {{0, 2}, {-1, 1}, {-2, 0}, {-1, -1}, {0, -2}, {1, -1}, {2, 0}, {1, 1}};
constexpr tagPOINT smallPattern[] = {{-1, 0}, {0, -1}, {1, 0}, {0, 1}};
constexpr tagPOINT halfRing[] = {{-2, -2}, {0, -2}, {2, -2}, {-2, 0}, {2, 0}, {-2, 2}, {0, 2}, {2, 2}};

template <std::size_t n>
void fill(MVPredictors& list, const tagPOINT (&points)[n]) noexcept {
    list.clear();
    for (const tagPOINT& point : points) list.append(point);
}

tagPOINT sum(tagPOINT a, tagPOINT b) noexcept {
    return {a.x + b.x, a.y + b.y};
}

int median(int a, int b, int c) noexcept {
    return std::max(std::min(a, b), std::min(std::max(a, b), c));
}

int length(tagPOINT v) noexcept {
    return std::abs(v.x) + std::abs(v.y);
}

/// The 8-bit luma plane; empty when there is none or it is not of that size.
primitives::ConstViewU8 lumaOf(const Img* img, int width, int height) noexcept {
    if (img == nullptr || img->numPlanes() < 1 || img->getBpp(0) != 1) return {};
    const auto luma = planeView<const std::uint8_t>(*img, 0);
    return luma.width == width && luma.height == height ? luma : primitives::ConstViewU8{};
}

}  // namespace

template <class T>
MotionEstimateBlk<T>::MotionEstimateBlk() noexcept = default;

template <class T>
bool MotionEstimateBlk<T>::init(MotionEstimateImgParams* params, MEData* data) noexcept {
    if (params == nullptr || data == nullptr) return false;
    params_ = params;
    data_ = data;
    setImgs(nullptr, nullptr);
    fill(largeDiamond_, largePattern);
    fill(smallDiamond_, smallPattern);
    const auto wasTried = [](tagPOINT p) {
        const auto isP = [p](tagPOINT q) { return !MVPredictors::isNew(p, q); };
        return isP({0, 0}) || std::any_of(std::begin(largePattern), std::end(largePattern), isP);
    };
    for (std::size_t k = 0; k < untriedAfter_.size(); ++k) {
        untriedAfter_[k].clear();
        for (const tagPOINT& point : largePattern)
            if (!wasTried(sum(largePattern[k], point))) untriedAfter_[k].append(point);
    }
    return true;
}

template <class T>
bool MotionEstimateBlk<T>::setImgs(T* cur, T* ref) noexcept {
    blocks_ = 0;
    cur_ = ref_ = {};
    if (params_ == nullptr) return false;
    const auto from = lumaOf(cur, params_->width, params_->height), to = lumaOf(ref, params_->width, params_->height);
    if (!from.valid() || !to.valid()) return false;
    if (params_->blkCols != params_->width / blockSide || params_->blkRows != params_->height / blockSide) return false;
    if (std::int64_t{params_->blkCols} * params_->blkRows > data_->numBlocks()) return false;
    blocks_ = params_->blkCols * params_->blkRows;
    cur_ = {from.base, from.step};
    ref_ = {to.base, to.step};
    sadList_ = primitives::sad8x8List();
    ringSads_ = primitives::halfRingSads();
    return true;
}

template <class T>
void MotionEstimateBlk<T>::process(int blk) noexcept {
    if (blk < 0 || blk >= blocks_) return;
    MEBlockData best;
    best.sad = MEBlockData::noCost;
    getBestMVPredictor(best, blk);
    getBestMVRefined(best, blk);
    scaleMVstoQP(best);
    doSubPelRefinement(best, blk);
    data_->setBlockData(best, blk);
}

template <class T>
tagPOINT MotionEstimateBlk<T>::topLeft(int blk) const noexcept {
    const int row = blk / params_->blkCols;
    return {blockSide * (blk - row * params_->blkCols), blockSide * row};
}

template <class T>
tagPOINT MotionEstimateBlk<T>::wholeVector(int blk) const noexcept {
    const MEBlockData found = data_->getBlockData(blk);
    return {found.mvx >> 2, found.mvy >> 2};
}

/// The predictors in order, each once. @return how many there are.
template <class T>
int MotionEstimateBlk<T>::neighborVectors(PredictorSlots& list, int blk) const noexcept {
    const int cols = params_->blkCols, row = blk / cols, col = blk - row * cols;
    int n = 1;  // the first slot is (0, 0)
    // A vector joins when it differs from the first slots; those not filled yet are (0, 0), which is there already, or
    // repeat a vector that is.
    const auto join = [&](tagPOINT v, int slots) {
        bool isNew = true;
        for (int i = 0; i < slots; ++i) isNew &= MVPredictors::isNew(v, list[static_cast<std::size_t>(i)]);
        list[static_cast<std::size_t>(n)] = v;
        n += isNew;
    };
    tagPOINT left, top, topRight;
    if (col >= 1) join(left = wholeVector(blk - 1), 1);
    if (row >= 1) join(top = wholeVector(blk - cols), 2);
    if (row >= 1 && col < cols - 1) join(topRight = wholeVector(blk - cols + 1), 3);
    join({median(left.x, top.x, topRight.x), median(left.y, top.y, topRight.y)}, 4);
    return n;
}

template <class T>
void MotionEstimateBlk<T>::getNeighborPreds(MVPredictors& list, int blk) const noexcept {
    PredictorSlots slots{};
    list.init(slots.data(), neighborVectors(slots, blk));
}

template <class T>
void MotionEstimateBlk<T>::getBestMVPredictor(MEBlockData& best, int blk) const noexcept {
    PredictorSlots slots{};
    const int n = neighborVectors(slots, blk);
    tryCandidates({slots.data(), static_cast<std::size_t>(n)}, best, topLeft(blk));
}

template <class T>
bool MotionEstimateBlk<T>::evaluateMVPredictors(MVPredictors candidates, MEBlockData& best, int blk) const noexcept {
    return tryCandidates(candidates.points(), best, topLeft(blk)) >= 0;
}

/// @return the index of the candidate that is best now, -1 when none was better than best.
template <class T>
int MotionEstimateBlk<T>::tryCandidates(std::span<const tagPOINT> candidates, MEBlockData& best,
                                        tagPOINT pos) const noexcept {
    const tagSIZE size{params_->width, params_->height};
    const tagPOINT base{best.mvx, best.mvy};
    const std::uint8_t* refs[MVPredictors::capacity];
    std::int32_t sads[MVPredictors::capacity];
    int which[MVPredictors::capacity], n = 0;
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        const tagPOINT mv = sum(base, candidates[i]);
        if (!MVPredictors::validate(pos, size, mv)) continue;
        refs[n] = ref_.at(pos.x + mv.x, pos.y + mv.y);
        which[n++] = static_cast<int>(i);
    }
    if (n == 0) return -1;
    sadList_(cur_.at(pos.x, pos.y), cur_.step, refs, ref_.step, n, sads);

    int winner = -1;
    for (int k = 0; k < n; ++k) {
        if (sads[k] > best.sad) continue;
        const tagPOINT mv = sum(base, candidates[static_cast<std::size_t>(which[k])]);
        if (sads[k] == best.sad && length(mv) >= length({best.mvx, best.mvy})) continue;
        best.sad = sads[k];
        best.mvx = mv.x;
        best.mvy = mv.y;
        winner = which[k];
    }
    return winner;
}

template <class T>
void MotionEstimateBlk<T>::getBestMVRefined(MEBlockData& best, int blk) const noexcept {
    const tagPOINT pos = topLeft(blk);
    // A vector that lost once loses again, since best only gets better: later passes try what is new to them.
    std::span<const tagPOINT> pattern = largeDiamond_.points();
    for (int pass = 0; pass < mostPasses && best.sad > goodEnough; ++pass) {
        const int move = tryCandidates(pattern, best, pos);
        if (move < 0) break;
        pattern = untriedAfter(pattern[static_cast<std::size_t>(move)]).points();
    }
    if (best.sad > goodEnough) tryCandidates(smallDiamond_.points(), best, pos);
}

template <class T>
const MVPredictors& MotionEstimateBlk<T>::untriedAfter(tagPOINT move) const noexcept {
    std::size_t k = 0;
    while (MVPredictors::isNew(largePattern[k], move)) ++k;
    return untriedAfter_[k];
}

template <class T>
void MotionEstimateBlk<T>::scaleMVstoQP(MEBlockData& best) noexcept {
    best.mvx *= 4;
    best.mvy *= 4;
}

template <class T>
void MotionEstimateBlk<T>::doSubPelRefinement(MEBlockData& best, int blk) const noexcept {
    if (params_->subPel) blkSearchSPel(best, blk);
}

template <class T>
void MotionEstimateBlk<T>::blkSearchSPel(MEBlockData& best, int blk) const noexcept {
    if (best.sad == 0) return;  // nothing is lower
    const MEBlockData centre = best;
    std::int32_t sads[std::size(halfRing)];
    ringCosts(centre, topLeft(blk), sads);
    for (std::size_t i = 0; i < std::size(halfRing); ++i) {
        if (sads[i] >= best.sad) continue;
        best.sad = sads[i];
        best.mvx = centre.mvx + halfRing[i].x;
        best.mvy = centre.mvy + halfRing[i].y;
    }
    if (best.sad < centre.sad) data_->setBlockData(best, blk);
}

template <class T>
void MotionEstimateBlk<T>::ringCosts(const MEBlockData& centre, tagPOINT pos, std::int32_t* sads) const noexcept {
    static_assert(std::size(halfRing) == primitives::halfRingSize);
    const primitives::ConstViewU8 frame{ref_.base, ref_.step, params_->width, params_->height};
    const std::uint8_t* const cur = cur_.at(pos.x, pos.y);
    if (((centre.mvx | centre.mvy) & 3) == 0)
        return ringSads_(cur, cur_.step, frame, pos.x + (centre.mvx >> 2), pos.y + (centre.mvy >> 2), sads);
    // The neighbours of a fraction, which a search never asks for, share no samples worth sharing.
    for (const tagPOINT& neighbour : halfRing) {
        std::uint8_t block[blockSide * blockSide];
        const std::uint8_t* const samples = block;
        static_cast<void>(primitives::interpolateLuma(frame, pos.x, pos.y, centre.mvx + neighbour.x,
                                                      centre.mvy + neighbour.y,
                                                      {block, blockSide, blockSide, blockSide}));
        sadList_(cur, cur_.step, &samples, blockSide, 1, sads++);
    }
}

template class MotionEstimateBlk<I420Img>;

}  // namespace Orvel
