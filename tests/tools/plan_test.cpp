#include "tools/process_plan.h"

#include <gmock/gmock.h>

#include "orvel/img/all_formats.h"
#include "tests/tools/tool_support.h"
#include "tools/media/frame_shape.h"

namespace OrvelTool {
namespace {

using namespace Orvel;
using ::testing::HasSubstr;

ClipInfo clip(const char* format, int width, int height, Scan scan = Scan::progressive) {
    ClipInfo info;
    info.format = findFormatByName(format);
    info.width = width;
    info.height = height;
    info.scan = scan;
    return info;
}

ProcessTexts texts(const char* crop, const char* scale = "", const char* canvas = "", const char* place = "") {
    ProcessTexts t;
    t.crop = crop;
    t.scale = scale;
    t.canvas = canvas;
    t.place = place;
    return t;
}

template <class T>
std::string refusal(const ProcessTexts& t, const ClipInfo& source) {
    return test::errorOf(ExitCode::refused, [&] { planParams<T>(parsePlan(t), source); });
}

TEST(ProcessPlan, FillsTheEnginesFields) {
    ClipInfo source = clip("i420", 352, 288);
    source.rate = Ratio{30000, 1001};
    const auto p = planParams<I420Img>(parsePlan(texts("320x240+16+24", "640x480", "720x576")), source);
    EXPECT_EQ(std::tuple(p.srcWidth, p.srcHeight, p.srcFrameRateNum, p.srcFrameRateDen),
              std::tuple(352, 288, 30000u, 1001u));
    EXPECT_EQ(std::tuple(p.cropX, p.cropY, p.cropWidth, p.cropHeight), std::tuple(16, 24, 320, 240));
    EXPECT_EQ(std::tuple(p.dstWidth, p.dstHeight), std::tuple(720, 576));
    EXPECT_EQ(std::tuple(p.dstCropX, p.dstCropY, p.dstCropWidth, p.dstCropHeight), std::tuple(40, 48, 640, 480));
    EXPECT_TRUE(p.srcProgressive && p.dstProgressive);
}

TEST(ProcessPlan, AWholePictureOfAnyHeightNeedsNoCut) {
    for (int height = 1; height < 400; ++height)
        EXPECT_EQ(planParams<I420Img>(parsePlan({}), clip("i420", 64, height)).cropHeight, height);
}

TEST(ProcessPlan, LeavesTheMethodToTheEngineUnlessOneIsNamed) {
    ProcessTexts t = texts("", "176x144");
    EXPECT_EQ(planParams<I420Img>(parsePlan(t), clip("i420", 352, 288)).resizeInterp, ResizeInterpSuperSampling);
    EXPECT_EQ(planParams<HY16Img>(parsePlan(t), clip("v216", 352, 288)).resizeInterp, ResizeInterpLanczos);
    t.interp = "linear";
    EXPECT_EQ(planParams<I420Img>(parsePlan(t), clip("i420", 352, 288)).resizeInterp, ResizeInterpLinear);
}

TEST(ProcessPlan, TheBackgroundGoesToThePlanesWithItsColour) {
    ProcessTexts t = texts("", "16x16", "32x32");
    t.background = "1,2,3";
    const auto planar = planParams<I420Img>(parsePlan(t), clip("i420", 8, 8));
    EXPECT_EQ(std::tuple(planar.backgroundY, planar.backgroundU, planar.backgroundV), std::tuple(1, 2, 3));
    const auto vFirst = planParams<YV16Img>(parsePlan(t), clip("uyvy", 8, 8));  // plane 1 is V
    EXPECT_EQ(std::tuple(vFirst.backgroundY, vFirst.backgroundU, vFirst.backgroundV), std::tuple(1, 3, 2));
}

TEST(ProcessPlan, RefusalsNameWhatIsWrong) {
    const ClipInfo cif = clip("i420", 352, 288), packed = clip("uyvy", 352, 288);
    EXPECT_THAT(refusal<I420Img>(texts("320x240+40+0"), cif),
                HasSubstr("--crop: 320x240+40+0 leaves the picture of 352x288"));
    EXPECT_THAT(refusal<I420Img>(texts("", "", "100x100", "90x90+20+0"), cif),
                HasSubstr("leaves the canvas of 100x100"));
    EXPECT_THAT(refusal<I420Img>(texts("", "800x600", "720x576"), cif), HasSubstr("canvas of 720x576"));
    EXPECT_THAT(refusal<I420Img>(texts("320x241+0+0"), cif), HasSubstr("320x241 cannot be cut"));
    EXPECT_THAT(refusal<YV16Img>(texts("320x240+5+0"), packed), HasSubstr("use 4 or 6"));
    EXPECT_THAT(refusal<I420Img>(texts("320x241+0+0"), packed), HasSubstr("4:2:0 needs pairs of lines"));
    EXPECT_THAT(refusal<HY16Img>(texts("", "321x240"), clip("v216", 352, 288)), HasSubstr("width 321 is odd"));
    ProcessTexts t = texts("", "704x576");
    for (const char* reducing : {"super", "supersampling"}) {
        t.interp = reducing;
        EXPECT_THAT(refusal<I420Img>(t, cif), HasSubstr("only reduces, not from 352x288 to 704x576"));
    }
    t.interp = "hann-filter";
    EXPECT_THAT(refusal<HY16Img>(t, clip("hy16", 352, 288)), HasSubstr("8-bit"));
    EXPECT_THAT(refusal<I420Img>({}, clip("i420", 352, 288, Scan::mixed)), HasSubstr("--scan"));
}

TEST(ProcessPlan, ACanvasNeedsAScaledPicture) {
    const ClipInfo cif = clip("i420", 352, 288);
    for (const auto& t : {texts("", "352x288", "720x576"), texts("", "", "720x576", "352x288+8+8"),
                          texts("320x240+0+0", "320x240", "352x288")})
        EXPECT_THAT(refusal<I420Img>(t, cif), HasSubstr("only scaled pictures are placed on a canvas"));
    planParams<I420Img>(parsePlan(texts("", "354x290", "720x576")), cif);
    planParams<I420Img>(parsePlan(texts("", "352x288", "352x288")), cif);
}

TEST(ProcessPlan, FieldsKeepTheirLines) {
    const ClipInfo planar = clip("i420", 720, 576, Scan::topFirst), packed = clip("uyvy", 720, 576, Scan::topFirst);
    EXPECT_FALSE(planParams<I420Img>({}, planar).srcProgressive);
    EXPECT_FALSE(planParams<I420Img>({}, planar).dstProgressive);
    EXPECT_THAT(refusal<I420Img>(texts("640x480+0+2"), planar), HasSubstr("use 0 or 4"));
    planParams<I420Img>(parsePlan(texts("640x480+0+2")), clip("i420", 720, 576));
    planParams<I420Img>(parsePlan(texts("640x480+0+2")), packed);  // cut before chroma is halved
    EXPECT_THAT(refusal<YV16Img>(texts("640x480+0+3"), packed), HasSubstr("use 2 or 4"));
    EXPECT_THAT(refusal<I420Img>(texts("", "", "720x576", "640x480+0+6"), packed), HasSubstr("use 4 or 8"));
}

TEST(ProcessPlan, TheWorkingFormatIsTheClosestToTheSourceOrOneThatTakesIt) {
    const auto working = [](const char* source, const char* name, Scan scan = Scan::progressive) {
        return lowerName(workingFormat(clip(source, 8, 8, scan), name));
    };
    EXPECT_EQ(working("i420", ""), "i420");
    EXPECT_EQ(working("yuyv", ""), "yv16");
    EXPECT_EQ(working("v216", ""), "hy16");
    EXPECT_EQ(working("yuyv", "i420"), "i420");
    EXPECT_THAT(test::errorOf(ExitCode::refused, [&] { working("yuyv", "i420", Scan::topFirst); }),
                HasSubstr("--working yv16"));
    EXPECT_THAT(test::errorOf(ExitCode::refused, [&] { working("i420", "hy16"); }), HasSubstr("--working i420"));
    EXPECT_THAT(test::errorOf(ExitCode::refused, [&] { working("bgr", ""); }), HasSubstr("convert"));
    test::errorOf(ExitCode::usage, [&] { working("i420", "uyvy"); });
}

TEST(ProcessPlan, TextsThatMakeNoSenseAreUsageErrors) {
    for (const auto& t :
         {texts("320x240"), texts("320x240+-1+0"), texts("", "0x5"), texts("", "", "5"), texts("", "", "", "8x8+1")})
        test::errorOf(ExitCode::usage, [&] { parsePlan(t); });
    ProcessTexts t;
    t.background = "1,2,256";
    test::errorOf(ExitCode::usage, [&] { parsePlan(t); });
    t.background = "";
    t.interp = "sharp";
    EXPECT_THAT(test::errorOf(ExitCode::usage, [&] { parsePlan(t); }), HasSubstr("lanczos"));
}

TEST(ProcessPlan, ThePixelsShapeFollowsTheScaling) {
    ClipInfo source = clip("i420", 720, 576);
    source.pixel = Ratio{16, 15};
    const auto scaled = planParams<I420Img>(parsePlan(texts("", "768x576")), source);
    EXPECT_EQ(processedInfo(source, scaled).pixel, (Ratio{1, 1}));
    EXPECT_EQ(processedInfo(source, scaled).width, 768);
}

}  // namespace
}  // namespace OrvelTool
