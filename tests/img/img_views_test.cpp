#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <random>

#include "orvel/img/i420_img.h"
#include "orvel/img/uyvy_img.h"

namespace Orvel {
namespace {

/// A picture of 4-byte pixels, each of which holds its own x + 1000 y.
void makeNumbered(Img& img, int width, int height) {
    ASSERT_TRUE(img.allocate(width, height, 4));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int number = x + 1000 * y;
            std::memcpy(img.getPixel(0, y, x), &number, 4);
        }
}

int numberAt(const Img& img, int x, int y) {
    int number = 0;
    std::memcpy(&number, img.getPixel(0, y, x), 4);
    return number;
}

/// Where a view lies in the numbered picture.
struct Place {
    int x = 0, y = 0, everyRow = 1, width = 0, height = 0;
};

TEST(ImgViews, RegionsAndFieldsNestToAnyDepth) {
    std::mt19937 rng(11);
    const auto below = [&](int n) { return int(rng() % unsigned(n)); };
    Img whole;
    makeNumbered(whole, 90, 700);
    for (int round = 0; round < 100; ++round) {
        std::unique_ptr<Img> view(whole.makeShadow());
        Place place{0, 0, 1, 90, 700};
        for (int depth = 0; depth < 8 && place.height > 1 && place.width > 1; ++depth) {
            auto inner = std::make_unique<Img>();
            if (const int kind = below(3); kind == 2) {
                const int x = below(place.width / 2), y = below(place.height / 2);
                const int w = 1 + below(place.width - x), h = 1 + below(place.height - y);
                view->getShadowRoi(*inner, {x, y}, {w, h});
                place = {place.x + x, place.y + y * place.everyRow, place.everyRow, w, h};
            } else {
                if (kind == 0)
                    view->getTopFieldShadow(*inner);
                else
                    view->getBottomFieldShadow(*inner);
                place = {place.x, place.y + kind * place.everyRow, 2 * place.everyRow, place.width,
                         (place.height + 1 - kind) / 2};
            }
            view = std::move(inner);  // the outer view may go
            ASSERT_TRUE(view->numPlanes() == 1 && view->getWidth(0) == place.width &&
                        view->getHeight(0) == place.height);
            for (int y : {0, place.height / 2, place.height - 1})
                for (int x : {0, place.width - 1})
                    ASSERT_EQ(numberAt(*view, x, y), place.x + x + 1000 * (place.y + y * place.everyRow))
                        << "round " << round << " depth " << depth;
        }
    }
    EXPECT_EQ(whole.getMemoryInterface(0)->getUseCount(), 1);
}

TEST(ImgViews, RegionsMayReachBackButNotOutOfTheMemory) {
    Img whole, part, back;
    makeNumbered(whole, 20, 10);
    whole.getShadowRoi(part, {8, 6}, {4, 2});
    part.getShadowRoi(back, {-3, -2}, {5, 3});
    ASSERT_EQ(back.numPlanes(), 1);
    EXPECT_EQ(numberAt(back, 4, 2), 9 + 1000 * 6);
    back.deallocate(-1);
    part.getShadowRoiPlane(back, 0, {-8, -6}, {1, 1});
    ASSERT_EQ(back.numPlanes(), 1);
    EXPECT_EQ(back.getPixels(0), whole.getPixels(0));
    for (const tagPOINT& outside : {tagPOINT{-9, -6}, {0, 100}, {INT32_MAX, INT32_MAX}, {INT32_MIN, INT32_MIN}}) {
        part.getShadowRoi(back, outside, {1, 1});
        EXPECT_EQ(back.numPlanes(), 0) << outside.x << ", " << outside.y;
        part.getShadowRoiPlane(back, 0, outside, {1, 1});
        EXPECT_EQ(back.numPlanes(), 0) << outside.x << ", " << outside.y;
    }
    Img none;
    ASSERT_TRUE(back.allocate(4, 4, 1));
    none.getShadowRoi(back, {0, 0}, {1, 1});
    EXPECT_EQ(back.getWidth(0), 4) << "a picture without planes has no region";
    part.getShadowRoi(part, {0, 0}, {1, 1});
    part.getTopFieldShadow(part);
    EXPECT_FALSE(part.shadowCopy(part));
    EXPECT_EQ(part.getWidth(0), 4);
}

TEST(ImgViews, EveryPlaneTakesItsShareOfARegion) {
    I420Img img;
    ASSERT_TRUE(img.allocate(16, 11, 1));  // chroma 8 x 6
    Img part;
    img.getShadowRoi(part, {5, 3}, {7, 5});
    ASSERT_EQ(part.numPlanes(), 3);
    EXPECT_EQ(part.getFormat(), I420Img::getClassFormat());
    EXPECT_EQ(part.getPixels(0), img.getPixels(0) + 3 * 16 + 5);
    for (int p : {1, 2}) {
        // 5 * 8 / 16 = 2.5 columns and 3 * 6 / 11 = 1.6 rows; 7 * 8 / 16 = 3.5 by 5 * 6 / 11 = 2.7.
        EXPECT_EQ(part.getPixels(p), img.getPixels(p) + 8 + 2);
        EXPECT_TRUE(part.getWidth(p) == 3 && part.getHeight(p) == 2 && part.getStep(p) == 8);
    }
    Img luma;
    img.getShadowRoiPlane(luma, 0, {1, 2}, {3, 4});
    img.getShadowRoiPlane(luma, 2, {2, 1}, {2, 2});
    ASSERT_EQ(luma.numPlanes(), 2);
    EXPECT_EQ(luma.getPixels(1), img.getPixels(2) + 8 + 2);
}

TEST(ImgViews, FieldsOfOddHeights) {
    I420Img img;
    ASSERT_TRUE(img.allocate(8, 5, 1));  // chroma 4 x 3
    for (int p = 0; p < 3; ++p)
        for (int y = 0; y < img.getHeight(p); ++y)
            std::memset(img.getPixel(p, y, 0), 10 * p + y, std::size_t(img.getWidth(p)));
    Img top, bottom;
    img.getTopFieldShadow(top);
    img.getBottomFieldShadow(bottom);
    EXPECT_TRUE(top.getHeight(0) == 3 && bottom.getHeight(0) == 2 && top.getHeight(1) == 2 && bottom.getHeight(2) == 1);
    EXPECT_TRUE(top.getStep(0) == 16 && top.getFormat() == I420Img::getClassFormat());
    EXPECT_TRUE(*top.getPixel(0, 2, 7) == 4 && *bottom.getPixel(0, 1, 0) == 3 && *bottom.getPixel(2, 0, 3) == 21);

    I420Img copied;
    ASSERT_TRUE(copied.allocate(8, 5, 1) && copied.set(99));
    img.getTopField(copied);
    EXPECT_TRUE(*copied.getPixel(0, 0, 0) == 0 && *copied.getPixel(0, 1, 7) == 2 && *copied.getPixel(2, 0, 3) == 20);
    EXPECT_TRUE(*copied.getPixel(0, 2, 0) == 99 && *copied.getPixel(1, 1, 0) == 99)
        << "one row more than the bottom has";
    img.getBottomField(copied);
    EXPECT_TRUE(*copied.getPixel(0, 0, 0) == 1 && *copied.getPixel(0, 1, 7) == 3 && *copied.getPixel(1, 0, 3) == 11);
    img.getTopFieldPlane(copied, 0, 2);
    EXPECT_EQ(*copied.getPixel(2, 0, 0), 21) << "a plane that does not fit is left alone";
    img.getBottomFieldPlane(copied, 1, 0);
    EXPECT_TRUE(*copied.getPixel(0, 0, 3) == 11 && *copied.getPixel(0, 0, 4) == 1);

    Img lines;
    img.getTopFieldShadowPlane(lines, 2);
    img.getBottomFieldShadowPlane(lines, 0);
    EXPECT_TRUE(lines.numPlanes() == 2 && *lines.getPixel(0, 1, 0) == 22 && *lines.getPixel(1, 0, 0) == 1);

    Img oneRow, none;
    ASSERT_TRUE(oneRow.allocate(8, 1, 1));
    oneRow.getBottomFieldShadow(none);
    EXPECT_TRUE(none.numPlanes() == 1 && none.getHeight(0) == 0 && none.getPixel(0, 0, 0) == nullptr);
    none.getBottomFieldShadow(lines);
    EXPECT_TRUE(lines.numPlanes() == 1 && lines.getHeight(0) == 0);
}

TEST(ImgViews, ShadowsKeepTheMemoryAndEveryField) {
    auto img = std::make_unique<UYVYImg>();
    ASSERT_TRUE(img->allocate(6, 4, 2) && img->set(1, 2, 3) && img->addUserData(img.get()));
    std::unique_ptr<Img> shadow(img->makeShadow());
    ASSERT_TRUE(shadow);
    EXPECT_NE(dynamic_cast<UYVYImg*>(shadow.get()), nullptr);
    img.reset();
    int channels = 0;
    EXPECT_TRUE(shadow->getInterleavedChannels(0, channels) && channels == 2);
    EXPECT_TRUE(shadow->getStep(0) == 12 && shadow->getBpp(0) == 2 && shadow->getFormat() == UYVYImg::getClassFormat());
    EXPECT_EQ(shadow->getUserData(nullptr), nullptr);
    EXPECT_TRUE(*shadow->getPixel(0, 3, 5) == 3 && shadow->getMemoryInterface(0)->getUseCount() == 1);

    Img full;
    for (int i = 0; i < Img::maxPlanes; ++i) EXPECT_TRUE(shadow->shadowCopyPlane(full, 0));
    EXPECT_FALSE(shadow->shadowCopyPlane(full, 0) || shadow->shadowCopyPlane(full, 4) ||
                 full.shadowCopyPlane(full, -1));
    EXPECT_EQ(full.numPlanes(), 4);
    EXPECT_EQ(shadow->getMemoryInterface(0)->getUseCount(), 5);
    ASSERT_TRUE(full.allocatePlane(0, 100, 100, 4, 1)) << "a view that grows leaves the shared memory alone";
    EXPECT_EQ(shadow->getMemoryInterface(0)->getUseCount(), 4);
}

TEST(ImgViews, AViewOnlyReusesTheMemoryBehindItsOrigin) {
    Img whole, tail;
    makeNumbered(whole, 16, 16);  // 1024 bytes
    whole.getShadowRoi(tail, {0, 12}, {16, 4});
    ASSERT_TRUE(tail.allocate(16, 4, 4));
    EXPECT_EQ(tail.getPixels(0), whole.getPixel(0, 12, 0));
    ASSERT_TRUE(tail.allocate(16, 5, 4)) << "does not fit behind row 12";
    EXPECT_EQ(whole.getMemoryInterface(0)->getUseCount(), 1);
    ASSERT_TRUE(tail.set(0));
    EXPECT_EQ(numberAt(whole, 15, 15), 15 + 15000);
}

}  // namespace
}  // namespace Orvel
