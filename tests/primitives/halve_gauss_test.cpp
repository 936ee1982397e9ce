#include "orvel/primitives/halve_gauss.h"

#include <gtest/gtest.h>

#include <climits>
#include <utility>

#include "tests/primitives/halve_gauss_model.h"
#include "tests/support/every_target.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::primitives {
namespace {

using Plane = test::GuardedPlane<std::uint8_t>;

class HalveGaussTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(HalveGaussTest);

TEST_P(HalveGaussTest, EqualsTheWholeSumForEverySizeAndStaysInside) {
    std::mt19937 rng(3);
    for (const int pixelBytes : {1, 3, 4})
        for (int width = 1; width <= 150; ++width)
            for (const int height : {1, 2, 3, 4, 5, 9}) {
                // No byte before or behind the samples, so that the address sanitizer sees what is read there.
                const int rowBytes = width * pixelBytes, step = rowBytes + width % 3;
                std::vector<std::uint8_t> samples(std::size_t(step * (height - 1) + rowBytes));
                for (auto& sample : samples) sample = std::uint8_t(rng() >> 8);
                const ConstViewU8 src{samples.data(), step, rowBytes, height};
                Plane dst((width + 1) / 2 * pixelBytes, (height + 1) / 2, 3, 62 + width % 7);
                ASSERT_EQ(halveGaussRows(src, dst.view(), pixelBytes, 0, dst.height()), Status::ok);
                ASSERT_EQ(test::differenceFromHalved(src, pixelBytes, dst.view()), "");
                ASSERT_TRUE(dst.guardsIntact()) << width << " x " << height;
            }
}

TEST_P(HalveGaussTest, WideRowsAndTheExtremesOfTheSums) {
    std::mt19937 rng(4);
    for (const int width : {2051, 2052, 4200}) {  // more vectors than are carried along at once
        Plane src(width, 5, 1), dst((width + 1) / 2, 3);
        src.fillRandom(rng);
        for (int y = 0; y < 5; ++y)
            for (int x = 500; x < 1300; ++x) src.at(x, y) = x < 700 ? 255 : x < 1000 ? 0 : x % 2 == y % 2 ? 255 : 0;
        ASSERT_EQ(halveGaussRows(src.view(), dst.view(), 1, 0, 3), Status::ok);
        ASSERT_EQ(test::differenceFromHalved(src.view(), 1, dst.view()), "");
    }
}

TEST_P(HalveGaussTest, BandsAndStepsMakeNoDifference) {
    std::mt19937 rng(5);
    for (const int height : {2, 17, 18}) {
        const int rows = (height + 1) / 2;
        Plane src(131, height), whole(66, rows), banded(66, rows, 0);
        src.fillRandom(rng);
        ASSERT_EQ(halveGaussRows(src.view(), whole.view(), 1, 0, rows), Status::ok);
        for (int first = 0, step = 1; first < rows; first += step, step = step % 3 + 1)
            ASSERT_EQ(halveGaussRows(src.view(), banded.view(), 1, first, std::min(first + step, rows)), Status::ok);
        ASSERT_EQ(banded.difference(whole), "");
        ASSERT_EQ(halveGaussRows(src.flipped(), banded.flipped(), 1, 0, rows), Status::ok);
        ASSERT_EQ(test::differenceFromHalved(src.flipped(), 1, banded.flipped()), "");
    }
    Plane src(40, 9), dst(20, 5);
    src.fill(1), dst.fill(77);
    ASSERT_EQ(halveGaussRows(src.view(), dst.view(), 1, 2, 3), Status::ok);
    for (int y = 0; y < 5; ++y) EXPECT_EQ(dst.at(7, y), y == 2 ? 1 : 77) << "only the rows of the band";
}

TEST(HalveGauss, KnownValues) {
    const std::uint8_t stripes[] = {0, 255, 0, 255, 0};
    std::uint8_t out[6] = {};
    ASSERT_EQ(halveGaussRows({stripes, 5, 5, 1}, {out, 3, 3, 1}, 1, 0, 1), Status::ok);
    for (int x = 0; x < 3; ++x) EXPECT_EQ(out[x], 128);
    std::uint8_t ramp[15];
    for (int i = 0; i < 15; ++i) ramp[i] = std::uint8_t(17 * i);
    ASSERT_EQ(halveGaussRows({ramp, 5, 5, 3}, {out, 3, 3, 2}, 1, 0, 2), Status::ok);
    const int halved[] = {77, 98, 119, 119, 140, 162};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(out[i], halved[i]);
    const std::uint8_t two[] = {9, 200};
    ASSERT_EQ(halveGaussRows({two, 2, 2, 1}, {out, 1, 1, 1}, 1, 0, 1), Status::ok);
    EXPECT_EQ(out[0], 105);
}

TEST(HalveGauss, RefusesWhatDoesNotFit) {
    Plane src(12, 6), dst(6, 3);
    const auto s = src.view();
    const auto d = dst.view();
    dst.fill(5);
    EXPECT_EQ(halveGaussRows({}, d, 1, 0, 3), Status::nullPointer);
    EXPECT_EQ(halveGaussRows(s, {}, 1, 0, 3), Status::nullPointer);
    for (const ViewU8& other :
         {d.topLeft(5, 3), d.topLeft(6, 2), ViewU8{d.base, d.step, 7, 3}, ViewU8{d.base, 1, 0, 3}})
        EXPECT_EQ(halveGaussRows(s, other, 1, 0, 1), Status::badSize);
    EXPECT_EQ(halveGaussRows({s.base, 12, 0, 6}, d, 1, 0, 3), Status::badSize);
    EXPECT_EQ(halveGaussRows({s.base, 12, 12, -6}, d, 1, 0, 3), Status::badSize);
    EXPECT_EQ(halveGaussRows({s.base, 0, 12, INT_MAX}, {d.base, 0, 6, INT_MAX / 2 + 1}, 1, 0, 3), Status::badSize);
    for (const auto& [first, last] : {std::pair{-1, 2}, {0, 4}, {2, 2}, {2, 1}})
        EXPECT_EQ(halveGaussRows(s, d, 1, first, last), Status::badSize);
    EXPECT_EQ(halveGaussRows(s, d, 4, 0, 3), Status::badSize) << "three pixels make two";
    EXPECT_EQ(halveGaussRows(s.topLeft(11, 6), d, 3, 0, 3), Status::badSize) << "no whole pixels";
    for (const int pixelBytes : {-1, 0, 2, 5}) EXPECT_EQ(halveGaussRows(s, d, pixelBytes, 0, 3), Status::badArgument);
    EXPECT_EQ(dst.at(0, 0), 5);
}

}  // namespace
}  // namespace Orvel::primitives
