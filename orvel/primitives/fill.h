#pragma once
#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

/// Every sample of dst becomes value.
Status set(ViewU8 dst, std::uint8_t value) noexcept;
Status set(PlaneView<std::int16_t> dst, std::int16_t value) noexcept;
Status set(ViewU16 dst, std::uint16_t value) noexcept;
Status set(PlaneView<std::int32_t> dst, std::int32_t value) noexcept;
Status set(PlaneView<std::uint32_t> dst, std::uint32_t value) noexcept;

/// dst = src. The views hold equally many samples and do not overlap. Pixels of other sizes are copied as bytes.
Status copy(ConstViewU8 src, ViewU8 dst) noexcept;
Status copy(ConstViewU16 src, ViewU16 dst) noexcept;

}  // namespace Orvel::primitives
