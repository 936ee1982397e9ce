#include "orvel/primitives/predict_blocks.h"

#include <gtest/gtest.h>

#include <climits>

#include "orvel/primitives/interpolate_chroma.h"
#include "tests/primitives/luma_model.h"
#include "tests/support/every_target.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::primitives {
namespace {

using Plane = test::GuardedPlane<std::uint8_t>;

class PredictBlocksTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(PredictBlocksTest);

/// Vectors of every fraction, most of them half samples; they lead anywhere, also far out of the frame.
std::vector<BlockVector> someVectors(std::mt19937& rng, std::size_t n) {
    std::vector<BlockVector> vectors(n);
    for (BlockVector& v : vectors) {
        const int range = rng() % 3 ? 60 : 600, unit = rng() % 3 ? 2 : 1;
        v = {int(rng() % unsigned(range)) - range / 2, int(rng() % unsigned(range)) - range / 2};
        v = {v.x / unit * unit, v.y / unit * unit};
    }
    if (rng() % 8 == 0) vectors[rng() % n] = {INT_MAX - 100, INT_MIN};
    return vectors;
}

TEST_P(PredictBlocksTest, LumaEqualsTheFormulasAnywhere) {
    std::mt19937 rng(71);
    for (int turn = 0; turn < 400; ++turn) {
        Plane frame(1 + int(rng() % 50), 1 + int(rng() % 30), turn % 5, 64 + turn % 3);
        for (int y = 0; y < frame.height(); ++y)  // also samples at both ends, where sums are extreme and clipped
            for (int x = 0; x < frame.width(); ++x) frame.at(x, y) = std::uint8_t(turn % 2 ? rng() : rng() % 2 * 255);
        const ConstViewU8 from = turn % 3 ? frame.view() : frame.flipped();
        const test::LumaModel model(from);
        const auto vectors = someVectors(rng, 1 + rng() % 5);
        const int n = int(vectors.size()), left = int(rng() % 40) - 8, top = int(rng() % 30) - 8;
        Plane dst(8 * n + turn % 9, 8, 3, 61), expected = dst;
        for (int i = 0; i < n; ++i)
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 8; ++x) {
                    const auto [vx, vy] = vectors[std::size_t(i)];
                    const auto near = [](std::int64_t at) { return int(std::clamp<std::int64_t>(at, -900, 900)); };
                    const int sx = near(std::int64_t{left} + 8 * i + x + (vx >> 2));
                    const int sy = near(std::int64_t{top} + y + (vy >> 2));
                    expected.at(8 * i + x, y) = std::uint8_t(model.quarter(sx, sy, vx & 3, vy & 3));
                }
        ASSERT_EQ(predictLuma(from, left, top, vectors, dst.view()), Status::ok);
        ASSERT_EQ(expected.difference(dst), "") << "turn " << turn;
        ASSERT_TRUE(dst.guardsIntact());
    }
}

TEST_P(PredictBlocksTest, ChromaEqualsSingleBlocks) {
    std::mt19937 rng(72);
    for (int turn = 0; turn < 400; ++turn) {
        const int width = 1 + int(rng() % 40), height = 1 + int(rng() % 20);
        Plane u(width, height, turn % 5, 64 + turn % 3), v(width, height, turn % 3);
        u.fillRandom(rng), v.fillRandom(rng);
        const auto vectors = someVectors(rng, 1 + rng() % 7);
        const int n = int(vectors.size()), left = int(rng() % 20) - 4, top = int(rng() % 16) - 4;
        Plane dstU(4 * n + turn % 5, 4, 3, 61), dstV(4 * n + turn % 5, 4, 1), expectedU = dstU, expectedV = dstV;
        const auto blockOf = [](Plane& p, int i) { return ViewU8{p.view().base + 4 * i, p.view().step, 4, 4}; };
        for (int i = 0; i < n; ++i) {
            const auto [vx, vy] = vectors[std::size_t(i)];
            ASSERT_EQ(interpolateChroma(u.view(), v.view(), left + 4 * i, top, vx, vy, blockOf(expectedU, i),
                                        blockOf(expectedV, i)),
                      Status::ok);
        }
        ASSERT_EQ(predictChroma(u.view(), v.view(), left, top, vectors, dstU.view(), dstV.view()), Status::ok);
        ASSERT_EQ(expectedU.difference(dstU) + expectedV.difference(dstV), "") << "turn " << turn;
        ASSERT_TRUE(dstU.guardsIntact() && dstV.guardsIntact());
    }
}

TEST(PredictBlocks, RefusesWhatDoesNotFit) {
    const Plane frame(16, 16), other(15, 16);
    Plane luma(16, 8), chroma(8, 4);
    const std::vector<BlockVector> two(2), three(3);
    EXPECT_EQ(predictLuma({}, 0, 0, two, luma.view()), Status::nullPointer);
    EXPECT_EQ(predictLuma(frame.view(), 0, 0, two, {}), Status::nullPointer);
    EXPECT_EQ(predictLuma(frame.view(), 0, 0, three, luma.view()), Status::badSize);
    EXPECT_EQ(predictLuma(frame.view(), 0, 0, two, luma.view().band(0, 7)), Status::badSize);
    EXPECT_EQ(predictChroma(frame.view(), other.view(), 0, 0, two, chroma.view(), chroma.view()), Status::badSize);
    EXPECT_EQ(predictChroma(frame.view(), frame.view(), 0, 0, three, chroma.view(), chroma.view()), Status::badSize);
    EXPECT_EQ(predictChroma(frame.view(), frame.view(), 0, 0, two, chroma.view(), {}), Status::nullPointer);
}

}  // namespace
}  // namespace Orvel::primitives
