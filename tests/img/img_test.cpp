#include "orvel/img/img.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "orvel/img/i420_img.h"
#include "orvel/sys/external_mem.h"
#include "tests/support/test_heap.h"
#include "tests/support/guarded_plane.h"

namespace Orvel {
namespace {

using Bytes = std::vector<std::uint8_t>;
using test::GuardedPlane;

bool isEmpty(const Img& img) {
    return img.numPlanes() == 0 && img.getFormat() == Img::noFormat && img.getPixels(0) == nullptr;
}

/// Makes the plane's bytes plane 0 of img, as pixels of bpp bytes.
bool wrap(Img& img, GuardedPlane<std::uint8_t>& plane, int bpp) {
    const auto view = plane.view();
    return img.setExternalMemory(0, view.base, view.width / bpp, view.height, bpp, static_cast<int>(view.step));
}

TEST(Img, RowsArePaddedToTheAlignment) {
    struct Case {
        int width, bpp, align, step;
    };
    for (const Case& c : {Case{5, 3, 4, 16},
                          {8, 1, 4, 8},
                          {721, 1, 4, 724},
                          {0, 1, 4, 0},
                          {0, 0, 4, 0},
                          {7, 2, 1, 14},
                          {-1, 1, 4, -1},
                          {8, 0, 4, -1},
                          {8, 1, 0, -1},
                          {INT_MAX, 1, 1, INT_MAX},
                          {INT_MAX, 1, 4, -1},
                          {1 << 30, 4, 4, -1},
                          {1, INT_MAX, 1, INT_MAX}})
        EXPECT_EQ(Img::computeStep(c.width, c.bpp, c.align), c.step) << c.width << " x " << c.bpp << " to " << c.align;
}

TEST(Img, MemoryOnlyGrows) {
    Img img;
    EXPECT_TRUE(isEmpty(img));
    ASSERT_TRUE(img.allocate(21, 10, 1));
    std::uint8_t* const pixels = img.getPixels(0);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pixels) % 32, 0u);
    EXPECT_TRUE(img.getWidth(0) == 21 && img.getHeight(0) == 10 && img.getStep(0) == 24 && img.getBpp(0) == 1);
    img.setInterleavedChannels(0, 3);
    ASSERT_TRUE(img.allocate(5, 15, 3));  // 240 bytes as before, other geometry
    EXPECT_TRUE(img.getPixels(0) == pixels && img.getWidth(0) == 5 && img.getStep(0) == 16 && img.getBpp(0) == 3);
    int channels = 0;
    EXPECT_TRUE(img.getInterleavedChannels(0, channels) && channels == 3);
    ASSERT_TRUE(img.allocate(5, 16, 3));
    EXPECT_EQ(img.getMemoryInterface(0)->getSize(), 256u);
    EXPECT_TRUE(img.getInterleavedChannels(0, channels) && channels == 1) << "the released plane forgets its channels";
    EXPECT_EQ(img.getPixel(0, 15, 4), img.getPixels(0) + 15 * 16 + 12);
    EXPECT_TRUE(img.getPixel(0, 16, 0) == nullptr && img.getPixel(0, 0, 5) == nullptr);

    Img late;  // channels given to a plane before it has memory
    ASSERT_TRUE(late.allocatePlane(0, 0, 0, 4, 1));
    late.setInterleavedChannels(0, 2);
    ASSERT_TRUE(late.allocatePlane(0, 4, 4, 4, 1));
    EXPECT_TRUE(late.getInterleavedChannels(0, channels) && channels == 2);
}

TEST(Img, SizesThatCannotBeAreRefused) {
    struct Case {
        int width, height, bpp;
    };
    for (const Case& c : {Case{-1, 4, 1},
                          {4, -1, 1},
                          {4, 4, 0},
                          {4, 4, -1},
                          {1 << 16, 1 << 16, 1},
                          {1 << 30, 1, 4},
                          {46341, 46341, 1},
                          {INT_MAX, INT_MAX, INT_MAX}}) {
        Img img;
        ASSERT_TRUE(img.allocate(8, 8, 1));
        EXPECT_FALSE(img.allocate(c.width, c.height, c.bpp)) << c.width << " x " << c.height << " x " << c.bpp;
        EXPECT_TRUE(img.numPlanes() == 0 && img.getWidth(0) == 0 && img.getStep(0) == 0 && img.getPixels(0) == nullptr);
    }
    Img img;
    EXPECT_FALSE(img.allocatePlane(4, 8, 8, 4, 1) || img.allocatePlane(-1, 8, 8, 4, 1));
    EXPECT_TRUE(img.getMemoryInterface(4) == nullptr && img.getMemoryInterface(-1) == nullptr);
    EXPECT_FALSE(img.setMemoryInterface(0, nullptr) || img.setMemoryInterface(4, nullptr));
}

