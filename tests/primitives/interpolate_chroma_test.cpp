#include "orvel/primitives/interpolate_chroma.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/primitives/luma_model.h"
#include "tests/support/every_target.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::primitives {
namespace {

using Plane = test::GuardedPlane<std::uint8_t>;

/// The frame at a position in eighths of a sample.
int eighthModel(ConstViewU8 frame, int x8, int y8) {
    const int x = x8 >> 3, y = y8 >> 3, dx = x8 & 7, dy = y8 & 7;
    const auto at = [&](int i, int j) { return test::lumaAt(frame, x + i, y + j); };
    return ((8 - dx) * (8 - dy) * at(0, 0) + dx * (8 - dy) * at(1, 0) + (8 - dx) * dy * at(0, 1) + dx * dy * at(1, 1) +
            32) >>
           6;
}

class InterpolateChromaTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(InterpolateChromaTest);

/// Compares one pair of blocks with the model; "" when they agree and nothing else was written.
std::string checkBlocks(const Plane& u, const Plane& v, int x, int y, int mvx, int mvy, int width, int height) {
    Plane dstU(width, height, 3, 61), dstV(width, height, 1, 66), expectedU = dstU, expectedV = dstV;
    if (interpolateChroma(u.view(), v.view(), x, y, mvx, mvy, dstU.view(), dstV.view()) != Status::ok) return "refused";
    for (int j = 0; j < height; ++j)
        for (int i = 0; i < width; ++i) {
            const int x8 = 8 * (x + i) + 2 * mvx, y8 = 8 * (y + j) + 2 * mvy;  // a quarter is two eighths
            expectedU.at(i, j) = std::uint8_t(eighthModel(u.view(), x8, y8));
            expectedV.at(i, j) = std::uint8_t(eighthModel(v.view(), x8, y8));
        }
    if (!dstU.guardsIntact() || !dstV.guardsIntact()) return "wrote outside the block";
    return expectedU.difference(dstU) + expectedV.difference(dstV);
}

TEST_P(InterpolateChromaTest, EveryPositionInsideAtAndBeyondEveryBorder) {
    std::mt19937 rng(51);
    Plane u(13, 11, 3), v(13, 11, 6);  // of the samples' own size: reading past an edge meets the guard
    u.fillRandom(rng), v.fillRandom(rng);
    for (int mvy = -80; mvy <= 80; ++mvy)
        for (int mvx = -80; mvx <= 80; ++mvx)
            ASSERT_EQ(checkBlocks(u, v, 4, 4, mvx, mvy, 4, 4), "") << "vector " << mvx << ", " << mvy;
}

TEST_P(InterpolateChromaTest, EveryBlockSideAndFrameDownToOneSample) {
    std::mt19937 rng(52);
    for (int side : {1, 2, 3, 5, 9, 24}) {
        Plane u(side, 25 - side), v(side, 25 - side, 2);
        u.fillRandom(rng), v.fillRandom(rng);
        for (int width : {2, 4, 8})
            for (int height : {2, 4, 8})
                for (int fraction = 0; fraction < 16; ++fraction)
                    ASSERT_EQ(
                        checkBlocks(u, v, int(rng() % 9), int(rng() % 9), int(rng() % 64) / 4 * 4 - 32 + fraction % 4,
                                    int(rng() % 64) / 4 * 4 - 32 + fraction / 4, width, height),
                        "")
                        << width << " x " << height << " from a frame " << side << " wide, fraction " << fraction;
    }
}

TEST_P(InterpolateChromaTest, KnownValuesAndTheUnitOfTheVector) {
    Plane frame(2, 2), dst(2, 2), other(2, 2);
    frame.at(0, 0) = 10, frame.at(1, 0) = 20, frame.at(0, 1) = 30, frame.at(1, 1) = 80;
    const auto topLeft = [&](int mvx, int mvy) {
        EXPECT_EQ(interpolateChroma(frame.view(), frame.view(), 0, 0, mvx, mvy, dst.view(), other.view()), Status::ok);
        return int{dst.at(0, 0)};
    };
    EXPECT_EQ(topLeft(1, 3), 35);
    EXPECT_EQ(topLeft(2, 2), 35);
    EXPECT_EQ(topLeft(0, 0), 10);

    Plane ramp(32, 8);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 32; ++x) ramp.at(x, y) = std::uint8_t(8 * x);
    const auto moved = [&](int lumaVector) {  // as the filter calls it
        EXPECT_EQ(interpolateChroma(ramp.view(), ramp.view(), 4, 4, lumaVector >> 1, 0, dst.view(), other.view()),
                  Status::ok);
        return int{dst.at(0, 0)} - 32;
    };
    EXPECT_EQ(moved(16), 16);  // four luma samples are two chroma samples
    EXPECT_EQ(moved(6), 6);    // and 1.5 are three quarters
    EXPECT_EQ(moved(-16), -16);
}

TEST(InterpolateChroma, RefusalsAndVectorsFarOutside) {
    Plane u(8, 8), v(8, 8), small(8, 7), dst(4, 4), other(4, 4), three(3, 4);
    u.fill(1), v.fill(2);
    u.at(0, 0) = 3, u.at(7, 7) = 4;
    EXPECT_EQ(interpolateChroma({}, v.view(), 0, 0, 0, 0, dst.view(), other.view()), Status::nullPointer);
    EXPECT_EQ(interpolateChroma(u.view(), v.view(), 0, 0, 0, 0, dst.view(), {}), Status::nullPointer);
    EXPECT_EQ(interpolateChroma(u.view(), small.view(), 0, 0, 0, 0, dst.view(), other.view()), Status::badSize);
    EXPECT_EQ(interpolateChroma(u.view(), v.view(), 0, 0, 0, 0, three.view(), three.view()), Status::badSize);
    EXPECT_EQ(interpolateChroma(u.view(), v.view(), 0, 0, 0, 0, dst.view(), v.view().topLeft(2, 2)), Status::badSize);

    const int least = std::numeric_limits<int>::min(), most = std::numeric_limits<int>::max();
    ASSERT_EQ(interpolateChroma(u.view(), v.view(), least, least, least, least, dst.view(), other.view()), Status::ok);
    EXPECT_TRUE(dst.at(0, 0) == 3 && dst.at(3, 3) == 3 && other.at(0, 0) == 2);
    ASSERT_EQ(interpolateChroma(u.view(), v.view(), most, most, most, most, dst.view(), other.view()), Status::ok);
    EXPECT_TRUE(dst.at(0, 0) == 4 && dst.at(3, 3) == 4 && other.at(3, 3) == 2);
}

}  // namespace
}  // namespace Orvel::primitives
