#include "orvel/primitives/half_sample_planes.h"

#include <gtest/gtest.h>

#include <climits>

#include "tests/primitives/luma_model.h"
#include "tests/support/every_target.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::primitives {
namespace {

using Plane = test::GuardedPlane<std::uint8_t>;

class HalfSamplePlanesTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(HalfSamplePlanesTest);

TEST_P(HalfSamplePlanesTest, HoldEveryHalfSampleOfAPlane) {
    std::mt19937 rng(51);
    HalfSamplePlanes halves;
    struct Size {
        int width, height;
    };
    for (const Size& s : {Size{1, 1}, {3, 2}, {62, 30}, {63, 31}, {64, 32}, {65, 33}, {66, 5}, {131, 70}, {8, 96}})
        for (const unsigned limit : {255u, 1u}) {
            Plane plane(s.width, s.height, 3, 63);
            plane.fillRandom(rng, limit);
            if (limit == 1)
                for (int y = 0; y < s.height; ++y)
                    for (int x = 0; x < s.width; ++x) plane.at(x, y) = std::uint8_t(255 * plane.at(x, y));
            const ConstViewU8 view = s.width == 65 ? plane.flipped() : plane.view();
            const test::LumaModel model(view);
            ASSERT_TRUE(halves.allocate(s.width, s.height));
            for (int band = halves.numBands() - 1; band >= 0; --band) ASSERT_EQ(halves.fillBand(view, band), Status::ok);
            for (int y = -1; y < s.height; ++y)
                for (int x = -1; x < s.width; ++x) {
                    ASSERT_EQ(*halves.right(x, y), model.quarter(x, y, 2, 0)) << x << ", " << y << " of " << s.width;
                    ASSERT_EQ(*halves.below(x, y), model.quarter(x, y, 0, 2)) << x << ", " << y << " of " << s.width;
                    ASSERT_EQ(*halves.centre(x, y), model.quarter(x, y, 2, 2)) << x << ", " << y << " of " << s.width;
                }
            EXPECT_EQ(halves.below(0, 0), halves.below(-1, -1) + halves.step() + 1);
        }
}

TEST(HalfSamplePlanes, RefusePlanesOfOtherSizes) {
    Plane plane(20, 10);
    HalfSamplePlanes halves;
    EXPECT_EQ(halves.numBands(), 0);
    EXPECT_EQ(halves.fillBand(plane.view(), 0), Status::badSize);
    EXPECT_FALSE(halves.allocate(0, 10));
    EXPECT_FALSE(halves.allocate(INT_MAX, INT_MAX)) << "more bytes than there can be";
    ASSERT_TRUE(halves.allocate(20, 11));
    EXPECT_EQ(halves.fillBand(plane.view(), 0), Status::badSize);
    ASSERT_TRUE(halves.allocate(20, 10));
    EXPECT_EQ(halves.fillBand({}, 0), Status::nullPointer);
    EXPECT_EQ(halves.fillBand(plane.view(), -1), Status::badArgument);
    EXPECT_EQ(halves.fillBand(plane.view(), halves.numBands()), Status::badArgument);
    EXPECT_EQ(halves.fillBand(plane.view(), 0), Status::ok);
    halves.deallocate();
    halves.deallocate();
    EXPECT_EQ(halves.numBands(), 0);
}

}  // namespace
}  // namespace Orvel::primitives
