#include "orvel/primitives/rgb.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/support/every_target.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::primitives {
namespace {

using Plane = test::GuardedPlane<std::uint8_t>;
using Bgr = std::array<int, 3>;

constexpr RgbMatrix matrices[] = {RgbMatrix::bt601, RgbMatrix::bt709Hdtv};

int clip8(int v) {
    return std::min(255, std::max(0, v));
}

Bgr toBgr(int luma, int cb, int cr, RgbMatrix matrix) {
    const int y = luma - 16, u = cb - 128, v = cr - 128;
    if (matrix == RgbMatrix::bt601)
        return {clip8((9535 * y + 16523 * u + 4096) >> 13), clip8((9535 * y - 6660 * v - 3211 * u + 4096) >> 13),
                clip8((9535 * y + 13074 * v + 4096) >> 13)};
    return {clip8(luma + ((14877 * u + 4096) >> 13)), clip8(luma + ((-3760 * v - 1499 * u + 4096) >> 13)),
            clip8(luma + ((12616 * v + 4096) >> 13))};
}

/// U, Y, V, Y of a pixel pair.
std::array<int, 4> toUyvy(Bgr p, Bgr q, RgbMatrix matrix) {
    const int b = p[0] + q[0], g = p[1] + q[1], r = p[2] + q[2];
    if (matrix == RgbMatrix::bt601) {
        const auto luma = [](Bgr c) { return ((8421 * c[2] + 16515 * c[1] + 3211 * c[0] + 16384) >> 15) + 16; };
        return {((-4850 * r - 9535 * g + 14385 * b + 32768) >> 16) + 128, luma(p),
                ((14385 * r - 12059 * g - 2326 * b + 32768) >> 16) + 128, luma(q)};
    }
    const auto clamp = [](int v) { return std::min(254, std::max(1, v)); };
    const auto luma = [&](Bgr c) { return clamp((6980 * c[2] + 23429 * c[1] + 2359 * c[0] + 16384) >> 15); };
    return {clamp(((-3834 * r - 12910 * g + 16744 * b + 32768) >> 16) + 128), luma(p),
            clamp(((16744 * r - 15204 * g - 1540 * b + 32768) >> 16) + 128), luma(q)};
}

void expectPixel(const Plane& bgr, int x, int y, Bgr want) {
    ASSERT_EQ((std::array{bgr.at(4 * x, y), bgr.at(4 * x + 1, y), bgr.at(4 * x + 2, y), bgr.at(4 * x + 3, y)}),
              (std::array{std::uint8_t(want[0]), std::uint8_t(want[1]), std::uint8_t(want[2]), std::uint8_t(255)}))
        << "pixel " << x << ", " << y << " of " << bgr.width() / 4 << " x " << bgr.height();
}

// Asked for before a test narrows the choice.
const std::int64_t bestTarget = hwy::SupportedAndGeneratedTargets().front();

class RgbTest : public test::EveryTarget {
protected:
    /// Every value is tried on the best target, a sample of them on the others.
    int stride() const { return GetParam() == bestTarget ? 1 : 15; }

    /// Calls body(width, height, padding, lead, matrix) for sizes around every vector length.
    template <class Body>
    void forEachShape(const Body& body) {
        for (RgbMatrix matrix : matrices)
            for (int width = 1; width <= 66; ++width) {
                const int w = width == 66 ? 1920 : width, height = 1 + width % 4;
                ASSERT_NO_FATAL_FAILURE(body(w, height, width % 3, 32 + width % 7, matrix)) << "width " << w;
            }
    }

    std::mt19937 rng_{11};
};
ORVEL_EVERY_TARGET(RgbTest);

TEST_P(RgbTest, PackedToBgrFitsEverySizeAndPosition) {
    forEachShape([&](int w, int h, int padding, int lead, RgbMatrix matrix) {
        Plane src(2 * w, h, padding + 1, lead), bgr(4 * w, h, padding, lead + 2);
        src.fillRandom(rng_);
        ASSERT_EQ(uyvyToBgr(src.view(), bgr.view(), matrix), Status::ok);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const int pair = std::min(x / 2, w / 2 - 1);
                const int cb = w == 1 ? 128 : src.at(4 * pair, y), cr = w == 1 ? 128 : src.at(4 * pair + 2, y);
                expectPixel(bgr, x, y, toBgr(src.at(2 * x + 1, y), cb, cr, matrix));
            }
        ASSERT_TRUE(bgr.guardsIntact());
    });
}

