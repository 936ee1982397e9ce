#include "orvel/watermark/time_code_frames.h"

namespace Orvel {
namespace {

constexpr int largestBase = 100;  // frame numbers have two digits
constexpr std::int64_t minutesPerDay = 24 * 60;

/// What a rate and the kind of time code make of the clock.
struct Clock {
    std::int64_t base;       ///< frame numbers a second; 0: there is no such clock
    std::int64_t dropped;    ///< frame numbers left out at nine of ten minutes
    std::int64_t perMinute;  ///< frames of a minute without its first numbers
    std::int64_t perTen;     ///< frames of ten minutes

    Clock(TimeCodeRate rate, bool dropFrame) noexcept
        : base(timeCodeBase(rate)),
          dropped(dropFrame ? droppedNumbers(rate) : 0),
          perMinute(60 * base - dropped),
          perTen(600 * base - 9 * dropped) {
        if (dropFrame && dropped == 0) base = 0;
    }
    std::int64_t perDay() const noexcept { return base == 0 ? 0 : minutesPerDay / 10 * perTen; }
};

bool isNtscRate(TimeCodeRate rate, int base) noexcept {
    return std::int64_t{rate.num} * 1001 == std::int64_t{rate.den} * base * 1000;
}

bool step(TimeCodeValue& value, TimeCodeRate rate, int by, bool* newDay) noexcept {
    std::int64_t count = 0;
    if (!timeCodeToFrames(value, rate, count)) return false;
    const std::int64_t day = framesPerDay(rate, value.dropFrame), moved = count + by, onClock = (moved + day) % day;
    TimeCodeValue stepped;
    if (!framesToTimeCode(onClock, rate, value.dropFrame, stepped)) return false;
    stepped.topField = value.topField;
    stepped.bottomField = value.bottomField;
    value = stepped;
    if (newDay != nullptr) *newDay = onClock != moved;
    return true;
}

}  // namespace

int timeCodeBase(TimeCodeRate rate) noexcept {
    if (rate.num <= 0 || rate.den <= 0) return 0;
    const std::int64_t roundedUp = (std::int64_t{rate.num} + rate.den - 1) / rate.den;
    if (roundedUp > largestBase) return 0;
    const int base = static_cast<int>(roundedUp);
    return rate.num % rate.den == 0 || isNtscRate(rate, base) ? base : 0;
}

int droppedNumbers(TimeCodeRate rate) noexcept {
    const int base = timeCodeBase(rate);
    return (base == 30 || base == 60) && isNtscRate(rate, base) ? base / 15 : 0;
}

std::int64_t framesPerDay(TimeCodeRate rate, bool dropFrame) noexcept {
    return Clock(rate, dropFrame).perDay();
}

bool isTimeCodeValid(const TimeCodeValue& value, TimeCodeRate rate) noexcept {
    const Clock clock(rate, value.dropFrame);
    if (value.hours > 23 || value.minutes > 59 || value.seconds > 59 || value.frames >= clock.base) return false;
    return value.seconds != 0 || value.minutes % 10 == 0 || value.frames >= clock.dropped;
}

bool timeCodeToFrames(const TimeCodeValue& value, TimeCodeRate rate, std::int64_t& count) noexcept {
    if (!isTimeCodeValid(value, rate)) return false;
    const Clock clock(rate, value.dropFrame);
    const std::int64_t minutes = std::int64_t{value.hours} * 60 + value.minutes;
    const std::int64_t numbers = (minutes * 60 + value.seconds) * clock.base + value.frames;
    count = numbers - clock.dropped * (minutes - minutes / 10);
    return true;
}

bool framesToTimeCode(std::int64_t count, TimeCodeRate rate, bool dropFrame, TimeCodeValue& value) noexcept {
    const Clock clock(rate, dropFrame);
    if (count < 0 || count >= clock.perDay()) return false;
    // Of ten minutes the first is whole; each later one puts the numbers that it drops between itself and its frames.
    const std::int64_t tens = count / clock.perTen, rest = count % clock.perTen, whole = 60 * clock.base;
    const std::int64_t shortMinutes = rest < whole ? 0 : 1 + (rest - whole) / clock.perMinute;
    const std::int64_t number = count + clock.dropped * (9 * tens + shortMinutes), second = number / clock.base;
    value = {};
    value.hours = static_cast<std::uint32_t>(second / 3600);
    value.minutes = static_cast<std::uint32_t>(second / 60 % 60);
    value.seconds = static_cast<std::uint32_t>(second % 60);
    value.frames = static_cast<std::uint32_t>(number % clock.base);
    value.dropFrame = dropFrame;
    return true;
}

bool nextTimeCode(TimeCodeValue& value, TimeCodeRate rate, bool* newDay) noexcept {
    return step(value, rate, 1, newDay);
}
bool previousTimeCode(TimeCodeValue& value, TimeCodeRate rate, bool* newDay) noexcept {
    return step(value, rate, -1, newDay);
}

}  // namespace Orvel
