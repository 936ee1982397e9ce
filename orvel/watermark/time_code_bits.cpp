#include "orvel/watermark/time_code_bits.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Orvel {
namespace {

constexpr std::size_t unitsBegin[] = {2, 9, 16, 23};  // four positions each

bool constantsStand(const TimeCodeBits& bits) {
    const bool numbers = std::all_of(bits.begin(), bits.end(), [](char bit) { return bit == 0 || bit == 1; });
    const bool zeros = std::all_of(bits.begin() + 30, bits.end() - 1, [](char bit) { return bit == 0; });
    return numbers && zeros && bits[20] == 0 && bits.back() == 1;
}

}  // namespace

TimeCodeBitsFault findTimeCodeBitsFault(const TimeCodeBits& bits) noexcept {
    if (!constantsStand(bits)) return TimeCodeBitsConstant;
    const auto isDecimal = [&](std::size_t i) { return bits[i] == 0 || (bits[i + 1] == 0 && bits[i + 2] == 0); };
    if (!std::all_of(std::begin(unitsBegin), std::end(unitsBegin), isDecimal)) return TimeCodeBitsDigit;
    TimeCodeValue value;
    TimeCodeValue::getTimeCodeFromBits(value, bits.data());
    const bool inRange = value.hours <= 23 && value.minutes <= 59 && value.seconds <= 59;
    return inRange ? TimeCodeBitsNoFault : TimeCodeBitsRange;
}

}  // namespace Orvel