TEST_P(RgbTest, PlanarToBgrFitsEverySizeAndPosition) {
    forEachShape([&](int w, int h, int padding, int lead, RgbMatrix matrix) {
        Plane luma(w, h, padding, lead), cb(w / 2, (h + 1) / 2, 3, lead + 1), cr(w / 2, (h + 1) / 2, 4, lead + 3),
            bgr(4 * w, h, padding, lead + 2);
        for (Plane* p : {&luma, &cb, &cr}) p->fillRandom(rng_);
        const ConstViewU8 noChroma{};
        ASSERT_EQ(planar420ToBgr(luma.view(), w == 1 ? noChroma : cb.view(), w == 1 ? noChroma : cr.view(), bgr.view(),
                                 matrix),
                  Status::ok);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const int column = std::min(x / 2, w / 2 - 1);
                const int u = w == 1 ? 128 : cb.at(column, y / 2), v = w == 1 ? 128 : cr.at(column, y / 2);
                expectPixel(bgr, x, y, toBgr(luma.at(x, y), u, v, matrix));
            }
        ASSERT_TRUE(bgr.guardsIntact());
    });
}

TEST_P(RgbTest, BgrToPackedFitsEverySizeAndPosition) {
    forEachShape([&](int w, int h, int padding, int lead, RgbMatrix matrix) {
        Plane bgr(4 * w, h, padding, lead), dst(2 * w, h, padding + 2, lead + 1);
        bgr.fillRandom(rng_);
        ASSERT_EQ(bgrToUyvy(bgr.view(), dst.view(), matrix), Status::ok);
        const auto pixel = [&](int x, int y) {
            return Bgr{bgr.at(4 * x, y), bgr.at(4 * x + 1, y), bgr.at(4 * x + 2, y)};
        };
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; x += 2) {
                const auto want = toUyvy(pixel(x, y), pixel(std::min(x + 1, w - 1), y), matrix);
                for (int i = 0; i < (x + 1 < w ? 4 : 2); ++i)
                    ASSERT_EQ(dst.at(2 * x + i, y), want[std::size_t(i)])
                        << "pair at " << x << ", " << y << " byte " << i;
            }
        ASSERT_TRUE(dst.guardsIntact());
    });
}

TEST_P(RgbTest, WritesTheSameBytesPastTheCache) {
    for (RgbMatrix matrix : matrices)
        for (int w : {64, 102, 131}) {
            // Rows of results begin on vector boundaries; the last block of two of the widths does not end on one.
            const int h = 3, bgrPadding = 64 - 4 * w % 64, uyvyPadding = 64 - 2 * w % 64;
            Plane packed(2 * w, h), luma(w, h), chroma(w / 2, 2), bgr(4 * w, h, bgrPadding), streamed = bgr;
            for (Plane* p : {&packed, &luma, &chroma}) p->fillRandom(rng_);
            ASSERT_EQ(uyvyToBgr(packed.view(), bgr.view(), matrix), Status::ok);
            ASSERT_EQ(uyvyToBgr(packed.view(), streamed.view(), matrix, Stores::streaming), Status::ok);
            ASSERT_EQ(streamed.difference(bgr), "");
            ASSERT_TRUE(streamed.guardsIntact());

            Plane uyvy(2 * w, h, uyvyPadding), streamedBack = uyvy;
            ASSERT_EQ(bgrToUyvy(bgr.view(), uyvy.view(), matrix), Status::ok);
            ASSERT_EQ(bgrToUyvy(bgr.view(), streamedBack.view(), matrix, Stores::streaming), Status::ok);
            ASSERT_EQ(streamedBack.difference(uyvy), "");
            ASSERT_TRUE(streamedBack.guardsIntact());

            ASSERT_EQ(planar420ToBgr(luma.view(), chroma.view(), chroma.view(), bgr.view(), matrix), Status::ok);
            ASSERT_EQ(
                planar420ToBgr(luma.view(), chroma.view(), chroma.view(), streamed.view(), matrix, Stores::streaming),
                Status::ok);
            ASSERT_EQ(streamed.difference(bgr), "");
            ASSERT_TRUE(streamed.guardsIntact());
        }
}

