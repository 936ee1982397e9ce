// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_COPY_ROWS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_COPY_ROWS_INL_H_
#undef ORVEL_PRIMITIVES_COPY_ROWS_INL_H_
#else
#define ORVEL_PRIMITIVES_COPY_ROWS_INL_H_
#endif

#include <cstdint>

#include <hwy/highway.h>

#include "orvel/primitives/row_loop_inl.h"
#include "orvel/primitives/stores_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// Copies width bytes to each of the rows out.
template <Stores stores, class... Out>
HWY_INLINE void copyRow(const std::uint8_t* src, int width, Out*... out) {
    forEachLine<std::uint8_t, movingBytes<stores>>(width, [=](auto d, int x, auto vectors) HWY_ATTR {
        const int n = static_cast<int>(hn::Lanes(d));
        if constexpr (stores == Stores::streaming) prefetchAhead(src + x, vectors() * hn::Lanes(d));
        hn::Vec<decltype(d)> v[vectors()];
        for (int i = 0; i < vectors(); ++i) v[i] = hn::LoadU(d, src + x + i * n);
        const auto putTo = [&](std::uint8_t* to) HWY_ATTR {
            for (int i = 0; i < vectors(); ++i) put<stores>(v[i], d, to + x + i * n);
        };
        (..., putTo(out));
    });
}

/// src and dst are equally large.
HWY_INLINE void copyRows(const ConstViewU8& src, const ViewU8& dst, Stores stores) {
    const auto rows = [&](auto how) HWY_ATTR {
        for (int y = 0; y < dst.height; ++y) copyRow<how()>(src.row(y), dst.width, dst.row(y));
    };
    withStores(stores, rows, dst);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
