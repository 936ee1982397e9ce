#include "orvel/deinterlace/deinterlace_cavt_img.h"

#include "orvel/deinterlace/plane_filter.h"
#include "orvel/primitives/deinterlace_cavt.h"
#include "orvel/primitives/fill.h"

namespace Orvel {
namespace {

/// The first rows of a plane, the last one first if bottomUp: that exchanges the fields.
template <class Sample>
primitives::PlaneView<Sample> firstRows(primitives::PlaneView<Sample> plane, int rows, bool bottomUp) {
    if (bottomUp) return {plane.row(rows - 1), -plane.step, plane.width, rows};
    return plane.band(0, rows);
}

}  // namespace

bool DeinterlaceCAVTImg::allocate(DeinterlaceImgParams* p) {
    const auto* const params = dynamic_cast<DeinterlaceCAVTImgParams*>(p);
    if (params == nullptr || !DeinterlaceImg::allocate(p)) return false;
    topField_ = params->topField;
    threshold_ = params->threshold;
    type_ = DeinterlaceTypeCAVT;
    return true;
}

bool DeinterlaceCAVTImg::deinterlace(Img& out, Img** released) {
    return filterHeldFrame(out, released,
                           [this](const Img& src, Img& dst, int plane) { return filterPlane(src, dst, plane); });
}

bool DeinterlaceCAVTImg::filterPlane(const Img& src, Img& out, int plane) const {
    const auto from = planeView<const std::uint8_t>(src, plane);
    const auto to = planeView<std::uint8_t>(out, plane);
    if (!from.valid() || !sameSize(from, to) || to.height < 2) return false;
    const int rows = to.height / 2 * 2;
    const auto evenFrom = firstRows(from, rows, !topField_);
    const auto evenTo = firstRows(to, rows, !topField_);
    const bool filtered = filterBands(rows / 2, [&](int first, int last) {
        return primitives::deinterlaceCavtRows(evenFrom, evenTo, threshold_, first, last);
    });
    return filtered && (rows == to.height ||
                        primitives::copy(from.band(rows, rows + 1), to.band(rows, rows + 1)) == primitives::Status::ok);
}

}  // namespace Orvel
