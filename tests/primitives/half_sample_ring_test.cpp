#include "orvel/primitives/half_sample_ring.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/primitives/luma_model.h"
#include "tests/support/every_target.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::primitives {
namespace {

using Plane = test::GuardedPlane<std::uint8_t>;

/// 0 and 255 only, also in whole rows and columns: filters and sums reach both ends of their range.
void fillExtremes(Plane& plane, std::mt19937& rng) {
    const auto kind = rng() % 4, bits = rng();
    for (int y = 0; y < plane.height(); ++y)
        for (int x = 0; x < plane.width(); ++x) {
            const auto bit = kind == 0   ? rng()
                             : kind == 1 ? bits >> (x % 6)
                             : kind == 2 ? bits >> (y % 6)
                                         : (bits >> (x % 6)) ^ (bits >> (6 + y % 6));
            plane.at(x, y) = bit & 1 ? 255 : 0;
        }
}

class HalfSampleRingTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(HalfSampleRingTest);

TEST_P(HalfSampleRingTest, EqualsEightInterpolatedBlocksAnywhere) {
    std::mt19937 rng(51);
    for (int turn = 0; turn < 160; ++turn) {
        const bool tiny = turn % 4 == 3;
        Plane cur(8, 8, turn % 5, 64 + turn % 3);
        Plane ref(tiny ? 1 + turn % 11 : 22 + turn % 17, tiny ? 1 + turn % 7 : 15 + turn % 13, 3, 64 + turn % 7);
        if (turn % 2) {
            cur.fillRandom(rng), ref.fillRandom(rng);
        } else {
            fillExtremes(cur, rng), fillExtremes(ref, rng);
        }
        const ConstViewU8 from = turn % 3 ? ref.view() : ref.flipped();
        const test::LumaModel model(from);
        for (const int x :
             {-30, -8, -1, 0, 2, 3, int(rng() % 30), ref.width() - 19, ref.width() - 18, ref.width() - 8, 90})
            for (const int y :
                 {-9, 0, 3, int(rng() % 20), ref.height() - 11, ref.height() - 10, ref.height() - 8, 70}) {
                std::int32_t sads[halfRingSize + 1] = {};
                sads[halfRingSize] = -1;
                halfRingSads()(cur.view().base, cur.view().step, from, x, y, sads);
                ASSERT_EQ(sads[halfRingSize], -1);
                int i = 0;
                for (int dy = -2; dy <= 2; dy += 2)
                    for (int dx = -2; dx <= 2; dx += 2) {
                        if (dx == 0 && dy == 0) continue;
                        int sum = 0;
                        for (int row = 0; row < 8; ++row)
                            for (int col = 0; col < 8; ++col)
                                sum += std::abs(cur.at(col, row) - model.quarter(x + col + (dx >> 2),
                                                                                 y + row + (dy >> 2), dx & 3, dy & 3));
                        ASSERT_EQ(sads[i++], sum)
                            << "neighbour " << dx << ", " << dy << " of " << x << ", " << y << " in " << ref.width()
                            << " x " << ref.height() << ", turn " << turn;
                    }
            }
    }
}

}  // namespace
}  // namespace Orvel::primitives
