#pragma once
#include <cstdint>

#include "orvel/sys/api.h"
#include "orvel/watermark/time_code_value.h"

/// Counting frames in time code.
///
/// Time code numbers frames through a 24-hour clock with a whole number of frame numbers a second. At 30000/1001 frames
/// a second (29.97) thirty numbers last longer than a second, 3.6 s more in an hour. Drop-frame time code therefore
/// leaves out the numbers 0 and 1 at the start of every minute except each tenth (00, 10, 20, ...), 108 an hour, so
/// that 2589408 frames make a day (SMPTE ST 12-1). At 60000/1001 the numbers 0 to 3 are left out in the same places.
/// No picture is dropped, only its number: 00:00:59;29 is followed by 00:01:00;02.
///
/// A value is valid at a rate when it is below 24:00:00 with minutes and seconds below 60, its frame number exists at
/// the rate, and its dropFrame, if set, is of use there and its number not one of the dropped ones. Functions refuse
/// all else, and never bring a number into range. The field flags are of no importance here.
namespace Orvel {

/// Frames a second, as a fraction. Known are the whole numbers from 1 to 100 and 1000/1001 of them.
struct TimeCodeRate {
    std::int32_t num = 0;
    std::int32_t den = 0;
};

/// Frame numbers in a second of time code: 30 for 30/1 and 30000/1001; 0 for a rate that is not known.
[[nodiscard]] ORVEL_API int timeCodeBase(TimeCodeRate rate) noexcept;
/// Frame numbers left out at nine of ten minutes by drop-frame time code: 2 for 30000/1001, 4 for 60000/1001, otherwise
/// 0: no drop-frame time code exists.
[[nodiscard]] ORVEL_API int droppedNumbers(TimeCodeRate rate) noexcept;
/// Frames in 24 hours of time code; 0 when the rate is not known or has no drop-frame time code.
[[nodiscard]] ORVEL_API std::int64_t framesPerDay(TimeCodeRate rate, bool dropFrame) noexcept;

[[nodiscard]] ORVEL_API bool isTimeCodeValid(const TimeCodeValue& value, TimeCodeRate rate) noexcept;

/// Frames from 00:00:00:00 to value. @return false, with count unchanged, when value is not valid at the rate.
[[nodiscard]] ORVEL_API bool timeCodeToFrames(const TimeCodeValue& value, TimeCodeRate rate,
                                              std::int64_t& count) noexcept;
/// The time code of the frame that follows 00:00:00:00 by count; its field flags are off.
/// @return false, with value unchanged, when count is negative or not below framesPerDay().
[[nodiscard]] ORVEL_API bool framesToTimeCode(std::int64_t count, TimeCodeRate rate, bool dropFrame,
                                              TimeCodeValue& value) noexcept;

/// Steps value to the next frame; its flags stay. The clock goes on from the last frame of a day to 00:00:00:00.
/// @param newDay  if not null, told whether that happened.
/// @return false, with nothing changed, when value is not valid at the rate.
[[nodiscard]] ORVEL_API bool nextTimeCode(TimeCodeValue& value, TimeCodeRate rate, bool* newDay = nullptr) noexcept;
/// The same one frame back; 00:00:00:00 is preceded by the last frame of a day.
[[nodiscard]] ORVEL_API bool previousTimeCode(TimeCodeValue& value, TimeCodeRate rate, bool* newDay = nullptr) noexcept;

}  // namespace Orvel
