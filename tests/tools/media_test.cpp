#include <gmock/gmock.h>

#include "orvel/img/all_formats.h"
#include "tests/tools/tool_support.h"
#include "tools/media/frame_writer.h"
#include "tools/media/open_media.h"
#include "tools/media/raw_source.h"

namespace OrvelTool {
namespace {

using namespace Orvel;
using ::testing::HasSubstr;
using ::testing::Not;

class MediaTest : public test::FolderTest {
protected:
    /// Reads all of in and writes it to out in the container and format of out's name.
    void copyClip(const std::string& in, const InputOptions& options, const std::string& out) {
        const auto source = openSource(in, options);
        ClipInfo info = source->info();
        info.container = outputKind({out, ""}, *info.format).container;
        info.oddChroma = info.container == Container::y4m ? OddChroma::up : parseOddChroma(options.oddChroma);
        FrameWriter writer(out, info);
        const auto picture = makePicture(*info.format, info.width, info.height);
        while (source->read(*picture)) writer.write(*picture);
        writer.finish();
    }
};

TEST_F(MediaTest, EveryHeaderlessFormatComesBackAsItWas) {
    for (const FormatInfo& format : formats)
        for (const auto& [width, height] : {std::pair{8, 6}, {7, 5}, {2, 1}, {1, 1}}) {
            if (format.evenWidthOnly && width % 2 != 0) continue;
            const FrameShape shape(format, width, height, OddChroma::down);
            const auto in = write("in", test::randomBytes(3 * shape.bytes()));
            InputOptions options;
            options.size = std::to_string(width) + "x" + std::to_string(height);
            options.format = format.name;
            const auto out = path("out." + lowerName(format));
            copyClip(in, options, out);
            EXPECT_EQ(slurp(in), slurp(out)) << format.name << " " << options.size;
        }
}

TEST_F(MediaTest, FramesHaveTheSizeOfTheirSamples) {
    struct {
        const char* format;
        int width, height;
        OddChroma odd;
        std::size_t bytes;
    } const cases[] = {
        {"i420", 352, 288, OddChroma::down, 152064},
        {"i420", 5, 3, OddChroma::down, 15 + 2 * 2 * 2},
        {"i420", 5, 3, OddChroma::up, 15 + 2 * 3 * 2},
        {"yv16", 5, 3, OddChroma::up, 15 + 2 * 3 * 3},
        {"uyvy", 720, 576, OddChroma::down, 829440},
        {"v216", 6, 2, OddChroma::down, 48},
        {"hy16", 6, 2, OddChroma::up, 48},
        {"bgr", 3, 2, OddChroma::up, 24},
    };
    for (const auto& c : cases)
        EXPECT_EQ(FrameShape(*findFormatByName(c.format), c.width, c.height, c.odd).bytes(), c.bytes) << c.format;
}

TEST_F(MediaTest, ColumnsThePictureHasNoRoomForAreDroppedAndRepeated) {
    I420Img picture;
    ASSERT_TRUE(picture.allocate(3, 1, 1));
    const std::uint8_t file[] = {1, 2, 3, 40, 41, 50, 51};
    const FrameShape shape(formatOf<I420Img>(), 3, 1, OddChroma::up);
    EXPECT_TRUE(shape.hasExtraColumn());
    shape.unpack(file, picture);
    EXPECT_EQ(*picture.getPixels(1), 40);
    EXPECT_EQ(*picture.getPixels(2), 50);
    std::vector<std::uint8_t> written(shape.bytes());
    shape.pack(picture, written);
    EXPECT_EQ(written, (std::vector<std::uint8_t>{1, 2, 3, 40, 40, 50, 50}));

    I420Img column;  // has no chroma at all
    ASSERT_TRUE(column.allocate(1, 1, 1));
    *column.getPixels(0) = 9;
    const FrameShape narrow(formatOf<I420Img>(), 1, 1, OddChroma::up);
    written.resize(narrow.bytes());
    narrow.pack(column, written);
    EXPECT_EQ(written, (std::vector<std::uint8_t>{9, 128, 128}));
}

TEST_F(MediaTest, ALengthThatIsNoWholeNumberOfFramesIsRefusedWithSizesThatFit) {
    const auto clip = write("clip_720x576_.yuv", std::string(3 * 152064, 'x'));
    const auto text = test::errorOf(ExitCode::badInput, [&] { openSource(clip, {}); });
    EXPECT_THAT(text, HasSubstr("456192 bytes are 0 I420 frames of 720x576 (622080 bytes each) and 456192 bytes more"));
    EXPECT_THAT(text, HasSubstr("352x288"));
    EXPECT_THAT(text, Not(HasSubstr("--ignore-tail")));  // there is no whole frame to take
    InputOptions ignoring;
    ignoring.ignoreTail = true;
    test::errorOf(ExitCode::badInput, [&] { openSource(clip, ignoring); });
    test::errorOf(ExitCode::badInput, [&] { openSource(write("none_8x8_.yuv", ""), {}); });
}

TEST_F(MediaTest, TheSizeIsTakenFromTheNameOfTheFileAlone) {
    const auto size = [](const char* name) {
        const auto found = sizeFromName(name);
        return found ? std::to_string(found->width) + "x" + std::to_string(found->height) : "";
    };
    EXPECT_EQ(size("clip_720x576_.yuv"), "720x576");
    EXPECT_EQ(size("/x_1x1_/box_data_1920x1080_25p.yuv"), "1920x1080");
    EXPECT_EQ(size("a_8x8_16x16_.yuv"), "16x16");
    EXPECT_EQ(size("/in_8x8_/clip.yuv"), "");
    EXPECT_EQ(size("clip_1920x1080.yuv"), "");
    EXPECT_EQ(size("clip_720X576_.yuv"), "");
    EXPECT_EQ(size("clip_1234567x100_.yuv"), "");
}

TEST_F(MediaTest, WhatIsNotToldIsAskedFor) {
    const auto clip = write("clip.yuv", std::string(152064, 'x'));
    EXPECT_THAT(test::errorOf(ExitCode::usage, [&] { openSource(clip, {}); }),
                ::testing::AllOf(HasSubstr("--size"), HasSubstr("352x288")));
    InputOptions options;
    options.size = "352x288";
    EXPECT_EQ(openSource(clip, options)->info().frames, 1);
    const auto other = write("clip.bin", slurp(clip));
    EXPECT_THAT(test::errorOf(ExitCode::usage, [&] { openSource(other, options); }), HasSubstr("--format"));
    for (const char* bad : {"0x8", "8", "8x", "-8x8", "8x8x8", "70000x2", "65535x65535", "99999999999x2"}) {
        options.size = bad;
        test::errorOf(ExitCode::usage, [&] { openSource(clip, options); });
    }
    test::errorOf(ExitCode::badInput, [&] { openSource(path("missing.y4m"), {}); });
    test::errorOf(ExitCode::badInput, [&] { openSource(folder_.string(), {}); });
}

TEST_F(MediaTest, TheOutputsNameOrTheOptionTellsItsFormat) {
    const auto kind = [](const char* path, const char* option, const char* source) {
        const OutputKind k = outputKind({path, option}, *findFormatByName(source));
        return std::string(k.container == Container::y4m ? "y4m " : "raw ") + k.format->name;
    };
    EXPECT_EQ(kind("a.yuv", "", "uyvy"), "raw I420");
    EXPECT_EQ(kind("a.YUY2", "", "uyvy"), "raw YUYV");
    EXPECT_EQ(kind("a.y4m", "", "uyvy"), "y4m YV16");
    EXPECT_EQ(kind("a.y4m", "", "v216"), "y4m HY16");
    EXPECT_EQ(kind("a.y4m", "i420", "v216"), "y4m I420");
    EXPECT_EQ(kind("-", "", "i420"), "y4m I420");
    EXPECT_EQ(kind("-", "v216", "i420"), "raw V216");
    EXPECT_EQ(kind("a.bin", "y4m", "bgr"), "y4m YV16");
    for (const auto& c : {std::pair{"a.bin", ""}, {"a.y4m", "uyvy"}, {"a.yuv", "nv12"}})
        test::errorOf(ExitCode::usage, [&] { kind(c.first, c.second, "i420"); });
}

}  // namespace
}  // namespace OrvelTool
