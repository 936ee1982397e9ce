#include "bench/mark_damage.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "orvel/img/i420_img.h"
#include "tests/support/pictures.h"

namespace Orvel::bench {
namespace {

TEST(MarkDamageTest, ChromaIsMovedAndItsEdgesAreRepeated) {
    const auto img = test::picture<I420Img>(24, 16);
    I420Img moved, half;
    moveChroma(*img, moved, 3, -2);
    moveChromaByHalf(*img, half);
    EXPECT_EQ(test::bytesOf(moved, 0), test::bytesOf(*img, 0));
    for (int plane : {1, 2})
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 12; ++x) {
                const auto at = [&](int row, int column) {
                    return *img->getPixel(plane, std::clamp(row, 0, 7), std::clamp(column, 0, 11));
                };
                EXPECT_EQ(*moved.getPixel(plane, y, x), at(y + 2, x - 3)) << x << ", " << y;
                const double mean = (at(y, x) + at(y, x + 1) + at(y + 1, x) + at(y + 1, x + 1)) / 4.0;
                EXPECT_NEAR(*half.getPixel(plane, y, x), mean, 0.5) << x << ", " << y;
            }
}

TEST(MarkDamageTest, ChromaLevelsTurnAroundGreyAndAreClipped) {
    I420Img img, changed;
    ASSERT_TRUE(img.allocate(4, 4, 1) && img.set(128));
    const std::uint8_t before[] = {128, 138, 0, 255}, after[] = {116, 136, 0, 255};
    for (int i = 0; i < 4; ++i) *img.getPixel(1, i / 2, i % 2) = before[i];
    changeChromaLevels(img, changed, 2, -12);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(*changed.getPixel(1, i / 2, i % 2), after[i]) << i;
    EXPECT_EQ(test::bytesOf(changed, 0), test::bytesOf(img, 0));
}

TEST(MarkDamageTest, EveryDamageButNoneChangesChroma) {
    for (const NamedDamage& damage : markDamages()) {
        const auto img = test::picture<I420Img>(192, 192);
        const auto before = test::bytesOf(*img);
        std::mt19937 random(1), again(1);
        I420Img damaged, repeated;
        damage.apply(*img, damaged, random);
        damage.apply(*img, repeated, again);
        EXPECT_EQ(test::bytesOf(*img), before) << damage.name;
        EXPECT_EQ(test::bytesOf(damaged), test::bytesOf(repeated)) << damage.name;
        EXPECT_EQ(test::bytesOf(damaged, 1) == test::bytesOf(*img, 1), damage.name == "none") << damage.name;
    }
}

}  // namespace
}  // namespace Orvel::bench
