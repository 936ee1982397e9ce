#include "orvel/primitives/mirror.h"

#include <algorithm>

#include "orvel/primitives/fill.h"

namespace Orvel::primitives {
namespace {

Status check(ConstViewU8 src, int bytesPerPixel, MirrorAxis axis) {
    if (src.base == nullptr) return Status::nullPointer;
    if (!src.valid()) return Status::badSize;
    if (axis < MirrorAxis::leftRight || axis > MirrorAxis::both || bytesPerPixel < 1 || bytesPerPixel > 4)
        return Status::badArgument;
    return src.width % bytesPerPixel == 0 ? Status::ok : Status::badSize;
}

void reverseRow(std::uint8_t* row, int width, int bytesPerPixel) {
    std::reverse(row, row + width);
    for (int x = 0; x < width; x += bytesPerPixel) std::reverse(row + x, row + x + bytesPerPixel);
}

}  // namespace

Status mirrorInPlace(ViewU8 plane, int bytesPerPixel, MirrorAxis axis) noexcept {
    if (const Status fault = check(plane, bytesPerPixel, axis); fault != Status::ok) return fault;
    if (axis != MirrorAxis::leftRight)
        for (int y = 0; y < plane.height / 2; ++y)
            std::swap_ranges(plane.row(y), plane.row(y) + plane.width, plane.row(plane.height - 1 - y));
    if (axis != MirrorAxis::topBottom)
        for (int y = 0; y < plane.height; ++y) reverseRow(plane.row(y), plane.width, bytesPerPixel);
    return Status::ok;
}

Status mirror(ConstViewU8 src, int bytesPerPixel, ViewU8 dst, MirrorAxis axis) noexcept {
    if (dst.base == nullptr) return Status::nullPointer;
    if (const Status fault = check(src, bytesPerPixel, axis); fault != Status::ok) return fault;
    if (const Status fault = copy(src, dst); fault != Status::ok) return fault;
    return mirrorInPlace(dst, bytesPerPixel, axis);
}

}  // namespace Orvel::primitives
