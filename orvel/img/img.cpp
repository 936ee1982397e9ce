#include "orvel/img/img.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>

#include "orvel/sys/external_mem.h"

namespace Orvel {

Img::Img() = default;
Img::~Img() = default;

bool Img::allocate(int width, int height, int bpp) {
    return allocatePlane(0, width, height, rowAlignment, bpp);
}

void Img::deallocate(int plane) {
    if (plane < 0) {
        for (ImgPl& p : planes_) p.release();
        numPlanes_ = 0;
        format_ = noFormat;
    } else if (plane < maxPlanes && pl(plane).memory().getSize() != 0) {
        pl(plane).release();
        numPlanes_ = std::max(0, numPlanes_ - 1);
    }
}

Img* Img::replicateType() const {
    return nullptr;
}

int Img::computeStep(int width, int bpp, int align) noexcept {
    const bool noPixels = width == 0 && bpp == 0;  // the record of a plane that was released
    if (width < 0 || align < 1 || (bpp < 1 && !noPixels)) return -1;
    const std::int64_t bytes = std::int64_t{width} * bpp;
    const std::int64_t step = (bytes + align - 1) / align * align;
    return step <= std::numeric_limits<std::int32_t>::max() ? static_cast<int>(step) : -1;
}

bool Img::allocatePlane(int plane, int width, int height, int align, int bpp) {
    if (plane < 0 || plane >= maxPlanes) return false;
    const int step = computeStep(width, bpp, align);
    const std::int64_t size = std::int64_t{step} * height;
    const bool refused = step < 0 || height < 0 || size > std::numeric_limits<std::int32_t>::max();
    if (refused || size > pl(plane).bytesHeld()) {
        deallocate(plane);
        if (refused || !pl(plane).memory().allocate(static_cast<unsigned>(size), memoryAlignment)) {
            pl(plane).initialize();
            return false;
        }
    }
    takeGeometry(plane, width, height, bpp, step);
    return true;
}

void Img::takeGeometry(int plane, int width, int height, int bpp, int step) noexcept {
    pl(plane).setGeometry(width, height, step, bpp);
    numPlanes_ = std::max(numPlanes_, plane + 1);
}

bool Img::setMemoryInterface(int plane, IAlignedMem* m) {
    return plane >= 0 && plane < maxPlanes && pl(plane).setMemoryInterface(m);
}

IAlignedMem* Img::getMemoryInterface(int plane) const noexcept {
    return plane >= 0 && plane < maxPlanes ? &pl(plane).memory() : nullptr;
}

bool Img::acceptsExternalPlane(int plane, int width, int height, int bpp, int step) const noexcept {
    const int rowBytes = computeStep(width, bpp, 1);
    if (rowBytes < 0 || height < 0 || step < rowBytes) return false;
    if (std::int64_t{step} * height > std::numeric_limits<std::int32_t>::max()) return false;
    if (isPlane(plane))
        return width == getWidth(plane) && height == getHeight(plane) && bpp == getBpp(plane) && step == getStep(plane);
    return plane == numPlanes_ && plane < maxPlanes;
}

bool Img::setExternalMemory(int plane, void* p, int width, int height, int bpp, int step) {
    if (step < 0) step = computeStep(width, bpp, 1);
    if (p == nullptr || !acceptsExternalPlane(plane, width, height, bpp, step)) return false;
    const auto size = static_cast<unsigned>(step) * static_cast<unsigned>(height);
    if (!pl(plane).memory().setMem(p, size)) {
        auto* external = new (std::nothrow) ExternalMem;
        if (external == nullptr) return false;
        pl(plane).setMemoryInterface(external);
        if (!external->setMem(p, size)) return false;
    }
    takeGeometry(plane, width, height, bpp, step);
    return true;
}

bool Img::setExternalMemory(int plane, IAlignedMem* m, int width, int height, int bpp, int step) {
    if (step < 0) step = computeStep(width, bpp, 1);
    if (m == nullptr || !acceptsExternalPlane(plane, width, height, bpp, step)) return false;
    setMemoryInterface(plane, m);
    takeGeometry(plane, width, height, bpp, step);
    return true;
}

bool Img::replicate(Img& to, int align) const {
    if (&to == this) return false;
    to.deallocate(-1);
    for (int p = 0; p < numPlanes_; ++p)
        if (!to.allocatePlane(p, getWidth(p), getHeight(p), align, getBpp(p))) {
            to.deallocate(-1);
            return false;
        }
    to.format_ = format_;
    return true;
}

bool Img::setInterleavedChannels(int plane, int n) noexcept {
    if (!isPlane(plane)) return false;
    pl(plane).setChannels(n);
    return true;
}

bool Img::getInterleavedChannels(int plane, int& n) const noexcept {
    if (!isPlane(plane)) return false;
    n = pl(plane).channels();
    return true;
}

std::uint8_t* Img::getPixel(int plane, int row, int col) const noexcept {
    if (row >= getHeight(plane) || col >= getWidth(plane) || getPixels(plane) == nullptr) return nullptr;
    return getPixels(plane) + std::ptrdiff_t{row} * getStep(plane) + std::ptrdiff_t{col} * getBpp(plane);
}

bool Img::lockPlaneToRam(int plane) {
    return plane >= 0 && plane < maxPlanes && pl(plane).memory().lock();
}

bool Img::lockToRam() {
    bool all = true;
    for (int p = 0; p < numPlanes_; ++p) all = lockPlaneToRam(p) && all;
    return all;
}

bool Img::addUserData(void* p) {
    try {
        userData_.push_back(p);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void Img::delUserData(void* p) {
    std::erase(userData_, p);
}

void* Img::getUserData(void* after) const {
    auto entry = userData_.begin();
    if (after != nullptr) {
        entry = std::find(entry, userData_.end(), after);
        if (entry != userData_.end()) ++entry;
    }
    return entry == userData_.end() ? nullptr : *entry;
}

void Img::moveUserData(Img& to, Img& from) noexcept {
    if (&to != &from) moveUserData(to.userData_, from);
}

void Img::moveUserData(std::list<void*>& to, Img& from) noexcept {
    while (!from.userData_.empty()) {
        to.splice(to.end(), from.userData_, from.userData_.begin());
        std::erase(from.userData_, to.back());
    }
}

void Img::moveUserData(Img& to, std::list<void*>& from) noexcept {
    to.userData_.splice(to.userData_.end(), from);
}

}  // namespace Orvel
