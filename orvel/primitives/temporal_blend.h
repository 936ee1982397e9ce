#pragma once
#include <cstdint>
#include <span>

#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

/// Levels at which temporalBlend() mixes: 0 keeps the current sample, 7 is the strongest.
inline constexpr int temporalBlendLevels = 8;

/// One row of square blocks of a picture, mixed with its prediction; the views have as many rows as the side of a
/// block, 4 or 8, and levels (below temporalBlendLevels, else badArgument) has an entry for every block. dst may be one
/// of the sources; columns behind the last block are left alone. badSize: the views differ in size or are narrower than
/// the blocks, or there are no blocks of that side.
///
/// With c the current sample, p the predicted one and w the share of the picture, out of 256, that the difference |c -
/// p| has at the level, the result is
///   level 1: ((w + 768) c + (256 - w) p + 512) >> 10         level 4: ((5 w + 768) c + 5 (256 - w) p + 1024) >> 11
///   level 2: ((w + 256) c + (256 - w) p + 256) >> 9          5 to 7:  ((3 w + 256) c + 3 (256 - w) p + 512) >> 10
///   level 3: (w c + (256 - w) p) >> 8, truncated on purpose
/// and w rises from 0 to 256 with the difference, by 16 a step from 24 to 40 at the levels 1 to 3, by 8 a step from 7
/// to 39 at 4 and 5, from 8 to 40 at 6 and from 9 to 41 at 7: what differs strongly has moved and is kept.
Status temporalBlend(ConstViewU8 cur, ConstViewU8 pred, std::span<const std::uint8_t> levels, ViewU8 dst) noexcept;

}  // namespace Orvel::primitives
