// Conversions to and from RGB and the 16-bit formats.
#include "orvel/convert/convert_img.h"
#include "orvel/convert/convert_planes.h"
#include "orvel/img/working_set.h"
#include "orvel/primitives/packed16.h"
#include "orvel/primitives/rgb.h"
#include "orvel/primitives/widen.h"

namespace Orvel {
namespace {

using namespace convert;
using primitives::RgbMatrix;
using primitives::Status;

RgbMatrix matrixFor(bool alt) {
    return alt ? RgbMatrix::bt709Hdtv : RgbMatrix::bt601;
}

/// The samples of plane 0 within the top left width x height pixels.
template <class T>
PlaneView<T> corner(const Img& img, int width, int height, int samplesPerPixel) {
    return planeView<T>(img, 0).topLeft(width * samplesPerPixel, height);
}

/// Pictures of the 16-bit formats are held to what they say they are.
template <class Typed>
bool isWhole(const Typed& img) {
    return img.getFormat() == Typed::getClassFormat() && img.numPlanes() == findFormat(Typed::getClassFormat())->planes;
}

}  // namespace

bool ConvertImg::UYVYToBGR(BGRImg& dst, const UYVYImg& src, bool alt) {
    if (!fitsInto(src, dst)) return false;
    const int width = src.getWidth(0), height = src.getHeight(0);
    return primitives::uyvyToBgr(corner<const std::uint8_t>(src, width, height, 2),
                                 corner<std::uint8_t>(dst, width, height, 4), matrixFor(alt),
                                 storesFor(src, dst)) == Status::ok;
}

bool ConvertImg::BGRToUYVY(UYVYImg& dst, const BGRImg& src, bool alt) {
    if (!fitsInto(src, dst)) return false;
    const int width = src.getWidth(0), height = src.getHeight(0);
    return primitives::bgrToUyvy(corner<const std::uint8_t>(src, width, height, 4),
                                 corner<std::uint8_t>(dst, width, height, 2), matrixFor(alt),
                                 storesFor(src, dst)) == Status::ok;
}

bool ConvertImg::I420ToBGR(BGRImg& dst, const I420Img& src, bool alt) {
    if (!fitsInto(src, dst)) return false;
    const int width = src.getWidth(0), height = src.getHeight(0), chromaHeight = height / 2 + height % 2;
    const auto chroma = [&](int plane) { return part<const std::uint8_t>(src, plane, width / 2, 0, chromaHeight); };
    return primitives::planar420ToBgr(corner<const std::uint8_t>(src, width, height, 1), chroma(i420Chroma.cb),
                                      chroma(i420Chroma.cr), corner<std::uint8_t>(dst, width, height, 4),
                                      matrixFor(alt), storesFor(src, dst)) == Status::ok;
}

bool ConvertImg::UYVYToV216(V216Img& dst, const UYVYImg& src) {
    if (!isWhole(src) || !isWhole(dst) || !fitsInto(src, dst)) return false;
    const int width = src.getWidth(0), height = src.getHeight(0);
    return primitives::widenShifted(corner<const std::uint8_t>(src, width, height, 2),
                                    corner<std::uint16_t>(dst, width, height, 2), storesFor(src, dst)) == Status::ok;
}

bool ConvertImg::V216ToUYVY(UYVYImg& dst, V216Img& src) {
    if (!isWhole(src) || !isWhole(dst) || !fitsInto(src, dst)) return false;
    const int width = src.getWidth(0), height = src.getHeight(0);
    return primitives::narrowHighByteClearing(corner<std::uint16_t>(src, width, height, 2),
                                              corner<std::uint8_t>(dst, width, height, 2)) == Status::ok;
}

bool ConvertImg::HY16ToV216(V216Img& dst, const HY16Img& src) {
    if (!isWhole(src) || !isWhole(dst) || !fitsInto(src, dst)) return false;
    const int width = src.getWidth(0), height = src.getHeight(0);
    const auto planes = planarBand<const std::uint16_t>(src, hy16Chroma, 1, width, 0, height);
    return primitives::planarToPacked16(planes.y, planes.cb, planes.cr, corner<std::uint16_t>(dst, width, height, 2),
                                        storesFor(src, dst)) == Status::ok;
}

bool ConvertImg::V216ToHY16(HY16Img& dst, const V216Img& src) {
    if (!isWhole(src) || !isWhole(dst) || !fitsInto(src, dst)) return false;
    const int width = src.getWidth(0), height = src.getHeight(0);
    const auto planes = planarBand<std::uint16_t>(dst, hy16Chroma, 1, width, 0, height);
    return primitives::packed16ToPlanar(corner<const std::uint16_t>(src, width, height, 2), planes.y, planes.cb,
                                        planes.cr, storesFor(src, dst)) == Status::ok;
}

}  // namespace Orvel
