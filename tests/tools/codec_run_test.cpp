// Time codes on camera pictures that went through the codecs and filters of the ffmpeg program, where it is installed.
#include <fmt/format.h>

#include "tests/tools/run_support.h"

namespace OrvelTool {
namespace {

using test::Outcome;
using ::testing::EndsWith;
using ::testing::HasSubstr;

class CodecRunTest : public test::ProgramTest {
protected:
    void SetUp() override {
        if (std::system("ffmpeg -v error -encoders 2>/dev/null | grep -q libx264") != 0)
            GTEST_SKIP() << "no ffmpeg with libx264 is installed";
    }

    void ffmpeg(const std::string& arguments) const {
        const std::string command =
            "cd " + folder_.string() + " && ffmpeg -v error -nostdin -y -threads 2 " + arguments;
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
    }
    /// Stamps an example clip, played several times over, into s.y4m.
    void stamp(const std::string& clip, int times, const std::string& options) {
        const std::string bytes = slurp(ORVEL_MEDIA "/" + clip);
        ASSERT_FALSE(bytes.empty()) << clip;
        std::string all;
        for (int i = 0; i < times; ++i) all += bytes;
        write(clip, all);
        const Outcome outcome = run("tc stamp " + clip + " s.y4m --readable " + options);
        ASSERT_EQ(outcome.exit, 0) << outcome.err;
    }
    /// All of these frames are read, with every check that their kind of clip allows.
    void expectCodes(const std::string& clip, int frames, const std::string& last, const std::string& options) {
        const Outcome outcome = run("tc read " + clip + " --expect-continuous --strict " + options);
        EXPECT_EQ(outcome.exit, 0) << clip << " " << outcome.err;
        EXPECT_THAT(outcome.out, EndsWith(fmt::format("\n{},{}\n", frames - 1, last))) << clip;
        EXPECT_THAT(outcome.out, HasSubstr("\n0,10:00:59;20,")) << clip;
    }
};

TEST_F(CodecRunTest, CodesSurviveStrongCompression) {
    stamp("roof_720x576_50p.yuv", 2, "--fps 29.97 --start '10:00:59;20'");
    ffmpeg("-i s.y4m -c:v libx264 -preset medium -crf 45 c.mkv");
    ffmpeg("-i c.mkv -f yuv4mpegpipe d.y4m");
    EXPECT_EQ(run("compare s.y4m d.y4m").exit, 1);  // there was some
    expectCodes("d.y4m", 20, "10:01:00;11,,,,", "");
    stamp("walkway_352x288_30p.yuv", 2, "--fps 29.97 --start '10:00:59;20'");
    ffmpeg("-i s.y4m -c:v libx264 -preset medium -crf 45 c.mkv");
    ffmpeg("-i c.mkv -vf scale=500:400 -f yuv4mpegpipe d.y4m");
    expectCodes("d.y4m", 16, "10:01:00;07,,,,", "");
}

TEST_F(CodecRunTest, FieldsKeepTheirCodesWhereEveryStepKnowsOfThem) {
    stamp("roof_720x576_25i_tff.uyvy", 5, "--to i420 --fps 29.97 --field-order tff --start '10:00:59;20'");
    ffmpeg("-i s.y4m -c:v mpeg2video -flags +ildct+ilme -top 1 -b:v 5M -maxrate 5M -bufsize 1835k c.mpg");
    ffmpeg("-i c.mpg -f yuv4mpegpipe d.y4m");
    EXPECT_EQ(run("compare s.y4m d.y4m").exit, 1);
    const std::string last = "10:01:00;06,top,10:01:00;06,bottom,";
    expectCodes("d.y4m", 15, last, "--check-fields");
    ffmpeg("-i d.y4m -vf scale=640:432:interl=1 -f yuv4mpegpipe kept.y4m");
    expectCodes("kept.y4m", 15, last, "--check-fields");
    ASSERT_EQ(run("process d.y4m kept.y4m --keep-interlaced --scale 640x432").exit, 0);
    expectCodes("kept.y4m", 15, last, "--check-fields");

    ffmpeg("-i d.y4m -vf scale=640:432 -f yuv4mpegpipe mixed.y4m");
    expectCodes("mixed.y4m", 15, "10:01:00;06,,,,", "--field-order progressive");
    const Outcome mixed = run("tc read mixed.y4m --check-fields --expect-continuous");
    EXPECT_EQ(mixed.exit, 1);
    EXPECT_THAT(mixed.err, HasSubstr("frame 0: the field flags are lost"));
    EXPECT_THAT(mixed.err, EndsWith("; 15 of 15 frames are at fault\n"));
}

}  // namespace
}  // namespace OrvelTool
