#pragma once
#include <cstdint>
#include <span>

#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

/// Displacement of a block, in quarter samples.
struct BlockVector {
    std::int32_t x, y;
};

/// A run of 8x8 luma blocks, side by side from the left of dst on, which has 8 rows: block i is what interpolateLuma()
/// makes of the frame's block at (left + 8 i, top) with vectors[i]. Whole and half samples are the fast ones.
/// badSize: dst is not 8 high or narrower than the blocks. dst must not share samples with the frame.
Status predictLuma(const ConstViewU8& frame, int left, int top, std::span<const BlockVector> vectors,
                   const ViewU8& dst) noexcept;

/// The same for the 4x4 blocks of both chroma planes, which lie 4 apart, with interpolateChroma(); vectors are in
/// quarter chroma samples. badSize also for planes of different sizes.
Status predictChroma(const ConstViewU8& frameU, const ConstViewU8& frameV, int left, int top,
                     std::span<const BlockVector> vectors, const ViewU8& dstU, const ViewU8& dstV) noexcept;

}  // namespace Orvel::primitives