TEST(Img, ReleasingAPlaneLowersTheCountWhicheverItWas) {
    for (int plane : {0, 1, 2}) {
        I420Img img;
        ASSERT_TRUE(img.allocate(8, 8, 1));
        img.deallocate(plane);
        EXPECT_EQ(img.numPlanes(), 2) << plane;
        EXPECT_TRUE(img.getPixels(plane) == nullptr && img.getWidth(plane) == 0 && img.getBpp(plane) == 0);
        EXPECT_EQ(img.getWidth(0), plane == 0 ? 0 : 8);
        img.deallocate(plane);
        img.deallocate(3);
        EXPECT_EQ(img.numPlanes(), 2) << "a plane without memory counts no second time";
        Img twin;
        EXPECT_TRUE(img.replicate(twin, 32)) << plane;
        EXPECT_TRUE(twin.numPlanes() == 2 && twin.getWidth(1) == img.getWidth(1) && twin.getBpp(0) == img.getBpp(0));
        ASSERT_TRUE(img.allocate(16, 8, 1));
        EXPECT_EQ(img.numPlanes(), 3);
        img.deallocate(-1);
        EXPECT_TRUE(isEmpty(img));
    }
}

TEST(Img, WrapsTheCallersMemory) {
    GuardedPlane<std::uint8_t> plane(10, 4);
    const int step = static_cast<int>(plane.view().step);
    std::uint8_t* const p = plane.view().base;
    Img img;
    EXPECT_FALSE(img.setExternalMemory(1, p, 10, 4, 1, step)) << "a gap";
    EXPECT_FALSE(img.setExternalMemory(0, static_cast<void*>(nullptr), 10, 4, 1, step));
    EXPECT_FALSE(img.setExternalMemory(0, static_cast<IAlignedMem*>(nullptr), 10, 4, 1, step));
    EXPECT_FALSE(img.setExternalMemory(0, p, 10, 4, 1, 9)) << "rows overlap";
    EXPECT_FALSE(img.setExternalMemory(0, p, 10, -1, 1, step) || img.setExternalMemory(0, p, -10, 4, 1, step));
    EXPECT_FALSE(img.setExternalMemory(0, p, 1 << 20, 1 << 20, 1, -1));
    EXPECT_TRUE(isEmpty(img));
    ASSERT_TRUE(wrap(img, plane, 1));
    EXPECT_EQ(img.getPixels(0), p);
    EXPECT_FALSE(img.setExternalMemory(0, p, 9, 4, 1, step) || img.setExternalMemory(0, p, 10, 4, 1, step + 1));
    ASSERT_TRUE(img.setExternalMemory(1, p, 5, 2, 2, -1));
    EXPECT_TRUE(img.numPlanes() == 2 && img.getStep(1) == 10);
    ASSERT_TRUE(img.setPlane(0, 0x55));
    EXPECT_TRUE(plane.guardsIntact());
    EXPECT_FALSE(img.lockToRam() || img.unlockToRam() || img.unlockPlaneToRam(0)) << "the wrapper cannot pin";
    ASSERT_TRUE(img.allocate(3, 3, 1));
    EXPECT_EQ(img.getPixels(0), p) << "memory that is large enough is kept";
    EXPECT_FALSE(img.allocate(100, 100, 1)) << "the wrapper cannot grow";
    Img owner;
    ASSERT_TRUE(owner.allocate(10, 4, 1));
    ASSERT_TRUE(owner.setExternalMemory(0, p, 10, 4, 1, 12)) << "an existing plane of the same sizes";
    EXPECT_EQ(owner.getPixels(0), p);
}

/// Counts what happens to a memory object.
class WatchedMem : public AlignedMem {
public:
    WatchedMem(int& released, int& deleted) : released_(released), deleted_(deleted) {}
    ~WatchedMem() override { ++deleted_; }
    bool deallocate() override {
        ++released_;
        return AlignedMem::deallocate();
    }

private:
    int &released_, &deleted_;
};

TEST(Img, OwnsItsMemoryObjects) {
    int released = 0, deleted = 0;
    const auto watched = [&] { return new WatchedMem(released, deleted); };
    {
        Img img;
        ASSERT_TRUE(img.setExternalMemory(0, watched(), 4, 4, 1, -1));
        EXPECT_EQ(img.numPlanes(), 1);
        EXPECT_EQ(img.getPixels(0), nullptr) << "sizes do not make memory";
        EXPECT_EQ(img.getPixel(0, 0, 0), nullptr);
        EXPECT_FALSE(img.set(1));
        ASSERT_TRUE(img.setMemoryInterface(0, watched()));
        EXPECT_TRUE(released == 1 && deleted == 1 && img.getWidth(0) == 4);
        IAlignedMem* const present = img.getMemoryInterface(0);
        EXPECT_TRUE(img.setMemoryInterface(0, present));
        EXPECT_EQ(deleted, 1);
        std::unique_ptr<IAlignedMem> refused(watched());
        EXPECT_FALSE(img.setExternalMemory(0, refused.get(), 5, 4, 1, -1));
    }
    EXPECT_TRUE(released == 2 && deleted == 3);
}

