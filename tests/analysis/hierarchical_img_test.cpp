#include "orvel/analysis/hierarchical_img.h"

#include <gtest/gtest.h>

#include <climits>
#include <new>
#include <utility>

#include "orvel/img/all_formats.h"
#include "orvel/img/plane_access.h"
#include "tests/primitives/halve_gauss_model.h"
#include "tests/support/pictures.h"
#include "tests/support/test_heap.h"

namespace Orvel {
namespace {

using namespace test;
using Sizes = std::vector<std::pair<int, int>>;

Sizes sizesOf(const HierarchicalImg& pyramid, int plane = 0) {
    Sizes sizes;
    for (unsigned k = 0; k < pyramid.numLevels(); ++k)
        sizes.emplace_back(pyramid.getImage(k)->getWidth(plane), pyramid.getImage(k)->getHeight(plane));
    return sizes;
}

/// Checks every level against the one before it.
void expectReduced(const HierarchicalImg& pyramid) {
    for (unsigned k = 1; k < pyramid.numLevels(); ++k) {
        const Img &from = *pyramid.getImage(k - 1), &to = *pyramid.getImage(k);
        for (int p = 0; p < from.numPlanes(); ++p)
            ASSERT_EQ(differenceFromHalved(planeView<const std::uint8_t>(from, p), from.getBpp(p),
                                           planeView<const std::uint8_t>(to, p)),
                      "")
                << "level " << k << " plane " << p;
    }
}

std::vector<std::uint8_t> bytesOfLevels(const HierarchicalImg& pyramid) {
    std::vector<std::uint8_t> bytes;
    for (unsigned k = 0; k < pyramid.numLevels(); ++k) {
        const auto level = bytesOf(*pyramid.getImage(k));
        bytes.insert(bytes.end(), level.begin(), level.end());
    }
    return bytes;
}

TEST(HierarchicalImg, LevelsHaveHalfTheSidesAndEvenWidths) {
    HierarchicalImg pyramid;
    EXPECT_EQ(pyramid.numLevels(), 0u);
    EXPECT_EQ(pyramid.getImage(0), nullptr);
    EXPECT_TRUE(pyramid.generate());
    const auto pal = picture<I420Img>(720, 576), odd = picture<I420Img>(100, 75);
    ASSERT_TRUE(pyramid.allocate(*pal, 4));
    EXPECT_EQ(sizesOf(pyramid), (Sizes{{720, 576}, {360, 288}, {180, 144}, {90, 72}}));
    ASSERT_TRUE(pyramid.allocate(*odd, 4));
    EXPECT_EQ(sizesOf(pyramid), (Sizes{{100, 75}, {50, 38}, {26, 19}, {14, 10}}));
    EXPECT_EQ(sizesOf(pyramid, 2), (Sizes{{50, 38}, {25, 19}, {13, 10}, {7, 5}}));
    EXPECT_EQ(pyramid.getImage(3)->getFormat(), I420Img::getClassFormat());
    EXPECT_EQ(pyramid.getImage(4), nullptr);
    EXPECT_EQ(pyramid.getImage(UINT_MAX), nullptr);
    ASSERT_TRUE(pyramid.allocateLevels(4));
    EXPECT_EQ(sizesOf(pyramid, 0).back(), (std::pair{2, 1}));
    for (const int levels : {1, 0, INT_MIN}) {
        ASSERT_TRUE(pyramid.allocate(*odd, levels));
        EXPECT_EQ(pyramid.numLevels(), 1u);
        EXPECT_TRUE(pyramid.generate());
    }
    pyramid.deallocate();
    pyramid.deallocate();
    EXPECT_EQ(pyramid.numLevels(), 0u);
}

template <class T>
void reducesEverySize(int bpp, bool even) {
    for (int width = 2; width <= 75; width += even ? 2 : 1) {
        const int height = width * 29 % 80 + 1;
        T base;
        ASSERT_TRUE(base.allocate(width, height, bpp));
        fillRandom(base, unsigned(width));
        HierarchicalImg pyramid;
        ASSERT_TRUE(pyramid.allocate(base, 5));
        ASSERT_TRUE(pyramid.generate()) << width << " x " << height;
        expectReduced(pyramid);
    }
}

TEST(HierarchicalImg, EveryPlaneOfEveryLevelEqualsTheModel) {
    reducesEverySize<I420Img>(1, false);
    reducesEverySize<YV16Img>(1, true);
    reducesEverySize<BGRImg>(4, false);
    reducesEverySize<BGRImg>(3, false);
}

TEST(HierarchicalImg, NeitherThreadsNorWhatMemoryHeldMakeADifference) {
    const auto base = picture<I420Img>(410, 333);
    std::vector<std::uint8_t> expected;
    for (const int held : {0, 255})
        withThreadCounts([&](std::size_t threads) {
            const HeapFill fill(held);
            HierarchicalImg pyramid;
            ASSERT_TRUE(pyramid.allocate(*base, 6));
            ASSERT_TRUE(pyramid.generate());
            if (expected.empty()) expected = bytesOfLevels(pyramid);
            EXPECT_EQ(bytesOfLevels(pyramid), expected) << threads << " threads on " << held;
        });
}

TEST(HierarchicalImg, LevelZeroShowsTheCallersPixelsAndGenerateFollowsThem) {
    const auto base = picture<I420Img>(64, 48);
    HierarchicalImg pyramid;
    ASSERT_TRUE(pyramid.allocate(*base, 3));
    EXPECT_EQ(pyramid.getImage(0)->getPixels(1), base->getPixels(1));
    ASSERT_TRUE(pyramid.generate());
    const auto before = bytesOf(*pyramid.getImage(2));
    fillRandom(*base, 9);
    EXPECT_EQ(bytesOf(*pyramid.getImage(2)), before);
    const int allocated = largeAllocations();
    ASSERT_TRUE(pyramid.generate());
    EXPECT_EQ(largeAllocations(), allocated);
    EXPECT_NE(bytesOf(*pyramid.getImage(2)), before);
    expectReduced(pyramid);
}

TEST(HierarchicalImg, ViewsAreAsGoodAsPictures) {
    for (const int height : {90, 91, 66, 10}) {
        const auto frame = picture<I420Img>(120, height);
        const auto before = bytesOf(*frame);
        I420Img top, bottom, part;
        frame->getTopFieldShadow(top);
        frame->getBottomFieldShadow(bottom);  // its chroma may have a row less than half of its luma
        bottom.getShadowRoi(part, {10, 1}, {53, height / 2 - 1});
        for (I420Img* base : {&top, &bottom, &part}) {
            HierarchicalImg pyramid;
            ASSERT_TRUE(pyramid.allocate(*base, 4));
            ASSERT_TRUE(pyramid.generate()) << height;
            expectReduced(pyramid);
        }
        EXPECT_EQ(bytesOf(*frame), before);
    }
}

TEST(HierarchicalImg, ALevelOfThePyramidCanBecomeItsBase) {
    const auto base = picture<I420Img>(96, 64);
    HierarchicalImg pyramid;
    ASSERT_TRUE(pyramid.allocate(*base, 3) && pyramid.generate());
    const auto pixels = bytesOf(*pyramid.getImage(1)), next = bytesOf(*pyramid.getImage(2));
    ASSERT_TRUE(pyramid.allocate(*pyramid.getImage(1), 2));
    EXPECT_EQ(bytesOf(*pyramid.getImage(0)), pixels);
    ASSERT_TRUE(pyramid.generate());
    EXPECT_EQ(bytesOf(*pyramid.getImage(1)), next);
}

TEST(HierarchicalImg, RefusesOtherPicturesAndLeavesNoPyramid) {
    const auto good = picture<I420Img>(16, 16), narrow = picture<I420Img>(1, 9);
    const auto packed = picture<UYVYImg>(16, 16);
    const auto deep = picture<HY16Img>(16, 16);
    I420Img empty, noRows, noColumns;
    ASSERT_TRUE(noRows.allocate(16, 0, 1) && noColumns.allocate(0, 16, 1));
    Img untyped;
    ASSERT_TRUE(untyped.allocate(16, 16, 1));
    HierarchicalImg pyramid;
    for (Img* base : {static_cast<Img*>(packed.get()), static_cast<Img*>(deep.get()), static_cast<Img*>(&empty),
                      static_cast<Img*>(&noRows), static_cast<Img*>(&noColumns), &untyped}) {
        ASSERT_TRUE(pyramid.allocate(*good, 2));
        EXPECT_FALSE(pyramid.allocate(*base, 1));
        EXPECT_EQ(pyramid.numLevels(), 0u);
        EXPECT_EQ(pyramid.getImage(0), nullptr);
    }
    EXPECT_FALSE(pyramid.allocateLevels(1)) << "there is no picture to begin with";
    EXPECT_TRUE(pyramid.allocate(*good, HierarchicalImg::maxLevels));
    EXPECT_FALSE(pyramid.allocateLevels(1));
    EXPECT_EQ(pyramid.numLevels(), 0u);
    EXPECT_FALSE(pyramid.allocate(*good, INT_MAX));
    EXPECT_EQ(pyramid.numLevels(), 0u);

    ASSERT_TRUE(pyramid.allocate(*narrow, 2));
    EXPECT_FALSE(pyramid.generate()) << "chroma planes without columns";
    EXPECT_EQ(pyramid.numLevels(), 2u);
}

TEST(HierarchicalImg, MissingMemoryIsReportedAndLeavesNoPyramid) {
    const auto base = picture<I420Img>(64, 64);
    HierarchicalImg pyramid;
    int threw = 0, refused = 0;
    for (int granted = 0, done = 0; !done; ++granted) {
        ASSERT_TRUE(pyramid.allocate(*base, 2));
        const FailingHeap heap(granted);
        try {
            done = pyramid.allocate(*base, 3);
            if (!done) ++refused;
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(refused, 0) << "the list of levels comes first";
            ++threw;
        }
        ASSERT_EQ(pyramid.numLevels(), done ? 3u : 0u) << granted;
    }
    EXPECT_GT(threw, 0);
    EXPECT_GT(refused, 6);
    {
        const FailingHeap heap(0);
        EXPECT_FALSE(pyramid.allocateLevels(1));
    }
    EXPECT_EQ(pyramid.numLevels(), 0u);
}

}  // namespace
}  // namespace Orvel
