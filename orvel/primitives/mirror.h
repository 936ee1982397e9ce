#pragma once
#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

enum class MirrorAxis : int {
    leftRight = 0,  ///< the first column becomes the last
    topBottom = 1,  ///< the first row becomes the last
    both = 2,       ///< both: the picture is turned by 180 degrees
};

/// dst = src, mirrored. View widths are in bytes and hold whole pixels of bytesPerPixel (1 to 4) bytes; a pixel's bytes
/// keep their order. The views do not overlap.
/// @return badSize when the views differ in size or end within a pixel, badArgument for another axis or pixel size.
Status mirror(ConstViewU8 src, int bytesPerPixel, ViewU8 dst, MirrorAxis axis) noexcept;

/// The same within one plane. The middle column or row of an odd side keeps its place.
Status mirrorInPlace(ViewU8 plane, int bytesPerPixel, MirrorAxis axis) noexcept;

}  // namespace Orvel::primitives
