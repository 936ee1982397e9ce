#pragma once
#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"
#include "orvel/primitives/stores.h"

namespace Orvel::primitives {

/// Every sample of dst becomes value.
Status set(const ViewU8& dst, std::uint8_t value) noexcept;
Status set(const PlaneView<std::int16_t>& dst, std::int16_t value) noexcept;
Status set(const ViewU16& dst, std::uint16_t value) noexcept;
Status set(const PlaneView<std::int32_t>& dst, std::int32_t value) noexcept;
Status set(const PlaneView<std::uint32_t>& dst, std::uint32_t value) noexcept;

/// dst = src. The views hold equally many samples and do not overlap. Pixels of other sizes are copied as bytes.
Status copy(const ConstViewU8& src, const ViewU8& dst, Stores stores = Stores::cached) noexcept;
Status copy(const ConstViewU16& src, const ViewU16& dst) noexcept;

}  // namespace Orvel::primitives
