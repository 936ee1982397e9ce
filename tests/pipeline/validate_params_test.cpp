#include <gtest/gtest.h>

#include <functional>

#include "orvel/pipeline/process_video.h"
#include "tests/pipeline/sized_params.h"

namespace Orvel {
namespace {

using test::sized;

template <class T>
bool validate(ProcessVideoParams<T>& out, const ProcessVideoParams<T>& in) {
    return ProcessVideo<T>::validateParams(out, in);
}

TEST(ValidateParams, CompletesARecordThatOnlyNamesTheSource) {
    ProcessVideoParams<I420Img> out;
    ASSERT_TRUE(validate(out, sized<I420Img>(720, 576)));
    EXPECT_EQ(out.cropWidth, 720);
    EXPECT_EQ(out.cropHeight, 576);
    EXPECT_EQ(out.dstWidth, 720);
    EXPECT_EQ(out.dstCropHeight, 576);
    EXPECT_EQ(out.resizeInterp, ResizeInterpNone);
    EXPECT_EQ(out.dstFrameRateNum, 30u);
    EXPECT_EQ(out.dstFrameRateDen, 1u);
    EXPECT_EQ(out.deinterlaceParams, nullptr);
}

TEST(ValidateParams, RefusesWhatCannotBe) {
    using P = ProcessVideoParams<I420Img>;
    const std::pair<const char*, std::function<void(P&)>> faults[] = {
        {"interlaced from progressive", [](P& p) { p.dstProgressive = false; }},
        {"crop left of the source", [](P& p) { p.cropX = -1; }},
        {"crop above the source", [](P& p) { p.cropY = -1; }},
        {"crop too wide", [](P& p) { p.cropX = 1, p.cropWidth = 720; }},
        {"crop too high", [](P& p) { p.cropHeight = 577; }},
        {"crop that would overflow", [](P& p) { p.cropX = 1, p.cropWidth = INT32_MAX; }},
        {"negative canvas", [](P& p) { p.dstHeight = -2; }},
        {"rectangle outside the canvas", [](P& p) { p.dstWidth = 100, p.dstCropX = 60, p.dstCropWidth = 41; }},
        {"rectangle outside the source-sized canvas", [](P& p) { p.dstCropY = 1, p.dstCropHeight = 576; }},
        {"negative rectangle", [](P& p) { p.dstCropWidth = -1; }},
        {"filter level above", [](P& p) { p.mctfEnable = true, p.mctfParams.strength = 8; }},
        {"filter level below", [](P& p) { p.mctfEnable = true, p.mctfParams.strength = -1; }},
    };
    for (const auto& [name, fault] : faults) {
        auto in = sized<I420Img>(720, 576);
        fault(in);
        P out;
        EXPECT_FALSE(validate(out, in)) << name;
        EXPECT_EQ(out.srcWidth, 0) << name << ": the result was touched";
    }
}

TEST(ValidateParams, ExtremeSizesNeitherOverflowNorBuildAnEngine) {
    auto p = sized<I420Img>(INT32_MAX, 16);
    p.cropWidth = INT32_MIN;
    p.dstCropX = INT32_MAX;
    ProcessVideoParams<I420Img> out;
    EXPECT_TRUE(validate(out, p));
    EXPECT_EQ(out.dstCropWidth, 1);
    EXPECT_FALSE(ProcessVideo<I420Img>().allocate(p));
}

TEST(ValidateParams, TheTemporalFilterIsFor420Only) {
    const auto with = []<class T>(ProcessVideoParams<T> p, int strength) {
        p.mctfEnable = true;
        p.mctfParams.strength = strength;
        p.dstWidth = 352;
        ProcessVideoParams<T> out;
        return validate(out, p) && out.mctfParams.width == 352 && out.mctfParams.height == 576;
    };
    EXPECT_TRUE(with(sized<I420Img>(720, 576), 7));
    EXPECT_FALSE(with(sized<YV16Img>(720, 576), 3));
    EXPECT_FALSE(with(sized<HY16Img>(720, 576), 3));
}

TEST(ValidateParams, ChoosesTheScalingMethod) {
    struct Case {
        int width, height;
        ResizeInterp asked, chosen;
    };
    for (const Case& c : {Case{720, 480, ResizeInterpNone, ResizeInterpSuperSampling},
                          {1920, 540, ResizeInterpNone, ResizeInterpCubic},
                          {1920, 1080, ResizeInterpLanczos, ResizeInterpNone},
                          {1280, 720, ResizeInterpLanczos, ResizeInterpLanczos},
                          {3840, 2160, ResizeInterpNone, ResizeInterpCubic}}) {
        auto in = sized<I420Img>(1920, 1080), out = in;
        in.dstWidth = c.width;
        in.dstHeight = c.height;
        in.resizeInterp = c.asked;
        ASSERT_TRUE(validate(out, in));
        EXPECT_EQ(out.resizeInterp, c.chosen) << c.width << " x " << c.height;
    }
}

TEST(ValidateParams, InterlacedRectanglesBeginOnATopFieldLine) {
    auto in = sized<YV16Img>(720, 576), out = in;
    in.srcProgressive = in.dstProgressive = false;
    in.dstCropY = 5;
    ASSERT_TRUE(validate(out, in));
    EXPECT_EQ(out.dstCropY, 4);
    EXPECT_EQ(out.dstCropHeight, 571);  // derived before the line was moved
}

TEST(ValidateParams, AnOpenCanvasIsBoundedByTheSourceNotTheCrop) {
    auto in = sized<I420Img>(720, 576), out = in;
    in.cropWidth = 320;
    in.dstCropWidth = 640;
    EXPECT_TRUE(validate(out, in));
    EXPECT_EQ(out.dstWidth, 320);
}

TEST(ValidateParams, DeinterlacingGetsARecordOfItsType) {
    auto in = sized<I420Img>(720, 576), out = in;
    in.srcProgressive = false;
    in.keepUserData = true;
    in.cropHeight = 500;
    for (DeinterlaceType type : {DeinterlaceTypeTriangle, DeinterlaceTypeCAVT, DeinterlaceTypeBlend}) {
        in.deinterlaceType = type;
        ASSERT_TRUE(validate(out, in));
        ASSERT_NE(out.deinterlaceParams, nullptr);
        EXPECT_EQ(out.deinterlaceParams->width, 720);
        EXPECT_EQ(out.deinterlaceParams->height, 500);
        EXPECT_TRUE(out.deinterlaceParams->keepUserData);
        EXPECT_EQ(dynamic_cast<DeinterlaceBlendImgParams*>(out.deinterlaceParams) != nullptr,
                  type == DeinterlaceTypeBlend);
        DeinterlaceImgParams::deleteDealloc(out.deinterlaceParams);
    }
    in.deinterlaceType = static_cast<DeinterlaceType>(3);
    EXPECT_FALSE(validate(out, in));
}

TEST(ValidateParams, SixteenBitDeinterlacingIsTheTriangleUnlessTheCallerBringsARecord) {
    auto in = sized<HY16Img>(720, 576), out = in;
    in.srcProgressive = false;
    in.deinterlaceType = DeinterlaceTypeCAVT;
    EXPECT_FALSE(validate(out, in));
    EXPECT_EQ(out.deinterlaceParams, nullptr);
    DeinterlaceCAVTImgParams mine;
    mine.width = 7;
    in.deinterlaceParams = &mine;
    in.keepUserData = true;
    ASSERT_TRUE(validate(out, in));
    EXPECT_EQ(out.deinterlaceParams, &mine);
    EXPECT_EQ(mine.width, 7);  // neither sized nor tested
    EXPECT_TRUE(mine.keepUserData);
}

TEST(ValidateParams, ARecordMayBeCompletedInPlace) {
    auto p = sized<I420Img>(720, 576);
    p.cropX = 20;
    ASSERT_TRUE(validate(p, p));
    EXPECT_EQ(p.cropWidth, 700);
    p.init();
    EXPECT_EQ(p.cropX, 0);
    EXPECT_EQ(p.cropWidth, 0);
}

}  // namespace
}  // namespace Orvel
