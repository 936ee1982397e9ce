#include "orvel/primitives/yuv420.h"

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

class Yuv420Test : public test::EveryTarget {};
ORVEL_EVERY_TARGET(Yuv420Test);

struct Conversion {
    PackedLayout layout;
    decltype(&uyvyToPlanar420) reduce;
    decltype(&planar420ToUyvy) enlarge;
};
constexpr Conversion conversions[] = {{PackedLayout::uyvy, uyvyToPlanar420, planar420ToUyvy},
                                      {PackedLayout::yuyv, yuyvToPlanar420, planar420ToYuyv}};

Status answer(int height) {
    return height % 2 == 0 ? Status::ok : Status::reducedSize;
}

TEST_P(Yuv420Test, ReducesTwoLinesToTheirMeanAndLeavesAnOddRowAlone) {
    std::mt19937 rng(1);
    for (const Conversion& conversion : conversions)
        forEachSize(2, [&](int width, int height, Placement at) {
            Plane packed(2 * width, height, 2 * at.padding, at.lead);
            YuvPlanes planes(width, height, (height + 1) / 2, at);
            packed.fillRandom(rng);
            planes.fillRandom(rng);
            YuvPlanes expected = planes;
            test::splitInto(expected, conversion.layout, packed, height & ~1, height / 2,
                            [](const auto& c, int x, int k) { return (c(x, 2 * k) + c(x, 2 * k + 1) + 1) >> 1; });
            ASSERT_EQ(conversion.reduce(packed.view(), planes.y.view(), planes.cb.view(), planes.cr.view(), at.stores),
                      answer(height));
            ASSERT_EQ(planes.fault(expected), "") << width << " x " << height;
        });
}

TEST_P(Yuv420Test, EnlargesByRepeatingAndLeavesAnOddRowAlone) {
    std::mt19937 rng(2);
    for (const Conversion& conversion : conversions)
        forEachSize(2, [&](int width, int height, Placement at) {
            YuvPlanes planes(width, height, height / 2, at);
            Plane packed(2 * width, height, 2 * at.padding, at.lead);
            planes.fillRandom(rng);
            packed.fillRandom(rng);
            Plane expected = packed;
            test::packInto(
                expected, conversion.layout, planes.y, height & ~1,
                [&](int x, int y) { return planes.cb.at(x, y / 2); },
                [&](int x, int y) { return planes.cr.at(x, y / 2); });
            ASSERT_EQ(conversion.enlarge(planes.y.view(), planes.cb.view(), planes.cr.view(), packed.view(), at.stores),
                      answer(height));
            ASSERT_EQ(packed.difference(expected), "");
            ASSERT_TRUE(packed.guardsIntact()) << width << " x " << height;
        });
}

TEST_P(Yuv420Test, EnlargesPlanesByRepeating) {
    std::mt19937 rng(3);
    forEachSize(2, [&](int width, int height, Placement at) {
        YuvPlanes src(width, height, (height + 1) / 2, at), dst(width, height, height, at);
        src.fillRandom(rng);
        dst.fillRandom(rng);
        YuvPlanes expected = dst;
        for (int y = 0; y < (height & ~1); ++y) {
            for (int x = 0; x < width; ++x) expected.y.at(x, y) = src.y.at(x, y);
            for (int x = 0; x < width / 2; ++x) {
                expected.cb.at(x, y) = src.cb.at(x, y / 2);
                expected.cr.at(x, y) = src.cr.at(x, y / 2);
            }
        }
        ASSERT_EQ(planar420ToPlanar422(src.y.view(), src.cb.view(), src.cr.view(), dst.y.view(), dst.cb.view(),
                                       dst.cr.view(), at.stores),
                  answer(height));
        ASSERT_EQ(dst.fault(expected), "") << width << " x " << height;
    });
}

TEST_P(Yuv420Test, MeetsTheExamplesThroughBottomUpViews) {
    const Plane packed = columns(4, {10, 13, 255, 0});  // every byte of a row is equal: luma = chroma
    YuvPlanes planes(2, 4, 2);
    Plane stored = test::upsideDown(packed);
    ASSERT_EQ(uyvyToPlanar420(stored.flipped(), planes.y.view(), planes.cb.view(), planes.cr.flipped()), Status::ok);
    EXPECT_EQ(planes.y.difference(columns(2, {10, 13, 255, 0})), "");
    EXPECT_EQ(planes.cb.difference(columns(1, {12, 128})), "");
    EXPECT_EQ(planes.cr.difference(columns(1, {128, 12})), "");

    Plane result(4, 4);
    ASSERT_EQ(planar420ToYuyv(columns(2, {1, 2, 3, 4}).view(), columns(1, {7, 9}).view(), columns(1, {7, 9}).view(),
                              result.flipped()),
              Status::ok);
    for (int y = 0; y < 4; ++y) {
        EXPECT_EQ(result.at(0, 3 - y), y + 1);
        EXPECT_EQ(result.at(1, 3 - y), y < 2 ? 7 : 9);
    }
}

TEST(Yuv420, RefusesViewsThatDoNotFit) {
    Plane packed(16, 4);
    YuvPlanes planes(8, 4, 2), flat(8, 4, 1), narrow(6, 4, 2), row(8, 1, 1);
    const auto reduce = [&](ConstViewU8 from, YuvPlanes& to) {
        return yuyvToPlanar420(from, to.y.view(), to.cb.view(), to.cr.view());
    };
    EXPECT_EQ(reduce({}, planes), Status::nullPointer);
    EXPECT_EQ(reduce(packed.view(), flat), Status::badSize);
    EXPECT_EQ(reduce(packed.view(), narrow), Status::badSize);
    EXPECT_EQ(reduce(packed.view().band(0, 1), row), Status::badSize);
    EXPECT_EQ(reduce({packed.view().base, 16, 2, 4}, narrow), Status::badSize);
    EXPECT_EQ(planar420ToUyvy(planes.y.view(), planes.cb.view(), flat.cr.view(), packed.view()), Status::badSize);
    EXPECT_EQ(planar420ToPlanar422(planes.y.view(), planes.cb.view(), planes.cr.view(), planes.y.view(),
                                   planes.cb.view(), planes.cr.view()),
              Status::badSize);
    EXPECT_EQ(planes.fault(YuvPlanes(8, 4, 2)), "");
}

}  // namespace
}  // namespace Orvel::primitives
