// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_STORES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_STORES_INL_H_
#undef ORVEL_PRIMITIVES_STORES_INL_H_
#else
#define ORVEL_PRIMITIVES_STORES_INL_H_
#endif

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/stores.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// Longest vectors for rows that are little more than moved. In the cache, those of 64 bytes have been found to be up
/// to a quarter slower than those of 32.
template <Stores stores>
inline constexpr std::size_t movingBytes = stores == Stores::cached ? 32 : HWY_MAX_BYTES;

/// Stores v at p. Streaming stores want p on a boundary of the vector's size; vectors below 16 bytes have none.
template <Stores stores, class D>
HWY_INLINE void put(hn::Vec<D> v, D d, hn::TFromD<D>* p) {
    if constexpr (stores == Stores::streaming && hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) >= 16)
        hn::Stream(v, d, p);
    else
        hn::StoreU(v, d, p);
}

/// True when every row begins on a boundary of whole vectors.
template <class T>
HWY_INLINE bool onVectorBoundaries(const PlaneView<T>& view) {
    const std::size_t bytes = hn::Lanes(hn::ScalableTag<std::uint8_t>());
    return reinterpret_cast<std::uintptr_t>(view.base) % bytes == 0 && static_cast<std::size_t>(view.step) % bytes == 0;
}

/// Calls body(std::integral_constant<Stores, ..>()) for what is asked, or for cached stores where a row of the outputs
/// is not on a vector boundary. What body streams is visible to other threads as any store when this returns.
template <class Body, class... T>
HWY_INLINE void withStores(Stores stores, const Body& body, const PlaneView<T>&... outputs) {
    if (stores == Stores::cached || !(... && onVectorBoundaries(outputs))) {
        body(std::integral_constant<Stores, Stores::cached>());
        return;
    }
    body(std::integral_constant<Stores, Stores::streaming>());
    hwy::FlushStream();
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
