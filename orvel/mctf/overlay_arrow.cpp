#include "orvel/mctf/overlay_arrow.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace Orvel {
namespace {

/// One sample for each step along the longer axis, only for the steps that lie inside the plane: a line that reaches
/// far outside costs no more than one across the plane.
void drawLine(primitives::ViewU8 plane, tagPOINT from, tagPOINT to, std::uint8_t value) noexcept {
    const std::int64_t dx = std::int64_t{to.x} - from.x, dy = std::int64_t{to.y} - from.y;
    const bool steep = std::abs(dy) > std::abs(dx);
    const std::int64_t length = steep ? dy : dx, drift = steep ? dx : dy;
    const std::int64_t start = steep ? from.y : from.x, side = steep ? from.x : from.y;
    const std::int64_t last = (steep ? plane.height : plane.width) - 1;
    for (std::int64_t i = std::max<std::int64_t>(std::min(start, start + length), 0);
         i <= std::min(std::max(start, start + length), last); ++i) {
        const double along = length == 0 ? 0.0 : static_cast<double>(i - start) / static_cast<double>(length);
        const std::int64_t j = side + std::llround(along * static_cast<double>(drift));
        if (j < 0 || j >= (steep ? plane.width : plane.height)) continue;
        plane.row(static_cast<int>(steep ? i : j))[steep ? j : i] = value;
    }
}

}  // namespace

void drawOverlayArrow(primitives::ViewU8 plane, tagPOINT from, tagPOINT to, std::uint8_t value) noexcept {
    drawLine(plane, from, to, value);
    const double dx = to.x - from.x, dy = to.y - from.y, length = std::sqrt(dx * dx + dy * dy);
    if (length < 2) return;
    // Two barbs, each back along the shaft and half as far to its side.
    const double barb = std::clamp(length / 3, 2.0, 5.0) / length;
    for (const double side : {-0.5, 0.5}) {
        const tagPOINT end{to.x - static_cast<std::int32_t>(std::lround(barb * (dx - side * dy))),
                           to.y - static_cast<std::int32_t>(std::lround(barb * (dy + side * dx)))};
        drawLine(plane, to, end, value);
    }
}

}  // namespace Orvel
