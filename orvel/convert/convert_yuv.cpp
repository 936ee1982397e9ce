// Conversions between the 8-bit YUV formats.
#include <stdexcept>

#include "orvel/convert/convert_img.h"
#include "orvel/convert/convert_planes.h"
#include "orvel/img/parallel_rows.h"
#include "orvel/img/require.h"
#include "orvel/img/working_set.h"
#include "orvel/primitives/yuv420.h"
#include "orvel/primitives/yuv420_interlaced.h"
#include "orvel/primitives/yuv422.h"

namespace Orvel {
namespace {

using namespace convert;
using primitives::Status;
using Units = tbb::blocked_range<int>;

/// Picture rows of a range of units.
struct Rows {
    Rows(const Units& units, int rowsPerUnit) : first(units.begin() * rowsPerUnit), last(units.end() * rowsPerUnit) {}
    int first, last;
};

/// W pixels of the band's rows of a packed picture, two bytes each.
template <class T>
PlaneView<T> packed(const Img& img, int width, Rows rows) {
    return part<T>(img, 0, 2 * width, rows.first, rows.last);
}

template <class T>
PlanarBand<T> i420(const Img& img, int width, Rows rows) {
    return planarBand<T>(img, i420Chroma, 2, width, rows.first, rows.last);
}

template <class T>
PlanarBand<T> yv16(const Img& img, int width, Rows rows) {
    return planarBand<T>(img, yv16Chroma, 1, width, rows.first, rows.last);
}

using In = const std::uint8_t;
using Out = std::uint8_t;

// How to store, where the primitive lets its caller say, comes last.
template <class F, class... How>
Status unpack(F* primitive, const PlaneView<In>& from, const PlanarBand<Out>& to, How... how) {
    return primitive(from, to.y, to.cb, to.cr, how...);
}
template <class F, class... How>
Status pack(F* primitive, const PlanarBand<In>& from, const PlaneView<Out>& to, How... how) {
    return primitive(from.y, from.cb, from.cr, to, how...);
}
template <class F, class... How>
Status replane(F* primitive, const PlanarBand<In>& from, const PlanarBand<Out>& to, How... how) {
    return primitive(from.y, from.cb, from.cr, to.y, to.cb, to.cr, how...);
}

}  // namespace

void ConvertImg::CUYVYToI420_progressive::operator()(const Units& pairs) const {
    const Rows rows(pairs, 2);
    const int width = src_->getWidth(0);
    require(unpack(primitives::uyvyToPlanar420, packed<In>(*src_, width, rows), i420<Out>(*dst_, width, rows),
                   storesFor(*src_, *dst_)),
            "ippiCbYCr422ToYCbCr420_8u_C2P3R failed");
}

void ConvertImg::CUYVYToI420_interlaced::operator()(const Units& groups) const {
    const Rows rows(groups, 4);
    const int width = src_->getWidth(0);
    require(unpack(primitives::uyvyToPlanar420Interlaced, packed<In>(*src_, width, rows), i420<Out>(*dst_, width, rows),
                   storesFor(*src_, *dst_)),
            "ippiCbYCr422ToYCbCr420_Interlace_8u_C2P3R failed");
}

void ConvertImg::CUYVYToYV16::operator()(const Units& units) const {
    const Rows rows(units, 1);
    const int width = src_->getWidth(0);
    require(unpack(primitives::uyvyToPlanar422, packed<In>(*src_, width, rows), yv16<Out>(*dst_, width, rows),
                   storesFor(*src_, *dst_)),
            "ippiCbYCr422ToYCbCr422_8u_C2P3R failed");
}

void ConvertImg::CUYVYToYUYV::operator()(const Units& units) const {
    const Rows rows(units, 1);
    const int width = src_->getWidth(0);
    require(primitives::swapChromaLuma(packed<In>(*src_, width, rows), packed<Out>(*dst_, width, rows),
                                       storesFor(*src_, *dst_)),
            "ippiCbYCr422ToYCbCr422_8u_C2R failed");
}

void ConvertImg::CYUYVToI420_progressive::operator()(const Units& pairs) const {
    const Rows rows(pairs, 2);
    const int width = src_->getWidth(0);
    require(unpack(primitives::yuyvToPlanar420, packed<In>(*src_, width, rows), i420<Out>(*dst_, width, rows),
                   storesFor(*src_, *dst_)),
            "ippiYCbCr422ToYCbCr420_8u_C2P3R failed");
}

void ConvertImg::CYUYVToYV16::operator()(const Units& units) const {
    const Rows rows(units, 1);
    const int width = src_->getWidth(0);
    require(unpack(primitives::yuyvToPlanar422, packed<In>(*src_, width, rows), yv16<Out>(*dst_, width, rows),
                   storesFor(*src_, *dst_)),
            "ippiYCbCr422_8u_C2P3R failed");
}

void ConvertImg::CI420ToUYVY_progressive::operator()(const Units& pairs) const {
    const Rows rows(pairs, 2);
    const int width = src_->getWidth(0);
    require(pack(primitives::planar420ToUyvy, i420<In>(*src_, width, rows), packed<Out>(*dst_, width, rows),
                 storesFor(*src_, *dst_)),
            "ippiYCrCb420ToCbYCr422_8u_P3C2R failed");
}

void ConvertImg::CI420ToYUYV_progressive::operator()(const Units& pairs) const {
    const Rows rows(pairs, 2);
    const int width = src_->getWidth(0);
    require(pack(primitives::planar420ToYuyv, i420<In>(*src_, width, rows), packed<Out>(*dst_, width, rows),
                 storesFor(*src_, *dst_)),
            "ippiYCrCb420ToYCbCr422_8u_P3C2R failed");
}

void ConvertImg::CI420ToYV16_progressive::operator()(const Units& pairs) const {
    const Rows rows(pairs, 2);
    const int width = src_->getWidth(0);
    require(replane(primitives::planar420ToPlanar422, i420<In>(*src_, width, rows), yv16<Out>(*dst_, width, rows),
                    storesFor(*src_, *dst_)),
            "ippiYCbCr420ToYCbCr422_8u_P3R failed");
}

void ConvertImg::CI420ToYV16_interlaced::operator()(const Units& groups) const {
    const Rows rows(groups, 4);
    const int width = src_->getWidth(0);
    require(replane(primitives::planar420ToPlanar422Interlaced, i420<In>(*src_, width, rows),
                    yv16<Out>(*dst_, width, rows), storesFor(*src_, *dst_)),
            "ippiYCbCr420To422_Interlace_8u_P3R failed");
}

void ConvertImg::CYV16ToYUYV::operator()(const Units& units) const {
    const Rows rows(units, 1);
    const int width = src_->getWidth(0);
    require(pack(primitives::planar422ToYuyv, yv16<In>(*src_, width, rows), packed<Out>(*dst_, width, rows),
                 storesFor(*src_, *dst_)),
            "ippiYCbCr422_8u_P3C2R failed");
}

void ConvertImg::CYV16ToUYVY::operator()(const Units& units) const {
    const Rows rows(units, 1);
    const int width = src_->getWidth(0);
    require(pack(primitives::planar422ToUyvy, yv16<In>(*src_, width, rows), packed<Out>(*dst_, width, rows),
                 storesFor(*src_, *dst_)),
            "ippiYCbCr422ToCbYCr422_8u_P3C2R failed");
}

namespace {

/// Runs body over all whole units of the picture.
template <class Body, class Dst, class Src>
bool run(Dst& dst, const Src& src, int rowsPerUnit) {
    return fitsInto(src, dst) && parallelRows(src.getHeight(0) / rowsPerUnit, Body(&dst, &src));
}

/// Runs body on the units [first, last) as one band on the calling thread.
template <class Body>
bool runHere(const Body& body, int first, int last) {
    try {
        if (first < last) body(Units(first, last));
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

/// What groups of four rows leave over is the last row pair, progressive.
template <class Body, class Dst, class Src>
bool convertRemainder(Dst& dst, const Src& src) {
    const int height = src.getHeight(0), pairs = height / 2;
    return height % 4 == 0 || pairs == 0 || runHere(Body(&dst, &src), pairs - 1, pairs);
}

}  // namespace

bool ConvertImg::UYVYToI420(I420Img& dst, const UYVYImg& src, bool interlaced) {
    if (!interlaced) return run<CUYVYToI420_progressive>(dst, src, 2);
    return run<CUYVYToI420_interlaced>(dst, src, 4) && convertRemainder<CUYVYToI420_progressive>(dst, src);
}

bool ConvertImg::UYVYToYV16(YV16Img& dst, const UYVYImg& src) {
    return run<CUYVYToYV16>(dst, src, 1);
}
bool ConvertImg::UYVYToYUYV(YUYVImg& dst, const UYVYImg& src) {
    return run<CUYVYToYUYV>(dst, src, 1);
}

bool ConvertImg::YUYVToUYVY(UYVYImg& dst, const YUYVImg& src) {
    if (!fitsInto(src, dst)) return false;
    const Rows all(Units(0, src.getHeight(0)), 1);
    const int width = src.getWidth(0);
    return primitives::swapChromaLuma(packed<In>(src, width, all), packed<Out>(dst, width, all), storesFor(src, dst)) ==
           Status::ok;
}

bool ConvertImg::YUYVToI420(I420Img& dst, const YUYVImg& src) {
    return run<CYUYVToI420_progressive>(dst, src, 2);
}
bool ConvertImg::YUYVToYV16(YV16Img& dst, const YUYVImg& src) {
    return run<CYUYVToYV16>(dst, src, 1);
}

bool ConvertImg::I420ToUYVY(UYVYImg& dst, const I420Img& src, bool interlaced) {
    if (!interlaced) return run<CI420ToUYVY_progressive>(dst, src, 2);
    if (!fitsInto(src, dst)) return false;
    const int width = src.getWidth(0), height = src.getHeight(0);
    // Pictures below one group of rows are refused here and still count as converted.
    static_cast<void>(pack(primitives::planar420ToUyvyInterlaced,
                           planarBand<In>(src, i420Chroma, 2, width, 0, height - height % 2),
                           part<Out>(dst, 0, 2 * width, 0, height - height % 2), storesFor(src, dst)));
    return convertRemainder<CI420ToUYVY_progressive>(dst, src);
}

bool ConvertImg::I420ToYUYV(YUYVImg& dst, const I420Img& src) {
    return run<CI420ToYUYV_progressive>(dst, src, 2);
}

bool ConvertImg::I420ToYV16(YV16Img& dst, const I420Img& src, bool interlaced) {
    if (!interlaced) return run<CI420ToYV16_progressive>(dst, src, 2);
    // One band: chroma going up reads the neighbouring group.
    return fitsInto(src, dst) && runHere(CI420ToYV16_interlaced(&dst, &src), 0, src.getHeight(0) / 4) &&
           convertRemainder<CI420ToYV16_progressive>(dst, src);
}

bool ConvertImg::YV16ToYUYV(YUYVImg& dst, const YV16Img& src) {
    return run<CYV16ToYUYV>(dst, src, 1);
}
bool ConvertImg::YV16ToUYVY(UYVYImg& dst, const YV16Img& src) {
    return run<CYV16ToUYVY>(dst, src, 1);
}

}  // namespace Orvel
