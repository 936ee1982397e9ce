#pragma once
#include <cstdint>

#include "orvel/img/i420_img.h"
#include "orvel/mctf/me_data.h"
#include "orvel/sys/api.h"

namespace Orvel {

/// Draws the motion of a picture into its luma: an arrow along each block's vector, from the block's centre to the
/// point that lies there in the reference picture, in whole samples, rounded toward minus infinity. What would lie
/// outside is left out; all other samples keep their value. Threads that draw into the same picture must not do so at
/// once.
/// @param data  a record for each whole 8x8 block of img, row by row; further ones don't matter.
/// @param value luma of the arrows.
/// @param dots  whether arrows without length are drawn, as single samples.
/// @return false, with nothing drawn, when img has no pixels or data has fewer blocks.
[[nodiscard]] ORVEL_API bool drawMotionVectors(I420Img& img, const MEData& data, std::uint8_t value = 200,
                                               bool dots = true) noexcept;

}  // namespace Orvel
