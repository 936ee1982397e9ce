#include "orvel/watermark/time_code_value.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>

#include "orvel/sys/wide_to_mb.h"

namespace Orvel {
namespace {

struct BitPosition {
    std::uint32_t TimeCodeValue::*field;  ///< null: the position is constant
    std::uint32_t weight;
};

constexpr auto hours = &TimeCodeValue::hours, minutes = &TimeCodeValue::minutes, seconds = &TimeCodeValue::seconds,
               frames = &TimeCodeValue::frames;

constexpr BitPosition digits[] = {
    {hours, 20},   {hours, 10},   {hours, 8},   {hours, 4},   {hours, 2},   {hours, 1},   {minutes, 40},
    {minutes, 20}, {minutes, 10}, {minutes, 8}, {minutes, 4}, {minutes, 2}, {minutes, 1}, {seconds, 40},
    {seconds, 20}, {seconds, 10}, {seconds, 8}, {seconds, 4}, {seconds, 2}, {seconds, 1}, {nullptr, 0},
    {frames, 20},  {frames, 10},  {frames, 8},  {frames, 4},  {frames, 2},  {frames, 1},
};

constexpr bool TimeCodeValue::*flags[] = {&TimeCodeValue::topField, &TimeCodeValue::bottomField,
                                          &TimeCodeValue::dropFrame};

constexpr std::size_t flagsBegin = std::size(digits), flagsEnd = flagsBegin + std::size(flags);

bool bitOf(std::uint32_t number, std::uint32_t weight) {
    const std::uint32_t digitPart = weight < 10 ? number % 10 : number;
    return digitPart / weight % 2 != 0;
}

}  // namespace

void TimeCodeValue::getBitsFromTimeCode(TimeCodeValue value, char* const bits) {
    std::fill_n(bits, bitCount, '0');
    for (std::size_t i = 0; i < flagsBegin; ++i)
        if (digits[i].field != nullptr && bitOf(value.*digits[i].field, digits[i].weight)) bits[i] = '1';
    for (std::size_t i = flagsBegin; i < flagsEnd; ++i)
        if (value.*flags[i - flagsBegin]) bits[i] = '1';
    bits[bitCount - 1] = '1';
}

void TimeCodeValue::getTimeCodeFromBits(TimeCodeValue& value, const char* const bits) {
    value = {};
    for (std::size_t i = 0; i < flagsBegin; ++i)  // char has a sign here on every platform
        if (digits[i].field != nullptr)
            value.*digits[i].field += digits[i].weight * static_cast<std::uint32_t>(static_cast<signed char>(bits[i]));
    for (std::size_t i = flagsBegin; i < flagsEnd; ++i) value.*flags[i - flagsBegin] = bits[i] != 0;
}

void TimeCodeValue::getStringW(FieldFrameSelect select, wchar_t* const text) const {
    const bool top = select == FieldFrameTop;
    const char separator = dropFrame ? (top ? ',' : ';') : (top ? '.' : ':');
    char whole[64];
    const auto number = [](std::uint32_t field) { return static_cast<int>(field); };
    std::snprintf(whole, sizeof whole, "%02d%c%02d%c%02d%c%02d", number(hours), separator, number(minutes), separator,
                  number(seconds), separator, number(frames));
    int length = 0;
    for (; length < textLength - 1 && whole[length] != '\0'; ++length)
        text[length] = static_cast<wchar_t>(whole[length]);
    text[length] = L'\0';
}

void TimeCodeValue::getStringA(FieldFrameSelect select, char* const text) const {
    wchar_t wide[textLength];
    getStringW(select, wide);
    std::string narrow;
    if (!WideToMB(wide, narrow)) narrow.clear();
    text[narrow.copy(text, textLength - 1)] = '\0';
}

}  // namespace Orvel
