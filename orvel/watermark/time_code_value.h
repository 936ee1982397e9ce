#pragma once
#include <array>
#include <cstdint>

#include "orvel/img/types.h"
#include "orvel/sys/api.h"

namespace Orvel {

/// A time code: hours, minutes, seconds and frames, with three flags. Nothing here checks ranges; time_code_frames.h
/// counts and checks, time_code_text.h reads and writes text, time_code_bits.h checks bit forms.
///
/// The bit form, in which UnifiedWatermark carries the value through a picture, has 40 positions, each field in
/// binary-coded decimal, the tens digit before the units, most significant bits first:
///
/// | positions | content                                  | holds  |
/// |-----------|------------------------------------------|--------|
/// | 0-5       | hours, 2 + 4 bits                        | 0-39   |
/// | 6-12      | minutes, 3 + 4 bits                      | 0-79   |
/// | 13-19     | seconds, 3 + 4 bits                      | 0-79   |
/// | 20        | 0                                        |        |
/// | 21-26     | frames, 2 + 4 bits                       | 0-39   |
/// | 27-29     | topField, bottomField, dropFrame         |        |
/// | 30-39     | nine times 0, then 1                     |        |
///
/// So a frame number above 39, as rates above 40 have them, does not survive the bit form.
struct ORVEL_API TimeCodeValue {
    static constexpr int bitCount = 40;    ///< positions of the bit form
    static constexpr int textLength = 12;  ///< characters of the text form, with its terminator

    std::uint32_t hours = 0;
    std::uint32_t minutes = 0;
    std::uint32_t seconds = 0;
    std::uint32_t frames = 0;
    bool topField = false;     ///< stamped into a top field
    bool bottomField = false;  ///< stamped into a bottom field
    bool dropFrame = false;    ///< frame numbers are dropped to keep pace with the clock

    bool operator==(const TimeCodeValue&) const = default;
    bool operator!=(const TimeCodeValue& other) const { return !(*this == other); }

    /// True when all seven fields are equal.
    static bool areTimeCodesEqual(const TimeCodeValue& a, const TimeCodeValue& b) { return a == b; }

    /// Writes the bit form as the characters '0' and '1', bitCount of them and no terminator. A tens digit too large
    /// for its bits loses the high ones.
    static void getBitsFromTimeCode(TimeCodeValue value, char* const bits);
    /// Rebuilds all seven fields from bitCount numbers 0 and 1: numbers, not the characters that getBitsFromTimeCode()
    /// writes, which give nonsense. Nothing is checked: the constant positions are ignored, and units digits up to 15
    /// are simply added.
    static void getTimeCodeFromBits(TimeCodeValue& value, const char* const bits);

protected:
    /// Writes the text form, two digits a field, to textLength characters; what is longer is cut off. One separator
    /// stands in all three places:
    ///
    /// |           | FieldFrameTop | any other selector |
    /// |-----------|---------------|--------------------|
    /// | dropFrame | ,             | ;                  |
    /// | else      | .             | :                  |
    void getStringW(FieldFrameSelect select, wchar_t* const text) const;
    /// The same in the narrow encoding of WideToMB().
    void getStringA(FieldFrameSelect select, char* const text) const;
};

/// A bit form, one position after the other.
using TimeCodeBits = std::array<char, TimeCodeValue::bitCount>;

}  // namespace Orvel
