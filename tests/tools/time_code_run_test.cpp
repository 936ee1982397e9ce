// Time codes that the built program stamps and reads, beside what the library makes of the same pictures.
#include "orvel/img/all_formats.h"
#include "orvel/watermark/readable_time_code.h"
#include "orvel/watermark/unified_watermark_interlace.h"
#include "tests/tools/moving_clip.h"
#include "tests/tools/run_support.h"

namespace OrvelTool {
namespace {

using namespace Orvel;
using test::Frames;
using test::Outcome;
using test::packed;
using ::testing::EndsWith;
using ::testing::HasSubstr;

const std::string names = "frame,time_code,flags,bottom_time_code,bottom_flags,fault\n";

// 192x192 has just the 96x96 chroma samples that a code needs, 192x384 so in each field.
class TimeCodeRunTest : public test::ProgramTest {
protected:
    static constexpr std::size_t frame = 192 * 192 * 3 / 2;

    /// Writes a clip of 4:2:0 as "a_192xH_.yuv" and the stamped one as "b_192xH_.yuv", which it returns.
    std::string stamped(int frames, int height, const std::string& options) {
        const std::string size = "_192x" + std::to_string(height) + "_.yuv";
        clip_ = test::pan(frames, 192, height, 2, 1);
        write("a" + size, clip_);
        const Outcome outcome = run("tc stamp a" + size + " b" + size + " --start " + options);
        EXPECT_EQ(outcome.exit, 0) << outcome.err;
        notes_ = outcome.err;
        return slurp(path("b" + size));
    }
    /// What tc read says of a headerless 4:2:0 clip.
    Outcome read(const std::string& clip, int height, const std::string& options) {
        const std::string name = "c_192x" + std::to_string(height) + "_.yuv";
        write(name, clip);
        return run("tc read " + name + " " + options);
    }

