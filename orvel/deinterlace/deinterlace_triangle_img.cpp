#include "orvel/deinterlace/deinterlace_triangle_img.h"

#include <limits>

#include "orvel/deinterlace/plane_filter.h"
#include "orvel/primitives/deinterlace_triangle.h"

namespace Orvel {
namespace {

template <class Sample>
bool filterRows(const Img& src, Img& out, int plane, std::uint32_t weight, int layout) {
    const auto from = planeView<const Sample>(src, plane);
    const auto to = planeView<Sample>(out, plane).topLeft(from.width, from.height);
    return from.valid() && to.valid() && filterBands(to.height, [&](int first, int last) {
               return primitives::deinterlaceTriangleRows(from, to, weight, layout, first, last);
           });
}

}  // namespace

bool DeinterlaceTriangleImg::allocate(DeinterlaceImgParams* p) {
    const auto* const params = dynamic_cast<DeinterlaceTriangleImgParams*>(p);
    if (params == nullptr || !DeinterlaceImg::allocate(p)) return false;
    centerWeight_ = params->centerWeight;
    layout_ = params->layout;
    type_ = DeinterlaceTypeTriangle;
    return true;
}

bool DeinterlaceTriangleImg::pushImg(Img& img) {
    if (heldFrame_ != nullptr || !accepts(img, std::numeric_limits<int>::max())) return false;
    heldFrame_ = &img;
    return true;
}

bool DeinterlaceTriangleImg::deinterlace(Img& out, Img** released) {
    return filterHeldFrame(out, released,
                           [this](const Img& src, Img& dst, int plane) { return filterPlane(src, dst, plane); });
}

bool DeinterlaceTriangleImg::filterPlane(const Img& src, Img& out, int plane) const {
    switch (src.getBpp(plane)) {
        case 1:
            return out.getBpp(plane) == 1 && filterRows<std::uint8_t>(src, out, plane, centerWeight_, layout_);
        case 2:
            // 1.0 is 256 here and 65536 there. What does not fit 32 bits is above 1.0 as well.
            return out.getBpp(plane) == 2 &&
                   filterRows<std::uint16_t>(src, out, plane, centerWeight_ <= 256 ? centerWeight_ * 256 : 65537,
                                             layout_);
        default:
            return false;
    }
}

}  // namespace Orvel
