#pragma once
#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"
#include "orvel/primitives/stores.h"

// 4:2:2 layouts among themselves; nothing is resampled. A picture of W x H luma samples, W >= 2, has a packed view of
// 2W bytes by H rows, a luma view of W x H and two chroma views of floor(W/2) x H; planes always come as Y, Cb, Cr.
// Odd W: the last pixel has two bytes, luma and one chroma byte at the place of Cb. Taking apart drops that byte,
// putting together repeats the row's last Cb. Views do not overlap.

namespace Orvel::primitives {

Status uyvyToPlanar422(const ConstViewU8& packed, const ViewU8& y, const ViewU8& cb, const ViewU8& cr,
                       Stores stores = Stores::cached) noexcept;
Status yuyvToPlanar422(const ConstViewU8& packed, const ViewU8& y, const ViewU8& cb, const ViewU8& cr,
                       Stores stores = Stores::cached) noexcept;
Status planar422ToUyvy(const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr, const ViewU8& packed,
                       Stores stores = Stores::cached) noexcept;
Status planar422ToYuyv(const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr, const ViewU8& packed,
                       Stores stores = Stores::cached) noexcept;

/// UYVY to YUYV and back: exchanges the two bytes of every pixel. The width, in bytes, is even and at least 4. In place
/// allowed.
Status swapChromaLuma(const ConstViewU8& packed, const ViewU8& dst, Stores stores = Stores::cached) noexcept;

}  // namespace Orvel::primitives
