#include "tools/marks/code_clock.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

#include "orvel/watermark/time_code_text.h"
#include "tools/errors.h"

namespace OrvelTool {
namespace {

using namespace Orvel;

constexpr int mostNumbers = 40;  // that the bit form holds

// Between them they have every code that any rate has.
constexpr TimeCodeRate everyRate[] = {{100, 1}, {60000, 1001}, {30000, 1001}};

bool existsSomewhere(const std::string& text) {
    TimeCodeValue value;
    return std::any_of(std::begin(everyRate), std::end(everyRate),
                       [&](TimeCodeRate rate) { return parseTimeCode(text, rate, value); });
}

/// Whether text looks like a time code, if one whose number is dropped: that happens in second 00 only.
bool isTimeCode(std::string text) {
    if (existsSomewhere(text)) return true;
    if (text.size() > 8 && text.substr(6, 2) == "00") text[7] = '1';
    return existsSomewhere(text);
}

TimeCodeRate reduced(Ratio rate) {
    const auto common = std::gcd(rate.num, rate.den);
    return {static_cast<std::int32_t>(rate.num / common), static_cast<std::int32_t>(rate.den / common)};
}

}  // namespace

CodeClock::CodeClock(const std::string& clip, Ratio rate, bool pairs) : rate_(reduced(rate)), pairs_(pairs) {
    const auto refuse = [&](const char* what, std::string_view hint) {
        throw ToolError(ExitCode::refused, clip, fmt::format("{}/{} frames a second {}", rate.num, rate.den, what),
                        hint);
    };
    if (timeCodeBase(rate_) == 0)
        refuse("cannot be counted in time code", "give --fps: whole numbers, or such as 30000/1001");
    if (pairs) {
        if (rate_.num % 2 == 0)
            rate_.num /= 2;
        else
            rate_.den *= 2;
    }
    if (timeCodeBase(rate_) == 0) refuse("cannot be counted by pairs", "leave --pairs");
    if (timeCodeBase(rate_) <= mostNumbers) return;
    if (pairs) refuse("are too many: even the numbers of pairs exceed 39, the largest the code holds", "");
    refuse("have frame numbers above 39, the largest the code holds", "--pairs numbers pairs of frames");
}

TimeCodeValue CodeClock::start(const std::string& option, const std::string& text) const {
    TimeCodeValue value;
    if (parseTimeCode(text, rate_, value)) {
        value.topField = pairs_;
        return value;
    }
    if (!isTimeCode(text))
        throw ToolError(ExitCode::usage, option, fmt::format("{} is no time code", text),
                        "write hh:mm:ss:ff, or hh:mm:ss;ff for drop-frame");
    const bool drop = text.find_first_of(";,") != text.npos;
    if (drop && droppedNumbers(rate_) == 0)
        throw ToolError(ExitCode::refused, option, fmt::format("there is no drop-frame time code at {}", rateText()),
                        "30000/1001 and, with --pairs, 60000/1001 have it");
    throw ToolError(ExitCode::refused, option, fmt::format("{} does not exist at {}", text, rateText()),
                    fmt::format("frames are numbered 0 to {}{}", timeCodeBase(rate_) - 1,
                                drop ? ", without 0 and 1 at the start of nine of ten minutes" : ""));
}

bool CodeClock::next(TimeCodeValue& code, bool topFirst) const {
    if (pairs_) {
        const bool firstOfPair = code.topField == topFirst;
        std::swap(code.topField, code.bottomField);
        if (firstOfPair) return false;
    }
    bool newDay = false;
    return nextTimeCode(code, rate_, &newDay) && newDay;
}

std::string CodeClock::rateText() const {
    return fmt::format("{}/{}{}", rate_.num, rate_.den, pairs_ ? " pairs a second" : "");
}

std::string codeText(const TimeCodeValue& code) {
    std::string text;
    for (const TimeCodeRate rate : everyRate)
        if (formatTimeCode(code, rate, text)) return text;
    return timeCodeText(code, FieldFrameBoth);
}

}  // namespace OrvelTool
