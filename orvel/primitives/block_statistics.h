#pragma once
#include <cstdint>
#include <span>

#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

// Measures of the blocks in one row of a grid of whole square blocks. Results stand in the order of the columns, one
// for each block that the span has room for; badSize when the view holds fewer of them.

/// Activity of 8x8 blocks: sum of |s - mean| over the 64 samples s, mean = (sum of s + 32) >> 6; 0 .. 8160.
/// @param blocks 8 rows.
Status blockActivity(ConstViewU8 blocks, std::span<std::int32_t> activity) noexcept;

/// Fine structure of 8x8 blocks: the sum, over the 36 inner samples, of the absolute second difference in both
/// directions (the kernel 1 -2 1 along rows and along columns); 0 .. 73440. Smooth content has little of it, white
/// noise of deviation d about 172 d.
/// @param blocks 8 rows.
Status blockFineStructure(ConstViewU8 blocks, std::span<std::int32_t> structure) noexcept;

/// How far blocks stand out from their neighbours: the largest of four edge measures. An edge's measure is the sum of
/// absolute differences over the two lines that meet at the edge, minus twice the larger of the same sums over the two
/// nearest pairs of lines inside the block: on a smooth block a step scores its height times the side, while texture
/// and noise come out negative. Edges at the grid's border are left out; a grid of one block scores 0.
/// @param grid  whole blocks of one plane, side x side samples each (side 4 or 8, else badSize).
/// @param row   which row of blocks, first the column of the first block wanted; badArgument when the grid does not
/// hold
///              all the blocks for which steps has an entry.
Status blockEdgeSteps(ConstViewU8 grid, int side, int row, int first, std::span<std::int32_t> steps) noexcept;

}  // namespace Orvel::primitives
