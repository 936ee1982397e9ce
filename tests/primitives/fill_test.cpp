#include "orvel/primitives/fill.h"

#include <gtest/gtest.h>

#include "tests/support/every_target.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::primitives {
namespace {

using test::GuardedPlane;

class FillTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(FillTest);

template <class T>
void fillsEverySampleAndNothingElse(T value) {
    for (const int width : {1, 2, 7, 8, 15, 16, 33, 65, 1920})
        for (const int padding : {0, 3}) {
            GuardedPlane<T> plane(width, 3, padding), expected(width, 3);
            expected.fill(value);
            ASSERT_EQ(set(plane.view(), value), Status::ok);
            ASSERT_EQ(plane.difference(expected), "");
            ASSERT_TRUE(plane.guardsIntact()) << "width " << width;
        }
}

TEST_P(FillTest, SetsEverySampleAndNothingElse) {
    fillsEverySampleAndNothingElse<std::uint8_t>(200);
    fillsEverySampleAndNothingElse<std::uint16_t>(0xABCD);
    fillsEverySampleAndNothingElse<std::int16_t>(-2);
    fillsEverySampleAndNothingElse<std::uint32_t>(0x89ABCDEF);
    fillsEverySampleAndNothingElse<std::int32_t>(-70000);
}

template <class T, class Copy>
void copiesEverySample(const Copy& copyPlane) {
    std::mt19937 rng(3);
    for (const int width : {1, 3, 12, 33, 1920})
        for (const int padding : {0, 3}) {
            GuardedPlane<T> src(width, 4, padding), dst(width, 4, padding == 0 ? 0 : 6), turned(width, 4);
            src.fillRandom(rng);
            ASSERT_EQ(copyPlane(src.view(), dst.view()), Status::ok);
            ASSERT_EQ(dst.difference(src), "");
            ASSERT_TRUE(dst.guardsIntact()) << "width " << width;
            ASSERT_EQ(copyPlane(src.flipped(), turned.view()), Status::ok);
            for (int y = 0; y < 4; ++y) ASSERT_EQ(turned.at(width - 1, y), src.at(width - 1, 3 - y));
            ASSERT_TRUE(turned.guardsIntact()) << "width " << width;
        }
}

TEST_P(FillTest, CopiesEverySampleAndNothingElse) {
    copiesEverySample<std::uint8_t>([](auto src, auto dst) { return copy(src, dst); });
    copiesEverySample<std::uint8_t>([](auto src, auto dst) { return copy(src, dst, Stores::streaming); });
    copiesEverySample<std::uint16_t>([](auto src, auto dst) { return copy(src, dst); });
}

TEST(Fill, RefusesMissingAndUnequalPlanes) {
    GuardedPlane<std::uint8_t> a(8, 2), b(8, 3);
    EXPECT_EQ(set(ViewU8{}, 1), Status::nullPointer);
    EXPECT_EQ(set(PlaneView<std::int32_t>{}, -1), Status::nullPointer);
    EXPECT_EQ(set(ViewU8{a.view().base, 8, 0, 2}, 1), Status::badSize);
    EXPECT_EQ(copy(ConstViewU8{}, a.view()), Status::nullPointer);
    EXPECT_EQ(copy(a.view(), b.view()), Status::badSize);
    EXPECT_EQ(copy(a.view(), b.view(), Stores::streaming), Status::badSize);
    EXPECT_EQ(copy(ConstViewU8{a.view().base, 8, 8, -1}, {b.view().base, 8, 8, -1}), Status::badSize);
    EXPECT_TRUE(a.guardsIntact() && b.guardsIntact());
}

}  // namespace
}  // namespace Orvel::primitives
