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

/// Copies the last row of an odd height, which no pair has, if the output has such a row.
bool copyOddRow(primitives::ConstViewU8 from, primitives::ViewU8 to) {
    const int row = from.height - 1;
    if (row % 2 != 0 || row >= to.height) return true;
    return primitives::copy(from.band(row, row + 1), to.band(row, row + 1).topLeft(from.width, 1)) ==
           primitives::Status::ok;
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
    const int rows = from.height / 2 * 2;
    const auto to = planeView<std::uint8_t>(out, plane).topLeft(from.width, rows);
    if (rows == 0 || !to.valid() || out.getBpp(plane) != 1) return false;
    const auto pairsFrom = firstRows(from, rows, !topField_);
    const auto pairsTo = firstRows(to, rows, !topField_);
    const bool filtered = filterBands(rows / 2, [&](int first, int last) {
        return primitives::deinterlaceCavtRows(pairsFrom, pairsTo, threshold_, first, last);
    });
    return filtered && copyOddRow(from, planeView<std::uint8_t>(out, plane));
}

}  // namespace Orvel
