#include "tools/process/process_setup.h"

#include <gmock/gmock.h>

#include "orvel/img/all_formats.h"
#include "tests/tools/tool_support.h"
#include "tools/media/frame_shape.h"
#include "tools/process/working_format.h"

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
ProcessVideoParams<T> engineFor(const ProcessTexts& t, const ClipInfo& source) {
    return setUpProcess<T>(parsePlan(t), source).engine;
}

template <class T>
std::string refusal(const ProcessTexts& t, const ClipInfo& source) {
    return test::errorOf(ExitCode::refused, [&] { setUpProcess<T>(parsePlan(t), source); });
}

TEST(ProcessSetup, FillsTheEnginesFields) {
    ClipInfo source = clip("i420", 352, 288);
    source.rate = Ratio{30000, 1001};
    const auto p = engineFor<I420Img>(texts("320x240+16+24", "640x480", "720x576"), source);
    EXPECT_EQ(std::tuple(p.srcWidth, p.srcHeight, p.srcFrameRateNum, p.srcFrameRateDen),
              std::tuple(352, 288, 30000u, 1001u));
    EXPECT_EQ(std::tuple(p.cropX, p.cropY, p.cropWidth, p.cropHeight), std::tuple(16, 24, 320, 240));
    EXPECT_EQ(std::tuple(p.dstWidth, p.dstHeight), std::tuple(720, 576));
    EXPECT_EQ(std::tuple(p.dstCropX, p.dstCropY, p.dstCropWidth, p.dstCropHeight), std::tuple(40, 48, 640, 480));
    EXPECT_TRUE(p.srcProgressive && p.dstProgressive);
}

TEST(ProcessSetup, AWholePictureOfAnyHeightNeedsNoCut) {
    for (int height = 1; height < 400; ++height)
        EXPECT_EQ(engineFor<I420Img>({}, clip("i420", 64, height)).cropHeight, height);
}

TEST(ProcessSetup, LeavesTheMethodToTheEngineUnlessOneIsNamed) {
    ProcessTexts t = texts("", "176x144");
    EXPECT_EQ(engineFor<I420Img>(t, clip("i420", 352, 288)).resizeInterp, ResizeInterpSuperSampling);
    EXPECT_EQ(engineFor<HY16Img>(t, clip("v216", 352, 288)).resizeInterp, ResizeInterpLanczos);
    t.interp = "linear";
    EXPECT_EQ(engineFor<I420Img>(t, clip("i420", 352, 288)).resizeInterp, ResizeInterpLinear);
}

TEST(ProcessSetup, TheBackgroundGoesToThePlanesWithItsColour) {
    ProcessTexts t = texts("", "16x16", "32x32");
    t.background = "1,2,3";
    const auto planar = engineFor<I420Img>(t, clip("i420", 8, 8));
    EXPECT_EQ(std::tuple(planar.backgroundY, planar.backgroundU, planar.backgroundV), std::tuple(1, 2, 3));
    const auto vFirst = engineFor<YV16Img>(t, clip("uyvy", 8, 8));  // plane 1 is V
    EXPECT_EQ(std::tuple(vFirst.backgroundY, vFirst.backgroundU, vFirst.backgroundV), std::tuple(1, 3, 2));
}

TEST(ProcessSetup, RefusalsNameWhatIsWrong) {
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
    EXPECT_THAT(refusal<I420Img>({}, clip("i420", 352, 288, Scan::mixed)), HasSubstr("--field-order"));
}

TEST(ProcessSetup, ACanvasNeedsAScaledPicture) {
    const ClipInfo cif = clip("i420", 352, 288);
    for (const auto& t : {texts("", "352x288", "720x576"), texts("", "", "720x576", "352x288+8+8"),
                          texts("320x240+0+0", "320x240", "352x288")})
        EXPECT_THAT(refusal<I420Img>(t, cif), HasSubstr("only scaled pictures are placed on a canvas"));
    engineFor<I420Img>(texts("", "354x290", "720x576"), cif);
    engineFor<I420Img>(texts("", "352x288", "352x288"), cif);
}

