#include "tools/format_converter.h"

#include <gmock/gmock.h>

#include "orvel/convert/convert_img.h"
#include "orvel/img/all_formats.h"
#include "tests/support/pictures.h"
#include "tests/tools/tool_support.h"
#include "tools/media/frame_shape.h"

namespace OrvelTool {
namespace {

using namespace Orvel;
using Orvel::test::bytesOf;
using Orvel::test::picture;
using ::testing::HasSubstr;

const FormatInfo& named(const char* name) {
    return *findFormatByName(name);
}

std::string route(const char* from, const char* to, bool interlaced = false) {
    return FormatConverter(named(from), named(to), 16, 8, {interlaced, false}).route();
}

TEST(FormatConverter, FindsARouteBetweenAnyTwoFormats) {
    for (const FormatInfo& from : formats)
        for (const FormatInfo& to : formats)
            for (bool interlaced : {false, true}) {
                FormatConverter converter(from, to, 16, 8, {interlaced, false});
                const auto picture = makePicture(from, 16, 8);
                ASSERT_TRUE(picture->set(100));
                EXPECT_EQ(converter.convert(*picture).getFormat(), to.code) << converter.route();
            }
}

TEST(FormatConverter, StepsOnTheWayLoseNothingTheTargetCouldHold) {
    EXPECT_EQ(route("i420", "i420"), "I420");
    EXPECT_EQ(route("yuyv", "bgr"), "YUYV > UYVY > BGR");  // as short through 4:2:0
    EXPECT_EQ(route("yv16", "i420"), "YV16 > UYVY > I420");
    EXPECT_EQ(route("yuyv", "v216"), "YUYV > UYVY > V216");
    EXPECT_EQ(route("hy16", "yv16"), "HY16 > V216 > UYVY > YV16");
    EXPECT_EQ(route("bgr", "hy16"), "BGR > UYVY > V216 > HY16");
}

TEST(FormatConverter, InterlacedPicturesTakeOnlyStepsThatKeepTheFieldsApart) {
    EXPECT_EQ(route("yuyv", "i420"), "YUYV > I420");
    EXPECT_EQ(route("yuyv", "i420", true), "YUYV > UYVY > I420");
    EXPECT_EQ(route("i420", "bgr"), "I420 > BGR");
    EXPECT_EQ(route("i420", "bgr", true), "I420 > UYVY > BGR");
    EXPECT_THAT(route("i420", "yuyv", true), ::testing::AnyOf("I420 > UYVY > YUYV", "I420 > YV16 > YUYV"));
}

TEST(FormatConverter, GivesWhatTheLibraryGives) {
    const auto source = picture<UYVYImg>(34, 12, 5);
    I420Img fields;
    ASSERT_TRUE(fields.allocate(34, 12, 1) && ConvertImg::UYVYToI420(fields, *source, true));
    EXPECT_EQ(bytesOf(FormatConverter(named("uyvy"), named("i420"), 34, 12, {true, false}).convert(*source)),
              bytesOf(fields));
    const auto planar = picture<I420Img>(34, 12, 6);
    for (bool hdtv : {false, true}) {
        BGRImg expected;
        ASSERT_TRUE(expected.allocate(34, 12, 4) && ConvertImg::I420ToBGR(expected, *planar, hdtv));
        FormatConverter converter(named("i420"), named("bgr"), 34, 12, {false, hdtv});
        EXPECT_EQ(bytesOf(converter.convert(*planar)), bytesOf(expected));
    }
}

TEST(FormatConverter, LosslessRoutesComeBackBitForBit) {
    for (const auto& [from, over] : {std::pair{"yv16", "v216"}, {"yuyv", "hy16"}, {"uyvy", "yv16"}, {"hy16", "v216"}}) {
        const auto source = makePicture(named(from), 18, 5);
        Orvel::test::fillRandom(*source, 7);
        const auto before = bytesOf(*source);
        FormatConverter there(named(from), named(over), 18, 5, {}), back(named(over), named(from), 18, 5, {});
        EXPECT_EQ(bytesOf(back.convert(there.convert(*source))), before) << from << " over " << over;
    }
}

TEST(FormatConverter, RefusesSizesThatAStepWouldLeaveUnfinished) {
    const auto refusal = [](const char* from, const char* to, int width, int height) {
        return test::errorOf(ExitCode::refused, [&] { FormatConverter(named(from), named(to), width, height, {}); });
    };
    EXPECT_THAT(refusal("uyvy", "i420", 16, 9), HasSubstr("16x9"));
    EXPECT_THAT(refusal("i420", "yv16", 16, 9), HasSubstr("even height"));
    EXPECT_THAT(refusal("uyvy", "hy16", 15, 8), HasSubstr("even width"));
    EXPECT_THAT(refusal("uyvy", "yv16", 1, 8), HasSubstr("width"));
    FormatConverter(named("i420"), named("bgr"), 15, 9, {});
    FormatConverter(named("uyvy"), named("yv16"), 15, 9, {});
}

}  // namespace
}  // namespace OrvelTool
