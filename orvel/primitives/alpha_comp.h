#pragma once
#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"
#include "orvel/primitives/stores.h"

namespace Orvel::primitives {

// One picture laid over an opaque other with a constant weight: dst = (weight * over + (max - weight) * under) / max,
// rounded to the nearest integer (max is odd, so no halves exist). Weight 0 gives under and max gives over exactly. In
// place on either source allowed. The 16-bit weight that equals an 8-bit one is 257 times it.

/// max = 255.
Status alphaComp(const ConstViewU8& over, std::uint8_t weight, const ConstViewU8& under, const ViewU8& dst,
                 Stores stores = Stores::cached) noexcept;
/// max = 65535.
Status alphaComp(const ConstViewU16& over, std::uint16_t weight, const ConstViewU16& under, const ViewU16& dst,
                 Stores stores = Stores::cached) noexcept;

}  // namespace Orvel::primitives
