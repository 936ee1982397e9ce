#include "orvel/primitives/yuv420_interlaced.h"

#include <gtest/gtest.h>

#include "tests/primitives/yuv_picture.h"
#include "tests/support/every_target.h"

namespace Orvel::primitives {
namespace {

using test::columns;
using test::forEachSize;
using test::Placement;
using test::Plane;
using test::YuvPlanes;

class Yuv420InterlacedTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(Yuv420InterlacedTest);

Status answer(int height) {
    return height % 4 == 0 ? Status::ok : Status::reducedSize;
}

/// Row y of the enlarged chroma at column x; rows is the number of 4:2:0 chroma rows that count.
int enlarged(const Plane& chroma, int x, int y, int rows) {
    const auto field = [&](int i, int parity) -> int {
        return chroma.at(x, 2 * std::clamp(i, 0, rows / 2 - 1) + parity);
    };
    const int k = y / 4;
    switch (y % 4) {
        case 0:
            return (7 * field(k, 0) + field(k - 1, 0) + 4) >> 3;
        case 1:
            return (5 * field(k, 1) + 3 * field(k - 1, 1) + 4) >> 3;
        case 2:
            return (5 * field(k, 0) + 3 * field(k + 1, 0) + 4) >> 3;
        default:
            return (7 * field(k, 1) + field(k + 1, 1) + 4) >> 3;
    }
}

TEST_P(Yuv420InterlacedTest, ReducesEachFieldByItself) {
    std::mt19937 rng(1);
    forEachSize(4, [&](int width, int height, Placement at) {
        Plane packed(2 * width, height, 2 * at.padding, at.lead);
        YuvPlanes planes(width, height, (height + 1) / 2, at);
        packed.fillRandom(rng);
        planes.fillRandom(rng);
        YuvPlanes expected = planes;
        const int rows = height / 4 * 4;
        test::splitInto(expected, PackedLayout::uyvy, packed, rows, rows / 2, [](const auto& c, int x, int k) {
            const int y = k / 2 * 4;
            return k % 2 == 0 ? (3 * c(x, y) + c(x, y + 2) + 2) >> 2 : (c(x, y + 1) + 3 * c(x, y + 3) + 2) >> 2;
        });
        ASSERT_EQ(
            uyvyToPlanar420Interlaced(packed.view(), planes.y.view(), planes.cb.view(), planes.cr.view(), at.stores),
            answer(height));
        ASSERT_EQ(planes.fault(expected), "") << width << " x " << height;
    });
}

TEST_P(Yuv420InterlacedTest, EnlargesEachFieldByItself) {
    std::mt19937 rng(2);
    forEachSize(4, [&](int width, int height, Placement at) {
        const int rows = height / 4 * 4;
        YuvPlanes src(width, height, (height + 1) / 2, at), dst(width, height, height, at);
        Plane packed(2 * width, height, 2 * at.padding, at.lead);
        src.fillRandom(rng);
        dst.fillRandom(rng);
        packed.fillRandom(rng);
        Plane expected = packed;
        const auto cb = [&](int x, int y) { return enlarged(src.cb, x, y, rows / 2); };
        const auto cr = [&](int x, int y) { return enlarged(src.cr, x, y, rows / 2); };
        test::packInto(expected, PackedLayout::uyvy, src.y, rows, cb, cr);
        ASSERT_EQ(planar420ToUyvyInterlaced(src.y.view(), src.cb.view(), src.cr.view(), packed.view(), at.stores),
                  answer(height));
        ASSERT_EQ(packed.difference(expected), "") << height << " rows";
        ASSERT_TRUE(packed.guardsIntact()) << width << " x " << height;

        YuvPlanes expectedPlanes = dst;
        test::splitInto(expectedPlanes, PackedLayout::uyvy, expected, rows, rows,
                        [](const auto& c, int x, int y) { return c(x, y); });
        ASSERT_EQ(planar420ToPlanar422Interlaced(src.y.view(), src.cb.view(), src.cr.view(), dst.y.view(),
                                                 dst.cb.view(), dst.cr.view(), at.stores),
                  answer(height));
        ASSERT_EQ(dst.fault(expectedPlanes), "") << width << " x " << height;
    });
}

/// All pairs of samples, so that every rounding of every weight is met.
TEST_P(Yuv420InterlacedTest, RoundsEveryPairOfSamplesExactly) {
    YuvPlanes src(512, 8, 4), dst(512, 8, 8);
    for (int other = 0; other < 256; ++other) {
        for (int x = 0; x < 256; ++x)
            for (int row = 0; row < 4; ++row) src.cb.at(x, row) = static_cast<std::uint8_t>(row < 2 ? x : other);
        ASSERT_EQ(planar420ToPlanar422Interlaced(src.y.view(), src.cb.view(), src.cb.view(), dst.y.view(),
                                                 dst.cb.view(), dst.cr.view()),
                  Status::ok);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 256; ++x)
                ASSERT_EQ(dst.cb.at(x, y), enlarged(src.cb, x, y, 4)) << x << " and " << other << " in row " << y;
    }
}

TEST_P(Yuv420InterlacedTest, MeetsTheExamplesThroughBottomUpViews) {
    Plane stored = test::upsideDown(columns(4, {10, 50, 30, 90}));
    YuvPlanes planes(2, 4, 2);
    ASSERT_EQ(uyvyToPlanar420Interlaced(stored.flipped(), planes.y.view(), planes.cb.view(), planes.cr.view()),
              Status::ok);
    EXPECT_EQ(planes.cb.difference(columns(1, {15, 80})), "");

    const Plane luma8 = columns(2, {0, 0, 0, 0, 0, 0, 0, 0}), eight = columns(1, {16, 200, 80, 120});
    YuvPlanes two(2, 8, 8);
    ASSERT_EQ(planar420ToPlanar422Interlaced(luma8.view(), eight.view(), eight.view(), two.y.view(), two.cb.flipped(),
                                             two.cr.view()),
              Status::ok);
    EXPECT_EQ(two.cr.difference(columns(1, {16, 200, 40, 190, 72, 150, 80, 120})), "");
    EXPECT_EQ(two.cb.difference(columns(1, {120, 80, 150, 72, 190, 40, 200, 16})), "");

    const Plane luma12 = columns(2, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}),
                twelve = columns(1, {40, 60, 100, 140, 220, 20});
    YuvPlanes three(2, 12, 12);
    ASSERT_EQ(planar420ToPlanar422Interlaced(luma12.view(), twelve.view(), twelve.view(), three.y.view(),
                                             three.cb.view(), three.cr.view()),
              Status::ok);
    EXPECT_EQ(three.cb.difference(columns(1, {40, 60, 63, 70, 93, 110, 145, 125, 205, 65, 220, 20})), "");
}

