#include "orvel/mctf/motion_overlay.h"

#include "orvel/mctf/block_grid.h"
#include "orvel/mctf/overlay_arrow.h"

namespace Orvel {

bool drawMotionVectors(I420Img& img, const MEData& data, std::uint8_t value, bool dots) noexcept {
    if (img.numPlanes() == 0 || img.getPixels(0) == nullptr || img.getBpp(0) != 1) return false;
    const auto luma = planeView<std::uint8_t>(img, 0);
    const auto grid = BlockGrid::of(luma.width, luma.height);
    if (data.numBlocks() < std::int64_t{grid.cols} * grid.rows) return false;
    for (int row = 0; row < grid.rows; ++row)
        for (int col = 0; col < grid.cols; ++col) {
            const MEBlockData block = data.getBlockData(row * grid.cols + col);
            const tagPOINT move{block.mvx >> 2, block.mvy >> 2}, centre{8 * col + 4, 8 * row + 4};
            if (dots || move.x != 0 || move.y != 0)
                drawOverlayArrow(luma, centre, {centre.x + move.x, centre.y + move.y}, value);
        }
    return true;
}

}  // namespace Orvel
