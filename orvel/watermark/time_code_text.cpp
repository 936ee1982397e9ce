#include "orvel/watermark/time_code_text.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace Orvel {
namespace {

constexpr std::size_t textSize = 11;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// The kind of time code that three separators announce. @return false when they don't fit together.
bool separatorsTell(std::string_view three, bool& dropFrame) {
    dropFrame = three == "::;" || three == ";;;" || three == ",,,";
    return dropFrame || three == ":::" || three == "...";
}

struct Text : TimeCodeValue {
    using TimeCodeValue::getStringA;
};

}  // namespace

bool parseTimeCode(std::string_view text, TimeCodeRate rate, TimeCodeValue& value) noexcept {
    if (text.size() != textSize) return false;
    std::uint32_t numbers[4];
    for (std::size_t i = 0; i < 4; ++i) {
        const char tens = text[3 * i], units = text[3 * i + 1];
        if (!isDigit(tens) || !isDigit(units)) return false;
        numbers[i] = static_cast<std::uint32_t>(10 * (tens - '0') + (units - '0'));
    }
    const char separators[] = {text[2], text[5], text[8]};
    TimeCodeValue read{numbers[0], numbers[1], numbers[2], numbers[3]};
    if (!separatorsTell({separators, 3}, read.dropFrame) || !isTimeCodeValid(read, rate)) return false;
    value = read;
    return true;
}

bool formatTimeCode(const TimeCodeValue& value, TimeCodeRate rate, std::string& text) {
    if (!isTimeCodeValid(value, rate)) return false;
    std::string written = value.dropFrame ? "00:00:00;00" : "00:00:00:00";
    const std::uint32_t numbers[] = {value.hours, value.minutes, value.seconds, value.frames};
    for (std::size_t i = 0; i < 4; ++i) {
        written[3 * i] = static_cast<char>('0' + numbers[i] / 10);
        written[3 * i + 1] = static_cast<char>('0' + numbers[i] % 10);
    }
    text = std::move(written);
    return true;
}

std::string timeCodeText(const TimeCodeValue& value, FieldFrameSelect select) {
    char text[TimeCodeValue::textLength];
    Text{value}.getStringA(select, text);
    return text;
}

}  // namespace Orvel
