// Block values and line numbers that the built program writes and reads.
#include "orvel/img/all_formats.h"
#include "orvel/watermark/spit_watermark.h"
#include "orvel/watermark/watermark.h"
#include "tests/tools/run_support.h"

namespace OrvelTool {
namespace {

using namespace Orvel;
using test::Frames;
using test::packed;
using ::testing::EndsWith;
using ::testing::HasSubstr;

class MarksRunTest : public test::ProgramTest {
protected:
    std::string grey(int frames, int width, int height) {  // levels that no mark may have
        std::string clip;
        for (int i = 0; i < frames; ++i)
            clip += std::string(static_cast<std::size_t>(width * height), '\x7E') +
                    std::string(static_cast<std::size_t>(width * height / 2), '\x70');
        return clip;
    }
};

TEST_F(MarksRunTest, ValuesAreWrittenAsTheLibraryDoesAndReadBack) {
    constexpr std::pair<const char*, std::size_t> clips[] = {{"_64x32_.yuv", 64 * 32 * 3 / 2},
                                                             {"_96x64_.uyvy", 96 * 64 * 2},
                                                             {"_96x64_.yuyv", 96 * 64 * 2},
                                                             {"_96x64_.yv16", 96 * 64 * 2}};
    for (const auto& [name, frameBytes] : clips) {
        const std::string from = std::string("a") + name, to = std::string("b") + name;
        write(from, test::randomBytes(2 * frameBytes));
        ASSERT_EQ(run("mark write " + from + " " + to + " --value 0x80000001 --count").exit, 0) << name;
        const auto outcome = run("mark read " + to + " --expect 2147483649 --count");
        EXPECT_EQ(outcome.exit, 0) << name << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr("frame,value\n0,2147483649\n1,2147483650\n"));
        const auto other = run("mark read " + to + " --expect 2147483649");
        EXPECT_EQ(other.exit, 1);
        EXPECT_THAT(other.err, HasSubstr(": frame 1: holds 2147483650, not 2147483649; "));
    }
    std::string expected;
    const std::string clip = slurp(path("a_96x64_.uyvy"));
    Frames frames(clip, "uyvy", 96, 64);
    for (unsigned value = 0x80000001; Img* picture = frames.next(); ++value) {
        ASSERT_TRUE(SpitWatermark::write(*picture, value));
        expected += packed(*picture);
    }
    EXPECT_EQ(slurp(path("b_96x64_.uyvy")), expected);
}

// The library takes rows of chroma to lie a width apart, and pads them to four bytes.
TEST_F(MarksRunTest, BlocksStandUprightForEveryWidth) {
    write("a_100x64_.yuv", grey(1, 100, 64));
    ASSERT_EQ(run("mark write a_100x64_.yuv b_100x64_.yuv --value 2").exit, 0);
    std::string expected = grey(1, 100, 64);
    for (std::size_t y = 0; y < 32;
         ++y)  // blocks of 6x8 in the 50x32 samples of U; bit 1 is the second of the first row
        for (std::size_t x = 0; x < 48; ++x) expected[100 * 64 + y * 50 + x] = y < 8 && x / 6 == 1 ? '\xFF' : '\0';
    EXPECT_EQ(slurp(path("b_100x64_.yuv")), expected);
    EXPECT_EQ(run("mark read b_100x64_.yuv").out, "frame,value\n0,2\n");
}

TEST_F(MarksRunTest, AFrameWithoutAValueIsANo) {
    write("a_64x32_.yuv", grey(1, 64, 32));
    ASSERT_EQ(run("mark write a_64x32_.yuv b_64x32_.yuv --value 7").exit, 0);
    write("c_64x32_.yuv", slurp(path("b_64x32_.yuv")) + grey(2, 64, 32));
    const auto outcome = run("mark read c_64x32_.yuv o.json");
    EXPECT_EQ(outcome.exit, 1);
    EXPECT_THAT(outcome.err, HasSubstr("frame 1: no value is found: a block is neither dark nor bright; 2 of 3"));
    EXPECT_EQ(slurp(path("o.json")),
              "[\n  {\"frame\":0,\"value\":7},\n  {\"frame\":1,\"value\":null},\n"
              "  {\"frame\":2,\"value\":null}\n]\n");
}

TEST_F(MarksRunTest, LinesAreMarkedAsTheLibraryDoesAndFoundInPlace) {
    for (const char* format : {"i420", "uyvy"}) {
        const std::string name = std::string("_80x36_.") + format, from = "a" + name, to = "b" + name;
        const std::string clip = test::randomBytes(2 * 80 * 36 * (*format == 'i' ? 3 : 4) / 2);
        write(from, clip);
        ASSERT_EQ(run("lines write " + from + " " + to).exit, 0);
        std::string expected;
        Frames frames(clip, format, 80, 36);
        while (Img* picture = frames.next()) {
            ASSERT_TRUE(Watermark::write(*picture));
            expected += packed(*picture);
        }
        EXPECT_EQ(slurp(path(to)), expected) << name;
        const auto outcome = run("lines check --strict " + to);
        EXPECT_EQ(outcome.exit, 0) << outcome.err;
        EXPECT_THAT(outcome.out, EndsWith("\n1,0,1,2,3,4,5,\n"));
        EXPECT_EQ(run("lines check " + from).exit, 1);
    }
}

TEST_F(MarksRunTest, TheFirstLineOutOfItsPlaceIsNamed) {
    constexpr std::size_t width = 64, lines = 32;
    write("a_64x32_.yuv", grey(1, width, lines));
    ASSERT_EQ(run("lines write a_64x32_.yuv b_64x32_.yuv").exit, 0);
    const std::string marked = slurp(path("b_64x32_.yuv"));
    /// The marked picture with its lines in another order, -1 for a grey one.
    const auto check = [&](std::vector<int> order, const std::string& options) {
        std::string clip = marked;
        for (std::size_t line = 0; line < order.size(); ++line)
            if (order[line] < 0)
                clip.replace(line * width, width, width, '\x7E');
            else
                clip.replace(line * width, width, marked, static_cast<std::size_t>(order[line]) * width, width);
        write("c_64x32_.yuv", clip);
        const auto outcome = run("lines check c_64x32_.yuv " + options);
        EXPECT_EQ(outcome.exit, outcome.err.empty() ? 0 : 1);
        const auto from = outcome.err.find("line "), to = outcome.err.find(';');
        return outcome.err.empty() ? "in place" : outcome.err.substr(from, to - from);
    };
    EXPECT_EQ(check({0, 1, 2, 3, 4, 5}, ""), "in place");
    EXPECT_EQ(check({-1, -1, 2, 3, 4, 5}, ""), "in place");
    EXPECT_EQ(check({-1, -1, 2, 3, 4, 5}, "--strict"), "line 0 carries no number");
    EXPECT_EQ(check({9, 9, 0, 1, 2, 3}, ""), "line 0 carries no number");
    EXPECT_EQ(check({2, 3, 4, 5, 6, 7}, ""), "line 0 carries 2");
    EXPECT_EQ(check({0, 2, 4, 9, 9, 9}, ""), "line 1 carries 2");
    EXPECT_EQ(check({0, 3, 2, 5, 4, 7}, "--field-order tff"), "line 1 (bottom field) carries 3");
    EXPECT_EQ(check({0, 3, 2, 5, 4, 7}, "--field"), "in place");
    EXPECT_EQ(check({2, 3, 4, 5, 6, 7}, "--field"), "line 0 (top field) carries 2");
}

TEST_F(MarksRunTest, WhatCannotBeMarkedIsRefused) {
    write("a_63x32_.yuv", std::string(63 * 32 + 2 * 31 * 16, 'x'));
    write("a_64x32_.yuv", grey(2, 64, 32));
    write("a_65x32_.yuyv", std::string(65 * 32 * 2, 'x'));
    write("a_64x32_.hy16", std::string(64 * 32 * 4, 'x'));
    for (const char* verb : {"mark write --value 1 ", "lines write "}) {
        EXPECT_THAT(failure(4, std::string(verb) + "a_63x32_.yuv o.yuv"), HasSubstr("63x32 are too small"));
        EXPECT_THAT(failure(4, std::string(verb) + "a_65x32_.yuyv o.yuyv"), HasSubstr("odd width 65"));
        EXPECT_THAT(failure(4, std::string(verb) + "a_64x32_.hy16 o.hy16"), HasSubstr("8-bit YUV"));
    }
    failure(4, "mark read a_63x32_.yuv o.csv");
    failure(4, "lines check a_63x32_.yuv o.csv");
    EXPECT_THAT(failure(4, "mark write a_64x32_.yuv o.yuv --value 0xFFFFFFFF --count"), HasSubstr("frame 1 exceeds"));
    for (const char* arguments :
         {"mark", "lines", "mark write a_64x32_.yuv o.yuv", "mark read a_64x32_.yuv --count",
          "mark write a_64x32_.yuv o.yuv --value 0x100000000", "mark write a_64x32_.yuv o.yuv --value -1",
          "lines check --field --strict a_64x32_.yuv"})
        failure(2, arguments);
}

}  // namespace
}  // namespace OrvelTool
