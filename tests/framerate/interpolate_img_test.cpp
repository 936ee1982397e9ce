#include "orvel/framerate/interpolate_img.h"

#include <gtest/gtest.h>

#include <cmath>

#include "orvel/img/all_formats.h"
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

/// Two sources and two targets of one random content inside pictures that are a little larger on all sides.
template <class T>
struct Views {
    Views(int width, int height, unsigned seed) {
        for (int i = 0; i < 4; ++i) {
            T& img = whole[i];
            EXPECT_TRUE(img.allocate(width + width % 2 + 6, height + 4, T::getClassBpp()));
            fillRandom(img, i == 3 ? seed + 2 : seed + unsigned(i));
            img.getShadowRoi(view[i], {2, 2}, {width, height});
        }
    }
    T whole[4];
    Img view[4];
    Img &a = view[0], &b = view[1], &out = view[2], &expected = view[3];
    bool same() const { return bytesOf(whole[2]) == bytesOf(whole[3]); }
};

class InterpolateImgTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(InterpolateImgTest);

template <class T>
void mixesEverySize() {
    constexpr int heights[] = {1, 2, 3, 5, 8};
    constexpr unsigned alphas[] = {0, 1, 77, 127, 128, 130, 254, 255, 256};
    unsigned seed = 1;
    for (int width = 1; width <= 65; ++width) {
        for (const FieldFrameSelect sel : selections) {
            const int height = heights[seed % 5];
            const unsigned alpha = alphas[seed % 9];
            Views<T> v(width, height, seed++);
            mixModel(v.expected, v.a, v.b, alpha, sel);
            ASSERT_TRUE(InterpolateImg::frameInterpolate(v.out, v.a, v.b, alpha, sel));
            ASSERT_TRUE(v.same()) << width << " x " << height << " alpha " << alpha << " sel " << sel;
        }
    }
}

TEST_P(InterpolateImgTest, EqualsTheModelInsideLargerPictures) {
    mixesEverySize<I420Img>();
    mixesEverySize<HY16Img>();
    mixesEverySize<UYVYImg>();
    mixesEverySize<V216Img>();
    mixesEverySize<BGRImg>();
}

TEST_P(InterpolateImgTest, EqualsTheModelOnEveryKindOfPlane) {
    for (int bpp = 1; bpp <= 4; ++bpp)
        for (int channels = 1; channels <= bpp; ++channels)
            for (const FieldFrameSelect sel : selections)
                for (const unsigned alpha : {1u, 130u, 254u}) {
                    Img a, b, out, expected;
                    unsigned seed = 5;
                    for (Img* img : {&a, &b, &out, &expected}) {
                        ASSERT_TRUE(img->allocate(37, 5, bpp) && img->setInterleavedChannels(0, channels));
                        fillRandom(*img, img == &expected ? seed - 1 : seed++);
                    }
                    mixModel(expected, a, b, alpha, sel);
                    ASSERT_TRUE(InterpolateImg::frameInterpolate(out, a, b, alpha, sel));
                    ASSERT_EQ(bytesOf(out), bytesOf(expected)) << bpp << " bytes, " << channels << " channels";
                }
}

TEST(InterpolateImg, WorksInPlaceAndWithAnyNumberOfThreads) {
    for (const FieldFrameSelect sel : selections) {
        Views<I420Img> v(321, 203, 9);
        mixModel(v.expected, v.a, v.b, 90, sel);
        test::withThreadCounts([&](std::size_t threads) {
            fillRandom(v.whole[2], 11);
            ASSERT_TRUE(InterpolateImg::frameInterpolate(v.out, v.a, v.b, 90, sel));
            ASSERT_TRUE(v.same()) << threads << " threads, sel " << sel;
        });
        Views<I420Img> inPlace(321, 203, 9);
        mixModel(inPlace.expected, inPlace.a, inPlace.expected, 90, sel);
        ASSERT_TRUE(InterpolateImg::frameInterpolate(inPlace.out, inPlace.a, inPlace.out, 90, sel));
        ASSERT_TRUE(inPlace.same()) << "sel " << sel;
    }
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

TEST(InterpolateImg, RefusesPicturesThatDifferAndWritesNothing) {
    const Shape odd[] = {{.width = 7}, {.height = 5},   {.height = 7}, {.bpp = 1},
                         {.bpp = 3},   {.channels = 2}, {.planes = 1}, {.planes = 3}};
    for (const Shape& shape : odd)
        for (int which = 0; which < 3; ++which) {
            Img pictures[3];
            for (int i = 0; i < 3; ++i) make(pictures[i], i == which ? shape : Shape{}, 40 + i);
            const auto before = bytesOf(pictures[0]);
            EXPECT_FALSE(InterpolateImg::frameInterpolate(pictures[0], pictures[1], pictures[2], 100, FieldFrameBoth))
                << "shape " << &shape - odd << " picture " << which;
            EXPECT_EQ(bytesOf(pictures[0]), before);
        }
}

TEST(InterpolateImg, RefusesPlanesAndWeightsItDoesNotKnow) {
    const Shape unknown[] = {
        {.bpp = 5}, {.bpp = 4, .channels = 0}, {.bpp = 4, .channels = 5}, {.bpp = 1, .channels = 2}};
    for (const Shape& shape : unknown) {
        Img out, a, b;
        make(out, shape, 1), make(a, shape, 2), make(b, shape, 3);
        const auto before = bytesOf(out);
        EXPECT_FALSE(InterpolateImg::frameInterpolate(out, a, b, 100, FieldFrameTop)) << "shape " << &shape - unknown;
        EXPECT_EQ(bytesOf(out), before);
    }
    Img out, a, b;
    EXPECT_FALSE(InterpolateImg::frameInterpolate(out, a, b, 100, FieldFrameBoth)) << "no planes";
    make(out, {}, 1), make(a, {}, 2), make(b, {}, 3);
    const auto before = bytesOf(out);
    for (const unsigned alpha : {257u, 0xFFFFFFFFu})
        EXPECT_FALSE(InterpolateImg::frameInterpolate(out, a, b, alpha, FieldFrameBoth));
    a.getMemoryInterface(1)->deallocate();
    EXPECT_FALSE(InterpolateImg::frameInterpolate(out, a, b, 100, FieldFrameBoth)) << "no memory";
    EXPECT_EQ(bytesOf(out), before);
}

}  // namespace
}  // namespace Orvel