TEST(Img, ReplicatesSizesNotPixels) {
    I420Img img;
    ASSERT_TRUE(img.allocate(9, 5, 1));
    Img twin;
    ASSERT_TRUE(twin.allocate(100, 100, 4));
    ASSERT_TRUE(img.replicate(twin, 64));
    EXPECT_TRUE(twin.numPlanes() == 3 && twin.getFormat() == I420Img::getClassFormat());
    EXPECT_TRUE(twin.getStep(0) == 64 && twin.getWidth(1) == 4 && twin.getHeight(2) == 3 && twin.getBpp(0) == 1);
    EXPECT_FALSE(img.replicate(img, 4) || img.replicate(twin, 0));
    EXPECT_TRUE(isEmpty(twin));
    EXPECT_EQ(img.numPlanes(), 3);
}

TEST(Img, FillsAndCopiesWithinTheRows) {
    for (int bpp : {1, 2, 3, 4}) {
        GuardedPlane<std::uint8_t> from(7 * bpp, 5, 3), to(8 * bpp, 6, 9);
        std::mt19937 rng(3);
        from.fillRandom(rng);
        to.fill(1);
        Img source, target;
        ASSERT_TRUE(wrap(source, from, bpp) && wrap(target, to, bpp));
        ASSERT_TRUE(source.copy(target));
        for (int y = 0; y < 6; ++y)
            for (int x = 0; x < 8 * bpp; ++x)
                ASSERT_EQ(to.at(x, y), x < 7 * bpp && y < 5 ? from.at(x, y) : 1) << bpp << ": " << x << ", " << y;
        EXPECT_FALSE(target.copy(source)) << "too small";
        EXPECT_FALSE(source.copyPlane(target, 0, 1) || source.copyPlane(target, 1, 0));
        ASSERT_TRUE(target.set(0x1234));
        for (int x = 0; x < 8 * bpp; ++x) ASSERT_EQ(to.at(x, 5), bpp == 2 && x % 2 != 0 ? 0x12 : 0x34) << bpp;
        target.setInterleavedChannels(0, 2);
        ASSERT_TRUE(target.setPlane(0, -1 - 0xA5));
        EXPECT_EQ(to.at(1, 0), 0x5A);
        EXPECT_FALSE(target.setPlane(1, 0) || target.setPlane(-1, 0));
        EXPECT_TRUE(from.guardsIntact() && to.guardsIntact());
    }
    Img wide, copyOfWide;
    ASSERT_TRUE(wide.allocate(4, 4, 5) && copyOfWide.allocate(4, 4, 5));
    EXPECT_FALSE(wide.copy(copyOfWide) || wide.copyMirror(copyOfWide, 0) || wide.copyMirror(wide, 0))
        << "5 bytes a pixel";
    Img none;
    EXPECT_TRUE(none.copy(wide) && none.set(3) && none.copyMirror(wide, 0));
    EXPECT_FALSE(none.copyMirror(wide, 3));
}

TEST(Img, PlanesWithoutPixelsAreSkippedByCopiesOnly) {
    I420Img narrow, other;  // chroma planes of 0 x 1
    ASSERT_TRUE(narrow.allocate(1, 2, 1) && other.allocate(1, 2, 1));
    ASSERT_TRUE(narrow.setPlane(0, 9));
    EXPECT_TRUE(narrow.copy(other) && narrow.copyMirror(other, 2) && narrow.copyMirror(narrow, 2));
    EXPECT_EQ(*other.getPixel(0, 1, 0), 9);
    EXPECT_FALSE(narrow.set(3)) << "rows without columns cannot be filled";
    EXPECT_EQ(*narrow.getPixel(0, 1, 0), 3);
    Img flat;
    ASSERT_TRUE(flat.allocate(8, 0, 1));
    EXPECT_TRUE(flat.set(3) && flat.copy(other));
}

