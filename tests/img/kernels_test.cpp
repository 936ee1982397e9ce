#include "orvel/img/parallel_rows.h"
#include "orvel/img/img_kernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>

#include "orvel/img/img.h"
#include "tests/support/guarded_plane.h"
#include "tests/support/pictures.h"

namespace Orvel {
namespace {

using Rows = tbb::blocked_range<int>;
using Plane = test::GuardedPlane<std::uint8_t>;

void wrap(Img& img, Plane& plane, int bpp = 1) {
    const auto v = plane.view();
    ASSERT_TRUE(img.setExternalMemory(0, v.base, v.width / bpp, v.height, bpp, static_cast<int>(v.step)));
}

/// Three planes of equal size, as pictures.
struct Pictures {
    Pictures(int width, int height, int bpp = 1) : a(width, height, 3), b(width, height, 8), d(width, height, 5) {
        std::mt19937 rng(5);
        a.fillRandom(rng);
        b.fillRandom(rng);
        wrap(imgA, a, bpp);
        wrap(imgB, b, bpp);
        wrap(imgD, d, bpp);
    }
    Plane a, b, d;
    Img imgA, imgB, imgD;
};

/// Runs body with 1, 2 and 4 threads and compares plane d with model(x, y).
template <class Body>
void expectResult(Pictures& p, const Body& body, const std::function<int(int, int)>& model, const char* name) {
    test::withThreadCounts([&](std::size_t threads) {
        p.d.fill(0xCC);
        forEachBand(0, p.d.height(), body);
        for (int y = 0; y < p.d.height(); ++y)
            for (int x = 0; x < p.d.width(); ++x)
                ASSERT_EQ(p.d.at(x, y), std::uint8_t(model(x, y)))
                    << name << " at " << x << ", " << y << ", " << threads << " threads";
        ASSERT_TRUE(p.a.guardsIntact() && p.b.guardsIntact() && p.d.guardsIntact()) << name;
    });
}

int saturate(int v) {
    return std::min(255, std::max(0, v));
}

TEST(Kernels, DoTheirArithmeticOnAnyNumberOfThreads) {
    constexpr int width = 76, height = 101;
    Pictures p(width, height);
    Img *a = &p.imgA, *b = &p.imgB, *d = &p.imgD;
    const auto sampleA = [&](int x, int y) { return int(p.a.at(x, y)); };
    const auto difference = [&](int x, int y) { return std::abs(p.a.at(x, y) - p.b.at(x, y)); };
    const auto byteOf = [](unsigned value, int x, int bytes) { return int(value >> (x % bytes * 8) & 0xFF); };
    expectResult(
        p, Img::CSetU8(d, 0, width, 0x5A), [](int, int) { return 0x5A; }, "CSetU8");
    expectResult(
        p, Img::CSetU8(d, 0, 9, 1), [](int x, int) { return x < 9 ? 1 : 0xCC; }, "CSetU8 of 9");
    expectResult(
        p, Img::CSetI16(d, 0, 37, -2), [&](int x, int) { return x < 74 ? byteOf(0xFFFE, x, 2) : 0xCC; }, "CSetI16");
    expectResult(
        p, Img::CSetI32(d, 0, 19, 0x12345678), [&](int x, int) { return byteOf(0x12345678, x, 4); }, "CSetI32");
    expectResult(
        p, Img::CSet<unsigned char>(d, 0, 500, 3), [](int, int) { return 3; }, "CSet, wider than the plane");
    expectResult(
        p, Img::CSet<short>(d, 0, 2, 0x102), [&](int x, int) { return x < 4 ? byteOf(0x102, x, 2) : 0xCC; },
        "CSet of 16 bits");
    expectResult(
        p, Img::CSet<int>(d, 0, 1, 0x1020304), [&](int x, int) { return x < 4 ? byteOf(0x1020304, x, 4) : 0xCC; },
        "CSet of 32 bits");
    expectResult(p, Img::CCopyU8(d, a, 0), sampleA, "CCopyU8");
    expectResult(
        p, Img::CAddCU8(d, a, 0, 0, 200, 7), [&](int x, int y) { return saturate(sampleA(x, y) + 200); }, "CAddCU8");
    expectResult(
        p, Img::CSubCU8(d, a, 0, 0, 100, 7), [&](int x, int y) { return saturate(sampleA(x, y) - 100); }, "CSubCU8");
    expectResult(
        p, Img::CGainU8(d, a, 0, 0, 3, 0), [&](int x, int y) { return saturate(3 * sampleA(x, y)); }, "CGainU8");
    expectResult(
        p, Img::CGainU8(d, a, 0, 0, 3, 1), [&](int x, int y) { return saturate(int(std::lrint(1.5 * sampleA(x, y)))); },
        "CGainU8 of 3 / 2, halves to even");
    expectResult(
        p, Img::CGainU8(d, a, 0, 0, 0, 0), [](int, int) { return 0; }, "CGainU8 of 0");
    expectResult(
        p, Img::CGainU8(d, a, 0, 0, 1, 3), [](int, int) { return 0xCC; }, "CGainU8 of 1");
    expectResult(p, Img::CAbsDiffGainU8(d, a, b, 0, 0, 0, 1), difference, "CAbsDiffGainU8 of 1");
    expectResult(
        p, Img::CAbsDiffGainU8(d, a, b, 0, 0, 0, 3), [&](int x, int y) { return saturate(3 * difference(x, y)); },
        "CAbsDiffGainU8");
    Pictures wide(width, height, 2);
    expectResult(
        wide, Img::CCopyI16(&wide.imgD, &wide.imgA, 0), [&](int x, int y) { return int(wide.a.at(x, y)); }, "CCopyI16");
}

TEST(Kernels, NameTheFailedPrimitive) {
    Pictures p(8, 4);
    Img narrow, empty, low;
    ASSERT_TRUE(narrow.allocate(4, 4, 1) && empty.allocate(0, 4, 1) && low.allocate(8, 2, 1));
    Img *a = &p.imgA, *b = &p.imgB, *d = &p.imgD;
    struct Case {
        const char* text;
        std::function<void(const Rows&)> onBad, onGood;  // bad: for any rows
    };
    const Case cases[] = {
        {"ippiSet_8u_C1R failed", Img::CSetU8(&empty, 0, 0, 1), Img::CSetU8(d, 0, 8, 1)},
        {"ippiSet_8u_C1R failed", Img::CSetU8(d, 1, 8, 1), Img::CSetU8(d, 0, 1, 1)},
        {"ippiSet_16s_C1R failed", Img::CSetI16(d, 0, 0, 1), Img::CSetI16(d, 0, 4, 1)},
        {"ippiSet_16s_C1R failed", Img::CSetI16(d, 0, 5, 1), Img::CSetI16(d, 0, 1, 1)},
        {"ippiSet_32s_C1R failed", Img::CSetI32(&empty, 0, 0, 1), Img::CSetI32(d, 0, 2, 1)},
        {"ippiCopy_8u_C1R failed", Img::CCopyU8(d, &empty, 0), Img::CCopyU8(d, a, 0)},
        {"ippiCopy_8u_C1R failed", Img::CCopyU8(&narrow, a, 0), Img::CCopyU8(d, a, 0)},
        {"ippiCopy_16s_C1R failed", Img::CCopyI16(&narrow, a, 0), Img::CCopyI16(d, a, 0)},
        {"ippiAddC_8u_C1RSfs failed", Img::CAddCU8(d, &empty, 0, 0, 1, 0), Img::CAddCU8(d, a, 0, 0, 1, 0)},
        {"ippiSubC_8u_C1RSfs failed", Img::CSubCU8(&narrow, a, 0, 0, 1, 0), Img::CSubCU8(d, a, 0, 0, 1, 0)},
        {"ippiMulC_8u_C1IRSfs failed", Img::CGainU8(&empty, a, 0, 0, 2, 0), Img::CGainU8(d, a, 0, 0, 2, 0)},
        {"ippiMulC_8u_C1IRSfs failed", Img::CGainU8(d, &narrow, 0, 0, 2, 0), Img::CGainU8(&narrow, a, 0, 0, 2, 0)},
        {"ippiAbsDiff_8u_C1R failed", Img::CAbsDiffGainU8(d, &narrow, b, 0, 0, 0, 2),
         Img::CAbsDiffGainU8(d, a, b, 0, 0, 0, 2)},
        {"ippiAbsDiff_8u_C1R failed", Img::CAbsDiffGainU8(d, a, b, 0, 0, 2, 1),
         Img::CAbsDiffGainU8(d, a, a, 0, 0, 0, 1)},
    };
    const auto failure = [](const std::function<void(const Rows&)>& body, const Rows& rows) -> std::string {
        try {
            body(rows);
        } catch (const std::runtime_error& e) {
            return e.what();
        }
        return "none";
    };
    for (const Case& c : cases) {
        EXPECT_EQ(failure(c.onBad, Rows(0, 4)), c.text);
        EXPECT_EQ(failure(c.onGood, Rows(1, 4)), "none") << c.text;
        EXPECT_EQ(failure(c.onGood, Rows(4, 5)), c.text) << "behind the last row";
        EXPECT_EQ(failure(c.onGood, Rows(3, 5)), c.text) << "across the last row";
    }
    EXPECT_EQ(failure(Img::CGainU8(&empty, a, 0, 0, 1, 0), Rows(0, 4)), "none") << "a gain of 1 looks at nothing";
    EXPECT_EQ(failure(Img::CSet<int>(&empty, 0, 3, 1), Rows(0, 9)), "none");
    EXPECT_EQ(failure([&](const Rows& rows) { forEachBand(0, rows.end(), Img::CCopyU8(&low, a, 0)); }, Rows(0, 4)),
              "ippiCopy_8u_C1R failed")
        << "through the parallel loop";
    EXPECT_TRUE(p.a.guardsIntact() && p.b.guardsIntact() && p.d.guardsIntact());
}

}  // namespace
}  // namespace Orvel
