#include "tools/marks/code_check.h"

#include <fmt/format.h>

#include <algorithm>
#include <initializer_list>

namespace OrvelTool {
namespace {

using namespace Orvel;

TimeCodeValue withoutFlags(TimeCodeValue code) {
    code.topField = code.bottomField = false;
    return code;
}

std::string faultText(TimeCodeBitsFault fault) {
    switch (fault) {
        case TimeCodeBitsConstant:
            return "a bit that never changes is wrong";
        case TimeCodeBitsDigit:
            return "a digit is above 9";
        case TimeCodeBitsRange:
            return "hours, minutes or seconds are out of range";
        default:
            return {};
    }
}

std::string flaggedText(const TimeCodeValue& code) {
    const std::string flags = flagsText(code);
    return codeText(code) + (flags.empty() ? "" : fmt::format(" ({})", flags));
}

/// The first text that is not empty.
std::string firstOf(std::initializer_list<std::string> texts) {
    const auto found = std::find_if(texts.begin(), texts.end(), [](const std::string& text) { return !text.empty(); });
    return found == texts.end() ? std::string() : *found;
}

}  // namespace

const char* flagsText(const TimeCodeValue& code) noexcept {
    if (code.topField) return code.bottomField ? "both" : "top";
    return code.bottomField ? "bottom" : "";
}

std::string CodeCheck::fault(const PictureReading& reading) {
    return firstOf({missing(reading), damage(reading), disorder(reading), jump(reading)});
}

std::string CodeCheck::missing(const PictureReading& reading) const {
    if (!readFields_) return reading.frame ? "" : "no time code is found";
    if (reading.frame && reading.bottom) return {};
    if (!reading.frame && !reading.bottom) return "no time code is found in either field";
    return fmt::format("no time code is found in the {} field", reading.frame ? "bottom" : "top");
}

std::string CodeCheck::damage(const PictureReading& reading) const {
    for (const auto& part : {reading.frame, reading.bottom})
        if (plan_.strict && part && part->bitsFault != TimeCodeBitsNoFault)
            return fmt::format("{} is damaged: {}", codeText(part->code), faultText(part->bitsFault));
    return {};
}

std::string CodeCheck::disorder(const PictureReading& reading) const {
    if (!reading.frame || !reading.bottom || !(plan_.fields || plan_.continuous)) return {};
    const TimeCodeValue &top = reading.frame->code, &bottom = reading.bottom->code;
    if (withoutFlags(top) != withoutFlags(bottom))
        return fmt::format("the fields carry different time codes, {} and {}", codeText(top), codeText(bottom));
    const std::string flags[] = {flagsText(top), flagsText(bottom)};
    if (!plan_.fields || (flags[0] == "top" && flags[1] == "bottom")) return {};
    if (flags[0].empty() && flags[1].empty())
        return "the field flags are lost: the fields were mixed, as by scaling them as one picture, or never stamped "
               "apart";
    const auto name = [](const std::string& flag) { return flag.empty() ? std::string("no") : flag; };
    return fmt::format("the top field carries the flag {}, the bottom field {}", name(flags[0]), name(flags[1]));
}

std::string CodeCheck::jump(const PictureReading& reading) {
    if (!plan_.continuous) return {};
    std::string unusable;
    if (reading.frame) {
        const TimeCodeValue& code = reading.frame->code;
        unusable = misfit(code);
        if (unusable.empty()) return jumpTo(plan_.continuous->pairs() ? code : withoutFlags(code));
    }
    if (before_) plan_.continuous->next(*before_, topFirst_.value_or(true));
    return unusable;
}

/// Why the clock cannot go by this code.
std::string CodeCheck::misfit(const TimeCodeValue& code) const {
    const CodeClock& clock = *plan_.continuous;
    if (!clock.isValid(code)) return fmt::format("{} does not exist at {}", codeText(code), clock.rateText());
    if (clock.pairs() && code.topField == code.bottomField)
        return fmt::format("{} does not tell which of its pair it is", flaggedText(code));
    return {};
}

std::string CodeCheck::jumpTo(const TimeCodeValue& code) {
    const auto before = before_;
    const bool goesOn = !before || follows(code);
    before_ = code;
    if (goesOn) return {};
    TimeCodeValue due = *before;
    plan_.continuous->next(due, topFirst_.value_or(true));
    return fmt::format("{} after {} where {} is due", flaggedText(code), flaggedText(*before), flaggedText(due));
}

/// Whether code is the next one; of pairs, the first step that can be told shows which picture of a pair is first.
bool CodeCheck::follows(const TimeCodeValue& code) {
    for (const bool topFirst : {true, false}) {
        if (topFirst_.value_or(topFirst) != topFirst) continue;
        TimeCodeValue due = *before_;
        plan_.continuous->next(due, topFirst);
        if (due != code) continue;
        topFirst_ = topFirst;
        return true;
    }
    return false;
}

}  // namespace OrvelTool
