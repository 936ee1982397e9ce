#include <gmock/gmock.h>

#include "orvel/img/all_formats.h"
#include "tests/tools/tool_support.h"
#include "tools/media/y4m_header.h"
#include "tools/media/y4m_reader.h"

namespace OrvelTool {
namespace {

using namespace Orvel;
using ::testing::HasSubstr;

class Y4mTest : public test::FolderTest {
protected:
    static ClipInfo parse(const std::string& parameters) { return parseY4mHeader("YUV4MPEG2 " + parameters, "clip"); }
    static std::string refusal(const std::string& parameters) {
        return test::errorOf(ExitCode::badInput, [&] { parse(parameters); });
    }
    /// Opens a stream and reads it to its end. @return the number of frames.
    int count(const std::string& bytes, bool ignoreTail = false) {
        Y4mReader reader(std::make_unique<InputFile>(write("clip.y4m", bytes)), ignoreTail);
        const auto picture = makePicture(*reader.info().format, reader.info().width, reader.info().height);
        int frames = 0;
        while (reader.read(*picture)) ++frames;
        EXPECT_EQ(reader.info().frames, frames);
        return frames;
    }

    const std::string header_ = "YUV4MPEG2 W4 H2 F25:1\n";
    const std::string frame_ = "FRAME\n" + std::string(12, 'p');
};

TEST_F(Y4mTest, ReadsEveryParameter) {
    const ClipInfo info = parse("W720 H576 F30000:1001 It A59:54 C420mpeg2 XYSCSS=420MPEG2 XCOLORRANGE=LIMITED");
    EXPECT_EQ(info.width, 720);
    EXPECT_EQ(info.height, 576);
    EXPECT_EQ(info.rate, (Ratio{30000, 1001}));
    EXPECT_EQ(info.pixel, (Ratio{59, 54}));
    EXPECT_EQ(info.scan, Scan::topFirst);
    EXPECT_EQ(info.chromaTag, "420mpeg2");
    EXPECT_EQ(info.colorRange, "LIMITED");
    EXPECT_EQ(formatY4mHeader(info), "YUV4MPEG2 W720 H576 F30000:1001 It A59:54 C420mpeg2 XCOLORRANGE=LIMITED\n");
}

TEST_F(Y4mTest, WhatIsLeftOutHasItsUsualMeaning) {
    const ClipInfo info = parse(" W16  H8 F0:0 A0:0 I? Z9");
    EXPECT_EQ(info.format->code, I420Img::getClassFormat());
    EXPECT_FALSE(info.rate || info.pixel || info.interlaced());
    EXPECT_EQ(formatY4mHeader(info), "YUV4MPEG2 W16 H8 F30:1 I? A0:0 C420\n");
}

TEST_F(Y4mTest, KnowsChromaAndInterlacing) {
    for (const auto& [tag, code] : {std::pair{"C420", I420Img::getClassFormat()},
                                    {"C420jpeg", I420Img::getClassFormat()},
                                    {"C420paldv", I420Img::getClassFormat()},
                                    {"C422", YV16Img::getClassFormat()},
                                    {"C422p16", HY16Img::getClassFormat()}})
        EXPECT_EQ(parse(std::string("W4 H4 ") + tag).format->code, code) << tag;
    for (const auto& [tag, interlaced] :
         {std::pair{"Ip", false}, {"It", true}, {"Ib", true}, {"Im", true}, {"I?", false}})
        EXPECT_EQ(parse(std::string("W4 H4 ") + tag).interlaced(), interlaced) << tag;
}

TEST_F(Y4mTest, RefusesHeadersThatAreWrongOrHostile) {
    for (const char* bad : {"", "W4", "H4", "W0 H4", "W-4 H4", "W4 H0", "W4 H99999999999999999999", "W4294967300 H4",
                            "W65535 H65535", "W4x H4", "W H4", "W4 H4 F25", "W4 H4 F25:0", "W4 H4 F-1:1", "W4 H4 A1:x",
                            "W4 H4 Iq", "W4 H4 Itt", "W5 H4 C422p16"})
        EXPECT_THAT(refusal(bad), ::testing::StartsWith("clip: ")) << bad;
    for (const char* chroma : {"C444", "Cmono", "C420p10", "C411", "C"})
        EXPECT_THAT(refusal(std::string("W4 H4 ") + chroma), HasSubstr("C422p16"));  // tells what would do
    EXPECT_EQ(refusal("W4 H4 C44\x1b[2J").find('\x1b'), std::string::npos);
}

TEST_F(Y4mTest, ReadsFramesWithAndWithoutParameters) {
    EXPECT_EQ(count(header_), 0);
    EXPECT_EQ(count(header_ + frame_ + "FRAME Ip XWHO=me\n" + std::string(12, 'q') + frame_), 3);
}

TEST_F(Y4mTest, TruncationIsFoundWhereverItIsAndCanBeIgnored) {
    const std::string whole = header_ + frame_ + frame_;
    for (std::size_t length = header_.size() + frame_.size() + 1; length < whole.size(); ++length) {
        const std::string cut = whole.substr(0, length);
        EXPECT_THAT(test::errorOf(ExitCode::badInput, [&] { count(cut); }), HasSubstr("frame 1")) << length;
        EXPECT_EQ(count(cut, true), 1) << length;
    }
    for (std::size_t length = 0; length < header_.size(); ++length)
        test::errorOf(ExitCode::badInput, [&] { count(whole.substr(0, length)); });
}

TEST_F(Y4mTest, DamageIsNotTakenForTheEnd) {
    for (const char* bad : {"FRAMED\n", "frame\n", "\n", "junk junk\n"}) {
        const auto text =
            test::errorOf(ExitCode::badInput, [&] { count(header_ + frame_ + bad + std::string(12, 'p')); });
        EXPECT_THAT(text, HasSubstr("no FRAME line for frame 1 at byte 40")) << bad;
    }
}

TEST_F(Y4mTest, EndlessLinesAndHugeSizesAllocateNothing) {
    test::errorOf(ExitCode::badInput, [&] { count("YUV4MPEG2 " + std::string(1 << 20, 'W') + "\n"); });
    test::errorOf(ExitCode::badInput, [&] { count(header_ + "FRAME " + std::string(1 << 20, 'X') + "\n"); });
    // 1 GiB a frame in a file of a few bytes: refused before a frame is made room for.
    test::errorOf(ExitCode::badInput, [&] { count("YUV4MPEG2 W26754 H26754\nFRAME\nabc"); });
}

}  // namespace
}  // namespace OrvelTool