TEST_P(RgbTest, EveryTripleDecodesExactly) {
    // One picture per Cb: rows run over Cr, columns over Y. A 4:2:0 source gives each chroma sample two rows.
    Plane packed(512, 256), luma(256, 512), cb(128, 256), cr(128, 256), fromPacked(1024, 256), fromPlanar(1024, 512);
    for (int row = 0; row < 512; ++row)
        for (int x = 0; x < 256; ++x) luma.at(x, row) = std::uint8_t(x);
    for (RgbMatrix matrix : matrices)
        for (int u = 0; u < 256; u += stride()) {
            cb.fill(std::uint8_t(u));
            for (int v = 0; v < 256; ++v)
                for (int x = 0; x < 256; ++x) {
                    packed.at(2 * x, v) = std::uint8_t(x % 2 == 0 ? u : v);
                    packed.at(2 * x + 1, v) = std::uint8_t(x);
                    cr.at(x / 2, v) = std::uint8_t(v);
                }
            ASSERT_EQ(uyvyToBgr(packed.view(), fromPacked.view(), matrix), Status::ok);
            ASSERT_EQ(planar420ToBgr(luma.view(), cb.view(), cr.view(), fromPlanar.view(), matrix), Status::ok);
            for (int v = 0; v < 256; ++v) {
                const std::uint8_t* out = fromPacked.view().row(v);
                for (int y = 0; y < 256; ++y) {
                    const Bgr want = toBgr(y, u, v, matrix);
                    for (int i = 0; i < 3; ++i)
                        if (out[4 * y + i] != want[std::size_t(i)]) FAIL() << "Y " << y << " Cb " << u << " Cr " << v;
                }
                for (int row : {2 * v, 2 * v + 1})
                    ASSERT_EQ(std::memcmp(fromPlanar.view().row(row), out, 1024), 0) << "Cb " << u << " Cr " << v;
            }
        }
}

TEST_P(RgbTest, EveryColourEncodesExactly) {
    // Left pixels run over all colours, right ones over a permutation of them, so that all kinds of sums occur.
    Plane bgr(2048, 256), dst(1024, 256);
    for (RgbMatrix matrix : matrices)
        for (int b = 0; b < 256; b += stride()) {
            for (int g = 0; g < 256; ++g)
                for (int r = 0; r < 256; ++r) {
                    const int other[3] = {(b * 77 + g * 31 + r * 5) % 256, (g * 19 + r) % 256, (r * 163 + b) % 256};
                    std::uint8_t* p = bgr.view().row(g) + 8 * r;
                    const int left[4] = {b, g, r, r};
                    for (int i = 0; i < 4; ++i)
                        p[i] = std::uint8_t(left[i]), p[4 + i] = std::uint8_t(i < 3 ? other[i] : g);
                }
            ASSERT_EQ(bgrToUyvy(bgr.view(), dst.view(), matrix), Status::ok);
            for (int g = 0; g < 256; ++g)
                for (int r = 0; r < 256; ++r) {
                    const std::uint8_t *p = bgr.view().row(g) + 8 * r, *out = dst.view().row(g) + 4 * r;
                    const auto want = toUyvy({b, g, r}, {p[4], p[5], p[6]}, matrix);
                    for (int i = 0; i < 4; ++i)
                        if (out[i] != want[std::size_t(i)])
                            FAIL() << "B " << b << " G " << g << " R " << r << " byte " << i;
                }
        }
}

