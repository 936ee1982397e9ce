#pragma once
#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

/// dst = min(255, src + value). In place allowed.
Status addConstant(ConstViewU8 src, std::uint8_t value, ViewU8 dst) noexcept;
/// dst = max(0, src - value). In place allowed.
Status subtractConstant(ConstViewU8 src, std::uint8_t value, ViewU8 dst) noexcept;
/// dst = |a - b|.
Status absDiff(ConstViewU8 a, ConstViewU8 b, ViewU8 dst) noexcept;
/// dst = min(255, round(src * factor / 2^scale)), halves to the even neighbour; a negative scale multiplies. In place
/// allowed.
Status multiplyConstant(ConstViewU8 src, std::uint8_t factor, int scale, ViewU8 dst) noexcept;

}  // namespace Orvel::primitives
