#include "orvel/primitives/mirror.h"

#include <gtest/gtest.h>

#include "tests/support/every_target.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::primitives {
namespace {

using Plane = test::GuardedPlane<std::uint8_t>;

class MirrorTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(MirrorTest);

constexpr MirrorAxis axes[] = {MirrorAxis::leftRight, MirrorAxis::topBottom, MirrorAxis::both};

TEST_P(MirrorTest, MovesWholePixelsAlsoInPlace) {
    std::mt19937 rng(5);
    for (const MirrorAxis axis : axes)
        for (const int bytes : {1, 2, 3, 4})
            for (int width = 1; width <= 67; width = width < 40 ? width + 1 : width + 9)
                for (const int height : {1, 2, 5}) {
                    Plane src(bytes * width, height, 5, 61), dst(bytes * width, height, 7), expected = dst;
                    src.fillRandom(rng);
                    for (int y = 0; y < height; ++y)
                        for (int x = 0; x < bytes * width; ++x) {
                            const int column = axis == MirrorAxis::topBottom ? x / bytes : width - 1 - x / bytes;
                            const int row = axis == MirrorAxis::leftRight ? y : height - 1 - y;
                            expected.at(x, y) = src.at(bytes * column + x % bytes, row);
                        }
                    ASSERT_EQ(mirror(src.view(), bytes, dst.view(), axis), Status::ok);
                    ASSERT_EQ(dst.difference(expected), "") << bytes << " bytes, axis " << int(axis);
                    ASSERT_EQ(mirrorInPlace(src.view(), bytes, axis), Status::ok);
                    ASSERT_EQ(src.difference(expected), "") << bytes << " bytes in place, axis " << int(axis);
                    ASSERT_TRUE(src.guardsIntact() && dst.guardsIntact()) << bytes << " bytes, width " << width;
                }
}

TEST_P(MirrorTest, TurnsThroughNegativeSteps) {
    Plane src(3, 2), dst(3, 2);
    for (int i = 0; i < 6; ++i) src.at(i % 3, i / 3) = std::uint8_t(i + 1);
    ASSERT_EQ(mirror(src.view(), 1, dst.flipped(), MirrorAxis::both),
              Status::ok);  // the two turns top to bottom cancel
    EXPECT_EQ(dst.at(0, 0), 3);
    EXPECT_EQ(dst.at(2, 1), 4);
    ASSERT_EQ(mirrorInPlace(src.flipped(), 1, MirrorAxis::both), Status::ok);
    EXPECT_EQ(src.at(0, 0), 6);
    EXPECT_EQ(src.at(2, 1), 1);
}

TEST(Mirror, RefusesBadArguments) {
    Plane a(12, 2), b(12, 3);
    EXPECT_EQ(mirror({}, 1, a.view(), MirrorAxis::both), Status::nullPointer);
    EXPECT_EQ(mirror(a.view(), 1, b.view(), MirrorAxis::both), Status::badSize);
    EXPECT_EQ(mirrorInPlace({a.view().base, 12, 11, 2}, 3, MirrorAxis::both), Status::badSize);
    EXPECT_EQ(mirrorInPlace({a.view().base, 12, 12, 0}, 7, MirrorAxis::both), Status::badSize);
    for (const int bytes : {-1, 0, 5}) EXPECT_EQ(mirrorInPlace(a.view(), bytes, MirrorAxis::both), Status::badArgument);
    for (const int axis : {-1, 3}) EXPECT_EQ(mirrorInPlace(a.view(), 1, MirrorAxis(axis)), Status::badArgument);
    EXPECT_EQ(mirrorInPlace(ViewU8{}, 1, MirrorAxis::both), Status::nullPointer);
}

}  // namespace
}  // namespace Orvel::primitives
