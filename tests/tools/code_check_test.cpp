// Counting and checking time codes, without pictures.
#include "tools/marks/code_check.h"

#include <gmock/gmock.h>

#include "tests/tools/tool_support.h"

namespace OrvelTool {
namespace {

using namespace Orvel;
using test::errorOf;
using ::testing::HasSubstr;

constexpr Ratio pal{25, 1}, ntsc{30000, 1001};

/// "hh:mm:ss:ff" or "hh:mm:ss;ff", and 't' or 'b' behind it for a flag.
TimeCodeValue code(const std::string& text) {
    const auto number = [&](std::size_t at) { return static_cast<std::uint32_t>(std::stoi(text.substr(at, 2))); };
    const char flag = text.size() > 11 ? text[11] : ' ';
    return {number(0), number(3), number(6), number(9), flag == 't', flag == 'b', text[8] == ';'};
}

/// The faults of a clip with these codes, one a line behind the number of its frame; "-" is a frame without a code.
std::string faults(const CodeClock& clock, const std::vector<std::string>& codes) {
    CodeCheck check({clock, false, false}, false);
    std::string text;
    for (std::size_t i = 0; i < codes.size(); ++i) {
        PictureReading reading;
        if (codes[i] != "-") reading.frame = CodeReading{code(codes[i])};
        const std::string fault = check.fault(reading);
        if (!fault.empty()) text += std::to_string(i) + ": " + fault + "\n";
    }
    return text;
}

TEST(CodeClockTest, StepsThroughDroppedNumbersPairsAndMidnight) {
    struct Case {
        Ratio rate;
        bool pairs;
        std::vector<const char*> codes;
    };
    const Case cases[] = {
        {pal, false, {"10:00:00:23", "10:00:00:24", "10:00:01:00"}},
        {{50, 2}, false, {"10:00:00:24", "10:00:01:00"}},
        {ntsc, false, {"10:00:59;29", "10:01:00;02"}},
        {ntsc, false, {"10:09:59;29", "10:10:00;00"}},
        {ntsc, false, {"10:00:59:29", "10:01:00:00"}},
        {{40, 1}, false, {"00:00:00:39", "00:00:01:00"}},
        {{50, 1}, true, {"10:00:00:24t", "10:00:00:24b", "10:00:01:00t"}},
        {{60000, 1001}, true, {"10:00:59;29t", "10:00:59;29b", "10:01:00;02t"}},
    };
    for (const Case& c : cases) {
        const CodeClock clock("a.y4m", c.rate, c.pairs);
        TimeCodeValue value = clock.start("--start", std::string(c.codes.front()).substr(0, 11));
        for (const char* expected : c.codes) {
            EXPECT_EQ(value, code(expected)) << expected << " read as " << codeText(value);
            EXPECT_FALSE(clock.next(value));
        }
    }
    for (const bool pairs : {false, true}) {
        const CodeClock clock("a.y4m", {pairs ? 50u : 25u, 1}, pairs);
        TimeCodeValue last = code(pairs ? "23:59:59:24b" : "23:59:59:24");
        EXPECT_TRUE(clock.next(last));
        EXPECT_EQ(last, code(pairs ? "00:00:00:00t" : "00:00:00:00"));
    }
}

TEST(CodeClockTest, RatesThatTheCodeCannotCountAreRefused) {
    const auto refusal = [](Ratio rate, bool pairs) {
        return errorOf(ExitCode::refused, [&] { CodeClock("a.y4m", rate, pairs); });
    };
    EXPECT_THAT(refusal({50, 1}, false), HasSubstr("a.y4m: 50/1 frames a second have frame numbers above 39"));
    EXPECT_THAT(refusal({41, 1}, false), HasSubstr("--pairs"));
    EXPECT_THAT(refusal({100, 1}, true), HasSubstr("too many"));
    EXPECT_THAT(refusal({25, 1}, true), HasSubstr("by pairs"));
    EXPECT_THAT(refusal({25, 2}, false), HasSubstr("--fps"));
    EXPECT_THAT(refusal({0x7FFFFFFF, 0x7FFFFFFE}, true), HasSubstr("cannot be counted"));
    CodeClock("a.y4m", {0x7FFFFFFF, 0x7FFFFFFF}, false);  // one frame a second
}

TEST(CodeClockTest, StartsThatDoNotExistAreToldFromWhatIsNoTimeCode) {
    const CodeClock at25("a", pal, false), at2997("a", ntsc, false);
    for (const char* text : {"", "10", "10:00:00", "10:00:00:0", "10:00:0a:00", "10:00;00:00", "24:00:00:00",
                             "10:60:00:00", "10:00:00:00 "})
        EXPECT_THAT(errorOf(ExitCode::usage, [&] { at25.start("--start", text); }), HasSubstr("is no time code"))
            << text;
    const auto refusal = [](const CodeClock& clock, const char* text) {
        return errorOf(ExitCode::refused, [&] { clock.start("--start", text); });
    };
    EXPECT_THAT(refusal(at25, "10:00:00:25"),
                HasSubstr("10:00:00:25 does not exist at 25/1; frames are numbered 0 to 24"));
    EXPECT_THAT(refusal(at25, "10:00:00;00"), HasSubstr("no drop-frame time code at 25/1"));
    EXPECT_THAT(refusal(at2997, "10:01:00;01"), HasSubstr("0 to 29, without 0 and 1 at the start of nine of ten"));
    EXPECT_THAT(refusal(CodeClock("a", {30, 1}, false), "10;00;00;00"), HasSubstr("no drop-frame"));
    EXPECT_EQ(at2997.start("--start", "10;00;00;05"), code("10:00:00;05"));
}

TEST(CodeCheckTest, OnlyJumpsAreFaultsOfAContinuousClip) {
    const CodeClock at25("a", pal, false), at2997("a", ntsc, false);
    EXPECT_EQ(faults(at25, {"23:59:59:23", "23:59:59:24", "00:00:00:00", "00:00:00:01"}), "");
    EXPECT_EQ(faults(at2997, {"10:00:59;28", "10:00:59;29", "10:01:00;02"}), "");
    EXPECT_EQ(faults(at25, {"10:00:00:00t", "10:00:00:01b", "10:00:00:02"}), "");  // flags are another matter
    EXPECT_EQ(faults(at25, {"10:00:00:00", "10:00:00:02", "10:00:00:03"}),
              "1: 10:00:00:02 after 10:00:00:00 where 10:00:00:01 is due\n");
    EXPECT_EQ(faults(at25, {"10:00:00:00", "10:00:00:00", "10:00:00:01"}),
              "1: 10:00:00:00 after 10:00:00:00 where 10:00:00:01 is due\n");
    EXPECT_EQ(faults(at2997, {"10:00:59;29", "10:01:00:00"}),
              "1: 10:01:00:00 after 10:00:59;29 where 10:01:00;02 is due\n");
    EXPECT_EQ(faults(at2997, {"10:00:59;29", "10:01:00;00", "10:01:00;03"}),
              "1: 10;01;00;00 does not exist at 30000/1001\n");
    EXPECT_EQ(faults(at25, {"-", "10:00:00:00", "-", "10:00:00:02", "10:00:00:25", "10:00:00:04"}),
              "0: no time code is found\n2: no time code is found\n4: 10:00:00:25 does not exist at 25/1\n");
}

TEST(CodeCheckTest, PairsMayBeginWithEitherFieldOrInTheirMiddle) {
    const CodeClock clock("a", {50, 1}, true);
    EXPECT_EQ(faults(clock, {"10:00:00:00t", "10:00:00:00b", "10:00:00:01t", "10:00:00:01b"}), "");
    EXPECT_EQ(faults(clock, {"10:00:00:00b", "10:00:00:00t", "10:00:00:01b"}), "");
    EXPECT_EQ(faults(clock, {"10:00:00:00b", "10:00:00:01t", "10:00:00:01b", "10:00:00:02t"}), "");
    EXPECT_EQ(faults(clock, {"10:00:00:00t", "10:00:00:00b", "10:00:00:01b"}),
              "2: 10:00:00:01 (bottom) after 10:00:00:00 (bottom) where 10:00:00:01 (top) is due\n");
    // The order is known from the first step on.
    EXPECT_EQ(faults(clock, {"10:00:00:00b", "10:00:00:00t", "10:00:00:00b"}),
              "2: 10:00:00:00 (bottom) after 10:00:00:00 (top) where 10:00:00:01 (bottom) is due\n");
    EXPECT_EQ(faults(clock, {"10:00:00:00t", "10:00:00:00", "10:00:00:01t"}),
              "1: 10:00:00:00 does not tell which of its pair it is\n");
}

TEST(CodeCheckTest, FieldsMustCarryOneCodeAndTheirOwnFlags) {
    const auto fault = [](const char* top, const char* bottom) {
        PictureReading reading;
        if (*top != 0) reading.frame = CodeReading{code(top)};
        if (*bottom != 0) reading.bottom = CodeReading{code(bottom)};
        return CodeCheck({std::nullopt, true, false}, true).fault(reading);
    };
    EXPECT_EQ(fault("10:00:00:00t", "10:00:00:00b"), "");
    EXPECT_THAT(fault("10:00:00:00", "10:00:00:00"), HasSubstr("the field flags are lost"));
    EXPECT_EQ(fault("10:00:00:00b", "10:00:00:00t"), "the top field carries the flag bottom, the bottom field top");
    EXPECT_EQ(fault("10:00:00:00t", "10:00:00:00"), "the top field carries the flag top, the bottom field no");
    EXPECT_THAT(fault("10:00:00:00t", "10:00:00:01b"), HasSubstr("different time codes, 10:00:00:00 and 10:00:00:01"));
    EXPECT_EQ(fault("10:00:00:00t", ""), "no time code is found in the bottom field");
    EXPECT_EQ(fault("", "10:00:00:00b"), "no time code is found in the top field");
    EXPECT_EQ(fault("", ""), "no time code is found in either field");
}

TEST(CodeCheckTest, DamageIsAFaultOnlyWhereCodesMustBeIntact) {
    PictureReading reading;
    reading.frame = CodeReading{code("10:00:00:00"), TimeCodeBitsDigit};
    EXPECT_EQ(CodeCheck({std::nullopt, false, false}, false).fault(reading), "");
    EXPECT_EQ(CodeCheck({std::nullopt, false, true}, false).fault(reading),
              "10:00:00:00 is damaged: a digit is above 9");
}

}  // namespace
}  // namespace OrvelTool
