#include "orvel/primitives/interpolate_luma.h"

#include <gtest/gtest.h>

#include "tests/primitives/luma_model.h"
#include "tests/support/every_target.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::primitives {
namespace {

using Plane = test::GuardedPlane<std::uint8_t>;

/// "" when dst is the frame's block at (x, y) displaced by (mvx, mvy), else the first difference in words.
std::string fault(const Plane& frame, int x, int y, int mvx, int mvy, const Plane& dst) {
    const test::LumaModel model(frame.view());
    for (int row = 0; row < dst.height(); ++row)
        for (int col = 0; col < dst.width(); ++col) {
            const int expected = model.quarter(x + col + (mvx >> 2), y + row + (mvy >> 2), mvx & 3, mvy & 3);
            if (dst.at(col, row) != expected)
                return std::to_string(dst.at(col, row)) + " for " + std::to_string(expected) + " in column " +
                       std::to_string(col) + " row " + std::to_string(row) + " of the block at " + std::to_string(x) +
                       ", " + std::to_string(y) + " moved by " + std::to_string(mvx) + ", " + std::to_string(mvy);
        }
    return dst.guardsIntact() ? "" : "wrote outside the block";
}

class InterpolateLumaTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(InterpolateLumaTest);

TEST_P(InterpolateLumaTest, EveryFractionAtAndBeyondEveryBorder) {
    std::mt19937 rng(31);
    Plane frame(37, 29, 3, 61);
    frame.fillRandom(rng);
    for (int side : {4, 8, 16}) {
        Plane dst(side, side, 3, 59);
        for (int y :
             {-60, -side - 3, -side, -3, -2, -1, 0, 1, 2, 9, 29 - side - 3, 29 - side - 2, 29 - side, 28, 29, 90})
            for (int x :
                 {-70, -side - 3, -side, -3, -2, -1, 0, 1, 2, 13, 37 - side - 3, 37 - side - 2, 37 - side, 36, 99})
                for (int fraction = 0; fraction < 16; ++fraction) {
                    // Part of the way by the block's place, part by the vector.
                    const int mvx = 4 * (x - 5) + fraction % 4, mvy = 4 * (y - 6) + fraction / 4;
                    ASSERT_EQ(interpolateLuma(frame.view(), 5, 6, mvx, mvy, dst.view()), Status::ok);
                    ASSERT_EQ(fault(frame, 5, 6, mvx, mvy, dst), "") << "side " << side;
                }
    }
}

TEST_P(InterpolateLumaTest, ExtremeSamplesAndTinyFrames) {
    std::mt19937 rng(32);
    for (int turn = 0; turn < 300; ++turn) {
        Plane frame(1 + int(rng() % 24), 1 + int(rng() % 24)), dst(8, 16);
        // 0 and 255 only, also in whole rows and columns: the filters' sums reach both ends of their range.
        const unsigned kind = rng() % 4;
        const auto bits = rng();
        for (int y = 0; y < frame.height(); ++y)
            for (int x = 0; x < frame.width(); ++x)
                frame.at(x, y) = (kind == 0   ? rng()
                                  : kind == 1 ? bits >> (x % 6)
                                  : kind == 2 ? bits >> (y % 6)
                                              : (bits >> (x % 6)) ^ (bits >> (6 + y % 6))) &
                                         1
                                     ? 255
                                     : 0;
        for (int fraction = 0; fraction < 16; ++fraction) {
            const int mvx = fraction % 4 + 4 * int(rng() % 9) - 16, mvy = fraction / 4 + 4 * int(rng() % 9) - 16;
            ASSERT_EQ(interpolateLuma(frame.view(), 4, 4, mvx, mvy, dst.view()), Status::ok);
            ASSERT_EQ(fault(frame, 4, 4, mvx, mvy, dst), "") << "frame " << frame.width() << " x " << frame.height();
        }
    }
}

TEST(InterpolateLuma, KnownSamplesBottomUpFramesAndRefusals) {
    Plane frame(12, 12), dst(4, 4);
    for (int y = 0; y < 12; ++y)
        for (int x = 0; x < 12; ++x) frame.at(x, y) = std::uint8_t(37 * x + 91 * y + 13 * x * y);
    const int known[4][4] = {{208, 167, 125, 83}, {180, 139, 137, 126}, {152, 150, 148, 138}, {124, 149, 147, 137}};
    for (int fy = 0; fy < 4; ++fy)
        for (int fx = 0; fx < 4; ++fx) {
            ASSERT_EQ(interpolateLuma(frame.view(), 4, 4, fx, fy, dst.view()), Status::ok);
            EXPECT_EQ(dst.at(0, 0), known[fy][fx]) << fx << ", " << fy;
        }
    ASSERT_EQ(interpolateLuma(frame.view(), 0, 0, -4 + 2, 2, dst.view()), Status::ok);
    EXPECT_EQ(dst.at(0, 0), 26);

    const int far = 0x7FFFFFFF;
    ASSERT_EQ(interpolateLuma(frame.flipped(), far, -far, far, -far, dst.view()), Status::ok);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) EXPECT_EQ(dst.at(x, y), frame.at(11, 11));

    Plane odd(8, 5);
    EXPECT_EQ(interpolateLuma({}, 0, 0, 0, 0, dst.view()), Status::nullPointer);
    EXPECT_EQ(interpolateLuma(frame.view(), 0, 0, 0, 0, {}), Status::nullPointer);
    EXPECT_EQ(interpolateLuma(frame.view(), 0, 0, 0, 0, odd.view()), Status::badSize);
    EXPECT_EQ(interpolateLuma({frame.view().base, 12, 0, 12}, 0, 0, 0, 0, dst.view()), Status::badSize);
}

}  // namespace
}  // namespace Orvel::primitives
