// The seven picture formats. They differ in the table of format_info.h and in how they answer a failed allocation.
#include <bit>
#include <cstdint>
#include <cstring>
#include <new>

#include "orvel/img/bgr_img.h"
#include "orvel/img/format_info.h"
#include "orvel/img/hy16_img.h"
#include "orvel/img/i420_img.h"
#include "orvel/img/img_kernels.h"
#include "orvel/img/parallel_rows.h"
#include "orvel/img/plane_access.h"
#include "orvel/img/uyvy_img.h"
#include "orvel/img/v216_img.h"
#include "orvel/img/yuyv_img.h"
#include "orvel/img/yv16_img.h"

namespace Orvel {
namespace {

template <class T>
Img* newOfType() {
    try {
        return new T;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

bool allocatePlanes(Img& img, const FormatInfo& info, int width, int height, int bpp) {
    for (int p = 0; p < info.planes; ++p) {
        const int planeWidth = p == 0 ? width : width / 2;
        const int planeHeight = p == 0 || !info.halfHeightChroma ? height : height / 2 + height % 2;
        if (!img.allocatePlane(p, planeWidth, planeHeight, Img::rowAlignment, bpp)) return false;
        img.setInterleavedChannels(p, info.channels);
    }
    return true;
}

/// Planar pictures are never left half allocated.
template <class T>
bool allocatePlanar(T& img, int width, int height, int bpp) {
    constexpr const FormatInfo& info = *findFormat(T::getClassFormat());
    if (info.evenWidthOnly && width % 2 != 0) return false;
    if (!allocatePlanes(img, info, width, height, bpp)) {
        img.deallocate(-1);
        return false;
    }
    img.setFormat(info.code);
    return true;
}

/// Packed 8-bit pictures take their format also when memory runs out, V216 keeps the one it had.
template <class T>
bool allocatePacked(T& img, int width, int height, int bpp) {
    constexpr const FormatInfo& info = *findFormat(T::getClassFormat());
    if (info.evenWidthOnly && width % 2 != 0) return false;
    const bool allocated = allocatePlanes(img, info, width, height, bpp);
    if (allocated || !info.evenWidthOnly) img.setFormat(info.code);
    return allocated;
}

/// Writes the four bytes of a pixel pair over all whole pairs.
void fillPairs(Img& img, const std::uint8_t (&pair)[4]) {
    const auto pattern = std::bit_cast<std::int32_t>(pair);
    const Img::CSetI32 body(&img, 0, img.getWidth(0) / 2, pattern);
    static_cast<void>(parallelRows(img.getHeight(0), body));  // fails only where there is no whole pair to fill
}

}  // namespace

I420Img::I420Img() {
    setFormat(getClassFormat());
}
I420Img::~I420Img() = default;
bool I420Img::allocate(int width, int height, int bpp) {
    return allocatePlanar(*this, width, height, bpp);
}
Img* I420Img::replicateType() const {
    return newOfType<I420Img>();
}

YV16Img::YV16Img() {
    setFormat(getClassFormat());
}
YV16Img::~YV16Img() = default;
bool YV16Img::allocate(int width, int height, int bpp) {
    return allocatePlanar(*this, width, height, bpp);
}
Img* YV16Img::replicateType() const {
    return newOfType<YV16Img>();
}

HY16Img::HY16Img() {
    setFormat(getClassFormat());
}
HY16Img::~HY16Img() = default;
bool HY16Img::allocate(int width, int height, int bpp) {
    return allocatePlanar(*this, width, height, bpp);
}
Img* HY16Img::replicateType() const {
    return newOfType<HY16Img>();
}

UYVYImg::UYVYImg() {
    setFormat(getClassFormat());
}
UYVYImg::~UYVYImg() = default;
bool UYVYImg::allocate(int width, int height, int bpp) {
    return allocatePacked(*this, width, height, bpp);
}
Img* UYVYImg::replicateType() const {
    return newOfType<UYVYImg>();
}
bool UYVYImg::set(unsigned char y, unsigned char u, unsigned char v) {
    fillPairs(*this, {u, y, v, y});
    return true;
}

YUYVImg::YUYVImg() {
    setFormat(getClassFormat());
}
YUYVImg::~YUYVImg() = default;
bool YUYVImg::allocate(int width, int height, int bpp) {
    return allocatePacked(*this, width, height, bpp);
}
Img* YUYVImg::replicateType() const {
    return newOfType<YUYVImg>();
}
bool YUYVImg::set(unsigned char y, unsigned char u, unsigned char v) {
    fillPairs(*this, {y, u, y, v});
    return true;
}

V216Img::V216Img() {
    setFormat(getClassFormat());
}
V216Img::~V216Img() = default;
bool V216Img::allocate(int width, int height, int bpp) {
    return allocatePacked(*this, width, height, bpp);
}
Img* V216Img::replicateType() const {
    return newOfType<V216Img>();
}
bool V216Img::set(unsigned short y, unsigned short u, unsigned short v) {
    const unsigned short pair[4] = {u, y, v, y};
    const auto words = planeView<unsigned short>(*this, 0);
    for (int row = 0; row < words.height; ++row)
        for (int x = 0; x < words.width; ++x) std::memcpy(words.row(row) + x, &pair[x % 4], 2);  // at any address
    return true;
}

BGRImg::BGRImg() {
    setFormat(getClassFormat());
}
BGRImg::~BGRImg() = default;
bool BGRImg::allocate(int width, int height, int bpp) {
    return allocatePacked(*this, width, height, bpp);
}
Img* BGRImg::replicateType() const {
    return newOfType<BGRImg>();
}

}  // namespace Orvel
