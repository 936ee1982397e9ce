#pragma once
// What the deinterlacers' plane loops share. Internal.
#include <algorithm>
#include <exception>

#include "orvel/deinterlace/deinterlace_img.h"
#include "orvel/img/parallel_rows.h"
#include "orvel/img/plane_access.h"
#include "orvel/img/require.h"

namespace Orvel {

/// Runs a primitive, filter(first, last), over bands of [0, rows) on all cores. @return false when it refused one.
template <class Filter>
bool filterBands(int rows, const Filter& filter) noexcept {
    // Rows that stay together: the primitives make several at once, out of rows that they share.
    constexpr int unit = 16;
    const int units = rows / unit + (rows % unit != 0);
    return parallelRows(units, [&](const tbb::blocked_range<int>& band) {
        require(filter(unit * band.begin(), std::min(unit * band.end(), rows)), "plane refused");
    });
}

template <class Filter>
bool DeinterlaceImg::filterHeldFrame(Img& out, Img** released, const Filter& filter) {
    if (released != nullptr) *released = nullptr;
    if (heldFrame_ == nullptr || !validateDeinterlace(out)) return false;
    Img& src = *heldFrame_;
    try {
        for (int p = 0; p < src.numPlanes(); ++p)
            if (!nonDeinterlacedPlane(&src, &out, p) && !filter(src, out, p)) return false;
    } catch (const std::exception&) {
        return false;  // a copy that does not fit
    }
    if (keepUserData_) Img::moveUserData(out, src);
    release(released);
    return true;
}

}  // namespace Orvel
