// Fields and rates in the built program, beside what the library makes of the same pictures.
#include "orvel/deinterlace/deinterlace_blend_img.h"
#include "orvel/img/all_formats.h"
#include "tests/tools/moving_clip.h"
#include "tests/tools/run_support.h"

namespace OrvelTool {
namespace {

using namespace Orvel;
using test::processed;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class FieldsRunTest : public test::ProgramTest {
protected:
    FieldsRunTest() { clip_ = test::randomBytes(6 * frame); }

    /// The program's output for a headerless 48x32 clip of 4:2:0.
    std::string output(const std::string& options) {
        write("a_48x32_.yuv", clip_);
        const auto outcome = run("process a_48x32_.yuv b.yuv --rate 25 " + options);
        EXPECT_EQ(outcome.exit, 0) << options << "\n" << outcome.err;
        return slurp(path("b.yuv"));
    }

    static constexpr std::size_t frame = 48 * 32 * 3 / 2;
};

ProcessVideoParams<I420Img> params48x32(bool interlaced) {
    ProcessVideoParams<I420Img> p;
    p.srcWidth = 48, p.srcHeight = 32, p.srcFrameRateNum = 25;
    p.srcProgressive = !interlaced;
    return p;
}

TEST_F(FieldsRunTest, DeinterlacingIsTheLibrarysWithTheFieldsInTheirOrder) {
    for (const bool topFirst : {true, false}) {
        const std::string order = topFirst ? "--field-order tff" : "--field-order bff";
        auto p = params48x32(true);
        p.dstWidth = 40, p.dstHeight = 24;
        auto* cavt = new DeinterlaceCAVTImgParams;
        auto* blend = new DeinterlaceBlendImgParams;
        auto* triangle = new DeinterlaceTriangleImgParams;
        cavt->topField = blend->topFirst = topFirst;
        for (auto& [name, type, record] :
             {std::tuple("cavt", DeinterlaceTypeCAVT, static_cast<DeinterlaceImgParams*>(cavt)),
              std::tuple("blend", DeinterlaceTypeBlend, static_cast<DeinterlaceImgParams*>(blend)),
              std::tuple("triangle", DeinterlaceTypeTriangle, static_cast<DeinterlaceImgParams*>(triangle))}) {
            record->width = 48, record->height = 32;
            p.deinterlaceType = type;
            p.deinterlaceParams = record;
            EXPECT_EQ(output("--scale 40x24 --deinterlace " + std::string(name) + " " + order),
                      processed(clip_, "i420", 48, 32, p))
                << name << " " << order;
        }
    }
}

TEST_F(FieldsRunTest, AnOddCutIsDeinterlacedInItsOwnOrder) {
    const auto packed = test::randomBytes(2 * 48 * 32 * 2);
    write("a_48x32_.uyvy", packed);
    ProcessVideoParams<YV16Img> p;
    p.srcWidth = 48, p.srcHeight = 32, p.cropY = 3, p.cropHeight = 24;
    p.srcProgressive = false;
    auto* cavt = new DeinterlaceCAVTImgParams;
    p.deinterlaceParams = cavt;
    cavt->width = 48, cavt->height = 24;
    cavt->topField = false;
    const auto outcome = run("process a_48x32_.uyvy b.yv16 --field-order tff --deinterlace cavt --crop 48x24+0+3");
    EXPECT_THAT(outcome.err, HasSubstr("note: --crop: Y 3 is odd"));
    EXPECT_EQ(slurp(path("b.yv16")), processed(packed, "uyvy", 48, 32, p));
}

/// Both pictures of each frame but the first and the last one.
std::string doubled(const std::string& clip, bool topFirst, int width = 48, int height = 32) {
    DeinterlaceBlendImgParams p;
    p.width = width, p.height = height;
    p.doubleRate = true;
    p.topFirst = topFirst;
    DeinterlaceBlendImg blend;
    EXPECT_TRUE(blend.allocate(&p));
    const auto out = makePicture(formatOf<I420Img>(), width, height);
    std::vector<std::unique_ptr<Img>> pictures;
    std::string result;
    for (test::Frames frames(clip, "i420", width, height); Img* picture = frames.next();) {
        pictures.push_back(makePicture(formatOf<I420Img>(), width, height));
        EXPECT_TRUE(picture->copy(*pictures.back()));
        EXPECT_TRUE(blend.pushImg(*pictures.back()));
        for (int i = 0; i < 2 && pictures.size() >= 3; ++i) {
            Img* released = nullptr;
            EXPECT_TRUE(blend.deinterlace(*out, &released));
            result += test::packed(*out);
        }
    }
    return result;
}

TEST_F(FieldsRunTest, DoubleRateMakesAPictureOfEachField) {
    for (const bool topFirst : {true, false}) {
        const std::string options =
            std::string("--deinterlace blend --double-rate --field-order ") + (topFirst ? "tff" : "bff");
        const std::string fields = doubled(clip_, topFirst);
        ASSERT_EQ(fields.size(), 8 * frame);
        EXPECT_EQ(output(options), fields);
        auto p = params48x32(false);  // what follows the deinterlacer
        p.srcFrameRateNum = 50, p.dstFrameRateNum = 60, p.dstWidth = 24, p.dstHeight = 16;
        EXPECT_EQ(output(options + " --scale 24x16 --fps 60"), processed(fields, "i420", 48, 32, p));
    }
}

TEST_F(FieldsRunTest, RepeatedEndsAreAsIfTheClipHadThem) {
    const std::string longer = clip_.substr(0, frame) + clip_ + clip_.substr(5 * frame);
    EXPECT_EQ(output("--deinterlace blend --double-rate --field-order tff --ends repeat"), doubled(longer, true));
    auto p = params48x32(false);
    p.dstFrameRateNum = 50;
    const std::string whole = processed(clip_ + clip_.substr(5 * frame), "i420", 48, 32, p);
    EXPECT_EQ(output("--field-order progressive --fps 50 --ends repeat"), whole.substr(0, 12 * frame));
}

TEST_F(FieldsRunTest, DenoisingIsTheLibrarysAtTheStrengthThatWasAsked) {
    clip_ = test::noisyClip(6, 64, 64, 7);
    write("a_64x64_.yuv", clip_);
    const auto output = [&](const std::string& options) {
        EXPECT_EQ(run("process a_64x64_.yuv b.yuv --rate 25 " + options).exit, 0) << options;
        return slurp(path("b.yuv"));
    };
    const auto filter = [](bool interlaced, int strength) {
        ProcessVideoParams<I420Img> p;
        p.srcWidth = p.srcHeight = 64;
        p.srcProgressive = p.dstProgressive = !interlaced;
        p.mctfEnable = true;
        p.mctfParams.strength = strength;
        return p;
    };
    const std::size_t frame = 64 * 96;
    const std::string twice = clip_.substr(0, frame) + clip_;
    EXPECT_EQ(output("--denoise 0"), clip_.substr(frame));
    for (const int strength : {1, 3, 7}) {
        const std::string option = "--denoise " + std::to_string(strength);
        const std::string filtered = processed(clip_, "i420", 64, 64, filter(false, strength));
        ASSERT_NE(filtered, clip_.substr(frame));
        EXPECT_EQ(output(option), filtered);
        EXPECT_EQ(output(option + " --threads 1"), filtered);
        EXPECT_EQ(output(option + " --ends repeat"), processed(twice, "i420", 64, 64, filter(false, strength)));
        EXPECT_EQ(output(option + " --field-order bff"), processed(clip_, "i420", 64, 64, filter(true, strength)));
    }
    const std::string fields = doubled(clip_.substr(0, frame) + clip_ + clip_.substr(5 * frame), true, 64, 64);
    EXPECT_EQ(output("--denoise 3 --deinterlace blend --double-rate --field-order tff --ends repeat"),
              processed(fields.substr(0, frame) + fields, "i420", 64, 64, filter(false, 3)));
}

TEST_F(FieldsRunTest, RatesAreConvertedAsTheLibraryDoes) {
    for (const auto& [mode, blend] : {std::pair("auto", -1), std::pair("blend", 1), std::pair("nearest", 0)})
        for (const int rate : {50, 30, 10}) {
            auto p = params48x32(false);
            p.dstFrameRateNum = static_cast<std::uint32_t>(rate);
            p.frameRateBlend = blend;
            EXPECT_EQ(output("--fps " + std::to_string(rate) + " --fps-mode " + mode),
                      processed(clip_, "i420", 48, 32, p))
                << rate << " " << mode;
        }
}

TEST_F(FieldsRunTest, Y4mHeadersTellFieldsAndRateOfTheOutput) {
    write("a_48x32_.uyvy", test::randomBytes(4 * 48 * 32 * 2));
    ASSERT_EQ(run("process a_48x32_.uyvy a.y4m --rate 25 --field-order bff").exit, 0);  // the source of all others
    const auto header = [&](const std::string& options) {
        const auto outcome = run("process a.y4m - " + options);
        EXPECT_EQ(outcome.exit, 0) << outcome.err;
        return outcome.out.substr(0, outcome.out.find(" A"));
    };
    EXPECT_EQ(header(""), "YUV4MPEG2 W48 H32 F25:1 Ib");
    EXPECT_EQ(header("--keep-interlaced --scale 24x16"), "YUV4MPEG2 W24 H16 F25:1 Ib");
    EXPECT_EQ(header("--crop 48x24+0+3"), "YUV4MPEG2 W48 H24 F25:1 It");
    EXPECT_EQ(header("--scan progressive"), "YUV4MPEG2 W48 H32 F25:1 Ip");
    EXPECT_EQ(header("--deinterlace cavt"), "YUV4MPEG2 W48 H32 F25:1 Ip");
    EXPECT_EQ(header("--deinterlace blend --double-rate"), "YUV4MPEG2 W48 H32 F50:1 Ip");
    EXPECT_EQ(header("--deinterlace blend --double-rate --fps 59.94"), "YUV4MPEG2 W48 H32 F60000:1001 Ip");
    EXPECT_EQ(header("--deinterlace triangle --fps 24000/1001"), "YUV4MPEG2 W48 H32 F24000:1001 Ip");
    EXPECT_EQ(header("--rate 60000/1001 --deinterlace blend --double-rate"), "YUV4MPEG2 W48 H32 F120000:1001 Ip");
}

TEST_F(FieldsRunTest, InterlacedYuyvGoesTo420FieldByField) {
    const auto packed = test::randomBytes(2 * 48 * 32 * 2);
    write("a_48x32_.uyvy", packed);
    ASSERT_EQ(run("convert a_48x32_.uyvy a_48x32_.yuyv").exit, 0);
    ASSERT_EQ(run("process a_48x32_.yuyv b.yuv --working i420 --field-order tff --crop 32x24+8+4").exit, 0);
    auto p = params48x32(true);
    p.dstProgressive = false;
    p.cropX = 8, p.cropY = 4, p.cropWidth = 32, p.cropHeight = 24;
    EXPECT_EQ(slurp(path("b.yuv")), processed(packed, "uyvy", 48, 32, p));
}

}  // namespace
}  // namespace OrvelTool
