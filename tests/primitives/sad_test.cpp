#include "orvel/primitives/sad.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/support/every_target.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::primitives {
namespace {

using Plane = test::GuardedPlane<std::uint8_t>;

int model(ConstViewU8 a, ConstViewU8 b) {
    int sum = 0;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) sum += std::abs(a.row(y)[x] - b.row(y)[x]);
    return sum;
}

class SadTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(SadTest);

TEST_P(SadTest, SumsEveryDifferenceOfEveryBlockInAList) {
    std::mt19937 rng(41);
    for (int turn = 0; turn < 200; ++turn) {
        // Samples of 0 and 255 only in every third turn, equal and opposite blocks among them.
        const unsigned limit = turn % 3 == 0 ? 1 : 255, scale = 255 / limit;
        Plane cur(8, 8, 3, 64 + turn % 9), ref(23, 19, 4, 64 + turn % 7);
        cur.fillRandom(rng, turn == 0 ? 0 : limit);
        ref.fillRandom(rng, limit);
        for (Plane* plane : {&cur, &ref})
            for (int y = 0; y < plane->height(); ++y)
                for (int x = 0; x < plane->width(); ++x) plane->at(x, y) = std::uint8_t(plane->at(x, y) * scale);
        if (turn == 0) ref.fill(255);
        const ConstViewU8 from = turn % 2 ? ref.view() : ref.flipped();
        std::vector<const std::uint8_t*> refs;
        for (int n = 0; n <= 9; ++n) {
            std::int32_t sads[10] = {};
            sads[n] = -1;
            sad8x8List()(cur.view().base, cur.view().step, refs.data(), from.step, n, sads);
            ASSERT_EQ(sads[n], -1) << "behind the list";
            for (int i = 0; i < n; ++i) {
                const ConstViewU8 block{refs[std::size_t(i)], from.step, 8, 8};
                ASSERT_EQ(sads[i], model(cur.view(), block)) << i << " of " << n << " in turn " << turn;
                ASSERT_TRUE(turn > 0 || sads[i] == 16320);
                std::int32_t sad = -1;
                ASSERT_TRUE(sad8x8()(cur.view().base, cur.view().step, block.base, block.step, sad));
                ASSERT_EQ(sad, sads[i]);
            }
            refs.push_back(from.row(int(rng() % 12)) + rng() % 16);
        }
    }
}

TEST_P(SadTest, ANullBlockIsRefused) {
    std::uint8_t block[64] = {};
    std::int32_t sad = 77;
    EXPECT_FALSE(sad8x8()(nullptr, 8, block, 8, sad));
    EXPECT_FALSE(sad8x8()(block, 8, nullptr, 8, sad));
    EXPECT_EQ(sad, 77);
}

}  // namespace
}  // namespace Orvel::primitives
