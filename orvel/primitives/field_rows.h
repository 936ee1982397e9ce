#pragma once
#include <algorithm>
#include <cstdint>

#include "orvel/primitives/plane_view.h"

namespace Orvel::primitives {

/// The rows of one field of a plane, by their numbers in the plane. Rows beyond the field's first and last one repeat
/// these.
class FieldRows {
public:
    /// parity 0: rows 0, 2, 4 .., 1: rows 1, 3, 5 ..; the field has at least one row.
    FieldRows(ConstViewU8 plane, int parity) noexcept
        : plane_(plane), first_(parity), last_(plane.height - 1 - (plane.height - 1 - parity) % 2) {}

    /// Row y, a number of this field's parity.
    const std::uint8_t* row(int y) const noexcept { return plane_.row(std::clamp(y, first_, last_)); }

private:
    ConstViewU8 plane_;
    int first_, last_;
};

}  // namespace Orvel::primitives
