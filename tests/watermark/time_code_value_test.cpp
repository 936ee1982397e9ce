#include "orvel/watermark/time_code_value.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bitset>
#include <string>

#include "orvel/watermark/time_code_bits.h"
#include "orvel/watermark/time_code_text.h"

namespace Orvel {
namespace {

std::string bitsOf(const TimeCodeValue& value) {
    std::string bits(TimeCodeValue::bitCount, '?');
    TimeCodeValue::getBitsFromTimeCode(value, bits.data());
    return bits;
}

TimeCodeBits numbersOf(std::string bits) {
    TimeCodeBits numbers;
    bits.erase(std::remove(bits.begin(), bits.end(), ' '), bits.end());
    EXPECT_EQ(bits.size(), numbers.size());
    std::transform(bits.begin(), bits.end(), numbers.begin(), [](char bit) { return static_cast<char>(bit - '0'); });
    return numbers;
}

TimeCodeValue valueOf(const TimeCodeBits& bits) {
    TimeCodeValue value{99, 99, 99, 99, true, true, true};
    TimeCodeValue::getTimeCodeFromBits(value, bits.data());
    return value;
}

/// Two decimal digits, the tens cut to so many bits.
template <std::size_t tensBits>
std::string decimal(unsigned value) {
    return std::bitset<tensBits>(value / 10).to_string() + std::bitset<4>(value % 10).to_string();
}

TEST(TimeCodeValue, ItsBitsAreTheDecimalDigitsOfEveryField) {
    EXPECT_EQ(bitsOf({}), std::string(39, '0') + "1");
    EXPECT_EQ(numbersOf(bitsOf({23, 59, 59, 29})), numbersOf("10 0011 101 1001 101 1001 0 10 1001 000 0000000001"));
    for (unsigned v = 0; v < 1000; ++v) {
        const TimeCodeValue value{v, v + 1, v + 2, v + 3, v % 2 != 0, v % 3 != 0, v % 5 != 0};
        const auto flag = [](bool on) { return on ? "1" : "0"; };
        EXPECT_EQ(bitsOf(value), decimal<2>(v) + decimal<3>(v + 1) + decimal<3>(v + 2) + "0" + decimal<2>(v + 3) +
                                     flag(value.topField) + flag(value.bottomField) + flag(value.dropFrame) +
                                     "0000000001");
    }
}

TEST(TimeCodeValue, ComesBackFromItsBitsWhereTheyHoldIt) {
    for (unsigned v = 0; v < 80; ++v) {
        const TimeCodeValue value{v % 40, v, 79 - v, 39 - v % 40, v % 2 != 0, v % 3 != 0, v % 5 != 0};
        EXPECT_EQ(valueOf(numbersOf(bitsOf(value))), value) << v;
    }
}

TEST(TimeCodeValue, ReadsAnyBitsWithoutAComplaint) {
    TimeCodeBits ones;
    ones.fill(1);
    EXPECT_EQ(valueOf(ones), (TimeCodeValue{45, 85, 85, 45, true, true, true}));
    TimeCodeBits characters;
    TimeCodeValue::getBitsFromTimeCode({}, characters.data());
    EXPECT_EQ(valueOf(characters), (TimeCodeValue{45 * 48, 85 * 48, 85 * 48, 45 * 48, true, true, true}));
    TimeCodeBits negative{};
    negative[5] = static_cast<char>(-1);
    EXPECT_EQ(valueOf(negative).hours, 0xFFFFFFFFu);
}

TEST(TimeCodeValue, OneSeparatorOfItsTextTellsFieldAndDropFrame) {
    const TimeCodeValue plain{10, 0, 0, 0}, drop{1, 59, 59, 29, false, false, true};
    for (int select : {-1, 0, 2, 3, 7}) {
        EXPECT_EQ(timeCodeText(plain, FieldFrameSelect(select)), "10:00:00:00") << select;
        EXPECT_EQ(timeCodeText(drop, FieldFrameSelect(select)), "01;59;59;29") << select;
    }
    EXPECT_EQ(timeCodeText(plain, FieldFrameTop), "10.00.00.00");
    EXPECT_EQ(timeCodeText(drop, FieldFrameTop), "01,59,59,29");
    EXPECT_EQ(timeCodeText({}, FieldFrameBoth), "00:00:00:00");
    EXPECT_EQ(timeCodeText({1234567, 1, 2, 345678901}, FieldFrameBoth), "1234567:01:");
}

TEST(TimeCodeValue, WideTextEndsWithinItsTwelveCharacters) {
    struct Wide : TimeCodeValue {
        using TimeCodeValue::getStringW;
    };
    std::wstring text(14, L'#');
    Wide{{1, 2, 3, 4}}.getStringW(FieldFrameBottom, text.data());
    EXPECT_EQ(text, std::wstring(L"01:02:03:04\0##", 14));
    Wide{{4294967295u, 4294967295u, 100, 100}}.getStringW(FieldFrameTop, text.data());
    EXPECT_EQ(text, std::wstring(L"-1.-1.100.1\0##", 14));
}

TEST(TimeCodeBits, FaultsAreToldThatReadingLetsPass) {
    const struct {
        const char* bits;
        TimeCodeBitsFault fault;
    } cases[] = {
        {"10 0011 101 1001 101 1001 0 10 1001 111 0000000001", TimeCodeBitsNoFault},
        {"00 0000 000 0000 000 0000 0 11 1001 000 0000000001", TimeCodeBitsNoFault},  // frames: a matter of the rate
        {"00 0000 000 0000 000 0000 1 00 0000 000 0000000001", TimeCodeBitsConstant},
        {"00 0000 000 0000 000 0000 0 00 0000 000 1000000001", TimeCodeBitsConstant},
        {"00 0000 000 0000 000 0000 0 00 0000 000 0000000011", TimeCodeBitsConstant},
        {"00 0000 000 0000 000 0000 0 00 0000 000 0000000000", TimeCodeBitsConstant},
        {"00 0002 000 0000 000 0000 0 00 0000 000 0000000001", TimeCodeBitsConstant},
        {"01 1010 000 0000 000 0000 0 00 0000 000 0000000001", TimeCodeBitsDigit},
        {"00 0000 000 1100 000 0000 0 00 0000 000 0000000001", TimeCodeBitsDigit},
        {"00 0000 000 0000 000 1111 0 00 0000 000 0000000001", TimeCodeBitsDigit},
        {"00 0000 000 0000 000 0000 0 00 1010 000 0000000001", TimeCodeBitsDigit},
        {"10 0100 000 0000 000 0000 0 00 0000 000 0000000001", TimeCodeBitsRange},
        {"00 0000 110 0000 000 0000 0 00 0000 000 0000000001", TimeCodeBitsRange},
        {"00 0000 000 0000 110 0000 0 00 0000 000 0000000001", TimeCodeBitsRange},
    };
    for (const auto& c : cases) EXPECT_EQ(findTimeCodeBitsFault(numbersOf(c.bits)), c.fault) << c.bits;
}

}  // namespace
}  // namespace Orvel
