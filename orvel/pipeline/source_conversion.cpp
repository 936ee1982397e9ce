#include "orvel/pipeline/source_conversion.h"

#include <algorithm>

#include "orvel/convert/convert_img.h"
#include "orvel/img/plane_access.h"

namespace Orvel {
namespace {

/// Calls body with img as the picture type that its format code names, over a view when it is of another class.
template <class Typed, class Body>
bool asTyped(Img& img, const Body& body) {
    if (auto* typed = dynamic_cast<Typed*>(&img)) return body(*typed);
    Typed view;
    return img.shadowCopy(view) && body(view);
}

/// Fills what of a plane lies behind its top left width x height pixels: the last row and column are repeated, a plane
/// without any is 128 throughout.
void fillFromEdge(Img& img, int plane, int width, int height) {
    if (width == img.getWidth(plane) && height == img.getHeight(plane)) return;
    if (width <= 0 || height <= 0) {
        static_cast<void>(img.setPlane(plane, 128));  // fails only where there is no pixel to fill
        return;
    }
    const auto bytes = planeView<std::uint8_t>(img, plane);
    const int bpp = img.getBpp(plane);
    for (int y = 0; y < height; ++y)
        for (int x = width * bpp; x < bytes.width; ++x) bytes.row(y)[x] = bytes.row(y)[x - bpp];
    for (int y = height; y < bytes.height; ++y) std::copy_n(bytes.row(height - 1), bytes.width, bytes.row(y));
}

}  // namespace

bool convertTo(I420Img& dst, Img& src, bool interlaced) {
    if (src.getFormat() == UYVYImg::getClassFormat())
        return asTyped<UYVYImg>(src, [&](UYVYImg& img) { return ConvertImg::UYVYToI420(dst, img, interlaced); });
    if (src.getFormat() == YUYVImg::getClassFormat() && !interlaced)
        return asTyped<YUYVImg>(src, [&](YUYVImg& img) { return ConvertImg::YUYVToI420(dst, img); });
    return false;
}

bool convertTo(YV16Img& dst, Img& src, bool) {
    if (src.getFormat() == UYVYImg::getClassFormat())
        return asTyped<UYVYImg>(src, [&](UYVYImg& img) { return ConvertImg::UYVYToYV16(dst, img); });
    if (src.getFormat() == YUYVImg::getClassFormat())
        return asTyped<YUYVImg>(src, [&](YUYVImg& img) { return ConvertImg::YUYVToYV16(dst, img); });
    return false;
}

bool convertTo(HY16Img& dst, Img& src, bool) {
    return src.getFormat() == V216Img::getClassFormat() &&
           asTyped<V216Img>(src, [&](V216Img& img) { return ConvertImg::V216ToHY16(dst, img); });
}

void fillFromEdges(Img& img, const Img& view) {
    for (int p = 0; p < img.numPlanes(); ++p) fillFromEdge(img, p, view.getWidth(p), view.getHeight(p));
}

void fillOddRow(Img& img) {
    if (img.getFormat() != I420Img::getClassFormat()) return;
    const int pairs = img.getHeight(0) / 2;
    for (int p = 0; p < img.numPlanes(); ++p) fillFromEdge(img, p, img.getWidth(p), p == 0 ? 2 * pairs : pairs);
}

}  // namespace Orvel