    std::string notes_;
};

TEST_F(TimeCodeRunTest, AFrameCarriesTheCodeThatTheLibraryWrites) {
    const std::string result = stamped(3, 192, "10:00:00:23 --fps 25 --readable");
    std::string expected;
    Frames frames(clip_, "i420", 192, 192);
    for (const auto& code : std::vector<TimeCodeValue>{{10, 0, 0, 23}, {10, 0, 0, 24}, {10, 0, 1, 0}}) {
        auto& picture = static_cast<I420Img&>(*frames.next());
        UnifiedWatermark<I420Img> mark;
        BGRImg strip;
        tagSIZE size;
        ASSERT_TRUE(mark.encode(picture, code, &size) && renderReadable(code, FieldFrameBoth, size, strip) &&
                    mark.encodeReadable(picture, strip));
        expected += packed(picture);
    }
    EXPECT_EQ(result, expected);
    const Outcome outcome = read(result, 192, "--fps 25 --expect-continuous --strict");
    EXPECT_EQ(outcome.exit, 0) << outcome.err;
    EXPECT_EQ(outcome.out, names + "0,10:00:00:23,,,,\n1,10:00:00:24,,,,\n2,10:00:01:00,,,,\n");
    EXPECT_EQ(read(result, 192, "o.json").exit, 0);
    EXPECT_THAT(slurp(path("o.json")), HasSubstr("\n  {\"frame\":2,\"time_code\":\"10:00:01:00\",\"flags\":null,"));
}

TEST_F(TimeCodeRunTest, EachFieldCarriesTheCodeWithItsFlag) {
    const std::string result = stamped(2, 384, "01:02:03:04 --rate 25 --field-order bff --readable");
    std::string expected;
    Frames frames(clip_, "i420", 192, 384);
    for (const auto& code : std::vector<TimeCodeValue>{{1, 2, 3, 4}, {1, 2, 3, 5}}) {
        auto& picture = static_cast<I420Img&>(*frames.next());
        UnifiedWatermarkInterlace<I420Img> mark;
        tagSIZE size;
        ASSERT_TRUE(mark.encode(picture, code, &size));
        for (const FieldFrameSelect field : {FieldFrameTop, FieldFrameBottom}) {
            BGRImg strip;
            ASSERT_TRUE(renderReadable(code, field, size, strip) && mark.encodeReadable(picture, field, strip));
        }
        expected += packed(picture);
    }
    EXPECT_EQ(result, expected);
    EXPECT_EQ(stamped(2, 384, "01:02:03:04 --rate 25 --interlaced --readable"), expected);

    const std::string records =
        names + "0,01:02:03:04,top,01:02:03:04,bottom,\n1,01:02:03:05,top,01:02:03:05,bottom,\n";
    for (const char* options : {"--check-fields --expect-continuous --rate 25", "--interlaced", "--field-order tff"}) {
        const Outcome outcome = read(result, 384, options);
        EXPECT_EQ(outcome.exit, 0) << outcome.err;
        EXPECT_EQ(outcome.out, records) << options;
    }
    std::string swapped = result.substr(0, 192 * 384 * 3 / 2);  // chroma, in rows of 96
    for (std::size_t row = 192 * 384; row < swapped.size(); row += 2 * 96)
        std::swap_ranges(&swapped[row], &swapped[row + 96], &swapped[row + 96]);
    const Outcome wrong = read(swapped, 384, "--check-fields");
    EXPECT_EQ(wrong.exit, 1);
    const std::string fault = "the top field carries the flag bottom, the bottom field top";
    EXPECT_THAT(wrong.err, HasSubstr("frame 0: " + fault));
    EXPECT_THAT(wrong.out, HasSubstr("\n0,01:02:03:04,bottom,01:02:03:04,top,\"" + fault + "\"\n"));
}

TEST_F(TimeCodeRunTest, PairsAreNumberedLikePicturesOfSingleFields) {
    const std::string pairs = stamped(5, 192, "23:59:59:23 --fps 50 --pairs");
    EXPECT_EQ(notes_, "orvelvis: note: a_192x192_.yuv: midnight: frame 4 is 00:00:00:00\n");
    const Outcome outcome = read(pairs, 192, "--fps 50 --pairs --expect-continuous --strict");
    EXPECT_EQ(outcome.exit, 0) << outcome.err;
    EXPECT_EQ(outcome.out, names +
                               "0,23:59:59:23,top,,,\n1,23:59:59:23,bottom,,,\n2,23:59:59:24,top,,,\n"
                               "3,23:59:59:24,bottom,,,\n4,00:00:00:00,top,,,\n");
}

TEST_F(TimeCodeRunTest, TheFirstJumpIsNamedAndTheRecordsAreThere) {
    const std::string result = stamped(4, 192, "'10:00:59;28' --fps 29.97");
    const Outcome whole = read(result, 192, "--fps 29.97 --expect-continuous");
    EXPECT_EQ(whole.exit, 0) << whole.err;
    EXPECT_THAT(whole.out, HasSubstr("\n1,10:00:59;29,,,,\n2,10:01:00;02,,,,\n"));
    const Outcome cut =
        read(result.substr(0, 2 * frame) + result.substr(3 * frame), 192, "o.csv --fps 29.97 --expect-continuous");
    EXPECT_EQ(cut.exit, 1);
    EXPECT_EQ(
        cut.err,
        "orvelvis: c_192x192_.yuv: frame 2: 10:01:00;03 after 10:00:59;29 where 10:01:00;02 is due; 1 of 3 frames "
        "are at fault\n");
    EXPECT_THAT(slurp(path("o.csv")),
                EndsWith("\n2,10:01:00;03,,,,10:01:00;03 after 10:00:59;29 where 10:01:00;02 is due\n"));
    const Outcome blank = read(result.substr(0, frame) + clip_.substr(frame, frame), 192, "");
    EXPECT_EQ(blank.exit, 1);
    EXPECT_THAT(blank.err, HasSubstr("frame 1: no time code is found; 1 of 2"));
}

TEST_F(TimeCodeRunTest, StrictReadingSeesDamage) {
    std::string damaged = stamped(1, 192, "10:00:00:00 --fps 25");
    // Cells are 10x10 samples, the first one at (12, 12) of the 96x96; bit 20, always 0, is the first of its row.
    for (std::size_t y = 42; y < 52; ++y) damaged.replace(192 * 192 + y * 96 + 12, 10, 10, '\xEF');
    const Outcome lenient = read(damaged, 192, "");
    EXPECT_EQ(lenient.exit, 0);
    EXPECT_THAT(lenient.out, HasSubstr("0,10:00:00:00,,,,\n"));
    const Outcome strict = read(damaged, 192, "--strict");
    EXPECT_EQ(strict.exit, 1);
    EXPECT_THAT(strict.err, HasSubstr("frame 0: 10:00:00:00 is damaged: a bit that never changes is wrong"));
}

TEST_F(TimeCodeRunTest, PackedClipsKeepAllThatTheGridDoesNotCover) {
    for (const char* format : {"uyvy", "yuyv"}) {
        const std::string name = std::string("_192x192_.") + format, from = "a" + name, to = "b" + name;
        const std::size_t luma = *format == 'u' ? 1 : 0;  // of a byte pair
        std::string clip = test::randomBytes(2 * 192 * 192 * 2);
        for (std::size_t i = 1 - luma; i < clip.size(); i += 2) clip[i] = static_cast<char>(100 + (clip[i] & 31));
        write(from, clip);
        const auto outcome = run("tc stamp " + from + " " + to + " --start 10:00:00:00 --fps 25");
        ASSERT_EQ(outcome.exit, 0) << outcome.err;
        const std::string after = slurp(path(to));
        ASSERT_EQ(after.size(), clip.size());
        std::size_t changed = 0;
        for (std::size_t i = 0; i < after.size(); ++i) {
            if (after[i] == clip[i]) continue;
            const std::size_t column = i / 4 % 96, row = i / 384 % 192;
            ++changed;
            ASSERT_NE(i % 2, luma) << i;
            ASSERT_TRUE(column >= 12 && column < 82 && row >= 24 && row < 144) << i;
        }
        // Every chroma sample of the grid but some of the grey of the two keys.
        EXPECT_GT(changed, 2u * 2 * 40 * 10 * 20);
        EXPECT_THAT(run("tc read " + to).out, EndsWith("1,10:00:00:01,,,,\n"));
    }
    ASSERT_EQ(run("tc stamp a_192x192_.uyvy c.y4m --start 10:00:00:00 --fps 25").exit, 0);
    ASSERT_EQ(run("convert b_192x192_.uyvy d.y4m").exit, 0);
    EXPECT_EQ(run("compare c.y4m d.y4m").exit, 0);
}

TEST_F(TimeCodeRunTest, WhatCannotBeStampedIsRefusedAndLeavesNoOutput) {
    write("a_192x192_.yuv", clip_ = test::pan(2, 192, 192, 2, 1));
    write("a_190x192_.yuv", std::string(190 * 192 * 3 / 2, '\x80'));
    write("a_193x192_.uyvy", std::string(193 * 192 * 2, '\x80'));
    write("a_192x192_.bgr", std::string(192 * 192 * 4, '\x80'));
    write("a_192x192_.v216", std::string(192 * 192 * 4, '\x80'));
    const auto stamp = [&](int exit, const std::string& arguments) { return failure(exit, "tc stamp " + arguments); };
    for (const char* options :
         {"", "--start 10:00:00 --fps 25", "--start 10:00:00:00", "--start 10:00:00:00 --fps x",
          "--start 10:00:00:00 --fps 25 --rate 25", "--start 10:00:00:00 --fps 50 --pairs --interlaced"})
        stamp(2, std::string("a_192x192_.yuv b.yuv ") + options);
    for (const char* options :
         {"--start 10:00:00:25 --fps 25", "--start '10:00:00;00' --fps 25", "--start 10:00:00:00 --fps 50",
          "--start 10:00:00:00 --fps 25 --interlaced", "--start 10:00:00:00 --fps 50 --pairs --field-order tff"})
        EXPECT_THAT(stamp(4, std::string("a_192x192_.yuv b.yuv ") + options), HasSubstr("; ")) << options;
    const std::string start = " --start 10:00:00:00 --fps 25";
    EXPECT_THAT(stamp(4, "a_190x192_.yuv b.yuv" + start), HasSubstr("chroma of 95x96 samples has no room"));
    EXPECT_THAT(stamp(4, "a_193x192_.uyvy b.uyvy" + start), HasSubstr("odd width 193"));
    EXPECT_THAT(stamp(4, "a_192x192_.bgr b.bgr" + start), HasSubstr("convert"));
    EXPECT_THAT(stamp(4, "a_192x192_.v216 b.v216" + start), HasSubstr("convert"));
    EXPECT_THAT(failure(4, "tc read a_190x192_.yuv o.csv"), HasSubstr("no room"));
    failure(2, "tc read a_192x192_.yuv o.csv --expect-continuous");
    failure(2, "tc read a_192x192_.yuv o.csv --pairs --fps 50");
    failure(2, "tc");
    EXPECT_THAT(run("tc stamp --help").out, HasSubstr("--pairs"));
}

}  // namespace
}  // namespace OrvelTool
