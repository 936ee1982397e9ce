// What the deinterlacers make of pictures, against plain models and the primitives.
#include <gtest/gtest.h>

#include <memory>

#include "orvel/deinterlace/deinterlace_blend_img.h"
#include "orvel/deinterlace/deinterlace_cavt_img.h"
#include "orvel/deinterlace/deinterlace_triangle_img.h"
#include "orvel/img/all_formats.h"
#include "orvel/img/plane_access.h"
#include "orvel/primitives/deinterlace_blend.h"
#include "orvel/primitives/deinterlace_cavt.h"
#include "tests/support/pictures.h"

namespace Orvel {
namespace {

using test::bytesOf;
using test::picture;

/// What deinterlacer makes of the sources, which fill its queue.
template <class T, class Deinterlacer, class Params>
std::unique_ptr<T> made(Params params, std::initializer_list<Img*> sources, int calls = 1) {
    Img& first = **sources.begin();
    params.width = first.getWidth(0);
    params.height = first.getHeight(0);
    Deinterlacer deinterlacer;
    EXPECT_TRUE(deinterlacer.allocate(&params));
    for (Img* source : sources) EXPECT_TRUE(deinterlacer.pushImg(*source));
    auto out = picture<T>(params.width, params.height, 99);
    for (int i = 0; i < calls; ++i) EXPECT_TRUE(deinterlacer.deinterlace(*out, nullptr));
    return out;
}

/// The filter by its definition: the row's weight of 256, the neighbours sharing the rest, truncated.
template <class Sample>
void expectTriangle(const Img& src, const Img& out, unsigned weight) {
    for (int p = 0; p < src.numPlanes(); ++p) {
        const auto from = planeView<const Sample>(src, p), to = planeView<const Sample>(out, p);
        const int last = from.height - 1;
        for (int y = 0; y <= last; ++y)
            for (int x = 0; x < from.width; ++x) {
                const std::uint64_t centre = from.row(y)[x], rest = 256 - weight;
                const std::uint64_t expected =
                    y == 0      ? (weight * centre + rest * from.row(1)[x]) / 256
                    : y == last ? (weight * centre + rest * from.row(last - 1)[x]) / 256
                                : (2 * weight * centre + rest * (from.row(y - 1)[x] + from.row(y + 1)[x])) / 512;
                ASSERT_EQ(to.row(y)[x], expected) << x << ", " << y << " plane " << p << " weight " << weight;
            }
    }
}

TEST(DeinterlaceTriangleImg, IsTheThreeTapFilterAtBothDepths) {
    test::withThreadCounts([](std::size_t) {
        for (unsigned weight : {0u, 85u, 128u, 200u, 256u}) {
            DeinterlaceTriangleImgParams params;
            params.centerWeight = weight;
            for (const auto& [w, h] : {std::pair(65, 7), std::pair(2, 6), std::pair(720, 577)}) {
                const auto src = picture<I420Img>(w, h);
                expectTriangle<std::uint8_t>(*src, *made<I420Img, DeinterlaceTriangleImg>(params, {src.get()}), weight);
            }
            const auto deep = picture<HY16Img>(66, 31);
            const auto out = made<HY16Img, DeinterlaceTriangleImg>(params, {deep.get()});
            expectTriangle<std::uint16_t>(*deep, *out, weight);
            EXPECT_EQ(bytesOf(*out) == bytesOf(*deep), weight == 256);
        }
    });
}

TEST(DeinterlaceTriangleImg, RefusesWhatItCannotFilter) {
    const auto refuses = [](DeinterlaceTriangleImgParams params, Img& src) {
        params.width = src.getWidth(0), params.height = src.getHeight(0);
        DeinterlaceTriangleImg deinterlacer;
        EXPECT_TRUE(deinterlacer.allocate(&params));
        EXPECT_TRUE(deinterlacer.pushImg(src));
        Img out;
        EXPECT_TRUE(src.replicate(out, 4));
        EXPECT_FALSE(deinterlacer.deinterlace(out, nullptr));
        EXPECT_EQ(deinterlacer.popImg(), &src);
    };
    DeinterlaceTriangleImgParams heavy, huge, noLayout;
    heavy.centerWeight = 257;
    huge.centerWeight = 0x1000080;
    noLayout.layout = 2;
    const auto shallow = picture<I420Img>(16, 8);
    const auto deep = picture<HY16Img>(16, 8);
    for (auto* params : {&heavy, &huge, &noLayout}) {
        refuses(*params, *shallow);
        refuses(*params, *deep);
    }
    refuses({}, *picture<I420Img>(16, 4));  // two chroma rows are too few
    Img wide;
    ASSERT_TRUE(wide.allocate(16, 8, 4));
    refuses({}, wide);
}

/// The planes of a picture upside down.
std::unique_ptr<I420Img> flipped(I420Img& src) {
    auto out = picture<I420Img>(src.getWidth(0), src.getHeight(0));
    EXPECT_TRUE(src.copyMirror(*out, 1));
    return out;
}

TEST(DeinterlaceCAVTImg, BottomFieldIsTheFlippedPicturesTopField) {
    test::withThreadCounts([](std::size_t) {
        for (const auto& [w, h] : {std::pair(65, 8), std::pair(33, 20), std::pair(720, 576)}) {
            const auto src = picture<I420Img>(w, h), upsideDown = flipped(*src);
            DeinterlaceCAVTImgParams params;
            const auto top = made<I420Img, DeinterlaceCAVTImg>(params, {upsideDown.get()});
            params.topField = false;
            const auto bottom = made<I420Img, DeinterlaceCAVTImg>(params, {src.get()});
            EXPECT_EQ(bytesOf(*bottom), bytesOf(*flipped(*top))) << w << " x " << h;
        }
    });
}

TEST(DeinterlaceCAVTImg, FiltersEachPlaneAndCopiesAnOddLastRow) {
    for (unsigned threshold : {0u, 1000u, 65535u})
        for (const int height : {8, 9, 13, 41}) {
            const auto src = picture<YV16Img>(37, height);
            DeinterlaceCAVTImgParams params;
            params.threshold = static_cast<std::uint16_t>(threshold);
            const auto out = made<YV16Img, DeinterlaceCAVTImg>(params, {src.get()});
            const auto expected = picture<YV16Img>(37, height);
            const int rows = height / 2 * 2;
            for (int p = 0; p < 3; ++p) {
                const auto from = planeView<const std::uint8_t>(*src, p);
                const auto to = planeView<std::uint8_t>(*expected, p);
                ASSERT_EQ(primitives::deinterlaceCavt(from.band(0, rows), to.band(0, rows), threshold),
                          primitives::Status::ok);
                if (rows < height) std::copy_n(from.row(rows), from.width, to.row(rows));
            }
            EXPECT_EQ(bytesOf(*out), bytesOf(*expected)) << height << " rows, threshold " << threshold;
        }
}

TEST(DeinterlaceCAVTImg, ChromaOfTheOutputNeedNotHaveAnOddLastRow) {
    const auto src = picture<I420Img>(32, 10);  // 5 rows of chroma
    const auto whole = made<I420Img, DeinterlaceCAVTImg>(DeinterlaceCAVTImgParams(), {src.get()});
    Img out;
    for (int p = 0; p < 3; ++p) ASSERT_TRUE(out.allocatePlane(p, src->getWidth(p), src->getHeight(p) / 2 * 2, 4, 1));
    DeinterlaceCAVTImgParams params;
    params.width = 32, params.height = 10;
    DeinterlaceCAVTImg deinterlacer;
    ASSERT_TRUE(deinterlacer.allocate(&params) && deinterlacer.pushImg(*src));
    ASSERT_TRUE(deinterlacer.deinterlace(out, nullptr));
    for (int p = 0; p < 3; ++p) {
        auto expected = bytesOf(*whole, p);
        expected.resize(bytesOf(out, p).size());
        EXPECT_EQ(bytesOf(out, p), expected) << p;
    }
}

TEST(DeinterlaceBlendImg, EveryPictureIsReadWithItsOwnStep) {
    DeinterlaceBlendImgParams params;
    const auto a = picture<I420Img>(45, 26, 1), b = picture<I420Img>(45, 26, 2), c = picture<I420Img>(45, 26, 3);
    const auto expected = bytesOf(*made<I420Img, DeinterlaceBlendImg>(params, {a.get(), b.get(), c.get()}));
    for (std::size_t p = 0; p < 3; ++p) {
        // The same pixels as a region of a wider picture.
        I420Img *frames[] = {a.get(), b.get(), c.get()}, wide, region;
        ASSERT_TRUE(wide.allocate(45 + 64, 26 + 8, 1));
        wide.getShadowRoi(region, {16, 4}, {45, 26});
        ASSERT_TRUE(frames[p]->copy(region));
        frames[p] = &region;
        EXPECT_EQ(bytesOf(*made<I420Img, DeinterlaceBlendImg>(params, {frames[0], frames[1], frames[2]})), expected);
    }
}

TEST(DeinterlaceBlendImg, EachFieldOfADoubleRatePairIsKeptInItsOrder) {
    const auto a = picture<I420Img>(44, 24, 1), b = picture<I420Img>(44, 24, 2), c = picture<I420Img>(44, 24, 3);
    test::withThreadCounts([&](std::size_t) {
        for (bool topFirst : {true, false})
            for (int call : {1, 2, 0}) {  // 0: at single rate
                DeinterlaceBlendImgParams params;
                params.topFirst = topFirst;
                params.doubleRate = call > 0;
                const auto out =
                    made<I420Img, DeinterlaceBlendImg>(params, {a.get(), b.get(), c.get()}, std::max(call, 1));
                const bool keepsTop = call == 0 || (call == 1) == topFirst;
                const auto expected = picture<I420Img>(44, 24);
                primitives::DeinterlaceBlendState state;
                ASSERT_EQ(state.init(44, 24, params.blendThresh, params.blendConstants), primitives::Status::ok);
                for (int p = 0; p < 3; ++p)
                    ASSERT_EQ(primitives::deinterlaceBlend(
                                  state, planeView<const std::uint8_t>(*a, p), planeView<const std::uint8_t>(*b, p),
                                  planeView<const std::uint8_t>(*c, p), planeView<std::uint8_t>(*expected, p),
                                  {topFirst, !keepsTop, true}),
                              primitives::Status::ok);
                EXPECT_EQ(bytesOf(*out), bytesOf(*expected)) << "call " << call << " top first " << topFirst;
                Img kept, source;
                keepsTop ? out->getTopFieldShadow(kept) : out->getBottomFieldShadow(kept);
                keepsTop ? b->getTopFieldShadow(source) : b->getBottomFieldShadow(source);
                EXPECT_EQ(bytesOf(kept), bytesOf(source));
            }
    });
}

TEST(DeinterlaceBlendImg, StopsAtThePlaneThatAPictureLacks) {
    const auto a = picture<I420Img>(16, 8, 1), b = picture<I420Img>(16, 8, 2);
    Img lumaOnly;
    ASSERT_TRUE(lumaOnly.allocate(16, 8, 1));
    test::fillRandom(lumaOnly, 3);
    const auto out = made<I420Img, DeinterlaceBlendImg>(DeinterlaceBlendImgParams(), {a.get(), b.get(), &lumaOnly});
    const auto untouched = picture<I420Img>(16, 8, 99);
    EXPECT_NE(bytesOf(*out, 0), bytesOf(*untouched, 0));
    for (int plane : {1, 2}) EXPECT_EQ(bytesOf(*out, plane), bytesOf(*untouched, plane));
}

}  // namespace
}  // namespace Orvel