TEST(ProcessSetup, ChromaStaysWithItsField) {
    const ClipInfo planar = clip("i420", 720, 576, Scan::topFirst), packed = clip("uyvy", 720, 576, Scan::topFirst);
    const auto whole = engineFor<I420Img>({}, planar);
    EXPECT_FALSE(whole.srcProgressive || whole.dstProgressive);
    for (const char* crop : {"640x480+0+1", "640x480+0+2", "640x480+0+3"})
        EXPECT_THAT(refusal<I420Img>(texts(crop), planar), HasSubstr("use 0 or 4")) << crop;
    engineFor<I420Img>(texts("640x480+0+2"), clip("i420", 720, 576));
    engineFor<I420Img>(texts("640x480+0+2"), packed);  // cut before chroma is halved
    for (const char* place : {"640x480+0+6", "640x480+0+7"})
        EXPECT_THAT(refusal<I420Img>(texts("", "", "720x576", place), packed), HasSubstr("use 4 or 8")) << place;
    engineFor<YV16Img>(texts("", "", "720x576", "640x480+0+6"), packed);
    ProcessTexts progressiveOut = texts("", "", "720x576", "640x480+0+6");
    progressiveOut.deinterlace = "cavt";
    EXPECT_EQ(engineFor<I420Img>(progressiveOut, packed).dstCropY, 6);
}

TEST(ProcessSetup, AnOddCutSwapsTheFieldOrderAndSaysSo) {
    for (const auto& [before, after] :
         {std::pair(Scan::topFirst, Scan::bottomFirst), std::pair(Scan::bottomFirst, Scan::topFirst)}) {
        const ClipInfo source = clip("uyvy", 720, 576, before);
        const auto odd = setUpProcess<YV16Img>(parsePlan(texts("640x480+0+3")), source);
        EXPECT_EQ(odd.output.scan, after);
        EXPECT_EQ(odd.topFirst, after == Scan::topFirst);
        ASSERT_EQ(odd.notes.size(), 1u);
        EXPECT_STREQ(odd.notes[0].option, "--crop");
        EXPECT_THAT(odd.notes[0].text, HasSubstr(after == Scan::topFirst ? "top field first" : "bottom field first"));
        const auto even = setUpProcess<YV16Img>(parsePlan(texts("640x480+0+2")), source);
        EXPECT_EQ(even.output.scan, before);
        EXPECT_TRUE(even.notes.empty());
    }
    const auto progressive = setUpProcess<YV16Img>(parsePlan(texts("640x480+0+3")), clip("uyvy", 720, 576));
    EXPECT_TRUE(progressive.notes.empty());
    EXPECT_EQ(progressive.output.scan, Scan::progressive);
}

TEST(ProcessSetup, AnOddPlaceOfFieldsGoesUpALineAndSaysSo) {
    const auto plan = parsePlan(texts("", "", "720x576", "640x480+0+5"));
    const auto fields = setUpProcess<I420Img>(plan, clip("i420", 720, 576, Scan::topFirst));
    EXPECT_EQ(fields.engine.dstCropY, 4);
    ASSERT_EQ(fields.notes.size(), 1u);
    EXPECT_THAT(fields.notes[0].text, HasSubstr("Y 5 becomes 4"));
    EXPECT_EQ(setUpProcess<I420Img>(plan, clip("i420", 720, 576)).engine.dstCropY, 5);
}

ProcessTexts deinterlace(const char* method, const char* fps = "", bool doubleRate = false) {
    ProcessTexts t;
    t.deinterlace = method;
    t.rate = fps;
    t.doubleRate = doubleRate;
    return t;
}

ClipInfo clip25(const char* format, Scan scan) {
    ClipInfo info = clip(format, 720, 576, scan);
    info.rate = Ratio{25, 1};
    return info;
}

