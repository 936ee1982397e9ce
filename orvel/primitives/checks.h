#pragma once
#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

/// The tests that every sample-by-sample primitive makes of its planes: all present, none empty, all as large as dst.
template <class T, class... Views>
constexpr Status checkSameSize(const PlaneView<T>& dst, const Views&... others) noexcept {
    if (dst.base == nullptr || (... || (others.base == nullptr))) return Status::nullPointer;
    if (!dst.valid() || !(... && sameSize(dst, others))) return Status::badSize;
    return Status::ok;
}

/// Whether [first, last) is a band of at least one of the given number of rows.
constexpr bool holdsBand(int rows, int first, int last) noexcept {
    return 0 <= first && first < last && last <= rows;
}

}  // namespace Orvel::primitives
