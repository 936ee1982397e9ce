#include "orvel/primitives/alpha_comp.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

#include "tests/support/every_target.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::primitives {
namespace {

using Plane8 = test::GuardedPlane<std::uint8_t>;
using Plane16 = test::GuardedPlane<std::uint16_t>;

int blend8(int a, int weight, int b) {
    return (weight * a + (255 - weight) * b + 127) / 255;
}
unsigned blend16(unsigned a, unsigned weight, unsigned b) {
    return static_cast<unsigned>((std::uint64_t(weight) * a + std::uint64_t(65535 - weight) * b + 32767) / 65535);
}

class AlphaCompTest : public test::EveryTarget {};
ORVEL_EVERY_TARGET(AlphaCompTest);

TEST_P(AlphaCompTest, EveryEightBitBlendIsTheNearestInteger) {
    Plane8 over(256, 256), under(256, 256), dst(256, 256);
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 256; ++x) over.at(x, y) = std::uint8_t(x), under.at(x, y) = std::uint8_t(y);
    for (int weight = 0; weight < 256; weight += weight % 17 == 0 ? 1 : 4) {
        ASSERT_EQ(alphaComp(over.view(), std::uint8_t(weight), under.view(), dst.view()), Status::ok);
        for (int y = 0; y < 256; ++y)
            for (int x = 0; x < 256; ++x)
                if (dst.at(x, y) != blend8(x, weight, y)) FAIL() << x << " over " << y << " weight " << weight;
    }
}

TEST_P(AlphaCompTest, SixteenBitBlendIsTheNearestInteger) {
    std::mt19937 rng(21);
    Plane16 over(512, 128), under(512, 128), dst(512, 128);
    over.fillRandom(rng);
    under.fillRandom(rng);
    const std::uint16_t edges[] = {0, 1, 2, 255, 256, 32766, 32767, 32768, 32769, 65279, 65280, 65533, 65534, 65535};
    int cell = 0;
    for (std::uint16_t a : edges)
        for (std::uint16_t b : edges) over.at(cell % 512, cell / 512) = a, under.at(cell % 512, cell / 512) = b, ++cell;
    std::vector<std::uint16_t> weights(std::begin(edges), std::end(edges));
    for (int i = 0; i < 40; ++i) weights.push_back(std::uint16_t(rng()));
    for (const std::uint16_t weight : weights) {
        ASSERT_EQ(alphaComp(over.view(), weight, under.view(), dst.view()), Status::ok);
        for (int y = 0; y < 128; ++y)
            for (int x = 0; x < 512; ++x)
                if (dst.at(x, y) != blend16(over.at(x, y), weight, under.at(x, y)))
                    FAIL() << over.at(x, y) << " over " << under.at(x, y) << " weight " << weight;
    }
}

TEST_P(AlphaCompTest, FitsEverySizeAndPositionAndWorksInPlace) {
    std::mt19937 rng(22);
    for (int width = 1; width <= 66; ++width) {
        const int w = width == 66 ? 1920 : width;
        Plane8 a(w, 2, 3, 64 + width % 3), b(w, 2, 1, 64 + width % 5), dst(w, 2, 2, 61);
        Plane16 a16(w, 2, 3), b16(w, 2, 1, 66), dst16(w, 2, 2, 70);
        a.fillRandom(rng), b.fillRandom(rng), a16.fillRandom(rng), b16.fillRandom(rng);
        ASSERT_EQ(alphaComp(a.view(), 99, b.view(), dst.view()), Status::ok);
        ASSERT_EQ(alphaComp(a16.view(), 40000, b16.view(), dst16.view()), Status::ok);
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < w; ++x) {
                ASSERT_EQ(dst.at(x, y), blend8(a.at(x, y), 99, b.at(x, y))) << "width " << w << " at " << x;
                ASSERT_EQ(dst16.at(x, y), blend16(a16.at(x, y), 40000, b16.at(x, y))) << "width " << w << " at " << x;
            }
        ASSERT_TRUE(dst.guardsIntact() && dst16.guardsIntact()) << "width " << w;
        ASSERT_EQ(alphaComp(a.view(), 99, b.view(), b.view()), Status::ok);
        ASSERT_EQ(alphaComp(a16.view(), 40000, b16.view(), a16.view()), Status::ok);
        ASSERT_EQ(dst.difference(b), "");
        ASSERT_EQ(dst16.difference(a16), "");
    }
}

