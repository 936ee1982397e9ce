#pragma once
#include <optional>
#include <string>

#include "tools/marks/code_clock.h"
#include "tools/marks/picture_code.h"

namespace OrvelTool {

/// What the time codes of a clip are checked for; that each picture, and each field that is read, has one goes without
/// saying.
struct CheckPlan {
    std::optional<CodeClock> continuous;  ///< each code is the one after the picture before by this clock
    bool fields = false;                  ///< each field carries its own flag, and both the same code
    bool strict = false;                  ///< no bit is other than a stamped one can be
};

/// Checks the pictures of a clip one after the other.
class CodeCheck {
public:
    /// @param readFields whether readings are of fields.
    CodeCheck(CheckPlan plan, bool readFields) : plan_(std::move(plan)), readFields_(readFields) {}

    /// What is wrong with the next picture; empty when nothing is. After a jump the clock goes on from the code read.
    std::string fault(const PictureReading& reading);

private:
    std::string missing(const PictureReading& reading) const;
    std::string damage(const PictureReading& reading) const;
    std::string disorder(const PictureReading& reading) const;
    std::string jump(const PictureReading& reading);
    std::string misfit(const Orvel::TimeCodeValue& code) const;
    std::string jumpTo(const Orvel::TimeCodeValue& code);
    bool follows(const Orvel::TimeCodeValue& code);

    const CheckPlan plan_;
    const bool readFields_;
    std::optional<Orvel::TimeCodeValue> before_;  // of the last picture, as it was read or counted
    std::optional<bool> topFirst_;                // of pairs, once it has shown
};

/// The field flags of a code as a word: "", "top", "bottom" or "both".
const char* flagsText(const Orvel::TimeCodeValue& code) noexcept;

}  // namespace OrvelTool
