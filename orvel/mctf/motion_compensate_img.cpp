#include "orvel/mctf/motion_compensate_img.h"

#include <tbb/blocked_range.h>

#include <cstddef>

#include "orvel/img/parallel_rows.h"
#include "orvel/img/require.h"
#include "orvel/mctf/block_grid.h"
#include "orvel/mctf/motion_overlay.h"
#include "orvel/primitives/fill.h"
#include "orvel/primitives/interpolate_chroma.h"
#include "orvel/primitives/interpolate_luma.h"

namespace Orvel {
namespace {

using primitives::ConstViewU8;
using primitives::ViewU8;

/// One block of a plane, side x side samples.
ViewU8 blockOf(const ViewU8& plane, int side, int row, int col) noexcept {
    return {plane.row(row * side) + std::ptrdiff_t{col} * side, plane.step, side, side};
}

/// Predicts rows of blocks.
class CCompensateBlocks {
public:
    CCompensateBlocks(Img& dst, const Img& ref, const MEData& data, BlockGrid grid)
        : dstY_(planeView<std::uint8_t>(dst, 0)),
          dstU_(planeView<std::uint8_t>(dst, 1)),
          dstV_(planeView<std::uint8_t>(dst, 2)),
          refY_(planeView<const std::uint8_t>(ref, 0)),
          refU_(planeView<const std::uint8_t>(ref, 1)),
          refV_(planeView<const std::uint8_t>(ref, 2)),
          data_(data),
          grid_(grid) {}

    void operator()(const tbb::blocked_range<int>& rows) const {
        for (int row = rows.begin(); row < rows.end(); ++row)
            for (int col = 0; col < grid_.cols; ++col) {
                const MEBlockData block = data_.getBlockData(row * grid_.cols + col);
                require(primitives::interpolateLuma(refY_, 8 * col, 8 * row, block.mvx, block.mvy,
                                                    blockOf(dstY_, 8, row, col)),
                        "ippiInterpolateLumaBlock_H264_8u_P1R failed");
                require(primitives::interpolateChroma(refU_, refV_, 4 * col, 4 * row, block.mvx >> 1, block.mvy >> 1,
                                                      blockOf(dstU_, 4, row, col), blockOf(dstV_, 4, row, col)),
                        "ippiInterpolateChromaBlock_H264_8u_P2R failed");
            }
    }

private:
    ViewU8 dstY_, dstU_, dstV_;
    ConstViewU8 refY_, refU_, refV_;
    const MEData& data_;
    BlockGrid grid_;
};

void fillOutsideBlocks(Img& dst, BlockGrid grid) noexcept {
    for (int p = 0; p < 3; ++p) {
        const ViewU8 plane = planeView<std::uint8_t>(dst, p);
        for (const ViewU8 strip : {grid.rightOf(plane, p), grid.below(plane, p)})
            if (strip.valid()) static_cast<void>(primitives::set(strip, p == 0 ? 0 : 128));
    }
}

}  // namespace

template <class T>
bool MotionCompensateImg<T>::process(T* dst, MEData* data, bool draw) noexcept {
    if (dst == nullptr || data == nullptr || ref_ == nullptr || dst == ref_) return false;
    if (!isPictureOf(*dst, params_.width, params_.height) || !isPictureOf(*ref_, params_.width, params_.height))
        return false;
    const auto grid = BlockGrid::of(params_.width, params_.height);
    if (data->numBlocks() < std::int64_t{grid.cols} * grid.rows) return false;
    fillOutsideBlocks(*dst, grid);
    if (!parallelRows(grid.rows, CCompensateBlocks(*dst, *ref_, *data, grid))) return false;
    return !draw || drawMotionVectors(*dst, *data);
}

template class MotionCompensateImg<I420Img>;

}  // namespace Orvel