TEST(ProcessSetup, DeinterlacedPicturesAreProgressive) {
    for (const auto& [name, type] :
         {std::pair("triangle", DeinterlaceTypeTriangle), std::pair("cavt", DeinterlaceTypeCAVT),
          std::pair("blend", DeinterlaceTypeBlend)}) {
        const auto setup = setUpProcess<I420Img>(parsePlan(deinterlace(name)), clip25("i420", Scan::bottomFirst));
        EXPECT_EQ(std::tuple(setup.engine.srcProgressive, setup.engine.dstProgressive, setup.engine.deinterlaceType),
                  std::tuple(false, true, type));
        EXPECT_EQ(setup.output.scan, Scan::progressive);
        EXPECT_FALSE(setup.topFirst);
        EXPECT_EQ(setup.ends.first, type == DeinterlaceTypeBlend);
        EXPECT_EQ(setup.engine.deinterlaceParams, nullptr);
    }
    for (const char* method : {"", "off"}) {
        ProcessTexts t = deinterlace(method);
        t.keepInterlaced = true;
        const auto kept = setUpProcess<I420Img>(parsePlan(t), clip25("i420", Scan::bottomFirst));
        EXPECT_FALSE(kept.engine.dstProgressive);
        EXPECT_EQ(kept.output.scan, Scan::bottomFirst);
    }
}

TEST(ProcessSetup, DoubleRatePutsTheDeinterlacerBetweenTwoEngines) {
    ProcessTexts t = deinterlace("blend", "60", true);
    t.crop = "640x480+40+48";
    t.canvas = "360x288";
    t.place = "320x240+10+6";
    const auto setup = setUpProcess<I420Img>(parsePlan(t), clip25("uyvy", Scan::topFirst));
    ASSERT_TRUE(setup.front);
    const auto &front = *setup.front, &engine = setup.engine;
    EXPECT_FALSE(front.srcProgressive || front.dstProgressive);
    EXPECT_EQ(std::tuple(front.srcWidth, front.srcHeight, front.cropX, front.cropY, front.cropWidth, front.cropHeight),
              std::tuple(720, 576, 40, 48, 640, 480));
    EXPECT_EQ(std::tuple(front.dstWidth, front.dstHeight), std::tuple(640, 480));
    EXPECT_TRUE(engine.srcProgressive && engine.dstProgressive);
    EXPECT_EQ(std::tuple(engine.srcWidth, engine.srcHeight, engine.cropX, engine.cropY, engine.cropWidth),
              std::tuple(640, 480, 0, 0, 640));
    EXPECT_EQ(std::tuple(engine.dstWidth, engine.dstHeight, engine.dstCropX, engine.dstCropY),
              std::tuple(360, 288, 10, 6));
    EXPECT_EQ(std::tuple(engine.srcFrameRateNum, engine.dstFrameRateNum), std::tuple(50u, 60u));
    EXPECT_EQ(setup.ends.yield, (Ratio{12, 5}));
    EXPECT_EQ(setup.output.rate, (Ratio{60, 1}));
    const auto plain = setUpProcess<I420Img>(parsePlan(deinterlace("blend", "", true)), clip25("i420", Scan::topFirst));
    EXPECT_EQ(plain.output.rate, (Ratio{50, 1}));
    EXPECT_EQ(plain.ends.yield, (Ratio{2, 1}));
}

TEST(ProcessSetup, ANewRateIsWrittenAndAnEqualOneChangesNothing) {
    ProcessTexts t = deinterlace("", "29.97");
    for (const auto& [mode, blend] :
         {std::pair("", -1), std::pair("auto", -1), std::pair("blend", 1), std::pair("nearest", 0)}) {
        t.rateMode = mode;
        const auto setup = setUpProcess<I420Img>(parsePlan(t), clip25("i420", Scan::progressive));
        EXPECT_EQ(setup.output.rate, (Ratio{30000, 1001}));
        EXPECT_EQ(setup.engine.frameRateBlend, blend);
        EXPECT_EQ(setup.ends.yield, (Ratio{1200, 1001}));
    }
    const auto same = setUpProcess<I420Img>(parsePlan(deinterlace("", "50/2")), clip25("i420", Scan::topFirst));
    EXPECT_EQ(std::tuple(same.engine.dstFrameRateNum, same.engine.dstFrameRateDen), std::tuple(25u, 1u));
    EXPECT_EQ(same.output.rate, (Ratio{25, 1}));
    EXPECT_EQ(same.output.scan, Scan::topFirst);
}

