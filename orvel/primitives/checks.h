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

}  // namespace Orvel::primitives
