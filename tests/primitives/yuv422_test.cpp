#include "orvel/primitives/yuv422.h"

#include <gtest/gtest.h>

#include "tests/primitives/yuv_picture.h"
#include "tests/support/every_target.h"

namespace Orvel::primitives {
namespace {

using test::forEachSize;
using test::Placement;
using test::Plane;
using test::YuvPlanes;

class Yuv422Test : public test::EveryTarget {};
ORVEL_EVERY_TARGET(Yuv422Test);

struct Conversion {
    PackedLayout layout;
    decltype(&uyvyToPlanar422) split;
    decltype(&planar422ToUyvy) pack;
};
constexpr Conversion conversions[] = {{PackedLayout::uyvy, uyvyToPlanar422, planar422ToUyvy},
                                      {PackedLayout::yuyv, yuyvToPlanar422, planar422ToYuyv}};

TEST_P(Yuv422Test, TakesPackedPicturesApart) {
    std::mt19937 rng(1);
    for (const Conversion& conversion : conversions)
        forEachSize(1, [&](int width, int height, Placement at) {
            Plane packed(2 * width, height, 2 * at.padding, at.lead);
            YuvPlanes planes(width, height, height, at);
            packed.fillRandom(rng);
            YuvPlanes expected = planes;
            test::splitInto(expected, conversion.layout, packed, height, height,
                            [](const auto& c, int x, int y) { return c(x, y); });
            ASSERT_EQ(conversion.split(packed.view(), planes.y.view(), planes.cb.view(), planes.cr.view(), at.stores),
                      Status::ok);
            ASSERT_EQ(planes.fault(expected), "") << width << " x " << height;
        });
}

TEST_P(Yuv422Test, PutsPlanesTogether) {
    std::mt19937 rng(2);
    for (const Conversion& conversion : conversions)
        forEachSize(1, [&](int width, int height, Placement at) {
            YuvPlanes planes(width, height, height, at);
            Plane packed(2 * width, height, 2 * at.padding, at.lead);
            planes.fillRandom(rng);
            Plane expected = packed;
            test::packInto(
                expected, conversion.layout, planes.y, height, [&](int x, int y) { return planes.cb.at(x, y); },
                [&](int x, int y) { return planes.cr.at(x, y); });
            ASSERT_EQ(conversion.pack(planes.y.view(), planes.cb.view(), planes.cr.view(), packed.view(), at.stores),
                      Status::ok);
            ASSERT_EQ(packed.difference(expected), "");
            ASSERT_TRUE(packed.guardsIntact()) << width << " x " << height;
        });
}

TEST_P(Yuv422Test, SwapsTheBytesOfEveryPixelAlsoInPlace) {
    std::mt19937 rng(3);
    forEachSize(1, [&](int width, int height, Placement at) {
        Plane packed(2 * width, height, at.padding, at.lead), swapped(2 * width, height, at.padding, at.lead);
        packed.fillRandom(rng);
        Plane expected = swapped;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < 2 * width; ++x) expected.at(x, y) = packed.at(x ^ 1, y);
        ASSERT_EQ(swapChromaLuma(packed.view(), swapped.view(), Stores::streaming), Status::ok);
        ASSERT_EQ(swapped.difference(expected), "");
        ASSERT_EQ(swapChromaLuma(packed.view(), packed.view()), Status::ok);
        ASSERT_EQ(packed.difference(expected), "");
        ASSERT_TRUE(swapped.guardsIntact() && packed.guardsIntact()) << width << " x " << height;
    });
}

TEST(Yuv422, KeepsTheOddPixelWhole) {
    const std::uint8_t packed[] = {1, 2, 3, 4, 5, 6};
    std::uint8_t y[3] = {}, cb = 0, cr = 0, again[6] = {};
    ASSERT_EQ(uyvyToPlanar422({packed, 6, 6, 1}, {y, 3, 3, 1}, {&cb, 1, 1, 1}, {&cr, 1, 1, 1}), Status::ok);
    EXPECT_EQ(std::vector<int>({y[0], y[1], y[2], cb, cr}), std::vector<int>({2, 4, 6, 1, 3}));
    ASSERT_EQ(planar422ToYuyv({y, 3, 3, 1}, {&cb, 1, 1, 1}, {&cr, 1, 1, 1}, {again, 6, 6, 1}), Status::ok);
    EXPECT_EQ(std::vector<int>(again, again + 6), std::vector<int>({2, 1, 4, 3, 6, 1}));
}

TEST(Yuv422, RefusesViewsThatDoNotFit) {
    Plane packed(16, 2), swapped(14, 2);
    YuvPlanes planes(8, 2, 2), narrow(7, 2, 2), tall(8, 3, 3), onePixel(1, 1, 1);
    const auto split = [&](ConstViewU8 from, YuvPlanes& to) {
        return uyvyToPlanar422(from, to.y.view(), to.cb.view(), to.cr.view());
    };
    EXPECT_EQ(split(packed.view(), narrow), Status::badSize);
    EXPECT_EQ(split(packed.view(), tall), Status::badSize);
    EXPECT_EQ(split({packed.view().base, 2, 2, 1}, onePixel), Status::badSize);
    EXPECT_EQ(split({}, planes), Status::nullPointer);
    EXPECT_EQ(planar422ToUyvy(planes.y.view(), narrow.cb.view(), planes.cr.view(), packed.view()), Status::badSize);
    EXPECT_EQ(planar422ToUyvy(planes.y.view(), planes.cb.view(), {}, packed.view()), Status::nullPointer);
    EXPECT_EQ(planar422ToUyvy(planes.y.view(), planes.cb.view(), tall.cr.view(), packed.view()), Status::badSize);
    EXPECT_EQ(swapChromaLuma(packed.view(), swapped.view()), Status::badSize);
    EXPECT_EQ(swapChromaLuma({packed.view().base, 16, 5, 2}, {packed.view().base, 16, 5, 2}), Status::badSize);
    EXPECT_EQ(swapChromaLuma({packed.view().base, 16, 2, 2}, {packed.view().base, 16, 2, 2}), Status::badSize);
    EXPECT_EQ(planes.fault(YuvPlanes(8, 2, 2)), "");
}

}  // namespace
}  // namespace Orvel::primitives
