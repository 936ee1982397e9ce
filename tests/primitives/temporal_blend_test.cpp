#include "orvel/primitives/temporal_blend.h"

#include <gtest/gtest.h>

#include "tests/primitives/block_model.h"
#include "tests/support/every_target.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::primitives {
namespace {

using Plane = test::GuardedPlane<std::uint8_t>;
using Levels = std::vector<std::uint8_t>;

class TemporalBlendTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(TemporalBlendTest);

TEST_P(TemporalBlendTest, EveryPairOfSamplesAtEveryLevel) {
    Plane cur(256, 256), pred(256, 256), dst(256, 256);
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 256; ++x) cur.at(x, y) = std::uint8_t(x), pred.at(x, y) = std::uint8_t(y);
    for (int level = 0; level < temporalBlendLevels; ++level) {
        const Levels levels(32, std::uint8_t(level));
        for (int y = 0; y < 256; y += 8) {
            const auto band = [y](Plane& plane) { return plane.view().band(y, y + 8); };
            ASSERT_EQ(temporalBlend(band(cur), band(pred), levels, band(dst)), Status::ok);
        }
        for (int y = 0; y < 256; ++y)
            for (int x = 0; x < 256; ++x)
                if (dst.at(x, y) != test::blendModel(level, x, y))
                    FAIL() << x << " with " << y << " at level " << level << " gives " << int(dst.at(x, y));
    }
}

TEST_P(TemporalBlendTest, EachBlockHasItsOwnLevelAndTheRestIsLeftAlone) {
    std::mt19937 rng(31);
    for (int side : {4, 8})
        for (int blocks : {1, 2, 3, 5, 8, 9, 31, 33, 65, 131}) {
            const int width = blocks * side + blocks % 3;
            Plane cur(width, side, 3, 61), pred(width, side, 1, 67), dst(width, side, 5, 63), inPlace(width, side);
            cur.fillRandom(rng), dst.fill(77);
            Levels levels(static_cast<std::size_t>(blocks));
            for (auto& level : levels) level = std::uint8_t(rng() % 8);
            Plane expected = dst;
            for (int y = 0; y < side; ++y)
                for (int x = 0; x < width; ++x) {
                    pred.at(x, y) = std::uint8_t(std::clamp(cur.at(x, y) + int(rng() % 101) - 50, 0, 255));
                    inPlace.at(x, y) = cur.at(x, y);
                    if (const auto block = std::size_t(x / side); block < levels.size())
                        expected.at(x, y) = std::uint8_t(test::blendModel(levels[block], cur.at(x, y), pred.at(x, y)));
                }
            ASSERT_EQ(temporalBlend(cur.view(), pred.view(), levels, dst.view()), Status::ok);
            ASSERT_EQ(expected.difference(dst), "");
            ASSERT_TRUE(dst.guardsIntact());
            ASSERT_EQ(temporalBlend(inPlace.flipped(), pred.flipped(), levels, inPlace.flipped()), Status::ok);
            const auto whole = [&](Plane& p) { return p.view().topLeft(blocks * side, side); };
            for (int y = 0; y < side; ++y)
                ASSERT_TRUE(std::equal(whole(dst).row(y), whole(dst).row(y) + blocks * side, whole(inPlace).row(y)));
        }
}

TEST(TemporalBlend, Refusals) {
    Plane cur(16, 8), pred(16, 8), dst(16, 8), wider(24, 8);
    dst.fill(9);
    const Plane untouched = dst;
    EXPECT_EQ(temporalBlend({}, pred.view(), Levels{1}, dst.view()), Status::nullPointer);
    EXPECT_EQ(temporalBlend(cur.view(), wider.view(), Levels{1}, dst.view()), Status::badSize);
    EXPECT_EQ(temporalBlend(cur.view(), pred.view(), Levels{1, 1, 1}, dst.view()), Status::badSize);
    EXPECT_EQ(temporalBlend(cur.view(), pred.view(), Levels{1, 8}, dst.view()), Status::badArgument);
    EXPECT_EQ(temporalBlend(cur.view().band(0, 7), pred.view().band(0, 7), Levels{1}, dst.view().band(0, 7)),
              Status::badSize);
    EXPECT_EQ(dst.difference(untouched), "");
}

}  // namespace
}  // namespace Orvel::primitives
