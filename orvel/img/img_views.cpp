// Shadows of pictures: whole planes, rectangles and fields.
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>

#include "orvel/img/img.h"
#include "orvel/img/plane_access.h"
#include "orvel/primitives/fill.h"

namespace Orvel {

bool Img::shadowCopyPlane(Img& to, int plane) const {
    if (plane < 0 || plane >= maxPlanes || to.numPlanes_ >= maxPlanes) return false;
    if (!pl(plane).shadowCopy(to.pl(to.numPlanes_))) return false;
    ++to.numPlanes_;
    return true;
}

bool Img::shadowCopy(Img& to) const {
    if (&to == this) return false;
    to.deallocate(-1);
    for (int p = 0; p < numPlanes_; ++p)
        if (!shadowCopyPlane(to, p)) {
            to.deallocate(-1);
            return false;
        }
    to.format_ = format_;
    return true;
}

Img* Img::makeShadow() const {
    try {
        std::unique_ptr<Img> shadow(replicateType());
        if (!shadow) shadow = std::make_unique<Img>();
        return shadowCopy(*shadow) ? shadow.release() : nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

/// Appends a view that begins offset bytes into the plane's own view and steps over stepFactor rows at a time.
bool Img::appendView(Img& to, int plane, std::int64_t offset, std::int64_t width, std::int64_t height,
                     int stepFactor) const {
    if (!shadowCopyPlane(to, plane)) return false;
    ImgPl& view = to.pl(to.numPlanes_ - 1);
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
    const bool inside = std::abs(offset) <= most && view.memory().setOffset(static_cast<int>(offset));
    const bool fits =
        width >= 0 && width <= most && height >= 0 && height <= most && std::int64_t{view.step()} * stepFactor <= most;
    if (!inside || !fits) {
        view.release();
        --to.numPlanes_;
        return false;
    }
    view.setGeometry(static_cast<int>(width), static_cast<int>(height), view.step() * stepFactor, view.bpp());
    return true;
}

void Img::getShadowRoi(Img& to, tagPOINT origin, tagSIZE size) const {
    if (numPlanes_ == 0 || &to == this) return;
    to.deallocate(-1);
    const auto scaled = [](int value, int part, int whole) {
        const double ratio = whole == 0 ? 1.0 : double(part) / double(whole);
        return static_cast<std::int64_t>(value * ratio);  // truncates toward zero
    };
    for (int p = 0; p < numPlanes_; ++p) {
        const auto across = [&](int value) { return scaled(value, getWidth(p), getWidth(0)); };
        const auto down = [&](int value) { return scaled(value, getHeight(p), getHeight(0)); };
        const std::int64_t x = across(origin.x), y = down(origin.y);
        if (!appendView(to, p, y * getStep(p) + x * getBpp(p), across(size.cx), down(size.cy), 1)) {
            to.deallocate(-1);
            return;
        }
    }
    to.format_ = format_;
}

void Img::getShadowRoiPlane(Img& to, int plane, tagPOINT origin, tagSIZE size) const {
    if (!isPlane(plane)) return;
    const std::int64_t offset = std::int64_t{origin.y} * getStep(plane) + std::int64_t{origin.x} * getBpp(plane);
    appendView(to, plane, offset, size.cx, size.cy, 1);
}

bool Img::appendFieldView(Img& to, int plane, Field field) const {
    if (!isPlane(plane)) return false;
    const int height = getHeight(plane);
    // A picture of one row has no bottom line to point at; its bottom field is empty wherever it begins.
    if (field == Field::top || height < 2)
        return appendView(to, plane, 0, getWidth(plane), field == Field::top ? height / 2 + height % 2 : 0, 2);
    return appendView(to, plane, getStep(plane), getWidth(plane), height / 2, 2);
}

void Img::fieldView(Img& to, Field field) const {
    if (&to == this) return;
    to.deallocate(-1);
    for (int p = 0; p < numPlanes_; ++p)
        if (!appendFieldView(to, p, field)) {
            to.deallocate(-1);
            return;
        }
    to.format_ = format_;
}

void Img::getTopFieldShadow(Img& to) const {
    fieldView(to, Field::top);
}
void Img::getBottomFieldShadow(Img& to) const {
    fieldView(to, Field::bottom);
}
void Img::getTopFieldShadowPlane(Img& to, int plane) const {
    appendFieldView(to, plane, Field::top);
}
void Img::getBottomFieldShadowPlane(Img& to, int plane) const {
    appendFieldView(to, plane, Field::bottom);
}

void Img::fieldCopy(Img& to, int srcPlane, int dstPlane, Field field) const {
    const auto whole = planeView<const std::uint8_t>(*this, srcPlane);
    const int rows = whole.height / 2;
    const auto target = planeView<std::uint8_t>(to, dstPlane).topLeft(whole.width, rows);
    if (rows == 0 || !target.valid()) return;
    const primitives::ConstViewU8 lines{whole.row(field == Field::top ? 0 : 1), whole.step * 2, whole.width, rows};
    static_cast<void>(primitives::copy(lines, target));  // both views are valid and of one size
}

void Img::getTopField(Img& to) const {
    for (int p = 0; p < numPlanes_; ++p) fieldCopy(to, p, p, Field::top);
}
void Img::getBottomField(Img& to) const {
    for (int p = 0; p < numPlanes_; ++p) fieldCopy(to, p, p, Field::bottom);
}
void Img::getTopFieldPlane(Img& to, int srcPlane, int dstPlane) const {
    fieldCopy(to, srcPlane, dstPlane, Field::top);
}
void Img::getBottomFieldPlane(Img& to, int srcPlane, int dstPlane) const {
    fieldCopy(to, srcPlane, dstPlane, Field::bottom);
}

}  // namespace Orvel
