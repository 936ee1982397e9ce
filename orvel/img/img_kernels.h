#pragma once
#include <tbb/blocked_range.h>

#include <cstdint>

#include "orvel/img/img.h"

namespace Orvel {

// Row-band bodies: each applies one pixel primitive to the rows [begin, end) of a plane and is run by
// tbb::parallel_for over the plane's rows. A body owns nothing; the pictures must outlive the loop and keep their
// geometry. Bands write disjoint rows, so a body may also work in place. A band that lies outside a plane it reads or
// writes, or has no columns, throws std::runtime_error with the text named at the body; nothing is then written.

/// dst = value in width bytes of each row; "ippiSet_8u_C1R failed".
class ORVEL_API Img::CSetU8 {
public:
    CSetU8(Img* img, int plane, int width, unsigned char value);
    void operator()(const tbb::blocked_range<int>& rows) const;

private:
    Img* img_;
    int plane_, width_;
    unsigned char value_;
};

/// dst = value in width 16-bit samples of each row; "ippiSet_16s_C1R failed".
class ORVEL_API Img::CSetI16 {
public:
    CSetI16(Img* img, int plane, int width, short value);
    void operator()(const tbb::blocked_range<int>& rows) const;

private:
    Img* img_;
    int plane_, width_;
    short value_;
};

/// dst = value in width 32-bit words of each row; "ippiSet_32s_C1R failed".
class ORVEL_API Img::CSetI32 {
public:
    CSetI32(Img* img, int plane, int width, int value);
    void operator()(const tbb::blocked_range<int>& rows) const;

private:
    Img* img_;
    int plane_, width_, value_;
};

/// Copies the plane of src byte by byte to the same plane of dst; "ippiCopy_8u_C1R failed".
class ORVEL_API Img::CCopyU8 {
public:
    CCopyU8(Img* dst, Img* src, int plane);
    void operator()(const tbb::blocked_range<int>& rows) const;

private:
    Img *dst_, *src_;
    int plane_;
};

/// Copies the plane of src in 16-bit samples to the same plane of dst; "ippiCopy_16s_C1R failed".
class ORVEL_API Img::CCopyI16 {
public:
    CCopyI16(Img* dst, Img* src, int plane);
    void operator()(const tbb::blocked_range<int>& rows) const;

private:
    Img *dst_, *src_;
    int plane_;
};

/// dst = min(255, src + value) over the width of src; scale is kept but has no effect. "ippiAddC_8u_C1RSfs failed".
class ORVEL_API Img::CAddCU8 {
public:
    CAddCU8(Img* dst, Img* src, int dstPlane, int srcPlane, unsigned char value, int scale);
    void operator()(const tbb::blocked_range<int>& rows) const;

private:
    Img *dst_, *src_;
    int dstPlane_, srcPlane_;
    unsigned char value_;
};

/// dst = max(0, src - value) over the width of src; scale is kept but has no effect. "ippiSubC_8u_C1RSfs failed".
class ORVEL_API Img::CSubCU8 {
public:
    CSubCU8(Img* dst, Img* src, int dstPlane, int srcPlane, unsigned char value, int scale);
    void operator()(const tbb::blocked_range<int>& rows) const;

private:
    Img *dst_, *src_;
    int dstPlane_, srcPlane_;
    unsigned char value_;
};

/// dst = min(255, src * gain / 2^scale), to the nearest, halves to even, over the width of dst. A gain of 1 does
/// nothing at all, also between two pictures: use it in place or after a copy. "ippiMulC_8u_C1IRSfs failed".
class ORVEL_API Img::CGainU8 {
public:
    CGainU8(Img* dst, Img* src, int dstPlane, int srcPlane, unsigned char gain, int scale);
    void operator()(const tbb::blocked_range<int>& rows) const;

private:
    Img *dst_, *src_;
    int dstPlane_, srcPlane_;
    unsigned char gain_;
    int scale_;
};

/// dst = min(255, |src1 - src2| * gain) over the width of dst; "ippiAbsDiff_8u_C1R failed", "ippiMulC_8u_C1IRSfs
/// failed".
class ORVEL_API Img::CAbsDiffGainU8 {
public:
    CAbsDiffGainU8(Img* dst, Img* src1, Img* src2, int dstPlane, int src1Plane, int src2Plane, unsigned char gain);
    void operator()(const tbb::blocked_range<int>& rows) const;

private:
    Img *dst_, *src1_, *src2_;
    int dstPlane_, src1Plane_, src2Plane_;
    unsigned char gain_;
};

/// dst = value in width elements of each row, T unsigned char, short or int. Plain stores; never fails, rows and
/// columns outside the plane are left out.
template <class T>
class Img::CSet {
public:
    CSet(Img* img, int plane, int width, T value) : img_(img), plane_(plane), width_(width), value_(value) {}
    void operator()(const tbb::blocked_range<int>& rows) const;

private:
    Img* img_;
    int plane_, width_;
    T value_;
};

extern template class ORVEL_API Img::CSet<unsigned char>;
extern template class ORVEL_API Img::CSet<short>;
extern template class ORVEL_API Img::CSet<int>;

}  // namespace Orvel