TEST(Img, MirrorsWholePixels) {
    // Pixel (x, y) of 3 x 2 is 10 y + x in its first byte, its other bytes count up by 100.
    const int expected[3][2][3] = {{{2, 1, 0}, {12, 11, 10}}, {{10, 11, 12}, {0, 1, 2}}, {{12, 11, 10}, {2, 1, 0}}};
    const auto fill = [](GuardedPlane<std::uint8_t>& plane, int bpp) {
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 3 * bpp; ++x) plane.at(x, y) = std::uint8_t(10 * y + x / bpp + x % bpp * 50);
    };
    for (int bpp : {1, 2, 3, 4})
        for (int mode : {0, 1, 2}) {
            GuardedPlane<std::uint8_t> from(3 * bpp, 2, 3), to(3 * bpp, 2, 6);
            fill(from, bpp);
            Img source, target;
            ASSERT_TRUE(wrap(source, from, bpp) && wrap(target, to, bpp));
            ASSERT_TRUE(source.copyMirror(target, mode));
            ASSERT_TRUE(source.copyPlaneMirror(source, 0, 77, mode)) << "in place the second index does not count";
            EXPECT_EQ(from.difference(to), "");
            for (int y = 0; y < 2; ++y)
                for (int x = 0; x < 3 * bpp; ++x)
                    ASSERT_EQ(to.at(x, y), expected[mode][y][x / bpp] + x % bpp * 50) << bpp << " mode " << mode;
            EXPECT_TRUE(from.guardsIntact() && to.guardsIntact());
            for (int bad : {-1, 3})
                EXPECT_FALSE(source.copyMirror(target, bad) || source.copyPlaneMirror(source, 0, 0, bad));
            EXPECT_EQ(from.difference(to), "");
        }
}

TEST(Img, UserDataIsAnOrderedList) {
    int a = 0, b = 0, c = 0;
    Img from, to;
    EXPECT_EQ(from.getUserData(nullptr), nullptr);
    for (int* p : {&a, &b, &a}) ASSERT_TRUE(from.addUserData(p));
    EXPECT_EQ(from.getUserData(nullptr), &a);
    EXPECT_EQ(from.getUserData(&a), &b);
    EXPECT_EQ(from.getUserData(&b), &a);
    EXPECT_EQ(from.getUserData(&c), nullptr);
    ASSERT_TRUE(to.addUserData(&c));
    std::list<void*> outside{&c};
    {
        const test::FailingHeap heap(0);
        Img::moveUserData(outside, from);
        Img::moveUserData(to, from);
        EXPECT_EQ(test::refusedRequests(), 0);
    }
    EXPECT_EQ(from.getUserData(nullptr), nullptr);
    EXPECT_EQ(outside, (std::list<void*>{&c, &a, &b}));
    outside.pop_front();
    Img::moveUserData(from, outside);
    Img::moveUserData(to, from);
    EXPECT_TRUE(outside.empty());
    EXPECT_EQ(to.getUserData(nullptr), &c);
    EXPECT_EQ(to.getUserData(&c), &a);
    EXPECT_EQ(to.getUserData(&a), &b);
    EXPECT_EQ(to.getUserData(&b), nullptr);
    Img::moveUserData(to, to);
    ASSERT_TRUE(to.addUserData(&c));
    to.delUserData(&c);
    EXPECT_EQ(to.getUserData(nullptr), &a);
    to.deallocate(-1);
    EXPECT_EQ(to.getUserData(nullptr), &a) << "released pixels, not the list";
}

TEST(Img, RunningOutOfMemoryLeavesNothingBehind) {
    I420Img img;
    ASSERT_TRUE(img.allocate(64, 64, 1));
    bool replicated = false, shadowed = false, made = false, grown = false;
    for (int granted = 0; !(replicated && shadowed && made && grown); ++granted) {
        ASSERT_LT(granted, 100);
        Img twin, shadow;
        I420Img growing;
        ASSERT_TRUE(growing.allocate(8, 8, 1));
        const auto starved = [&](const auto& operation) {
            const test::FailingHeap heap(granted);
            return operation();
        };
        replicated = starved([&] { return img.replicate(twin, 4); });
        shadowed = starved([&] { return img.shadowCopy(shadow); });
        const std::unique_ptr<Img> fresh(starved([&] { return img.makeShadow(); }));
        grown = starved([&] { return growing.allocate(64, 64, 1); });
        made = fresh != nullptr;
        EXPECT_TRUE(replicated ? twin.numPlanes() == 3 : isEmpty(twin)) << granted;
        EXPECT_TRUE(shadowed ? shadow.numPlanes() == 3 : isEmpty(shadow)) << granted;
        EXPECT_TRUE(grown ? growing.numPlanes() == 3 : isEmpty(growing)) << granted;
        EXPECT_EQ(img.getMemoryInterface(0)->getUseCount(), 1 + shadowed + made) << granted;
    }
    const Img plain;
    for (int granted : {0, 1, 2, 4}) {  // the picture, then its planes
        const test::FailingHeap heap(granted);
        Img* const none = plain.makeShadow();
        EXPECT_EQ(none, nullptr) << granted;
    }
    const test::FailingHeap heap(0);
    const bool added = img.addUserData(&img);
    EXPECT_FALSE(added);
}

}  // namespace
}  // namespace Orvel
