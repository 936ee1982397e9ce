#include "orvel/primitives/packed16.h"

#include <gtest/gtest.h>

#include "tests/support/every_target.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::primitives {
namespace {

using Plane = test::GuardedPlane<std::uint16_t>;

class Packed16Test : public test::EveryTarget {};
ORVEL_EVERY_TARGET(Packed16Test);

TEST_P(Packed16Test, MovesEverySampleToItsPlaneAndBack) {
    std::mt19937 rng(9);
    for (int pairs = 1; pairs <= 66; ++pairs) {
        const int w = pairs == 66 ? 1920 : 2 * pairs, h = 3;
        Plane packed(2 * w, h, 3), back(2 * w, h, 1, 130), luma(w, h, 2), cb(w / 2, h, 5, 66), cr(w / 2, h, 1);
        packed.fillRandom(rng);
        ASSERT_EQ(packed16ToPlanar(packed.view(), luma.view(), cb.view(), cr.view()), Status::ok);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                ASSERT_EQ(luma.at(x, y), packed.at(2 * x + 1, y)) << "width " << w << " at " << x << ", " << y;
                ASSERT_EQ((x % 2 ? cr : cb).at(x / 2, y), packed.at(2 * x, y))
                    << "width " << w << " at " << x << ", " << y;
            }
        ASSERT_EQ(planarToPacked16(luma.view(), cb.view(), cr.view(), back.view()), Status::ok);
        ASSERT_EQ(back.difference(packed), "");
        for (const Plane* p : {&back, &luma, &cb, &cr}) ASSERT_TRUE(p->guardsIntact()) << "width " << w;
    }
}

TEST_P(Packed16Test, WritesTheSameWordsPastTheCache) {
    std::mt19937 rng(10);
    for (int pairs : {32, 64, 77, 100}) {
        // Rows of results begin on vector boundaries.
        const int w = 2 * pairs, h = 3, pad = 32 - pairs % 32;
        Plane packed(2 * w, h, 4 * pad), back = packed, luma(w, h, 2 * pad), cb(w / 2, h, pad), cr = cb;
        packed.fillRandom(rng);
        ASSERT_EQ(packed16ToPlanar(packed.view(), luma.view(), cb.view(), cr.view(), Stores::streaming), Status::ok);
        Plane plainLuma = luma, plainCb = cb, plainCr = cr;
        ASSERT_EQ(packed16ToPlanar(packed.view(), plainLuma.view(), plainCb.view(), plainCr.view()), Status::ok);
        ASSERT_EQ(luma.difference(plainLuma) + cb.difference(plainCb) + cr.difference(plainCr), "");
        ASSERT_EQ(planarToPacked16(luma.view(), cb.view(), cr.view(), back.view(), Stores::streaming), Status::ok);
        ASSERT_EQ(back.difference(packed), "");
        for (const Plane* p : {&back, &luma, &cb, &cr}) ASSERT_TRUE(p->guardsIntact()) << "width " << w;
    }
}

TEST(Packed16, RefusesOddWidthsAndMisfits) {
    Plane packed(8, 2), odd(6, 2), luma(4, 2), chroma(2, 2);
    EXPECT_EQ(packed16ToPlanar(odd.view(), {luma.view().base, 8, 3, 2}, chroma.view(), chroma.view()), Status::badSize);
    EXPECT_EQ(packed16ToPlanar(packed.view(), luma.view(), chroma.view(), luma.view()), Status::badSize);
    EXPECT_EQ(planarToPacked16(luma.view(), chroma.view(), {}, packed.view()), Status::nullPointer);
    EXPECT_EQ(planarToPacked16(luma.view(), chroma.view(), chroma.view(), odd.view()), Status::badSize);
    EXPECT_TRUE(packed.guardsIntact() && luma.guardsIntact() && chroma.guardsIntact());
}

}  // namespace
}  // namespace Orvel::primitives
