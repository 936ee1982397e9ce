#pragma once
#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"
#include "orvel/primitives/stores.h"

namespace Orvel::primitives {

/// Which Y'CbCr stands against R'G'B'.
enum class RgbMatrix {
    bt601,      ///< ITU-R BT.601, R'G'B' over 0..255
    bt709Hdtv,  ///< ITU-R BT.709, R'G'B' at the nominal 16..235
};

// Conversions between 8-bit Y'CbCr and BGR of four bytes a pixel (B, G, R, A in memory). Sizes are those of the BGR
// picture, W x H pixels, any from 1 x 1: a BGR view is 4 * W bytes wide, a packed 4:2:2 view (U Y V Y) 2 * W bytes. The
// products have 13 and 15 fraction bits and are summed exactly before the one rounding to nearest; one chroma sample
// serves its pair or square of pixels, and greys stay exactly neutral.

/// A = 255. The last pixel of an odd row takes the chroma of the pair before it; a single column is grey.
Status uyvyToBgr(ConstViewU8 uyvy, ViewU8 bgr, RgbMatrix matrix = RgbMatrix::bt601,
                 Stores stores = Stores::cached) noexcept;

/// The same from planar 4:2:0 with chroma planes of floor(W/2) x ceil(H/2) samples, row y / 2 serving row y. With W = 1
/// the chroma views may be empty.
Status planar420ToBgr(ConstViewU8 y, ConstViewU8 cb, ConstViewU8 cr, ViewU8 bgr, RgbMatrix matrix = RgbMatrix::bt601,
                      Stores stores = Stores::cached) noexcept;

/// Chroma comes from the mean of the two pixels, A is ignored. The last pixel of an odd row writes its U and Y alone.
Status bgrToUyvy(ConstViewU8 bgr, ViewU8 uyvy, RgbMatrix matrix = RgbMatrix::bt601,
                 Stores stores = Stores::cached) noexcept;

}  // namespace Orvel::primitives