TEST(ProcessSetup, RefusesWhatFieldsAndRatesDoNotAllow) {
    const ClipInfo fields = clip25("i420", Scan::topFirst), frames = clip25("i420", Scan::progressive);
    EXPECT_THAT(refusal<I420Img>(deinterlace("cavt"), frames), HasSubstr("the source is progressive"));
    EXPECT_THAT(refusal<I420Img>(deinterlace("cavt"), clip25("i420", Scan::unknown)),
                HasSubstr("say which field comes first: --field-order tff or bff"));
    for (const char* method : {"cavt", "blend"})
        EXPECT_THAT(refusal<HY16Img>(deinterlace(method), clip25("v216", Scan::topFirst)), HasSubstr("use triangle"));
    engineFor<HY16Img>(deinterlace("triangle"), clip25("v216", Scan::topFirst));
    EXPECT_THAT(refusal<I420Img>(deinterlace("", "50"), fields), HasSubstr("--deinterlace"));
    engineFor<I420Img>(deinterlace("triangle", "50"), fields);
    EXPECT_THAT(refusal<I420Img>(deinterlace("", "50"), clip("i420", 720, 576)), HasSubstr("--rate"));
    EXPECT_THAT(refusal<I420Img>(deinterlace("triangle"), clip("i420", 16, 4, Scan::topFirst)),
                HasSubstr("16x4 is too small for this method; it needs 2 columns and 5 lines"));
    ClipInfo odd = frames;
    odd.rate = Ratio{2147483647, 2147483629};
    EXPECT_THAT(refusal<I420Img>(deinterlace("", "50"), odd), HasSubstr("give the source a simpler --rate"));
}

ProcessTexts denoise(int strength, const char* method = "", bool doubleRate = false) {
    ProcessTexts t = deinterlace(method, "", doubleRate);
    t.denoise = strength;
    return t;
}

TEST(ProcessSetup, TheNoiseFilterStandsInTheEngineThatMakesTheOutput) {
    const ClipInfo frames = clip25("i420", Scan::progressive), fields = clip25("i420", Scan::topFirst);
    EXPECT_FALSE(engineFor<I420Img>({}, frames).mctfEnable);
    for (const int strength : {0, 7}) {
        const auto p = engineFor<I420Img>(denoise(strength), frames);
        EXPECT_EQ(std::tuple(p.mctfEnable, p.mctfParams.strength), std::tuple(true, strength));
        EXPECT_TRUE(p.mctfParams.me.subPel);
    }
    ProcessTexts t = denoise(3, "blend", true);
    t.threads = 2;
    const auto doubled = setUpProcess<I420Img>(parsePlan(t), fields);
    EXPECT_FALSE(doubled.front->mctfEnable);
    EXPECT_EQ(std::tuple(doubled.engine.mctfEnable, doubled.engine.mctfParams.me.poolThreads), std::tuple(true, 2));
    const auto ends = [&](const ProcessTexts& texts, const ClipInfo& source) {
        const auto setup = setUpProcess<I420Img>(parsePlan(texts), source);
        return std::tuple(setup.ends.first, setup.ends.firstField);
    };
    EXPECT_EQ(ends(denoise(3), frames), std::tuple(1, false));
    EXPECT_EQ(ends(denoise(3, "cavt"), fields), std::tuple(1, false));
    EXPECT_EQ(ends(denoise(3, "blend"), fields), std::tuple(2, false));
    EXPECT_EQ(ends(denoise(3, "blend", true), fields), std::tuple(1, true));
    EXPECT_EQ(ends(deinterlace("blend", "", true), fields), std::tuple(1, false));
}

