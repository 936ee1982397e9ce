// Filling, copying and mirroring the pixels of a picture.
#include "orvel/img/img.h"
#include "orvel/img/img_kernels.h"
#include "orvel/img/parallel_rows.h"
#include "orvel/img/plane_access.h"
#include "orvel/primitives/fill.h"
#include "orvel/primitives/mirror.h"

namespace Orvel {
namespace {

constexpr bool copyableBpp(int bpp) {
    return bpp >= 1 && bpp <= 4;
}

}  // namespace

bool Img::set(int value) {
    for (int p = 0; p < numPlanes_; ++p)
        if (!setPlane(p, value)) return false;
    return true;
}

bool Img::setPlane(int plane, int value) {
    if (!isPlane(plane)) return false;
    const int width = getWidth(plane), bpp = getBpp(plane);
    if (bpp == 2 && pl(plane).channels() == 1)
        return parallelRows(getHeight(plane), CSetI16(this, plane, width, static_cast<short>(value)));
    return parallelRows(getHeight(plane), CSetU8(this, plane, width * bpp, static_cast<unsigned char>(value)));
}

bool Img::copy(Img& to) const {
    for (int p = 0; p < numPlanes_; ++p)
        if (!copyPlane(to, p, p)) return false;
    return true;
}

bool Img::copyPlane(Img& to, int srcPlane, int dstPlane) const {
    if (!isPlane(srcPlane) || !copyableBpp(getBpp(srcPlane))) return false;
    if (!hasPixels(*this, srcPlane)) return true;
    const auto source = planeView<const std::uint8_t>(*this, srcPlane);
    const auto target = planeView<std::uint8_t>(to, dstPlane).topLeft(source.width, source.height);
    return primitives::copy(source, target) == primitives::Status::ok;
}

bool Img::copyMirror(Img& to, int mode) {
    for (int p = 0; p < numPlanes_; ++p)
        if (!copyPlaneMirror(to, p, p, mode)) return false;
    return mode >= 0 && mode <= 2;
}

bool Img::copyPlaneMirror(Img& to, int srcPlane, int dstPlane, int mode) {
    const bool knownMode = mode >= 0 && mode <= 2;
    if (!knownMode || !isPlane(srcPlane) || !copyableBpp(getBpp(srcPlane))) return false;
    if (!hasPixels(*this, srcPlane)) return true;
    const auto axis = static_cast<primitives::MirrorAxis>(mode);
    const int bpp = getBpp(srcPlane);
    const auto source = planeView<std::uint8_t>(*this, srcPlane);
    if (&to == this) return primitives::mirrorInPlace(source, bpp, axis) == primitives::Status::ok;
    const auto target = planeView<std::uint8_t>(to, dstPlane).topLeft(source.width, source.height);
    return primitives::mirror(source, bpp, target, axis) == primitives::Status::ok;
}

}  // namespace Orvel
