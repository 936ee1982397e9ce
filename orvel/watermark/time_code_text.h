#pragma once
#include <string>
#include <string_view>

#include "orvel/sys/api.h"
#include "orvel/watermark/time_code_frames.h"
#include "orvel/watermark/time_code_value.h"

namespace Orvel {

/// Reads a time code: four numbers of two digits and the separators between them, nothing before or after.
///
/// | text        | meaning                                                                      |
/// |-------------|------------------------------------------------------------------------------|
/// | 10:00:00:00 | every number is used                                                         |
/// | 10:00:00;00 | drop-frame                                                                   |
/// | 10;00;00;00 | drop-frame, as TimeCodeValue writes it                                       |
/// | 10.00.00.00 | what TimeCodeValue writes for a field: every number is used (",": drop-frame) |
///
/// Other mixtures are refused: "." and "," before the frames alone mean different things to different makers. The
/// field flags of value are off: the text does not tell them.
/// @return false, with value unchanged, for any other text, or a time code that is not valid at the rate.
[[nodiscard]] ORVEL_API bool parseTimeCode(std::string_view text, TimeCodeRate rate, TimeCodeValue& value) noexcept;

/// Writes "hh:mm:ss:ff", or "hh:mm:ss;ff" for drop-frame time code, the form of SMPTE ST 12-1 and of most tools.
/// @return false, with text unchanged, when value is not valid at the rate. Throws std::bad_alloc.
[[nodiscard]] ORVEL_API bool formatTimeCode(const TimeCodeValue& value, TimeCodeRate rate, std::string& text);

/// The text form of TimeCodeValue, which tells a top field from all else: "hh:mm:ss:ff" or "hh.mm.ss.ff", drop-frame
/// "hh;mm;ss;ff" or "hh,mm,ss,ff". Nothing is checked; what is longer than 11 characters is cut off. Throws
/// std::bad_alloc.
[[nodiscard]] ORVEL_API std::string timeCodeText(const TimeCodeValue& value, FieldFrameSelect select);

}  // namespace Orvel