TEST(Yuv420Interlaced, RefusesViewsThatDoNotFit) {
    Plane packed(16, 8);
    YuvPlanes planes(8, 8, 4), flat(8, 8, 3), small(8, 3, 2), full(8, 8, 8);
    EXPECT_EQ(uyvyToPlanar420Interlaced({}, planes.y.view(), planes.cb.view(), planes.cr.view()), Status::nullPointer);
    EXPECT_EQ(uyvyToPlanar420Interlaced(packed.view(), flat.y.view(), flat.cb.view(), flat.cr.view()), Status::badSize);
    EXPECT_EQ(uyvyToPlanar420Interlaced(packed.view().band(0, 3), small.y.view(), small.cb.view(), small.cr.view()),
              Status::badSize);
    EXPECT_EQ(planar420ToUyvyInterlaced(small.y.view(), planes.cb.view(), planes.cr.view(), packed.view()),
              Status::badSize);
    EXPECT_EQ(planar420ToPlanar422Interlaced(planes.y.view(), planes.cb.view(), planes.cr.view(), full.y.view(),
                                             full.cb.view(), planes.cr.view()),
              Status::badSize);
    EXPECT_EQ(planar420ToPlanar422Interlaced(planes.y.view(), planes.cb.view(), planes.cr.view(), full.y.view(), {},
                                             full.cr.view()),
              Status::nullPointer);
    EXPECT_EQ(full.fault(YuvPlanes(8, 8, 8)), "");
}

}  // namespace
}  // namespace Orvel::primitives
