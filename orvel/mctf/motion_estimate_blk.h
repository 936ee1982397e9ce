#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

#include "orvel/img/i420_img.h"
#include "orvel/mctf/me_data.h"
#include "orvel/mctf/motion_estimate_params.h"
#include "orvel/mctf/mv_predictors.h"
#include "orvel/sys/api.h"

namespace Orvel {

namespace primitives {
template <class>
struct PlaneView;
struct BlockSearch;
struct SearchedBlock;
}  // namespace primitives

/// Finds, block by block, where the 8x8 luma blocks of the current picture come from in a reference picture: the best
/// of the vectors found for the neighbours, refined by a diamond search on whole samples and by one ring of half
/// samples. The cost is the plain sum of absolute differences.
///
/// A block's result depends on those of its left, top and top right neighbours, which must have been searched before.
/// The searcher keeps no state between blocks, so several threads may search different blocks. It owns nothing:
/// parameters, data and pictures must outlive their use.
template <class T>
class ORVEL_API MotionEstimateBlk {
public:
    /// Without parameters or pictures.
    MotionEstimateBlk() noexcept;

    /// Takes the parameters, with blkCols and blkRows, and where results go. @return false when either is null.
    [[nodiscard]] bool init(MotionEstimateImgParams* params, MEData* data) noexcept;
    /// The pictures of the coming searches.
    /// @return false when a picture is null or its luma plane is not params.width x params.height samples of 8 bits
    /// with memory, when blkCols and blkRows are not those of that size, the data has fewer records, or init() has not
    /// succeeded; nothing is then searched.
    bool setImgs(T* cur, T* ref) noexcept;

    /// Searches one block and stores its record; does nothing without pictures or for a block that does not exist.
    void process(int blk) noexcept;

protected:
    // Vectors are whole samples until scaleMVstoQP(), quarter samples from then on and in the data. Blocks must exist.

    /// The vectors worth trying first: zero, left, top, top right and their median, each once.
    void getNeighborPreds(MVPredictors& list, int blk) const noexcept;
    void getBestMVPredictor(MEBlockData& best, int blk) const noexcept;
    /// Tries best's vector plus each candidate that stays inside the picture. Better is a lower cost, or the same cost
    /// and a shorter vector (|x| + |y|). @return whether best was improved.
    bool evaluateMVPredictors(MVPredictors candidates, MEBlockData& best, int blk) const noexcept;
    /// Walks the large diamond up to 8 times and the small one once while the cost is above 255.
    void getBestMVRefined(MEBlockData& best, int blk) const noexcept;
    void doSubPelRefinement(MEBlockData& best, int blk) const noexcept;
    /// Tries the eight half-sample neighbours of best's vector; only a lower cost wins, and is stored at once.
    void blkSearchSPel(MEBlockData& best, int blk) const noexcept;
    static void scaleMVstoQP(MEBlockData& best) noexcept;

private:
    using Predictors = std::array<tagPOINT, 4>;

    struct Samples {
        const std::uint8_t* base = nullptr;
        std::ptrdiff_t step = 0;
        const std::uint8_t* at(std::ptrdiff_t x, std::ptrdiff_t y) const noexcept { return base + y * step + x; }
    };
    using RingSads = void (*)(const std::uint8_t* cur, std::ptrdiff_t curStep,
                              primitives::PlaneView<const std::uint8_t> ref, int x, int y, std::int32_t* sads);

    /// Where a block stands: its number, its place in the grid, and its top left sample.
    struct Place {
        int blk, row, col;
        tagPOINT pos;
    };

    Place placeOf(int blk) const noexcept;
    tagPOINT wholeVector(int blk) const noexcept;
    Predictors neighborVectors(const Place& place) const noexcept;
    primitives::SearchedBlock searchedBlock(const Place& place) const noexcept;
    bool refineToHalves(MEBlockData& best, tagPOINT pos) const noexcept;
    void ringCosts(const MEBlockData& centre, tagPOINT pos, std::int32_t* sads) const noexcept;

    MotionEstimateImgParams* params_ = nullptr;
    MEData* data_ = nullptr;
    int blocks_ = 0;  // that may be searched: 0 without pictures
    Samples cur_, ref_;
    const primitives::BlockSearch* search_ = nullptr;  // the primitives of this machine
    RingSads ringSads_ = nullptr;
};

extern template class MotionEstimateBlk<I420Img>;

}  // namespace Orvel
