#pragma once
#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"
#include "orvel/primitives/stores.h"

namespace Orvel::primitives {

// Conversions between 8-bit and 16-bit planes of the same width (in samples) and height. Source and destination are
// apart, except where "in place" is said.

/// dst = src.
Status widen(ConstViewU8 src, ViewU16 dst) noexcept;
/// dst = min(255, src).
Status narrow(ConstViewU16 src, ViewU8 dst) noexcept;

/// dst = (src << bits) mod 65536, bits in 0..15. In place allowed.
Status shiftLeft(ConstViewU16 src, int bits, ViewU16 dst) noexcept;
/// dst = src >> bits, bits in 0..15. In place allowed.
Status shiftRight(ConstViewU16 src, int bits, ViewU16 dst) noexcept;

/// dst = src << 8: widen and shiftLeft by 8 in one pass.
Status widenShifted(ConstViewU8 src, ViewU16 dst, Stores stores = Stores::cached) noexcept;
/// dst = src >> 8, and the low byte of every source sample becomes 0: what shiftRight by 8, narrow and shiftLeft by 8
/// leave behind, in one pass.
Status narrowHighByteClearing(ViewU16 src, ViewU8 dst) noexcept;

}  // namespace Orvel::primitives
