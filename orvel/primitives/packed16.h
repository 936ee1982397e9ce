#pragma once
#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"
#include "orvel/primitives/stores.h"

namespace Orvel::primitives {

// 16-bit 4:2:2 between words U Y V Y in one plane and three planes; samples move unchanged. For W x H pixels (W even,
// else badSize) the packed view is 2 * W words wide, y W and cb and cr W / 2. Nothing overlaps.

Status packed16ToPlanar(ConstViewU16 packed, ViewU16 y, ViewU16 cb, ViewU16 cr,
                        Stores stores = Stores::cached) noexcept;
Status planarToPacked16(ConstViewU16 y, ConstViewU16 cb, ConstViewU16 cr, ViewU16 packed,
                        Stores stores = Stores::cached) noexcept;

}  // namespace Orvel::primitives
