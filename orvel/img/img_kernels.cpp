#include "orvel/img/img_kernels.h"

#include <algorithm>
#include <cstring>

#include "orvel/img/plane_access.h"
#include "orvel/img/require.h"
#include "orvel/primitives/arithmetic.h"
#include "orvel/primitives/fill.h"

namespace Orvel {
namespace {

using primitives::PlaneView;
using primitives::Status;
using Rows = tbb::blocked_range<int>;

/// The first width samples of the band's rows; empty, which every primitive refuses, when the plane has fewer.
template <class T>
PlaneView<T> band(const Img* img, int plane, int width, const Rows& rows) {
    return planeView<T>(*img, plane).band(rows.begin(), rows.end()).topLeft(width, rows.end() - rows.begin());
}

}  // namespace

Img::CSetU8::CSetU8(Img* img, int plane, int width, unsigned char value)
    : img_(img), plane_(plane), width_(width), value_(value) {}
void Img::CSetU8::operator()(const Rows& rows) const {
    require(primitives::set(band<std::uint8_t>(img_, plane_, width_, rows), value_), "ippiSet_8u_C1R failed");
}

Img::CSetI16::CSetI16(Img* img, int plane, int width, short value)
    : img_(img), plane_(plane), width_(width), value_(value) {}
void Img::CSetI16::operator()(const Rows& rows) const {
    require(primitives::set(band<std::int16_t>(img_, plane_, width_, rows), value_), "ippiSet_16s_C1R failed");
}

Img::CSetI32::CSetI32(Img* img, int plane, int width, int value)
    : img_(img), plane_(plane), width_(width), value_(value) {}
void Img::CSetI32::operator()(const Rows& rows) const {
    require(primitives::set(band<std::int32_t>(img_, plane_, width_, rows), value_), "ippiSet_32s_C1R failed");
}

Img::CCopyU8::CCopyU8(Img* dst, Img* src, int plane) : dst_(dst), src_(src), plane_(plane) {}
void Img::CCopyU8::operator()(const Rows& rows) const {
    const int width = src_->getWidth(plane_) * src_->getBpp(plane_);
    require(primitives::copy(band<const std::uint8_t>(src_, plane_, width, rows),
                             band<std::uint8_t>(dst_, plane_, width, rows)),
            "ippiCopy_8u_C1R failed");
}

Img::CCopyI16::CCopyI16(Img* dst, Img* src, int plane) : dst_(dst), src_(src), plane_(plane) {}
void Img::CCopyI16::operator()(const Rows& rows) const {
    const int width = src_->getWidth(plane_) * src_->getBpp(plane_) / 2;
    require(primitives::copy(band<const std::uint16_t>(src_, plane_, width, rows),
                             band<std::uint16_t>(dst_, plane_, width, rows)),
            "ippiCopy_16s_C1R failed");
}

Img::CAddCU8::CAddCU8(Img* dst, Img* src, int dstPlane, int srcPlane, unsigned char value, int)
    : dst_(dst), src_(src), dstPlane_(dstPlane), srcPlane_(srcPlane), value_(value) {}
void Img::CAddCU8::operator()(const Rows& rows) const {
    const int width = src_->getWidth(srcPlane_);
    require(primitives::addConstant(band<const std::uint8_t>(src_, srcPlane_, width, rows), value_,
                                    band<std::uint8_t>(dst_, dstPlane_, width, rows)),
            "ippiAddC_8u_C1RSfs failed");
}

Img::CSubCU8::CSubCU8(Img* dst, Img* src, int dstPlane, int srcPlane, unsigned char value, int)
    : dst_(dst), src_(src), dstPlane_(dstPlane), srcPlane_(srcPlane), value_(value) {}
void Img::CSubCU8::operator()(const Rows& rows) const {
    const int width = src_->getWidth(srcPlane_);
    require(primitives::subtractConstant(band<const std::uint8_t>(src_, srcPlane_, width, rows), value_,
                                         band<std::uint8_t>(dst_, dstPlane_, width, rows)),
            "ippiSubC_8u_C1RSfs failed");
}

Img::CGainU8::CGainU8(Img* dst, Img* src, int dstPlane, int srcPlane, unsigned char gain, int scale)
    : dst_(dst), src_(src), dstPlane_(dstPlane), srcPlane_(srcPlane), gain_(gain), scale_(scale) {}
void Img::CGainU8::operator()(const Rows& rows) const {
    if (gain_ == 1) return;
    const int width = dst_->getWidth(dstPlane_);
    require(primitives::multiplyConstant(band<const std::uint8_t>(src_, srcPlane_, width, rows), gain_, scale_,
                                         band<std::uint8_t>(dst_, dstPlane_, width, rows)),
            "ippiMulC_8u_C1IRSfs failed");
}

Img::CAbsDiffGainU8::CAbsDiffGainU8(Img* dst, Img* src1, Img* src2, int dstPlane, int src1Plane, int src2Plane,
                                    unsigned char gain)
    : dst_(dst),
      src1_(src1),
      src2_(src2),
      dstPlane_(dstPlane),
      src1Plane_(src1Plane),
      src2Plane_(src2Plane),
      gain_(gain) {}
void Img::CAbsDiffGainU8::operator()(const Rows& rows) const {
    const int width = dst_->getWidth(dstPlane_);
    const auto dst = band<std::uint8_t>(dst_, dstPlane_, width, rows);
    require(primitives::absDiff(band<const std::uint8_t>(src1_, src1Plane_, width, rows),
                                band<const std::uint8_t>(src2_, src2Plane_, width, rows), dst),
            "ippiAbsDiff_8u_C1R failed");
    if (gain_ != 1) require(primitives::multiplyConstant(dst, gain_, 0, dst), "ippiMulC_8u_C1IRSfs failed");
}

template <class T>
void Img::CSet<T>::operator()(const Rows& rows) const {
    const auto plane = planeView<T>(*img_, plane_);
    const int width = std::min(width_, plane.width), last = std::min(rows.end(), plane.height);
    for (int y = rows.begin(); y < last; ++y)
        for (int x = 0; x < width; ++x) std::memcpy(plane.row(y) + x, &value_, sizeof value_);  // at any address
}

template class Img::CSet<unsigned char>;
template class Img::CSet<short>;
template class Img::CSet<int>;

}  // namespace Orvel