TEST_P(AlphaCompTest, PastTheCacheTheBytesAreTheSame) {
    std::mt19937 rng(23);
    // Rows on boundaries of every vector length, and 8 bytes off; whole lines, vectors after them, and a rest.
    for (const int offset : {0, 8})
        for (const int width : {64, 96, 131, 640}) {
            alignas(64) std::uint8_t memory[3 * 1344];
            std::memset(memory, 0xA5, sizeof memory);
            std::uint8_t* const out = memory + offset;
            Plane8 a(width, 3, 5), b(width, 3), dst(width, 3);
            Plane16 a16(width, 3, 3), b16(width, 3), dst16(width, 3);
            a.fillRandom(rng), b.fillRandom(rng), a16.fillRandom(rng), b16.fillRandom(rng);
            const auto equals = [&](auto& expected) {
                using T = std::remove_reference_t<decltype(expected.at(0, 0))>;
                for (int y = 0; y < 3; ++y) {
                    ASSERT_EQ(out[y * 1344 + width * int(sizeof(T))], 0xA5) << "width " << width;
                    ASSERT_EQ(std::memcmp(out + y * 1344, &expected.at(0, y), std::size_t(width) * sizeof(T)), 0)
                        << "width " << width << " offset " << offset << " bytes " << sizeof(T) << " row " << y;
                }
            };
            ASSERT_EQ(alphaComp(a.view(), 99, b.view(), dst.view()), Status::ok);
            ASSERT_EQ(alphaComp(a.view(), 99, b.view(), {out, 1344, width, 3}, Stores::streaming), Status::ok);
            ASSERT_NO_FATAL_FAILURE(equals(dst));
            ASSERT_EQ(alphaComp(a16.view(), 40000, b16.view(), dst16.view()), Status::ok);
            const ViewU16 out16{reinterpret_cast<std::uint16_t*>(out), 1344, width, 3};
            ASSERT_EQ(alphaComp(a16.view(), 40000, b16.view(), out16, Stores::streaming), Status::ok);
            ASSERT_NO_FATAL_FAILURE(equals(dst16));
        }
}

TEST(AlphaComp, KnownBlendsAndRefusals) {
    struct Case {
        int weight, over, under, result;
    };
    for (const Case& c : {Case{130, 10, 200, 103},
                          {1, 255, 0, 1},
                          {2, 0, 255, 253},
                          {128, 17, 18, 17},
                          {0, 9, 77, 77},
                          {255, 9, 77, 9}}) {
        std::uint8_t over = std::uint8_t(c.over), under = std::uint8_t(c.under), dst = 0;
        ASSERT_EQ(alphaComp({&over, 1, 1, 1}, std::uint8_t(c.weight), {&under, 1, 1, 1}, {&dst, 1, 1, 1}), Status::ok);
        EXPECT_EQ(dst, c.result) << c.over << " over " << c.under << " weight " << c.weight;
    }
    std::uint16_t over = 4096, under = 60160, dst = 0;
    ASSERT_EQ(alphaComp({&over, 2, 1, 1}, 33410, {&under, 2, 1, 1}, {&dst, 2, 1, 1}), Status::ok);
    EXPECT_EQ(dst, 31578);
    EXPECT_EQ(alphaComp({&over, 2, 1, 1}, 5, {}, {&dst, 2, 1, 1}), Status::nullPointer);
    EXPECT_EQ(alphaComp({&over, 2, 1, 1}, 5, {&under, 2, 1, 2}, {&dst, 2, 1, 1}), Status::badSize);
}

}  // namespace
}  // namespace Orvel::primitives
