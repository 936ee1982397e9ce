#include "orvel/watermark/time_code_text.h"

#include <gtest/gtest.h>

namespace Orvel {
namespace {

constexpr TimeCodeRate ntsc30{30000, 1001}, pal{25, 1};

TEST(TimeCodeText, ReadsEveryFormThatAnnouncesItsKind) {
    const struct {
        const char* text;
        bool dropFrame;
    } cases[] = {{"01:02:03:04", false},
                 {"01.02.03.04", false},
                 {"01:02:03;04", true},
                 {"01;02;03;04", true},
                 {"01,02,03,04", true}};
    for (const auto& c : cases) {
        TimeCodeValue value{9, 9, 9, 9, true, true, !c.dropFrame};
        EXPECT_TRUE(parseTimeCode(c.text, ntsc30, value)) << c.text;
        EXPECT_EQ(value, (TimeCodeValue{1, 2, 3, 4, false, false, c.dropFrame})) << c.text;
    }
}

TEST(TimeCodeText, RefusesAllElseAndChangesNothing) {
    for (const char* text : {"",
                             "1:02:03:04",
                             "01:02:03:4",
                             "01:02:03:04 ",
                             " 1:02:03:04",
                             "01:02:03:0x",
                             "01:02:03",
                             "-1:02:03:04",
                             "01:02;03;04",
                             "01;02;03:04",
                             "01:02:03.04",
                             "01:02:03,04",
                             "01-02-03-04",
                             "01:02:03:30",
                             "24:00:00:00",
                             "00:60:00:00",
                             "00:00:60:00",
                             "00:01:00;01",
                             "00;01;00;00",
                             "\xD9\xA1:02:03:04"}) {
        TimeCodeValue value{9, 8, 7, 6, true, false, true};
        EXPECT_FALSE(parseTimeCode(text, ntsc30, value)) << text;
        EXPECT_EQ(value, (TimeCodeValue{9, 8, 7, 6, true, false, true})) << text;
    }
    TimeCodeValue value;
    EXPECT_FALSE(parseTimeCode("00:00:00;00", pal, value));
    EXPECT_FALSE(parseTimeCode({"01:02:03:0\0", 11}, ntsc30, value));
    EXPECT_FALSE(parseTimeCode("01:02:03:04", {}, value));
}

TEST(TimeCodeText, WritesValidTimeCodesAlone) {
    std::string text = "before";
    ASSERT_TRUE(formatTimeCode({23, 59, 8, 24}, pal, text));
    EXPECT_EQ(text, "23:59:08:24");
    ASSERT_TRUE(formatTimeCode({1, 2, 3, 4, true, false, true}, ntsc30, text));
    EXPECT_EQ(text, "01:02:03;04");
    EXPECT_FALSE(formatTimeCode({0, 0, 0, 25}, pal, text));
    EXPECT_EQ(text, "01:02:03;04");
}

}  // namespace
}  // namespace Orvel
