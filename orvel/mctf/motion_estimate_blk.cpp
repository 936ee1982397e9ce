#include "orvel/mctf/motion_estimate_blk.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <tuple>

#include "orvel/img/plane_access.h"
#include "orvel/primitives/half_sample_ring.h"
#include "orvel/primitives/interpolate_luma.h"
#include "orvel/primitives/sad.h"

namespace Orvel {
namespace {

constexpr int blockSide = 8;
constexpr int goodEnough = 255;  // cost up to which a block is not refined
constexpr int mostPasses = 8;    // of the large diamond

constexpr tagPOINT largeDiamond[] = {{0, 2}, {-1, 1}, {-2, 0}, {-1, -1}, {0, -2}, {1, -1}, {2, 0}, {1, 1}};
constexpr tagPOINT smallDiamond[] = {{-1, 0}, {0, -1}, {1, 0}, {0, 1}};
constexpr tagPOINT halfRing[] = {{-2, -2}, {0, -2}, {2, -2}, {-2, 0}, {2, 0}, {-2, 2}, {0, 2}, {2, 2}};

/// How far a pattern reaches in any direction.
template <std::size_t n>
constexpr int reachOf(const tagPOINT (&points)[n]) noexcept {
    int reach = 0;
    for (const tagPOINT& p : points) reach = std::max({reach, p.x, -p.x, p.y, -p.y});
    return reach;
}

int median(int a, int b, int c) noexcept {
    return std::max(std::min(a, b), std::min(std::max(a, b), c));
}

int length(tagPOINT v) noexcept {
    return std::abs(v.x) + std::abs(v.y);
}

/// @return whether a vector of that cost is better than best, which then has it.
bool improve(MEBlockData& best, std::int32_t sad, tagPOINT v) noexcept {
    if (sad > best.sad || (sad == best.sad && length(v) >= length({best.mvx, best.mvy}))) return false;
    best.sad = sad;
    best.mvx = v.x;
    best.mvy = v.y;
    return true;
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
    sadList_ = primitives::sad8x8List();
    ringSads_ = primitives::halfRingSads();
    return true;
}

template <class T>
void MotionEstimateBlk<T>::process(int blk) noexcept {
    if (blk < 0 || blk >= blocks_) return;
    const Place place = placeOf(blk);
    MEBlockData best;
    best.sad = MEBlockData::noCost;
    tryPredictors(best, place);
    refine(best, place.pos);
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
    const MEBlockData found = data_->getBlockData(blk);
    return {found.mvx >> 2, found.mvy >> 2};
}

/// Zero, the vectors of the neighbours, zero for those that do not exist, and their median.
template <class T>
auto MotionEstimateBlk<T>::neighborVectors(const Place& place) const noexcept -> PredictorSlots {
    const int cols = params_->blkCols;
    tagPOINT left, top, topRight;
    if (place.col >= 1) left = wholeVector(place.blk - 1);
    if (place.row >= 1) top = wholeVector(place.blk - cols);
    if (place.row >= 1 && place.col < cols - 1) topRight = wholeVector(place.blk - cols + 1);
    return {tagPOINT{}, left, top, topRight,
            tagPOINT{median(left.x, top.x, topRight.x), median(left.y, top.y, topRight.y)}};
}

template <class T>
void MotionEstimateBlk<T>::getNeighborPreds(MVPredictors& list, int blk) const noexcept {
    list.clear();
    for (const tagPOINT& v : neighborVectors(placeOf(blk))) {
        const auto points = list.points();
        if (std::all_of(points.begin(), points.end(), [&](tagPOINT p) { return MVPredictors::isNew(v, p); }))
            list.append(v);
    }
}

template <class T>
void MotionEstimateBlk<T>::getBestMVPredictor(MEBlockData& best, int blk) const noexcept {
    tryPredictors(best, placeOf(blk));
}

/// A vector that comes a second time does not win. So they need not be distinct, four costing as much as two, and zero,
/// which is always inside the picture, stands in for a vector that leads out of it.
template <class T>
void MotionEstimateBlk<T>::tryPredictors(MEBlockData& best, const Place& place) const noexcept {
    const tagSIZE size{params_->width, params_->height};
    PredictorSlots slots = neighborVectors(place);
    const std::uint8_t* refs[std::tuple_size_v<PredictorSlots>];
    std::int32_t sads[std::tuple_size_v<PredictorSlots>];
    const bool allZero = (slots[1].x | slots[1].y | slots[2].x | slots[2].y | slots[3].x | slots[3].y) == 0;
    bool medianIsNew = true;
    for (std::size_t i = 1; i < 4; ++i) medianIsNew &= MVPredictors::isNew(slots[4], slots[i]);
    const int n = allZero ? 1 : medianIsNew ? 5 : 4;
    for (std::size_t i = 0; i < slots.size(); ++i) {
        const bool inside = MVPredictors::validate(place.pos, size, slots[i]);
        slots[i] = {inside ? slots[i].x : 0, inside ? slots[i].y : 0};
        refs[i] = ref_.at(place.pos.x + slots[i].x, place.pos.y + slots[i].y);
    }
    sadList_(cur_.at(place.pos.x, place.pos.y), cur_.step, refs, ref_.step, n, sads);
    for (int i = 0; i < n; ++i) improve(best, sads[i], slots[static_cast<std::size_t>(i)]);
}

template <class T>
bool MotionEstimateBlk<T>::evaluateMVPredictors(MVPredictors candidates, MEBlockData& best, int blk) const noexcept {
    return tryCandidates(candidates.points(), best, placeOf(blk).pos);
}

/// @return whether a candidate was better than best.
template <class T>
bool MotionEstimateBlk<T>::tryCandidates(std::span<const tagPOINT> candidates, MEBlockData& best,
                                         tagPOINT pos) const noexcept {
    const tagSIZE size{params_->width, params_->height};
    const std::uint8_t* refs[MVPredictors::capacity];
    std::int32_t sads[MVPredictors::capacity];
    tagPOINT tried[MVPredictors::capacity];
    int n = 0;
    for (const tagPOINT& candidate : candidates) {
        const tagPOINT mv{best.mvx + candidate.x, best.mvy + candidate.y};
        if (!MVPredictors::validate(pos, size, mv)) continue;
        refs[n] = ref_.at(pos.x + mv.x, pos.y + mv.y);
        tried[n++] = mv;
    }
    if (n == 0) return false;
    sadList_(cur_.at(pos.x, pos.y), cur_.step, refs, ref_.step, n, sads);
    bool improved = false;
    for (int k = 0; k < n; ++k) improved |= improve(best, sads[k], tried[k]);
    return improved;
}

/// tryCandidates() for a pattern around best's vector, faster where all of it lies inside the picture.
template <class T>
template <const auto& pattern>
bool MotionEstimateBlk<T>::tryPattern(MEBlockData& best, tagPOINT pos) const noexcept {
    constexpr std::size_t n = std::size(pattern);
    constexpr int reach = reachOf(pattern);
    const int x = pos.x + best.mvx, y = pos.y + best.mvy;
    if (x < reach || y < reach || x + blockSide + reach > params_->width || y + blockSide + reach > params_->height)
        return tryCandidates(pattern, best, pos);
    const std::uint8_t* refs[n];
    std::int32_t sads[n];
    for (std::size_t i = 0; i < n; ++i) refs[i] = ref_.at(x + pattern[i].x, y + pattern[i].y);
    sadList_(cur_.at(pos.x, pos.y), cur_.step, refs, ref_.step, static_cast<int>(n), sads);
    const tagPOINT base{best.mvx, best.mvy};
    bool improved = false;
    for (std::size_t i = 0; i < n; ++i)
        improved |= improve(best, sads[i], {base.x + pattern[i].x, base.y + pattern[i].y});
    return improved;
}

template <class T>
void MotionEstimateBlk<T>::getBestMVRefined(MEBlockData& best, int blk) const noexcept {
    refine(best, placeOf(blk).pos);
}

template <class T>
void MotionEstimateBlk<T>::refine(MEBlockData& best, tagPOINT pos) const noexcept {
    for (int pass = 0; pass < mostPasses && best.sad > goodEnough; ++pass)
        if (!tryPattern<largeDiamond>(best, pos)) break;
    if (best.sad > goodEnough) tryPattern<smallDiamond>(best, pos);
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