TEST(ProcessSetup, RefusesWhatTheNoiseFilterDoesNotTake) {
    for (const char* packed : {"uyvy", "yuyv"})
        EXPECT_THAT(refusal<YV16Img>(denoise(3), clip25(packed, Scan::progressive)), HasSubstr("add --working i420"));
    EXPECT_THAT(refusal<YV16Img>(denoise(3), clip25("yv16", Scan::progressive)), HasSubstr("convert the clip to i420"));
    EXPECT_THAT(refusal<HY16Img>(denoise(0), clip25("v216", Scan::progressive)), HasSubstr("convert the clip to i420"));
    const auto take = [](int width, int height, Scan scan, const char* method = "") {
        engineFor<I420Img>(denoise(3, method), clip("i420", width, height, scan));
    };
    const auto refuse = [](int width, int height, Scan scan) {
        return refusal<I420Img>(denoise(3), clip("i420", width, height, scan));
    };
    take(64, 32, Scan::progressive);
    take(64, 64, Scan::topFirst);
    take(64, 33, Scan::topFirst, "cavt");
    for (const auto& [width, height] : {std::pair(62, 32), std::pair(64, 31), std::pair(65, 32)})
        EXPECT_THAT(refuse(width, height, Scan::progressive), HasSubstr("even width of 64 columns or more and 32"));
    EXPECT_THAT(refuse(64, 63, Scan::topFirst), HasSubstr("64x63 interlaced is no size for the filter"));
    ProcessTexts small = denoise(3);
    small.scale = "60x48";  // the filter's pictures are those of the output
    EXPECT_THAT(refusal<I420Img>(small, clip25("i420", Scan::progressive)), HasSubstr("60x48"));
}

TEST(ProcessSetup, TheWorkingFormatIsTheClosestToTheSourceOrOneThatTakesIt) {
    const auto working = [](const char* source, const char* name) {
        return lowerName(workingFormat(clip(source, 8, 8), name));
    };
    EXPECT_EQ(working("i420", ""), "i420");
    EXPECT_EQ(working("yuyv", ""), "yv16");
    EXPECT_EQ(working("v216", ""), "hy16");
    EXPECT_EQ(working("yuyv", "i420"), "i420");
    const auto input = [](Scan scan, const char* name) {
        return lowerName(engineInput(clip("yuyv", 8, 8, scan), *findFormatByName(name)));
    };
    EXPECT_EQ(input(Scan::topFirst, "i420"), "uyvy");
    EXPECT_EQ(input(Scan::progressive, "i420"), "yuyv");
    EXPECT_EQ(input(Scan::topFirst, "yv16"), "yuyv");
    EXPECT_THAT(test::errorOf(ExitCode::refused, [&] { working("i420", "hy16"); }), HasSubstr("--working i420"));
    EXPECT_THAT(test::errorOf(ExitCode::refused, [&] { working("bgr", ""); }), HasSubstr("convert"));
    test::errorOf(ExitCode::usage, [&] { working("i420", "uyvy"); });
}

TEST(ProcessSetup, TextsThatMakeNoSenseOrContradictEachOtherAreUsageErrors) {
    const auto usage = [](const ProcessTexts& t) { return test::errorOf(ExitCode::usage, [&] { parsePlan(t); }); };
    for (const auto& t :
         {texts("320x240"), texts("320x240+-1+0"), texts("", "0x5"), texts("", "", "5"), texts("", "", "", "8x8+1")})
        usage(t);
    for (const char* method : {"", "off", "triangle", "cavt"})
        EXPECT_THAT(usage(deinterlace(method, "", true)), HasSubstr("--deinterlace blend")) << method;
    EXPECT_THAT(usage(deinterlace("bob")), HasSubstr("off, triangle, cavt, blend are known"));
    EXPECT_THAT(usage(deinterlace("", "29,97")), HasSubstr("--fps"));
    ProcessTexts kept = deinterlace("cavt"), ends, colour, method;
    kept.keepInterlaced = true;
    ends.ends = "mirror";
    colour.background = "1,2,256";
    method.interp = "sharp";
    EXPECT_THAT(usage(kept), HasSubstr("contradicts --deinterlace cavt"));
    EXPECT_THAT(usage(ends), HasSubstr("drop, repeat"));
    EXPECT_THAT(usage(colour), HasSubstr("--background"));
    EXPECT_THAT(usage(method), HasSubstr("lanczos"));
}

TEST(ProcessSetup, ThePixelsShapeFollowsTheScaling) {
    ClipInfo source = clip("i420", 720, 576);
    source.pixel = Ratio{16, 15};
    const auto scaled = setUpProcess<I420Img>(parsePlan(texts("", "768x576")), source).output;
    EXPECT_EQ(scaled.pixel, (Ratio{1, 1}));
    EXPECT_EQ(scaled.width, 768);
}

}  // namespace
}  // namespace OrvelTool
