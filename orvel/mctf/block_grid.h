#pragma once
#include "orvel/img/i420_img.h"
#include "orvel/img/plane_access.h"

namespace Orvel {

/// The blocks of a 4:2:0 picture that the temporal filter works on: whole 8x8 luma blocks with the 4x4 blocks of each
/// chroma plane. The strips right of them and below are narrower than a block.
struct BlockGrid {
    int cols = 0, rows = 0;

    static constexpr BlockGrid of(int width, int height) noexcept { return {width / 8, height / 8}; }
    static constexpr int side(int plane) noexcept { return plane == 0 ? 8 : 4; }

    /// The part of a plane that the blocks cover; empty when the plane does not hold them all.
    template <class T>
    primitives::PlaneView<T> of(primitives::PlaneView<T> plane, int index) const noexcept {
        return plane.topLeft(cols * side(index), rows * side(index));
    }
    /// The columns right of the blocks, as high as they are; not valid() when there are none.
    template <class T>
    primitives::PlaneView<T> rightOf(primitives::PlaneView<T> plane, int index) const noexcept {
        const int covered = cols * side(index);
        return {plane.base + covered, plane.step, plane.width - covered, rows * side(index)};
    }
    /// The rows below the blocks over the whole width; not valid() when there are none.
    template <class T>
    primitives::PlaneView<T> below(primitives::PlaneView<T> plane, int index) const noexcept {
        return plane.band(rows * side(index), plane.height);
    }
};

/// True for a 4:2:0 picture with width x height luma samples. A field of a picture may have one chroma row less than a
/// picture of its own would have; the blocks never reach that row.
inline bool isPictureOf(const Img& img, int width, int height) noexcept {
    if (img.numPlanes() != 3) return false;
    for (int p = 0; p < 3; ++p) {
        if (img.getPixels(p) == nullptr || img.getBpp(p) != 1) return false;
        if (img.getWidth(p) != (p == 0 ? width : width / 2)) return false;
    }
    const int chroma = img.getHeight(1);
    return img.getHeight(0) == height && (chroma == height / 2 || chroma == (height + 1) / 2) &&
           img.getHeight(2) == chroma;
}

}  // namespace Orvel
