#pragma once
#include "orvel/img/types.h"
#include "orvel/primitives/plane_view.h"

namespace Orvel {

/// Draws a line of single samples with an arrow head at its end into a plane; what lies outside is left out. An arrow
/// without length is a dot. The points may lie anywhere within 2^30 samples of the plane.
void drawOverlayArrow(primitives::ViewU8 plane, tagPOINT from, tagPOINT to, std::uint8_t value) noexcept;

}  // namespace Orvel
