#include "orvel/mctf/motion_estimate_blk.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <limits>

#include "orvel/img/plane_access.h"
#include "orvel/primitives/block_search.h"
#include "orvel/primitives/half_sample_ring.h"
#include "orvel/primitives/interpolate_luma.h"
#include "orvel/primitives/sad.h"

namespace Orvel {
namespace {

using primitives::BlockMatch;
using primitives::WholeVector;

constexpr int blockSide = 8;
constexpr tagPOINT halfRing[] = {{-2, -2}, {0, -2}, {2, -2}, {-2, 0}, {2, 0}, {-2, 2}, {0, 2}, {2, 2}};

int median(int a, int b, int c) noexcept {
    return std::max(std::min(a, b), std::min(std::max(a, b), c));
}

WholeVector toWhole(tagPOINT v) noexcept {
    return {v.x, v.y};
}

void store(const BlockMatch& match, MEBlockData& best) noexcept {
    best.sad = match.sad;
    best.mvx = match.vector.x;
    best.mvy = match.vector.y;
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
    search_ = &primitives::blockSearch();
    ringSads_ = primitives::halfRingSads();
    return true;
}

template <class T>
void MotionEstimateBlk<T>::process(int blk) noexcept {
    if (blk < 0 || blk >= blocks_) return;
    const Place place = placeOf(blk);
    const auto [left, top, topRight, middle] = neighborVectors(place);
    MEBlockData best;
    store(search_->search(searchedBlock(place), {toWhole(left), toWhole(top), toWhole(topRight), toWhole(middle)}),
          best);
    scaleMVstoQP(best);
    if (params_->subPel) refineToHalves(best, place.pos);
    data_->setBlockData(best, blk);
}

template <class T>
auto MotionEstimateBlk<T>::placeOf(int blk) const noexcept -> Place {
    const int row = blk / params_->blkCols, col = blk - row * params_->blkCols;
    return {blk, row, col, {blockSide * col, blockSide * row}};
}

template <class T>
tagPOINT MotionEstimateBlk<T>::wholeVector(int blk) const noexcept {
    const MEBlockData& found = data_->blocks()[static_cast<std::size_t>(blk)];
    return {found.mvx >> 2, found.mvy >> 2};
}

template <class T>
primitives::SearchedBlock MotionEstimateBlk<T>::searchedBlock(const Place& place) const noexcept {
    const auto [x, y] = place.pos;
    return {cur_.at(x, y), cur_.step, {ref_.base, ref_.step, params_->width, params_->height}, x, y};
}

/// The vectors of the left, top and top right neighbours, zero for those that do not exist, and their median.
template <class T>
auto MotionEstimateBlk<T>::neighborVectors(const Place& place) const noexcept -> Predictors {
    const int cols = params_->blkCols;
    tagPOINT left, top, topRight;
    if (place.col >= 1) left = wholeVector(place.blk - 1);
    if (place.row >= 1) top = wholeVector(place.blk - cols);
    if (place.row >= 1 && place.col < cols - 1) topRight = wholeVector(place.blk - cols + 1);
    return {left, top, topRight, tagPOINT{median(left.x, top.x, topRight.x), median(left.y, top.y, topRight.y)}};
}

template <class T>
void MotionEstimateBlk<T>::getNeighborPreds(MVPredictors& list, int blk) const noexcept {
    list.clear();
    list.append({});
    for (const tagPOINT& v : neighborVectors(placeOf(blk))) {
        const auto points = list.points();
        if (std::all_of(points.begin(), points.end(), [&](tagPOINT p) { return MVPredictors::isNew(v, p); }))
            list.append(v);
    }
}

template <class T>
void MotionEstimateBlk<T>::getBestMVPredictor(MEBlockData& best, int blk) const noexcept {
    MVPredictors list;
    getNeighborPreds(list, blk);
    evaluateMVPredictors(list, best, blk);
}

template <class T>
bool MotionEstimateBlk<T>::evaluateMVPredictors(MVPredictors candidates, MEBlockData& best, int blk) const noexcept {
    WholeVector vectors[MVPredictors::capacity];
    const auto points = candidates.points();
    std::transform(points.begin(), points.end(), vectors, toWhole);
    BlockMatch match{best.sad, {best.mvx, best.mvy}};
    const bool improved = search_->tryVectors(searchedBlock(placeOf(blk)), {vectors, points.size()}, match);
    store(match, best);
    return improved;
}

template <class T>
void MotionEstimateBlk<T>::getBestMVRefined(MEBlockData& best, int blk) const noexcept {
    BlockMatch match{best.sad, {best.mvx, best.mvy}};
    search_->refine(searchedBlock(placeOf(blk)), match);
    store(match, best);
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
    if (refineToHalves(best, placeOf(blk).pos)) data_->setBlockData(best, blk);
}

/// @return whether a neighbour was better than best.
template <class T>
bool MotionEstimateBlk<T>::refineToHalves(MEBlockData& best, tagPOINT pos) const noexcept {
    if (best.sad == 0) return false;  // nothing is lower
    std::int32_t sads[std::size(halfRing)];
    ringCosts(best, pos, sads);
    std::int32_t least = std::numeric_limits<std::int32_t>::max();  // the lowest cost, and the first place that has it
    for (std::size_t i = 0; i < std::size(halfRing); ++i)
        least = std::min(least, sads[i] << 4 | static_cast<std::int32_t>(i));
    if (least >> 4 >= best.sad) return false;
    const tagPOINT& neighbour = halfRing[least & 15];
    best.sad = least >> 4;
    best.mvx += neighbour.x;
    best.mvy += neighbour.y;
    return true;
}

template <class T>
void MotionEstimateBlk<T>::ringCosts(const MEBlockData& centre, tagPOINT pos, std::int32_t* sads) const noexcept {
    static_assert(std::size(halfRing) == primitives::halfRingSize);
    const primitives::ConstViewU8 frame{ref_.base, ref_.step, params_->width, params_->height};
    const std::uint8_t* const cur = cur_.at(pos.x, pos.y);
    if (((centre.mvx | centre.mvy) & 3) == 0)
        return ringSads_(cur, cur_.step, frame, pos.x + (centre.mvx >> 2), pos.y + (centre.mvy >> 2), sads);
    // The neighbours of a fraction, which a search never asks for, share no samples worth sharing.
    const primitives::Sad8x8 sad = primitives::sad8x8();
    for (const tagPOINT& neighbour : halfRing) {
        std::uint8_t block[blockSide * blockSide];
        static_cast<void>(primitives::interpolateLuma(frame, pos.x, pos.y, centre.mvx + neighbour.x,
                                                      centre.mvy + neighbour.y,
                                                      {block, blockSide, blockSide, blockSide}));
        sad(cur, cur_.step, block, blockSide, *sads++);
    }
}

template class MotionEstimateBlk<I420Img>;

}  // namespace Orvel
