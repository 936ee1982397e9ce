#include "orvel/primitives/arithmetic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "tests/support/every_target.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::primitives {
namespace {

using test::GuardedPlane;

class ArithmeticTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(ArithmeticTest);

/// Runs op on random planes of many widths and compares every sample with model(a, b).
void compare(const std::function<Status(ConstViewU8, ConstViewU8, ViewU8)>& op,
             const std::function<int(int, int)>& model) {
    std::mt19937 rng(7);
    for (int width : {1, 7, 8, 9, 31, 32, 33, 65, 1920})
        for (int lead : {64, 61}) {
            GuardedPlane<std::uint8_t> a(width, 3, 5, lead), b(width, 3, 2), dst(width, 3, 7, lead + 1);
            a.fillRandom(rng);
            b.fillRandom(rng);
            ASSERT_EQ(op(a.view(), b.view(), dst.view()), Status::ok);
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < width; ++x)
                    ASSERT_EQ(dst.at(x, y), model(a.at(x, y), b.at(x, y)))
                        << "width " << width << " at " << x << ", " << y;
            ASSERT_TRUE(dst.guardsIntact()) << "width " << width;
        }
}

TEST_P(ArithmeticTest, AddsAndSubtractsWithSaturation) {
    for (int c : {0, 1, 100, 200, 255}) {
        const auto value = static_cast<std::uint8_t>(c);
        compare([=](auto a, auto, auto d) { return addConstant(a, value, d); },
                [=](int a, int) { return std::min(255, a + c); });
        compare([=](auto a, auto, auto d) { return subtractConstant(a, value, d); },
                [=](int a, int) { return std::max(0, a - c); });
    }
}

TEST_P(ArithmeticTest, AbsoluteDifferenceIsExact) {
    compare([](auto a, auto b, auto d) { return absDiff(a, b, d); }, [](int a, int b) { return std::abs(a - b); });
}

TEST_P(ArithmeticTest, ProductsRoundHalvesToTheEvenNeighbour) {
    struct Case {
        int sample, factor, scale, result;
    };
    for (const Case& c : {Case{3, 5, 1, 8},
                          {5, 5, 1, 12},
                          {7, 3, 2, 5},
                          {5, 2, 2, 2},
                          {255, 255, 8, 254},
                          {255, 255, 16, 1},
                          {255, 255, 17, 0},
                          {255, 255, 40, 0},
                          {20, 3, -1, 120},
                          {100, 3, 0, 255},
                          {1, 1, -31, 255},
                          {0, 9, -40, 0}}) {
        std::uint8_t sample = std::uint8_t(c.sample), result = 77;
        ASSERT_EQ(multiplyConstant({&sample, 1, 1, 1}, std::uint8_t(c.factor), c.scale, {&result, 1, 1, 1}),
                  Status::ok);
        EXPECT_EQ(result, c.result) << c.sample << " x " << c.factor << " >> " << c.scale;
    }
    for (int factor : {0, 1, 2, 3, 127, 128, 254, 255})
        for (int scale = -9; scale <= 17; ++scale)
            compare([=](auto a, auto, auto d) { return multiplyConstant(a, std::uint8_t(factor), scale, d); },
                    [=](int a, int) { return std::min(255, int(std::nearbyint(std::ldexp(a * factor, -scale)))); });
}

TEST(Arithmetic, RefusesMissingPlanesAndUnequalSizes) {
    GuardedPlane<std::uint8_t> a(8, 2), b(7, 2), dst(8, 2);
    EXPECT_EQ(absDiff({}, a.view(), dst.view()), Status::nullPointer);
    EXPECT_EQ(absDiff(a.view(), b.view(), dst.view()), Status::badSize);
    EXPECT_EQ(addConstant(a.view(), 1, {dst.view().base, 8, 8, 0}), Status::badSize);
    EXPECT_TRUE(dst.guardsIntact());
}

TEST(Arithmetic, WorksInPlace) {
    GuardedPlane<std::uint8_t> a(33, 2);
    a.fill(100);
    ASSERT_EQ(addConstant(a.view(), 200, a.view()), Status::ok);
    EXPECT_EQ(a.at(32, 1), 255);
    ASSERT_EQ(subtractConstant(a.view(), 5, a.view()), Status::ok);
    EXPECT_EQ(a.at(0, 0), 250);
}

}  // namespace
}  // namespace Orvel::primitives
