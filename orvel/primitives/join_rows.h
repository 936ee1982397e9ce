#pragma once
#include <cstdint>
#include <limits>

#include "orvel/primitives/plane_view.h"

namespace Orvel::primitives {

/// Calls body(views...) for views of equal height: for views of one long row each, provided that none has a gap between
/// its rows. An operation that treats every sample alike then has one loop to start and to finish instead of one a row.
template <class Body, class... T>
void onJoinedRows(const Body& body, const PlaneView<T>&... views) noexcept {
    const auto joinable = [](const auto& view) {
        const std::int64_t samples = std::int64_t(view.width) * view.height;
        return view.step == std::ptrdiff_t(view.width) * std::ptrdiff_t(sizeof(*view.base)) &&
               samples <= std::numeric_limits<int>::max() / 2;  // loops may count past the end by a vector
    };
    if ((... && joinable(views)))
        body(PlaneView<T>{views.base, views.step, views.width * views.height, 1}...);
    else
        body(views...);
}

}  // namespace Orvel::primitives
