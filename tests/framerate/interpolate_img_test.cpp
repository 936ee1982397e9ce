#include "orvel/framerate/interpolate_img.h"

#include <gtest/gtest.h>

#include <cmath>

#include "orvel/img/i420_img.h"
#include "tests/support/every_target.h"
#include "tests/support/pictures.h"

namespace Orvel {
namespace {

using test::bytesOf;
using test::fillRandom;

constexpr FieldFrameSelect selections[] = {FieldFrameTop, FieldFrameBottom, FieldFrameBoth,
                                           static_cast<FieldFrameSelect>(0), static_cast<FieldFrameSelect>(-7)};

/// The weighted mean of two samples as bytes in memory order.
void mixSample(std::uint8_t* out, const std::uint8_t* a, const std::uint8_t* b, int bytes, unsigned alpha) {
    std::uint16_t wideA = 0, wideB = 0;
    std::memcpy(&wideA, a, std::size_t(bytes)), std::memcpy(&wideB, b, std::size_t(bytes));
    const double weight = std::min(alpha, 255u) / 255.0;
    const auto mean = static_cast<std::uint16_t>(std::lround(weight * wideA + (1 - weight) * wideB));
    std::memcpy(out, &mean, std::size_t(bytes));
}

void mixModel(Img& out, const Img& a, const Img& b, unsigned alpha, FieldFrameSelect sel) {
    const bool field = sel == FieldFrameTop || sel == FieldFrameBottom;
    for (int p = 0; p < out.numPlanes(); ++p) {
        int channels = 0;
        out.getInterleavedChannels(p, channels);
        const int bytes = channels == 1 && out.getBpp(p) == 2 ? 2 : 1, height = out.getHeight(p);
        for (int line = 0; line < (field ? height / 2 : height); ++line) {
            const int y = field ? 2 * line + (sel == FieldFrameBottom ? 1 : 0) : line;
            for (int i = 0; i < out.getWidth(p) * channels * bytes; i += bytes)
                mixSample(out.getPixel(p, y, 0) + i, a.getPixel(p, y, 0) + i, b.getPixel(p, y, 0) + i, bytes, alpha);
        }
    }
}

/// Two sources and two targets of one random content inside pictures that are a little larger on all sides, with a
/// second plane of half the size.
struct Views {
    Views(int width, int height, int bpp, int channels, unsigned seed) {
        for (int i = 0; i < 4; ++i) {
            Img& img = whole[i];
            const int w = width + width % 2 + 6, h = height + height % 2 + 4;
            EXPECT_TRUE(img.allocatePlane(0, w, h, 4, bpp) && img.allocatePlane(1, w / 2, h / 2, 4, 1));
            img.setInterleavedChannels(0, channels);
            fillRandom(img, i == 3 ? seed + 2 : seed + unsigned(i));
            img.getShadowRoi(view[i], {2, 2}, {width, height});
        }
    }
    Img whole[4], view[4];
    Img &a = view[0], &b = view[1], &out = view[2], &expected = view[3];
    bool same() const { return bytesOf(whole[2]) == bytesOf(whole[3]); }
};

class InterpolateImgTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(InterpolateImgTest);

TEST_P(InterpolateImgTest, EqualsTheModelInsideLargerPicturesOfEveryKind) {
    constexpr unsigned alphas[] = {0, 1, 77, 127, 128, 130, 254, 255, 256};
    unsigned seed = 1;
    for (int bpp = 1; bpp <= 4; ++bpp)
        for (int channels = 1; channels <= bpp; ++channels)
            for (int width = 1; width <= 65; ++width) {
                const FieldFrameSelect sel = selections[seed % 5];
                const int height = 1 + int(seed % 8);
                const unsigned alpha = alphas[seed % 9];
                Views v(width, height, bpp, channels, seed++);
                mixModel(v.expected, v.a, v.b, alpha, sel);
                ASSERT_TRUE(InterpolateImg::frameInterpolate(v.out, v.a, v.b, alpha, sel));
                ASSERT_TRUE(v.same()) << bpp << " bytes, " << channels << " channels, " << width << " x " << height
                                      << " alpha " << alpha << " sel " << sel;
            }
}

TEST(InterpolateImg, WorksInPlaceAndWithAnyNumberOfThreads) {
    for (const FieldFrameSelect sel : selections)
        test::withThreadCounts([&](std::size_t threads) {
            Views v(321, 203, 1, 1, 9);
            mixModel(v.expected, v.a, v.expected, 90, sel);
            ASSERT_TRUE(InterpolateImg::frameInterpolate(v.out, v.a, v.out, 90, sel));
            ASSERT_TRUE(v.same()) << threads << " threads, sel " << sel;
        });
}

TEST(InterpolateImg, PlanesWithoutPixelsAreNoFailure) {
    I420Img a, b, out;  // chroma is 0 x 1
    for (I420Img* img : {&a, &b, &out}) ASSERT_TRUE(img->allocate(1, 1, 1));
    *a.getPixels(0) = 10, *b.getPixels(0) = 200, *out.getPixels(0) = 0;
    for (const FieldFrameSelect sel : {FieldFrameTop, FieldFrameBottom}) {
        EXPECT_TRUE(InterpolateImg::frameInterpolate(out, a, b, 130, sel));
        EXPECT_EQ(*out.getPixels(0), 0) << "half of one line is none";
    }
    EXPECT_TRUE(InterpolateImg::frameInterpolate(out, a, b, 130, FieldFrameBoth));
    EXPECT_EQ(*out.getPixels(0), 103);
}

struct Shape {
    int width = 8, height = 6, bpp = 2, channels = 1, planes = 2;
};

void make(Img& img, const Shape& last, int value) {
    img.deallocate(-1);
    for (int p = 0; p < last.planes; ++p) {
        const Shape s = p == last.planes - 1 ? last : Shape{};
        ASSERT_TRUE(img.allocatePlane(p, s.width, s.height, 4, s.bpp));
        ASSERT_TRUE(img.setInterleavedChannels(p, s.channels));
    }
    ASSERT_TRUE(img.set(value));
}

/// Picture number which is of the other shape, all three are when it is 3.
void refuses(const Shape& other, int which, unsigned alpha = 100) {
    Img pictures[3];
    for (int i = 0; i < 3; ++i) make(pictures[i], i == which || which == 3 ? other : Shape{}, 40 + i);
    const auto before = bytesOf(pictures[0]);
    EXPECT_FALSE(InterpolateImg::frameInterpolate(pictures[0], pictures[1], pictures[2], alpha, FieldFrameBoth));
    EXPECT_EQ(bytesOf(pictures[0]), before);
}

TEST(InterpolateImg, RefusesPicturesThatDifferAndKindsItDoesNotKnowAndWritesNothing) {
    for (const Shape& odd : {Shape{.width = 7},
                             {.height = 5},
                             {.height = 7},
                             {.bpp = 1},
                             {.bpp = 3},
                             {.channels = 2},
                             {.planes = 1},
                             {.planes = 3}})
        for (int which = 0; which < 3; ++which) {
            SCOPED_TRACE(::testing::PrintToString(odd) + " picture " + std::to_string(which));
            refuses(odd, which);
        }
    for (const Shape& unknown :
         {Shape{.bpp = 5}, {.bpp = 4, .channels = 0}, {.bpp = 4, .channels = 5}, {.bpp = 1, .channels = 2}}) {
        SCOPED_TRACE(::testing::PrintToString(unknown));
        refuses(unknown, 3);
    }
    for (const unsigned alpha : {257u, 0xFFFFFFFFu}) refuses({}, 3, alpha);
    Img out, a, b;
    EXPECT_FALSE(InterpolateImg::frameInterpolate(out, a, b, 100, FieldFrameBoth)) << "no planes";
    make(out, {}, 1), make(a, {}, 2), make(b, {}, 3);
    a.getMemoryInterface(1)->deallocate();
    EXPECT_FALSE(InterpolateImg::frameInterpolate(out, a, b, 100, FieldFrameBoth)) << "no memory";
    EXPECT_EQ(*out.getPixels(0), 1);
}

}  // namespace
}  // namespace Orvel
