#include "orvel/img/img_pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "orvel/img/all_formats.h"
#include "orvel/img/img_pool2.h"
#include "tests/support/test_heap.h"

namespace Orvel {
namespace {

template <class Pool>
::testing::AssertionResult holds(const Pool& pool, unsigned available, unsigned outstanding) {
    if (pool.available() == available && pool.outstanding() == outstanding && pool.buffers() == available + outstanding)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << pool.available() << " in stock, " << pool.outstanding() << " outstanding";
}

template <class T>
class EveryPool : public ::testing::Test {};
using AllFormats = ::testing::Types<I420Img, YV16Img, HY16Img, UYVYImg, YUYVImg, V216Img, BGRImg>;
TYPED_TEST_SUITE(EveryPool, AllFormats);

TYPED_TEST(EveryPool, HandsOutTheOldestPictureAndTakesItBack) {
    ImgPool<TypeParam> pool;
    EXPECT_EQ(pool.get(), nullptr) << "not allocated";
    ASSERT_TRUE(pool.allocate({16, 8}, TypeParam::getClassBpp(), 2));
    EXPECT_FALSE(pool.allocate({16, 8}, TypeParam::getClassBpp(), 2)) << "twice";
    EXPECT_TRUE(pool.getFormat() == TypeParam::getClassFormat() && pool.getSize().cx == 16 && pool.getSize().cy == 8);
    TypeParam *a = pool.get(), *b = pool.get(), *c = pool.get();
    ASSERT_TRUE(a != nullptr && b != nullptr && c != nullptr);
    EXPECT_EQ(c->getWidth(0), 16);
    EXPECT_TRUE(holds(pool, 0, 3));
    TypeParam* const second = b;
    ASSERT_TRUE(pool.put(b) && pool.put(a));
    EXPECT_TRUE(b == nullptr && holds(pool, 2, 1));
    EXPECT_EQ(pool.get(), second);
    TypeParam foreign;
    TypeParam *stranger = &foreign, *none = nullptr;
    EXPECT_FALSE(pool.put(stranger) || pool.put(none));
    EXPECT_EQ(stranger, &foreign);
}

TYPED_TEST(EveryPool, ShadowsReturnTheirPictureByThemselves) {
    ImgPool2<TypeParam> pool;
    TypeParam img, other;
    EXPECT_FALSE(pool.get(img));
    ASSERT_TRUE(pool.allocate({16, 8}, TypeParam::getClassBpp(), 1));
    EXPECT_EQ(pool.get(), nullptr);
    ASSERT_TRUE(pool.get(img) && pool.get(other));
    EXPECT_TRUE(img.getFormat() == TypeParam::getClassFormat() && img.getWidth(0) == 16 && holds(pool, 0, 2));
    EXPECT_NE(img.getPixels(0), other.getPixels(0));
    Img field, part;
    img.getBottomFieldShadow(field);
    field.getShadowRoi(part, {2, 1}, {4, 2});
    img.deallocate(-1);
    field.deallocate(-1);
    EXPECT_TRUE(holds(pool, 0, 2));
    part.deallocate(-1);
    EXPECT_TRUE(holds(pool, 1, 1));
    ASSERT_TRUE(pool.get(other)) << "the picture it showed goes back first";
    EXPECT_TRUE(holds(pool, 1, 1));
}

TEST(ImgPool, GrowsOnDemandAndRefusesEmptySizes) {
    ImgPool<I420Img> pool;
    EXPECT_FALSE(pool.allocate({0, 8}, 1, 1) || pool.allocate({8, 0}, 1, 1));
    EXPECT_EQ(pool.get(), nullptr);
    ASSERT_TRUE(pool.allocate({8, 8}, 1, -5));
    EXPECT_TRUE(holds(pool, 0, 0));
    I420Img* img = pool.get();
    EXPECT_TRUE(img != nullptr && holds(pool, 0, 1));
}

TEST(ImgPool, DeletesPicturesThatCameBackChanged) {
    const auto change = [](I420Img& img, int how) {
        switch (how) {
            case 0:
                return img.allocate(4, 8, 1);
            case 1:
                return img.allocate(8, 4, 1);
            case 2:
                return img.allocate(8, 8, 2);
            case 3:
                img.setFormat(0);
                return true;
            case 4:
                img.deallocate(-1);
                return true;
            default:
                return img.allocate(100, 100, 1) && img.allocate(8, 8, 1);  // as before in the end
        }
    };
    for (int how = 0; how <= 5; ++how) {
        ImgPool<I420Img> pool;
        ASSERT_TRUE(pool.allocate({8, 8}, 1, 1));
        I420Img* img = pool.get();
        ASSERT_TRUE(change(*img, how));
        EXPECT_TRUE(pool.put(img) && img == nullptr) << how;
        EXPECT_TRUE(holds(pool, how == 5 ? 1 : 0, 0)) << how;
    }
}

TEST(ImgPool, ReleaseWaitsForOutstandingPicturesUnlessForced) {
    ImgPool<I420Img> pool;
    ASSERT_TRUE(pool.allocate({8, 8}, 1, 3));
    I420Img* img = pool.get();
    EXPECT_FALSE(pool.deallocate(false));
    EXPECT_TRUE(holds(pool, 0, 1));
    EXPECT_EQ(pool.get(), nullptr);
    EXPECT_FALSE(pool.allocate({8, 8}, 1, 1)) << "pictures are still out";
    EXPECT_TRUE(pool.put(img));
    EXPECT_TRUE(holds(pool, 0, 0) && pool.deallocate(false));
    ASSERT_TRUE(pool.allocate({16, 8}, 1, 1));
    EXPECT_EQ(pool.get()->getWidth(0), 16);
    EXPECT_TRUE(pool.deallocate(true));
    EXPECT_TRUE(holds(pool, 0, 0));
}

TEST(ImgPool2, ShadowsOutliveTheirPool) {
    for (bool destroyed : {false, true}) {
        std::optional<ImgPool2<I420Img>> pool(std::in_place);
        I420Img img, later;
        auto extra = std::make_unique<Img>();
        ASSERT_TRUE(pool->allocate({16, 8}, 1, 2) && pool->get(img) && img.shadowCopy(*extra) && img.set(42));
        if (destroyed)
            pool.reset();
        else
            EXPECT_TRUE(pool->deallocate(true));
        EXPECT_TRUE(*img.getPixel(2, 3, 7) == 42 && img.set(43));
        if (!destroyed) {
            ASSERT_TRUE(pool->allocate({16, 8}, 1, 0) && pool->get(later));
        }
        extra.reset();
        img.deallocate(-1);  // one user remained, but its picture is gone
        if (!destroyed) {
            EXPECT_TRUE(holds(*pool, 0, 1));
        }
    }
    ImgPool2<I420Img> pool;
    I420Img img;
    ASSERT_TRUE(pool.allocate({16, 8}, 1, 2) && pool.get(img));
    EXPECT_FALSE(pool.deallocate(false));
    EXPECT_TRUE(holds(pool, 0, 1) && img.set(1));
    img.deallocate(-1);
    EXPECT_TRUE(holds(pool, 0, 0) && pool.allocate({8, 8}, 1, 1));
}

TEST(ImgPool2, AViewThatTakesOtherMemoryHasLeftThePool) {
    ImgPool2<I420Img> pool;
    I420Img a, b, own;
    ASSERT_TRUE(pool.allocate({16, 8}, 1, 1) && pool.get(a));
    ASSERT_TRUE(a.allocate(64, 64, 1));
    EXPECT_TRUE(holds(pool, 1, 0)) << "it went back when a grew";
    ASSERT_TRUE(pool.get(b) && b.set(5));
    EXPECT_TRUE(holds(pool, 0, 1));
    Img shadowOfA;
    ASSERT_TRUE(a.shadowCopy(shadowOfA) && a.set(6));
    shadowOfA.deallocate(-1);  // leaves one user of memory that is no longer the pool's
    a.deallocate(-1);
    EXPECT_TRUE(holds(pool, 0, 1)) << "b's picture must stay with b";
    EXPECT_EQ(*b.getPixel(0, 0, 0), 5);
    ASSERT_TRUE(own.allocate(8, 8, 1) && own.shadowCopy(b));
    EXPECT_TRUE(holds(pool, 1, 0)) << "b shows another picture now";
    ASSERT_TRUE(pool.get(a) && a.allocate(8, 4, 1));
    EXPECT_TRUE(holds(pool, 0, 1)) << "a smaller size keeps the memory";
    ASSERT_TRUE(a.setMemoryInterface(0, new AlignedMem));
    EXPECT_TRUE(holds(pool, 1, 0));
    ASSERT_TRUE(pool.get(a));
    EXPECT_EQ(a.getWidth(0), 16);
}

TEST(ImgPool2, ReturnsWithPlaneZeroAlone) {
    ImgPool2<I420Img> pool;
    I420Img img;
    Img chroma;
    ASSERT_TRUE(pool.allocate({16, 8}, 1, 1) && pool.get(img) && img.shadowCopyPlane(chroma, 1));
    img.deallocate(-1);
    EXPECT_TRUE(holds(pool, 1, 0) && chroma.set(1));
}

TEST(ImgPools, RunningOutOfMemoryLosesNothing) {
    ImgPool<I420Img> pool;
    for (const tagSIZE& size : {tagSIZE{1 << 20, 1 << 20}, {-8, 8}}) {
        EXPECT_FALSE(pool.allocate(size, 1, 2));
        EXPECT_TRUE(holds(pool, 0, 0) && pool.get() == nullptr);
        ASSERT_TRUE(pool.allocate(size, 1, 0)) << "nothing to make yet";
        EXPECT_EQ(pool.get(), nullptr);
        EXPECT_TRUE(holds(pool, 0, 0) && pool.deallocate(false));
    }
    bool allocated = false, fetched = false;
    for (int granted = 0; !allocated || !fetched; ++granted) {
        ASSERT_LT(granted, 200);
        ImgPool2<I420Img> made, grown;
        I420Img img;
        ASSERT_TRUE(grown.allocate({8, 8}, 1, 0));
        {
            const test::FailingHeap heap(granted);
            allocated = made.allocate({8, 8}, 1, 2);
        }
        {
            const test::FailingHeap heap(granted);
            fetched = grown.get(img);
        }
        EXPECT_TRUE(holds(made, allocated ? 2 : 0, 0)) << granted;
        EXPECT_EQ(grown.outstanding(), fetched ? 1u : 0u) << granted;
        EXPECT_EQ(img.numPlanes(), fetched ? 3 : 0) << granted;
        img.deallocate(-1);
        EXPECT_TRUE(grown.deallocate(false)) << granted;
    }
}

/// Fetches from the pool while it is being released after a failure.
class Interloper : public I420Img {
public:
    void deallocate(int plane) override {
        I420Img::deallocate(plane);
        if (test::refusedRequests() > 0 && pool != nullptr) {
            const test::FailingHeap heap(-1);
            fetched = std::exchange(pool, nullptr)->get(other);
        }
    }
    ImgPool2<I420Img>* pool = nullptr;
    I420Img other;
    bool fetched = false;
};

TEST(ImgPool2, AFailedShadowDoesNotTakeThePictureFromItsNextHolder) {
    for (int granted = 0;; ++granted) {
        ASSERT_LT(granted, 100);
        ImgPool2<I420Img> pool;
        Interloper img;
        I420Img third;
        ASSERT_TRUE(pool.allocate({8, 8}, 1, 1));
        img.pool = &pool;
        bool shown = false;
        {
            const test::FailingHeap heap(granted);
            shown = pool.get(img);
        }
        if (shown) break;
        ASSERT_TRUE(pool.get(third));
        if (img.fetched) {
            EXPECT_NE(third.getPixels(0), img.other.getPixels(0)) << granted;
        }
        EXPECT_EQ(pool.outstanding(), img.fetched ? 2u : 1u) << granted;
    }
}

// Plain stores: a parallel fill would hide from the thread sanitizer who wrote what.
bool mark(Img& img, int value) {
    for (int p = 0; p < img.numPlanes(); ++p)
        std::memset(img.getPixels(p), value, std::size_t(img.getStep(p)) * std::size_t(img.getHeight(p)));
    return img.numPlanes() > 0;
}
bool isMarked(const Img& img, int value) {
    return *img.getPixel(0, 0, 0) == value && *img.getPixel(0, 7, 15) == value && *img.getPixel(1, 3, 7) == value;
}

TEST(ImgPools, ServeSeveralThreads) {
    ImgPool<I420Img> pool;
    ImgPool2<I420Img> shadows;
    ASSERT_TRUE(pool.allocate({16, 8}, 1, 2) && shadows.allocate({16, 8}, 1, 2));
    std::atomic<int> faults = 0;
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&, t] {
                for (int i = 0; i < 300; ++i) {
                    I420Img* img = pool.get();
                    const bool filled = img != nullptr && mark(*img, t);
                    I420Img mine;
                    const bool shown = shadows.get(mine) && mark(mine, t);
                    const std::unique_ptr<Img> view(mine.makeShadow());
                    std::jthread([released = std::unique_ptr<Img>(mine.makeShadow())] {}).join();
                    mine.deallocate(-1);
                    const bool kept = view != nullptr && isMarked(*view, t);
                    if (!filled || !isMarked(*img, t) || !shown || !kept || !pool.put(img)) ++faults;
                }
            });
    }
    EXPECT_EQ(faults, 0);
    EXPECT_EQ(pool.outstanding() + shadows.outstanding(), 0u);
    EXPECT_LE(pool.available(), 4u);
    EXPECT_LE(shadows.available(), 4u);
}

TEST(ImgPool2, ShadowsOfOnePictureMayGoOnSeveralThreads) {
    auto pool = std::make_unique<ImgPool2<I420Img>>();
    ASSERT_TRUE(pool->allocate({16, 8}, 1, 1));
    for (int round = 0; round < 200; ++round) {
        I420Img img;
        ASSERT_TRUE(pool->get(img));
        std::vector<std::jthread> threads;
        for (int t = 0; t < 3; ++t)
            threads.emplace_back([view = std::unique_ptr<Img>(img.makeShadow())]() mutable { view.reset(); });
        img.deallocate(-1);
        if (round == 100) {
            EXPECT_TRUE(pool->deallocate(true));  // while views go
        }
        threads.clear();
        if (round == 100) {
            ASSERT_TRUE(pool->allocate({16, 8}, 1, 1));
        }
        EXPECT_TRUE(holds(*pool, 1, 0)) << round;
        if (round == 199) {
            ASSERT_TRUE(pool->get(img));
            std::jthread last([view = std::unique_ptr<Img>(img.makeShadow())]() mutable { view.reset(); });
            pool.reset();
        }
    }
}

}  // namespace
}  // namespace Orvel
