// The built program, from the command line to its exit code.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "orvel/img/all_formats.h"
#include "orvel/pipeline/process_video.h"
#include "orvel/resize/resize_types.h"
#include "tests/tools/run_support.h"

namespace OrvelTool {
namespace {

using namespace Orvel;
using test::Outcome;
using test::processed;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class RunTest : public test::ProgramTest {};

TEST_F(RunTest, ProbeTellsWhatAClipIs) {
    write("a_48x32_.yuv", clip_);
    const Outcome text = run("probe a_48x32_.yuv --rate 25 --field-order tff");
    EXPECT_EQ(text.exit, 0) << text.err;
    for (const char* line : {"format        i420\n", "width         48\n", "frames        3\n", "rate          25/1\n",
                             "scan          interlaced, top field first\n", "frame_bytes   2304\n"})
        EXPECT_THAT(text.out, HasSubstr(line));
    const Outcome json = run("probe --json a_48x32_.yuv");
    EXPECT_THAT(json.out, HasSubstr("\"frames\": 3,\n  \"rate\": null,"));
    write("a\"\\\n\xFF_48x32_.yuv", clip_);
    EXPECT_THAT(run("probe --json a?*_48x32_.yuv").out, HasSubstr("\"a\\\"\\\\\\n\xEF\xBF\xBD_48x32_.yuv\",\n"));
    EXPECT_EQ(run("convert a_48x32_.yuv a.y4m").exit, 0);
    EXPECT_THAT(run("probe - <a.y4m").out, HasSubstr("frames        3\n"));
}

TEST_F(RunTest, UsageErrorsEndWithTwo) {
    write("a_48x32_.yuv", clip_);
    for (const char* arguments : {"", "fly", "probe", "probe a_48x32_.yuv --fast", "process a_48x32_.yuv",
                                  "process a_48x32_.yuv b.yuv --crop 1x1", "process a_48x32_.yuv b.yuv --place 8x8+0+0",
                                  "process a_48x32_.yuv b.yuv --threads 0", "process a_48x32_.yuv b.bin",
                                  "process a_48x32_.yuv b.yuv --fps-mode blend --rate 25",
                                  "process a_48x32_.yuv b.yuv --ends keep", "process a_48x32_.yuv b.yuv --denoise 8",
                                  "convert a_48x32_.yuv b.yuv --matrix 2020", "probe - --size 8x8 </dev/null"})
        EXPECT_THAT(failure(2, arguments), HasSubstr("; ")) << arguments;  // each with a hint
    failure(2, "probe a_48x32_.yuv '--fa\nst'");
    failure(2, "convert a_48x32_.yuv b.yuv --matrix '6\n01'");
    EXPECT_EQ(run("--help").exit, 0);
    EXPECT_THAT(run("process --help").out, HasSubstr("--odd-chroma"));
}

TEST_F(RunTest, UnreadableAndTruncatedInputEndsWithThreeAndLeavesNoOutput) {
    write("a_48x32_.yuv", clip_ + "tail");
    write("old.yuv", "old");
    EXPECT_THAT(failure(3, "process a_48x32_.yuv b.yuv"), HasSubstr("--ignore-tail takes the 3 whole frames"));
    EXPECT_EQ(run("process a_48x32_.yuv b.yuv --ignore-tail").exit, 0);
    EXPECT_EQ(slurp(path("b.yuv")), clip_);
    failure(3, "process missing.y4m b2.yuv");
    EXPECT_EQ(run("convert b.yuv c.y4m --size 48x32").exit, 0);
    write("cut.y4m", slurp(path("c.y4m")).substr(0, 6000));
    failure(3, "process cut.y4m old.yuv");
    failure(3, "convert - old.yuv <cut.y4m");  // truncation shows after two frames were written
    EXPECT_EQ(slurp(path("old.yuv")), "old");
    failure(3, "process - b2.yuv --format i420 --size 48x32 <a_48x32_.yuv");
    failure(3, "process - b2.yuv --format i420 --size 48x32 </dev/null");
}

TEST_F(RunTest, RefusedParametersEndWithFour) {
    write("a_48x32_.yuv", clip_);
    write("a_48x32_.bgr", std::string(48 * 32 * 4, 'x'));
    for (const char* arguments :
         {"process a_48x32_.yuv b.yuv --crop 48x32+2+0", "process a_48x32_.bgr b.yuv",
          "process a_48x32_.yuv b.yuv --canvas 64x64 --place 48x32+0+0", "process a_48x32_.yuv b.uyvy --scale 31x31",
          "process a_48x32_.yuv b.yuv --working hy16", "process a_48x32_.yuv b.yuv --fps 50",
          "process a_48x32_.yuv b.yuv --deinterlace cavt", "process a_48x32_.yuv b.yuv --denoise 3"})
        EXPECT_THAT(failure(4, arguments), HasSubstr("; ")) << arguments;
}

TEST_F(RunTest, FailingOutputEndsWithFive) {
    write("a_48x32_.yuv", clip_);
    EXPECT_THAT(failure(5, "process a_48x32_.yuv /dev/full --output-format i420"), HasSubstr("No space left"));
    failure(5, "convert a_48x32_.yuv - >/dev/full");
    failure(5, "preview a_48x32_.yuv - >/dev/full");
    failure(5, "process a_48x32_.yuv no/b.yuv");
    EXPECT_EQ(run("probe a_48x32_.yuv >/dev/full").exit, 5);
}

TEST_F(RunTest, StandardOutputHoldsPicturesOnlyAndOnlyWhenAsked) {
    const std::string account = "orvelvis: process: 3 read, 0 added, 3 written, 0 dropped, 0 held back\n";
    write("a_48x32_.yuv", clip_);
    const Outcome file = run("process a_48x32_.yuv b.yuv");
    EXPECT_EQ(file.out, "");
    EXPECT_EQ(file.err, account);
    const Outcome raw = run("process a_48x32_.yuv - --output-format i420");
    EXPECT_EQ(raw.out, clip_);
    EXPECT_EQ(raw.err, account);
    const Outcome piped = run("process - - --output-format i420 --format i420 --size 48x32 <a_48x32_.yuv");
    EXPECT_EQ(piped.out, clip_);
    EXPECT_THAT(run("process a_48x32_.yuv -").out, StartsWith("YUV4MPEG2 W48 H32 F30:1 I? A0:0 C420\nFRAME\n"));
}

TEST_F(RunTest, OddWidthsAreToldOnce) {
    write("a_5x4_.yuv", test::randomBytes(2 * 28));
    const Outcome outcome = run("convert a_5x4_.yuv a.y4m");
    EXPECT_EQ(outcome.exit, 0);
    EXPECT_EQ(outcome.err, "orvelvis: note: a.y4m: width 5 is odd: the last chroma column is written twice\n");
    const Outcome back = run("convert a.y4m b_5x4_.yuv");
    EXPECT_EQ(back.err, "orvelvis: note: a.y4m: width 5 is odd: the last chroma column of the file is dropped\n");
    EXPECT_EQ(slurp(path("b_5x4_.yuv")), slurp(path("a_5x4_.yuv")));
}

TEST_F(RunTest, AnInterruptionRemovesTheTemporaryFile) {
    write("old.yuv", "old");
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    const pid_t child = start("convert - old.yuv --format i420 --size 48x32 <pipe");
    const int pipe = open(path("pipe").c_str(), O_WRONLY);
    ASSERT_EQ(::write(pipe, clip_.data(), 3000), 3000);  // one frame, then the program waits
    const auto hasTemporary = [&] {
        for (const auto& name : files())
            if (name.find(".part-") != name.npos) return true;
        return false;
    };
    for (int i = 0; i < 500 && !hasTemporary(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_TRUE(hasTemporary());
    kill(child, SIGINT);
    EXPECT_EQ(finish(child).exit, 130);
    close(pipe);
    EXPECT_THAT(files(), ElementsAre("old.yuv", "pipe"));
    EXPECT_EQ(slurp(path("old.yuv")), "old");
}

TEST_F(RunTest, AnInterruptionEndsTheWaitForANamedPipe) {
    write("a_48x32_.yuv", clip_);
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    for (const char* arguments : {"probe pipe --format y4m", "convert a_48x32_.yuv pipe --to i420"}) {
        const pid_t child = start(arguments);
        const auto exited = [&] {
            siginfo_t state = {};
            return waitid(P_PID, static_cast<id_t>(child), &state, WEXITED | WNOHANG | WNOWAIT) == 0 &&
                   state.si_pid != 0;
        };
        for (int i = 0; i < 500 && !exited(); ++i) {  // early signals meet the shell or the program's start
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            if (i >= 15) kill(child, SIGINT);
        }
        const Outcome outcome = finish(child);
        EXPECT_EQ(outcome.exit, 130) << arguments;
        EXPECT_EQ(outcome.err, "") << arguments;
    }
}

TEST_F(RunTest, ARunThatIgnoresHangupsOutlivesTheTerminal) {
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    const auto previous = signal(SIGHUP, SIG_IGN);
    const pid_t child = start("convert - b.y4m --format i420 --size 48x32 <pipe");
    signal(SIGHUP, previous);
    const int pipe = open(path("pipe").c_str(), O_WRONLY);
    for (int i = 0; i < 500 && files().size() < 4; ++i)  // the pipe, .out, .err and the temporary file
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    kill(child, SIGHUP);
    EXPECT_EQ(::write(pipe, clip_.data(), clip_.size()), static_cast<ssize_t>(clip_.size()));
    close(pipe);
    EXPECT_EQ(finish(child).exit, 0);
}

TEST_F(RunTest, AClosedPipeIsAnError) {
    write("a_48x32_.yuv", test::randomBytes(200 * 2304));
    const std::string command = "cd " + folder_.string() +
                                " && { " ORVEL_TOOL
                                " convert a_48x32_.yuv - 2>/dev/null; echo $? >code; } | head -c 1 >/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(slurp(path("code")), "5\n");
}

TEST_F(RunTest, ProcessGivesWhatTheLibraryGives) {
    write("a_48x32_.yuv", clip_);
    ProcessVideoParams<I420Img> planar;
    planar.srcWidth = 48, planar.srcHeight = 32;
    planar.cropX = 8, planar.cropY = 4, planar.cropWidth = 32, planar.cropHeight = 24;
    planar.dstWidth = 80, planar.dstHeight = 64;
    planar.dstCropX = 6, planar.dstCropY = 8, planar.dstCropWidth = 60, planar.dstCropHeight = 40;
    planar.backgroundY = 50, planar.backgroundU = 90, planar.backgroundV = 200;
    planar.resizeInterp = ResizeInterpLinear;
    const std::string options =
        "--crop 32x24+8+4 --canvas 80x64 --place 60x40+6+8 --background 50,90,200 --interp linear";
    for (const char* threads : {"", " --threads 1"}) {
        ASSERT_EQ(run("process a_48x32_.yuv b.yuv " + options + threads).exit, 0);
        EXPECT_EQ(slurp(path("b.yuv")), processed(clip_, "i420", 48, 32, planar));
    }
}

TEST_F(RunTest, PackedAndSixteenBitClipsAreProcessedInTheirOwnFormat) {
    const auto packed = test::randomBytes(2 * 48 * 32 * 2), wide = test::randomBytes(2 * 48 * 32 * 4);
    write("a_48x32_.uyvy", packed);
    write("a_48x32_.v216", wide);
    ProcessVideoParams<YV16Img> eight;
    eight.srcWidth = 48, eight.srcHeight = 32, eight.dstWidth = 64, eight.dstHeight = 40;
    eight.srcProgressive = eight.dstProgressive = false;
    ASSERT_EQ(run("process a_48x32_.uyvy b.yv16 --scale 64x40 --scan tff").exit, 0);
    EXPECT_EQ(slurp(path("b.yv16")), processed(packed, "uyvy", 48, 32, eight));
    ProcessVideoParams<HY16Img> sixteen;
    sixteen.srcWidth = 48, sixteen.srcHeight = 32, sixteen.dstWidth = 24, sixteen.dstHeight = 20;
    ASSERT_EQ(run("process a_48x32_.v216 b.hy16 --scale 24x20").exit, 0);
    EXPECT_EQ(slurp(path("b.hy16")), processed(wide, "v216", 48, 32, sixteen));
}

TEST_F(RunTest, PreviewDrawsTheFramesOfBothClips) {
    write("a_48x32_.yuv", std::string(48 * 32, '\xEB') + std::string(48 * 16, '\x80'));  // white
    write("b_32x32_.uyvy", std::string(32 * 32 * 2, '\x80'));
    ASSERT_EQ(run("preview a_48x32_.yuv sheet.png --beside b_32x32_.uyvy").exit, 0);
    const std::string png = slurp(path("sheet.png"));
    ASSERT_THAT(png, StartsWith("\x89PNG\r\n"));
    const auto bigEndian = [&](std::size_t at) {
        return static_cast<unsigned char>(png[at + 2]) * 256 + static_cast<unsigned char>(png[at + 3]);
    };
    EXPECT_EQ(bigEndian(16), 8 + 48 + 4 + 32 + 8);
    EXPECT_EQ(bigEndian(20), 8 + 32 + 8);
    EXPECT_EQ(run("preview a_48x32_.yuv -").out.substr(0, 4), "\x89PNG");
    ASSERT_EQ(run("preview a_48x32_.yuv fields.png --fields").exit, 0);
    EXPECT_EQ(slurp(path("fields.png")).substr(16, 8), std::string("\0\0\0\x40\0\0\0\x34", 8));  // 8+48+8, 8+16+4+16+8
    failure(3, "preview missing.y4m other.png");
}

}  // namespace
}  // namespace OrvelTool