TEST_P(RgbTest, KnownColours) {
    struct Decoded {
        int y, cb, cr;
        Bgr plain, hdtv;
    };
    for (const Decoded& c : {Decoded{235, 128, 128, {255, 255, 255}, {235, 235, 235}},
                             {16, 128, 128, {0, 0, 0}, {16, 16, 16}},
                             {81, 90, 240, {0, 0, 254}, {12, 37, 253}},
                             {145, 54, 34, {1, 255, 0}, {11, 202, 0}},
                             {41, 240, 110, {255, 0, 0}, {244, 29, 13}},
                             {180, 100, 150, {134, 184, 226}, {129, 175, 214}}}) {
        Plane src(64, 1), bgr(128, 1);
        for (int x = 0; x < 32; ++x)
            src.at(2 * x, 0) = std::uint8_t(x % 2 ? c.cr : c.cb), src.at(2 * x + 1, 0) = std::uint8_t(c.y);
        ASSERT_EQ(uyvyToBgr(src.view(), bgr.view()), Status::ok);
        expectPixel(bgr, 31, 0, c.plain);
        ASSERT_EQ(uyvyToBgr(src.view(), bgr.view(), RgbMatrix::bt709Hdtv), Status::ok);
        expectPixel(bgr, 31, 0, c.hdtv);
    }
    struct Encoded {
        Bgr left, right;
        std::array<int, 4> plain, hdtv;
    };
    for (const Encoded& c : {Encoded{{255, 255, 255}, {0, 0, 0}, {128, 235, 128, 16}, {128, 254, 128, 1}},
                             {{0, 0, 255}, {0, 0, 255}, {90, 82, 240, 82}, {98, 54, 254, 54}},
                             {{255, 0, 0}, {255, 0, 0}, {240, 41, 110, 41}, {254, 18, 116, 18}},
                             {{10, 200, 90}, {30, 20, 250}, {80, 141, 161, 93}, {75, 163, 163, 70}}})
        for (RgbMatrix matrix : matrices) {
            Plane bgr(128, 1), dst(64, 1);
            for (int x = 0; x < 128; ++x)
                bgr.at(x, 0) = std::uint8_t(x % 4 == 3 ? 9 : (x % 8 < 4 ? c.left : c.right)[std::size_t(x % 4)]);
            ASSERT_EQ(bgrToUyvy(bgr.view(), dst.view(), matrix), Status::ok);
            for (int x = 0; x < 64; ++x)
                ASSERT_EQ(dst.at(x, 0), (matrix == RgbMatrix::bt601 ? c.plain : c.hdtv)[std::size_t(x % 4)])
                    << "byte " << x;
        }
}

TEST(Rgb, WorksBottomUp) {
    Plane src(80, 3), bgr(160, 3), flipped(160, 3);
    std::mt19937 rng(3);
    src.fillRandom(rng);
    ASSERT_EQ(uyvyToBgr(src.view(), bgr.view()), Status::ok);
    ASSERT_EQ(uyvyToBgr(src.view(), flipped.flipped()), Status::ok);
    for (int y = 0; y < 3; ++y)
        EXPECT_EQ(std::memcmp(bgr.view().row(y), flipped.view().row(2 - y), 160), 0) << "row " << y;
}

TEST(Rgb, RefusesViewsThatDoNotFitTogether) {
    Plane bgr(32, 3), uyvy(16, 3), luma(8, 3), chroma(4, 2), small(4, 1);
    EXPECT_EQ(uyvyToBgr({}, bgr.view()), Status::nullPointer);
    EXPECT_EQ(uyvyToBgr(bgr.view(), uyvy.view()), Status::badSize);
    EXPECT_EQ(bgrToUyvy(bgr.view(), {uyvy.view().base, 16, 15, 3}), Status::badSize);
    EXPECT_EQ(bgrToUyvy({bgr.view().base, 32, 30, 3}, {uyvy.view().base, 16, 15, 3}), Status::badSize);
    EXPECT_EQ(planar420ToBgr(luma.view(), {}, chroma.view(), bgr.view()), Status::nullPointer);
    EXPECT_EQ(planar420ToBgr(luma.view(), chroma.view(), small.view(), bgr.view()), Status::badSize);
    EXPECT_EQ(planar420ToBgr(luma.view(), chroma.view(), chroma.view(), {}), Status::nullPointer);
    EXPECT_TRUE(bgr.guardsIntact());
    EXPECT_TRUE(uyvy.guardsIntact());
}

}  // namespace
}  // namespace Orvel::primitives
