#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvel/primitives/histogram.h"
#include "orvel/primitives/norm_diff.h"
#include "tests/support/every_target.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::primitives {
namespace {

using Plane = test::GuardedPlane<std::uint8_t>;
using Values = std::vector<std::int32_t>;
using ::testing::ElementsAre;

class NormDiffTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(NormDiffTest);

TEST_P(NormDiffTest, SumsEveryDifferenceExactly) {
    std::mt19937 rng(61);
    for (int width = 1; width <= 66; ++width) {
        Plane a(width, 3, 3, 61), b(width, 3, 1);
        a.fillRandom(rng), b.fillRandom(rng);
        double expected = 0, norm = -1;
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < width; ++x) expected += std::abs(a.at(x, y) - b.at(x, y));
        ASSERT_EQ(normDiffL1(a.view(), b.view(), norm), Status::ok);
        ASSERT_EQ(norm, expected) << "width " << width;
        ASSERT_EQ(normDiffL1(a.flipped(), b.flipped(), norm), Status::ok);
        ASSERT_EQ(norm, expected) << "bottom-up, width " << width;
    }
    Plane black(4096, 4200), white(4096, 4200);
    black.fill(0), white.fill(255);
    double norm = 0;
    ASSERT_EQ(normDiffL1(black.view(), white.view(), norm), Status::ok);
    EXPECT_EQ(norm, 4096.0 * 4200 * 255) << "more than 32 bits hold";
    EXPECT_EQ(normDiffL1(black.view(), {}, norm), Status::nullPointer);
    EXPECT_EQ(normDiffL1(black.view(), white.view().topLeft(4, 4), norm), Status::badSize);
}

TEST(Histogram, CountsSamplesInHalfOpenBins) {
    std::uint8_t samples[] = {0, 49, 50, 199, 200, 255};
    const ConstViewU8 row{samples, 6, 6, 1};
    const auto countsFor = [&](const Values& levels) {
        Values counts(levels.size() - 1, -1);
        EXPECT_EQ(histogramRange(row, levels, counts), Status::ok);
        return counts;
    };
    EXPECT_THAT(countsFor({0, 50, 200, 256}), ElementsAre(2, 2, 2));
    EXPECT_THAT(countsFor({0, 50, 200, 255}), ElementsAre(2, 2, 1));
    EXPECT_THAT(countsFor({-2000000000, 1, 1, 2000000000}), ElementsAre(1, 0, 5));
    EXPECT_THAT(countsFor({300, 400}), ElementsAre(0));

    std::mt19937 rng(62);
    Plane plane(37, 19);
    plane.fillRandom(rng);
    Values each(257), counts(256), expected(256);
    for (int v = 0; v <= 256; ++v) each[std::size_t(v)] = v;
    for (int i = 0; i < 37 * 19; ++i) ++expected[plane.at(i % 37, i / 37)];
    ASSERT_EQ(histogramRange(plane.view(), each, counts), Status::ok);
    EXPECT_EQ(counts, expected);
    EXPECT_EQ(histogramRange({}, each, counts), Status::nullPointer);
    EXPECT_EQ(histogramRange({samples, 6, 6, 0}, each, counts), Status::badSize);
    EXPECT_EQ(histogramRange(row, Values{0}, counts), Status::badArgument);
    EXPECT_EQ(histogramRange(row, Values{0, 256}, counts), Status::badArgument);
}

}  // namespace
}  // namespace Orvel::primitives
