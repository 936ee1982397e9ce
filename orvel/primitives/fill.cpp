#include "orvel/primitives/fill.h"

#include <cstring>

#include "orvel/primitives/checks.h"
#include "orvel/primitives/join_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/fill.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/copy_rows_inl.h"
#include "orvel/primitives/row_loop_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

template <class T>
HWY_INLINE void setEveryRow(const PlaneView<T>& dst, T value) {
    for (int y = 0; y < dst.height; ++y) {
        T* out = dst.row(y);
        forEachRun<T>(dst.width, [=](auto d, int x) HWY_ATTR { hn::StoreU(hn::Set(d, value), d, out + x); });
    }
}

void setRows16(const ViewU16& dst, std::uint16_t value) {
    setEveryRow(dst, value);
}
void setRows32(const PlaneView<std::uint32_t>& dst, std::uint32_t value) {
    setEveryRow(dst, value);
}

void copyBytes(const ConstViewU8& src, const ViewU8& dst, Stores stores) {
    copyRows(src, dst, stores);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {
namespace {

template <class T>
Status check(const PlaneView<T>& dst) {
    if (dst.base == nullptr) return Status::nullPointer;
    return dst.valid() ? Status::ok : Status::badSize;
}

/// Into the cache; memcpy() is the fastest for whole pictures.
template <class T>
Status copySamples(const PlaneView<const T>& src, const PlaneView<T>& dst) {
    if (const Status fault = checkSameSize(dst, src); fault != Status::ok) return fault;
    const auto copyRows = [](const PlaneView<const T>& from, const PlaneView<T>& to) {
        const std::size_t rowBytes = std::size_t(to.width) * sizeof(T);
        for (int y = 0; y < to.height; ++y) std::memcpy(to.row(y), from.row(y), rowBytes);
    };
    onJoinedRows(copyRows, src, dst);
    return Status::ok;
}

}  // namespace

HWY_EXPORT(setRows16);
HWY_EXPORT(setRows32);
HWY_EXPORT(copyBytes);

Status set(const ViewU8& dst, std::uint8_t value) noexcept {
    if (const Status fault = check(dst); fault != Status::ok) return fault;
    const auto setRows = [value](const ViewU8& rows) {
        for (int y = 0; y < rows.height; ++y) std::memset(rows.row(y), value, std::size_t(rows.width));
    };
    onJoinedRows(setRows, dst);
    return Status::ok;
}

Status set(const ViewU16& dst, std::uint16_t value) noexcept {
    if (const Status fault = check(dst); fault != Status::ok) return fault;
    onJoinedRows([value](const auto& rows) { HWY_DYNAMIC_DISPATCH(setRows16)(rows, value); }, dst);
    return Status::ok;
}

Status set(const PlaneView<std::uint32_t>& dst, std::uint32_t value) noexcept {
    if (const Status fault = check(dst); fault != Status::ok) return fault;
    onJoinedRows([value](const auto& rows) { HWY_DYNAMIC_DISPATCH(setRows32)(rows, value); }, dst);
    return Status::ok;
}

Status set(const PlaneView<std::int16_t>& dst, std::int16_t value) noexcept {
    const ViewU16 bits{reinterpret_cast<std::uint16_t*>(dst.base), dst.step, dst.width, dst.height};
    return set(bits, static_cast<std::uint16_t>(value));
}

Status set(const PlaneView<std::int32_t>& dst, std::int32_t value) noexcept {
    const PlaneView<std::uint32_t> bits{reinterpret_cast<std::uint32_t*>(dst.base), dst.step, dst.width, dst.height};
    return set(bits, static_cast<std::uint32_t>(value));
}

Status copy(const ConstViewU8& src, const ViewU8& dst, Stores stores) noexcept {
    if (stores == Stores::cached) return copySamples(src, dst);
    if (const Status fault = checkSameSize(dst, src); fault != Status::ok) return fault;
    const auto rows = [stores](const auto&... views) { HWY_DYNAMIC_DISPATCH(copyBytes)(views..., stores); };
    onJoinedRows(rows, src, dst);
    return Status::ok;
}
Status copy(const ConstViewU16& src, const ViewU16& dst) noexcept {
    return copySamples(src, dst);
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
