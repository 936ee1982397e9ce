#include "orvel/mctf/motion_compensate_img.h"

#include <tbb/blocked_range.h>

#include <algorithm>
#include <cstddef>

#include "orvel/img/parallel_rows.h"
#include "orvel/img/require.h"
#include "orvel/mctf/block_grid.h"
#include "orvel/mctf/motion_overlay.h"
#include "orvel/primitives/fill.h"
#include "orvel/primitives/predict_blocks.h"

namespace Orvel {
namespace {

using primitives::ConstViewU8;
using primitives::ViewU8;

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
            for (int first = 0; first < grid_.cols; first += blocksAtOnce)
                predict(row, first, std::min(blocksAtOnce, grid_.cols - first));
    }

private:
    static constexpr int blocksAtOnce = 128;

    void predict(int row, int first, int count) const {
        primitives::BlockVector luma[blocksAtOnce], chroma[blocksAtOnce];
        const MEBlockData* const blocks = data_.blocks().data() + row * grid_.cols + first;
        for (int i = 0; i < count; ++i) {
            const MEBlockData& block = blocks[i];
            luma[i] = {block.mvx, block.mvy};
            chroma[i] = {block.mvx >> 1, block.mvy >> 1};
        }
        const auto n = static_cast<std::size_t>(count);
        const auto run = [&](const ViewU8& plane, int side) {
            return ViewU8{plane.row(row * side) + std::ptrdiff_t{first} * side, plane.step, count * side, side};
        };
        require(primitives::predictLuma(refY_, 8 * first, 8 * row, {luma, n}, run(dstY_, 8)),
                "ippiInterpolateLumaBlock_H264_8u_P1R failed");
        require(primitives::predictChroma(refU_, refV_, 4 * first, 4 * row, {chroma, n}, run(dstU_, 4), run(dstV_, 4)),
                "ippiInterpolateChromaBlock_H264_8u_P2R failed");
    }

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
