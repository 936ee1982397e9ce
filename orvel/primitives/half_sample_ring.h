#pragma once
#include <cstddef>
#include <cstdint>

#include "orvel/primitives/plane_view.h"

namespace Orvel::primitives {

/// Blocks in a ring of half-sample neighbours.
inline constexpr int halfRingSize = 8;

/// sads = sums of |cur - ref| of the 8x8 block cur against the eight half-sample neighbours of ref's block at (x, y),
/// in the order of their displacements: (-1, -1), (0, -1), (1, -1), (-1, 0), (1, 0), (-1, 1), (0, 1), (1, 1) half
/// samples. Samples as interpolateLuma() makes them; the block may lie anywhere.
using HalfRingSads = void (*)(const std::uint8_t* cur, std::ptrdiff_t curStep, ConstViewU8 ref, int x, int y,
                              std::int32_t* sads);
/// The form of it for this machine. A search asks once and calls it for every block.
HalfRingSads halfRingSads() noexcept;

}  // namespace Orvel::primitives
