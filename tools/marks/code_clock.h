#pragma once
#include <string>

#include "orvel/watermark/time_code_frames.h"
#include "orvel/watermark/time_code_value.h"
#include "tools/media/clip_info.h"

namespace OrvelTool {

/// Counts the pictures of a clip in time code, whose stamped form holds frame numbers up to 39.
///
/// By pairs, for clips of 48, 50 and 60 pictures a second, two pictures share a code that counts at half the rate. One
/// has its topField set and one its bottomField, as where the pictures show the fields of a stamped interlaced frame.
class CodeClock {
public:
    /// Throws ToolError (refused), which names clip, for a rate that cannot be counted so.
    CodeClock(const std::string& clip, Ratio rate, bool pairs);

    /// The first code, from the text of an option. Throws ToolError: usage when it is no time code, refused when it is
    /// not valid at the rate.
    Orvel::TimeCodeValue start(const std::string& option, const std::string& text) const;
    /// Steps to the next picture of a clip. @param topFirst of pairs. @return true when a new day began.
    /// The code must be valid.
    bool next(Orvel::TimeCodeValue& code, bool topFirst = true) const;

    bool pairs() const noexcept { return pairs_; }
    bool isValid(const Orvel::TimeCodeValue& code) const noexcept { return isTimeCodeValid(code, rate_); }
    /// Of the codes: "25/1".
    std::string rateText() const;

private:
    Orvel::TimeCodeRate rate_;  // of codes
    bool pairs_;
};

/// "hh:mm:ss:ff" or, drop-frame, "hh:mm:ss;ff"; what is no time code at any rate in the library's own text form.
std::string codeText(const Orvel::TimeCodeValue& code);

}  // namespace OrvelTool
