#include "orvel/primitives/widen.h"

#include <gtest/gtest.h>

#include "tests/support/every_target.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::primitives {
namespace {

using Plane8 = test::GuardedPlane<std::uint8_t>;
using Plane16 = test::GuardedPlane<std::uint16_t>;

class WidenTest : public test::EveryTarget {
protected:
    /// Runs op on random planes of many widths; every sample must equal model(source sample).
    template <class From, class To, class Op, class Model>
    void compare(const Op& op, const Model& model) {
        std::mt19937 rng(5);
        for (int width = 1; width <= 66; ++width) {
            const int w = width == 66 ? 1920 : width;
            test::GuardedPlane<From> src(w, 3, 1 + width % 4, 64 + (width % 5) * int(sizeof(From)));
            test::GuardedPlane<To> dst(w, 3, 2, 64 + (width % 3) * int(sizeof(To)));
            src.fillRandom(rng);
            const auto before = src;
            ASSERT_EQ(op(src.view(), dst.view()), Status::ok);
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < w; ++x)
                    ASSERT_EQ(dst.at(x, y), model(before.at(x, y))) << "width " << w << " at " << x << ", " << y;
            ASSERT_TRUE(dst.guardsIntact() && src.guardsIntact()) << "width " << w;
        }
    }
};
ORVEL_EVERY_TARGET(WidenTest);

TEST_P(WidenTest, WidensWithAndWithoutShift) {
    compare<std::uint8_t, std::uint16_t>([](auto s, auto d) { return widen(s, d); }, [](int s) { return s; });
    compare<std::uint8_t, std::uint16_t>([](auto s, auto d) { return widenShifted(s, d); },
                                         [](int s) { return 256 * s; });
    std::mt19937 rng(7);
    for (int w : {64, 107}) {  // past the cache, in rows that begin on vector boundaries
        Plane8 src(w, 3);
        Plane16 dst(w, 3, 32 - w % 32);
        src.fillRandom(rng);
        ASSERT_EQ(widenShifted(src.view(), dst.view(), Stores::streaming), Status::ok);
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < w; ++x) ASSERT_EQ(dst.at(x, y), 256 * src.at(x, y)) << x << ", " << y;
        ASSERT_TRUE(dst.guardsIntact());
    }
}

TEST_P(WidenTest, NarrowsWithSaturation) {
    compare<std::uint16_t, std::uint8_t>([](auto s, auto d) { return narrow(s, d); },
                                         [](int s) { return std::min(255, s); });
    Plane16 edges(64, 1);
    Plane8 dst(64, 1);
    const int in[] = {0, 255, 256, 60160, 32767, 32768, 65535, 128}, out[] = {0, 255, 255, 255, 255, 255, 255, 128};
    for (int x = 0; x < 64; ++x) edges.at(x, 0) = std::uint16_t(in[x % 8]);
    ASSERT_EQ(narrow(edges.view(), dst.view()), Status::ok);
    for (int x = 0; x < 64; ++x) EXPECT_EQ(dst.at(x, 0), out[x % 8]) << in[x % 8];
}

TEST_P(WidenTest, TakesTheHighByteAndLeavesTheLowOneCleared) {
    compare<std::uint16_t, std::uint8_t>([](auto s, auto d) { return narrowHighByteClearing(s, d); },
                                         [](int s) { return s / 256; });
    std::mt19937 rng(6);
    Plane16 src(77, 2), before(77, 2);
    Plane8 dst(77, 2);
    src.fillRandom(rng);
    before = src;
    ASSERT_EQ(narrowHighByteClearing(src.view(), dst.view()), Status::ok);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 77; ++x) ASSERT_EQ(src.at(x, y), before.at(x, y) / 256 * 256) << x << ", " << y;
}

TEST_P(WidenTest, ShiftsByEveryCountAlsoInPlace) {
    for (int bits = 0; bits <= 15; ++bits) {
        const auto left = [=](int s) { return (s << bits) % 65536; };
        const auto right = [=](int s) { return s >> bits; };
        compare<std::uint16_t, std::uint16_t>([=](auto s, auto d) { return shiftLeft(s, bits, d); }, left);
        compare<std::uint16_t, std::uint16_t>([=](auto s, auto d) { return shiftRight(s, bits, d); }, right);
        Plane16 plane(37, 1);
        plane.fill(0xC3A5);
        ASSERT_EQ(shiftRight(plane.view(), bits, plane.view()), Status::ok);
        ASSERT_EQ(shiftLeft(plane.view(), bits, plane.view()), Status::ok);
        for (int x = 0; x < 37; ++x) ASSERT_EQ(plane.at(x, 0), left(right(0xC3A5))) << "by " << bits;
    }
}

TEST(Widen, RefusesBadViewsAndCounts) {
    Plane8 bytes(8, 2);
    Plane16 words(8, 2), narrower(7, 2);
    EXPECT_EQ(widen({}, words.view()), Status::nullPointer);
    EXPECT_EQ(widenShifted(bytes.view(), narrower.view()), Status::badSize);
    EXPECT_EQ(narrow(narrower.view(), bytes.view()), Status::badSize);
    EXPECT_EQ(narrowHighByteClearing(words.view(), {}), Status::nullPointer);
    EXPECT_EQ(shiftLeft(words.view(), 16, words.view()), Status::badArgument);
    EXPECT_EQ(shiftRight(words.view(), -1, words.view()), Status::badArgument);
    EXPECT_EQ(shiftRight(narrower.view(), -1, words.view()), Status::badSize);
    EXPECT_TRUE(words.guardsIntact() && bytes.guardsIntact());
}

}  // namespace
}  // namespace Orvel::primitives
