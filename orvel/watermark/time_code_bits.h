#pragma once
#include <cstdint>

#include "orvel/sys/api.h"
#include "orvel/watermark/time_code_value.h"

namespace Orvel {

/// What betrays that a bit form was damaged on its way, though a time code can be made of it. Where several faults meet
/// the first of this list is told.
enum TimeCodeBitsFault : std::int32_t {
    TimeCodeBitsNoFault = 0,
    TimeCodeBitsConstant = 1,  ///< position 20 or one of 30-38 is not 0, position 39 not 1, or any neither 0 nor 1
    TimeCodeBitsDigit = 2,     ///< a units digit is above 9
    TimeCodeBitsRange = 3,     ///< hours are above 23, or minutes or seconds above 59
};

/// Checks what TimeCodeValue::getTimeCodeFromBits() lets pass.
/// @param bits  numbers, as UnifiedWatermark::bits() holds them after reading. Which frame numbers exist depends on the
/// rate: see isTimeCodeValid().
[[nodiscard]] ORVEL_API TimeCodeBitsFault findTimeCodeBitsFault(const TimeCodeBits& bits) noexcept;

}  // namespace Orvel
