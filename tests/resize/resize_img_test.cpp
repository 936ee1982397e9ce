#include "orvel/resize/resize_img.h"

#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include "orvel/img/uyvy_img.h"
#include "tests/support/test_heap.h"
#include "tests/resize/resize_support.h"

namespace Orvel {
namespace {

using namespace test;
using primitives::hannFilter;
using primitives::lanczosFilter;
using primitives::superSampling;

bool sameSize(tagSIZE a, tagSIZE b) {
    return a.cx == b.cx && a.cy == b.cy;
}

template <class Sample>
void expectScaled(primitives::ResizeMethod method, const Img& src, const Img& dst) {
    for (int p = 0; p < src.numPlanes(); ++p)
        ASSERT_EQ(bytesOf(dst, p), expectedBytes<Sample>(method, src, dst, p)) << "plane " << p;
}

struct Pictures {
    I420Img src, dst;
    Pictures(int srcWidth, int srcHeight, int dstWidth, int dstHeight) {
        EXPECT_TRUE(src.allocate(srcWidth, srcHeight, 1) && dst.allocate(dstWidth, dstHeight, 1));
        fillRandom(src);
    }
};

TEST(ResizeImg, ScalesAllPlanesWithEveryMethodAndTheSameBytesOnAnyNumberOfThreads) {
    struct Case {
        std::int32_t interp;
        ResizeSmooth smooth;
        primitives::ResizeMethod method;
    };
    std::vector<Case> cases{{32, ResizeSmoothNone, lanczosFilter},
                            {64, ResizeSmoothNone, lanczosFilter},
                            {9, ResizeSmoothNone, superSampling}};
    for (std::int32_t code : {1, 2, 4, 5, 6, 7, 8, 16}) cases.push_back({code, ResizeSmoothNone, squarePixel(code)});
    cases.push_back({4, ResizeSmoothAntialiasing, squarePixel(4 | ResizeSmoothAntialiasing)});
    cases.push_back({16, ResizeSmoothEdge, squarePixel(16)});
    for (int threads : {1, 2, 4}) {
        const tbb::global_control control(tbb::global_control::max_allowed_parallelism, std::size_t(threads));
        for (const Case& c : cases) {
            Pictures pictures(130, 95, 87, 61);
            ResizeImg resizer;
            ASSERT_TRUE(resizer.allocate(pictures.dst, pictures.src, ResizeInterp(c.interp), c.smooth)) << c.interp;
            ASSERT_TRUE(resizer.resize(pictures.dst, pictures.src)) << c.interp;
            expectScaled<std::uint8_t>(c.method, pictures.src, pictures.dst);
        }
    }
}

TEST(ResizeImg, ScalesWidePlanesByTheSquarePixelMethods) {
    Img src, dst;
    makePlanes(src, {{100, 60}, {50, 60}, {50, 60}}, 2);
    makePlanes(dst, {{150, 90}, {75, 90}, {75, 90}}, 2);
    ResizeImg resizer;
    ASSERT_TRUE(resizer.allocate(dst, src, ResizeInterpLanczos, ResizeSmoothNone));
    ASSERT_TRUE(resizer.resize(dst, src));
    expectScaled<std::uint16_t>(squarePixel(16), src, dst);
}

TEST(ResizeImg, ScalesFieldsAndTakesNoMemoryOnceTheirSizesAreKnown) {
    Pictures pictures(96, 66, 64, 50);
    ResizeImg resizer;
    ASSERT_TRUE(resizer.allocate(pictures.dst, pictures.src, ResizeInterpCubic, ResizeSmoothNone));
    Img srcTop, dstTop, srcBottom, dstBottom;
    pictures.src.getTopFieldShadow(srcTop);
    pictures.dst.getTopFieldShadow(dstTop);
    pictures.src.getBottomFieldShadow(srcBottom);
    pictures.dst.getBottomFieldShadow(dstBottom);
    const auto oneFrame = [&] {
        return resizer.resize(dstTop, srcTop) && resizer.resize(dstBottom, srcBottom) &&
               resizer.resizePlane(pictures.dst, 2, pictures.src, 1);
    };
    ASSERT_TRUE(oneFrame());
    const int before = allocations();
    for (int i = 0; i < 20; ++i) ASSERT_TRUE(oneFrame());
    EXPECT_EQ(allocations(), before);
    ASSERT_TRUE(resizer.resize(dstTop, srcTop) && resizer.resize(dstBottom, srcBottom));
    expectScaled<std::uint8_t>(squarePixel(4), srcTop, dstTop);
    expectScaled<std::uint8_t>(squarePixel(4), srcBottom, dstBottom);
}

TEST(ResizeImg, TakesNoMemoryForTheFirstFrameOfKnownPictures) {
    Pictures pictures(96, 64, 64, 48);
    ResizeImg resizer;
    ASSERT_TRUE(resizer.allocate(pictures.dst, pictures.src, ResizeInterpLanczosFilter, ResizeSmoothNone));
    ASSERT_TRUE(pictures.dst.set(0));  // the first parallel loop of a program takes memory of its own
    const int before = allocations();
    ASSERT_TRUE(resizer.resize(pictures.dst, pictures.src));
    EXPECT_EQ(allocations(), before);
}

// ---- sizes on record

TEST(ResizeImg, KeepsTheRecordedSizesWhenTheBufferIsReused) {
    ResizeImg resizer;
    tagSIZE size{7, 8};
    EXPECT_FALSE(resizer.getMaxSrcSize(size));
    EXPECT_FALSE(resizer.getMaxDstSize(size));
    EXPECT_TRUE(sameSize(size, {7, 8}));
    ASSERT_TRUE(resizer.allocate(tagSIZE{60, 40}, tagSIZE{100, 80}, ResizeInterpCubic, ResizeSmoothNone));
    ASSERT_TRUE(resizer.allocate(tagSIZE{30, 20}, tagSIZE{50, 40}, ResizeInterpCubic, ResizeSmoothNone));
    ASSERT_TRUE(resizer.getMaxSrcSize(size));
    EXPECT_TRUE(sameSize(size, {100, 80}));
    ASSERT_TRUE(resizer.getMaxDstSize(size));
    EXPECT_TRUE(sameSize(size, {60, 40}));
    // The filters are set up anew each time, and record their sizes.
    ASSERT_TRUE(resizer.allocate(tagSIZE{10, 10}, tagSIZE{20, 20}, ResizeInterpLanczosFilter, ResizeSmoothNone));
    ASSERT_TRUE(resizer.getMaxSrcSize(size));
    EXPECT_TRUE(sameSize(size, {20, 20}));
    ASSERT_TRUE(resizer.allocate(tagSIZE{200, 100}, tagSIZE{400, 300}, ResizeInterpCubic, ResizeSmoothNone));
    ASSERT_TRUE(resizer.getMaxDstSize(size));
    EXPECT_TRUE(sameSize(size, {200, 100}));
    resizer.deallocate();
    resizer.deallocate();
    EXPECT_FALSE(resizer.getMaxSrcSize(size));
}

TEST(ResizeImg, TheReusedBufferServesTheNewMethod) {
    Pictures pictures(60, 40, 30, 20);
    ResizeImg resizer;
    ASSERT_TRUE(resizer.allocate(tagSIZE{100, 100}, tagSIZE{200, 200}, ResizeInterpLanczos, ResizeSmoothNone));
    ASSERT_TRUE(resizer.allocate(pictures.dst, pictures.src, ResizeInterpLinear, ResizeSmoothNone));
    ASSERT_TRUE(resizer.resize(pictures.dst, pictures.src));
    expectScaled<std::uint8_t>(squarePixel(2), pictures.src, pictures.dst);
}

TEST(ResizeImg, RefusesPlanesThatAreTooLargeForItsBuffer) {
    Pictures pictures(64, 48, 32, 24);
    const auto before = bytesOf(pictures.dst, 0);
    ResizeImg resizer;
    for (std::int32_t interp : {2, 32}) {
        ASSERT_TRUE(resizer.allocate(tagSIZE{16, 12}, tagSIZE{32, 24}, ResizeInterp(interp), ResizeSmoothNone));
        EXPECT_FALSE(resizer.resize(pictures.dst, pictures.src)) << interp;
        EXPECT_TRUE(resizer.resizePlane(pictures.dst, 1, pictures.src, 1)) << interp;
        resizer.deallocate();
    }
    Pictures small(20, 20, 10, 10);
    ASSERT_TRUE(resizer.allocateSuperSampling(small.dst, small.src, ResizeInterpSuperSampling, -1));
    EXPECT_FALSE(resizer.resize(pictures.dst, pictures.src));
    EXPECT_EQ(bytesOf(pictures.dst, 0), before);
}

// ---- super-sampling and the filters

TEST(ResizeImg, SuperSamplesAnySizeWhenNoBufferWasMeasured) {
    Pictures pictures(90, 60, 33, 60);
    ResizeImg resizer;
    ASSERT_TRUE(resizer.allocateSuperSampling(pictures.dst, pictures.src, ResizeInterpSuperSampling, 0));
    tagSIZE size;
    EXPECT_FALSE(resizer.getMaxSrcSize(size));
    ASSERT_TRUE(resizer.resize(pictures.dst, pictures.src));
    expectScaled<std::uint8_t>(superSampling, pictures.src, pictures.dst);
    EXPECT_FALSE(resizer.resize(pictures.src, pictures.dst)) << "area averaging does not enlarge";

    ASSERT_TRUE(resizer.allocate(pictures.dst, pictures.src, ResizeInterpSuperSampling, ResizeSmoothNone));
    ASSERT_TRUE(resizer.getMaxSrcSize(size));
    EXPECT_TRUE(sameSize(size, {90, 60}));
    ASSERT_TRUE(resizer.getMaxDstSize(size));
    EXPECT_TRUE(sameSize(size, {33, 60}));
}

TEST(ResizeImg, HannIsMetOnlyAfterASecondAllocateForTheSizesUsedLast) {
    Pictures pictures(64, 48, 32, 24);
    Img src, dst;
    makePlanes(src, {{64, 48}}, 1);
    makePlanes(dst, {{32, 24}}, 1);
    ResizeImg resizer;
    ASSERT_TRUE(resizer.allocate(dst, src, ResizeInterpHannFilter, ResizeSmoothNone));
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(resizer.resize(dst, src));
        expectScaled<std::uint8_t>(lanczosFilter, src, dst);
    }
    for (bool fresh : {false, true}) {
        if (fresh) resizer.deallocate();  // forgets the buffer, not the sizes the filter was used with
        ASSERT_TRUE(resizer.allocate(dst, src, ResizeInterpHannFilter, ResizeSmoothNone));
        ASSERT_TRUE(resizer.resize(dst, src));
        expectScaled<std::uint8_t>(hannFilter, src, dst);
    }
    // Set up for other sizes while the last used ones come again: refused until some other size was scaled.
    ASSERT_TRUE(resizer.allocate(tagSIZE{16, 12}, tagSIZE{64, 48}, ResizeInterpHannFilter, ResizeSmoothNone));
    EXPECT_FALSE(resizer.resize(dst, src));
    EXPECT_TRUE(resizer.resizePlane(pictures.dst, 1, pictures.src, 1));
    EXPECT_TRUE(resizer.resize(dst, src));
}

// ---- refusals

TEST(ResizeImg, RefusesMethodsAndSizesThatMakeNoSense) {
    struct Case {
        tagSIZE dst, src;
        std::int32_t interp, smooth;
    };
    for (const Case& c : {Case{{8, 8}, {16, 16}, 9, 0},
                          {{8, 8}, {16, 16}, -1, 0},
                          {{8, 8}, {16, 16}, 0, 0},
                          {{8, 8}, {16, 16}, 3, 0},
                          {{8, 8}, {16, 16}, 4, 1 << 28},
                          {{8, 8}, {16, 16}, 8, 1},
                          {{0, 8}, {16, 16}, 4, 0},
                          {{8, 8}, {16, -1}, 32, 0},
                          {{17, 8}, {16, 16}, 8, 0},
                          {{1 << 30, 8}, {16, 16}, 4, 0}}) {
        ResizeImg resizer;
        tagSIZE size;
        ASSERT_TRUE(resizer.allocate(tagSIZE{4, 4}, tagSIZE{4, 4}, ResizeInterpCubic, ResizeSmoothNone));
        EXPECT_FALSE(resizer.allocate(c.dst, c.src, ResizeInterp(c.interp), ResizeSmooth(c.smooth)))
            << c.interp << ", " << c.dst.cx << " from " << c.src.cx;
        EXPECT_FALSE(resizer.getMaxSrcSize(size)) << "unallocated after a failure, " << c.interp;
    }
}

TEST(ResizeImg, RefusesPicturesThatDoNotGoTogether) {
    Img bytes, words, fewer, mixed;
    makePlanes(bytes, {{16, 16}, {8, 8}}, 1);
    makePlanes(words, {{16, 16}, {8, 8}}, 2);
    makePlanes(fewer, {{16, 16}}, 1);
    makePlanes(mixed, {{16, 16}}, 1);
    ASSERT_TRUE(mixed.allocatePlane(1, 8, 8, 4, 2));
    UYVYImg packed;
    ASSERT_TRUE(packed.allocate(16, 16, UYVYImg::getClassBpp()));
    ResizeImg resizer;
    const auto refused = [&](Img& dst, Img& src, ResizeInterp interp) {
        return !resizer.allocate(dst, src, interp, ResizeSmoothNone);
    };
    EXPECT_TRUE(refused(bytes, words, ResizeInterpCubic));
    EXPECT_TRUE(refused(bytes, mixed, ResizeInterpCubic));
    EXPECT_TRUE(refused(fewer, bytes, ResizeInterpCubic));
    EXPECT_TRUE(refused(packed, packed, ResizeInterpCubic));
    EXPECT_TRUE(refused(words, words, ResizeInterpLanczosFilter));
    EXPECT_TRUE(refused(words, words, ResizeInterpHannFilter));
    EXPECT_TRUE(refused(words, words, ResizeInterpSuperSampling));
    EXPECT_FALSE(resizer.allocateSuperSampling(words, words, ResizeInterpSuperSampling, 0));
    EXPECT_FALSE(refused(words, words, ResizeInterpSuper));
    EXPECT_FALSE(refused(mixed, mixed, ResizeInterpCubic));
}

TEST(ResizeImg, ResizePlaneRefusesWhatItCannotScale) {
    Img bytes, words, empty;
    makePlanes(bytes, {{16, 16}}, 1);
    makePlanes(words, {{16, 16}}, 2);
    UYVYImg packed;
    ASSERT_TRUE(packed.allocate(16, 16, UYVYImg::getClassBpp()));
    ResizeImg resizer;
    EXPECT_FALSE(resizer.resizePlane(bytes, 0, bytes, 0)) << "unallocated";
    ASSERT_TRUE(resizer.allocate(tagSIZE{64, 64}, tagSIZE{64, 64}, ResizeInterpCubic, ResizeSmoothNone));
    EXPECT_FALSE(resizer.resizePlane(bytes, 0, words, 0));
    EXPECT_FALSE(resizer.resizePlane(words, 0, bytes, 0));
    EXPECT_FALSE(resizer.resizePlane(packed, 0, words, 0));
    EXPECT_FALSE(resizer.resizePlane(words, 0, packed, 0));
    EXPECT_FALSE(resizer.resizePlane(bytes, 1, words, 0));
    EXPECT_FALSE(resizer.resizePlane(bytes, 0, bytes, -1));
    EXPECT_FALSE(resizer.resizePlane(empty, 0, bytes, 0));
    EXPECT_FALSE(resizer.resize(empty, bytes));
    ASSERT_TRUE(resizer.allocate(tagSIZE{64, 64}, tagSIZE{64, 64}, ResizeInterpLanczosFilter, ResizeSmoothNone));
    Img smallWords;
    makePlanes(smallWords, {{8, 8}}, 2);
    EXPECT_FALSE(resizer.resizePlane(smallWords, 0, words, 0));
}

}  // namespace
}  // namespace Orvel
