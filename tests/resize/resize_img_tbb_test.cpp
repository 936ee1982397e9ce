#include "orvel/resize/resize_img_tbb.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tests/resize/resize_support.h"

namespace Orvel {
namespace {

using namespace test;

std::string thrownBy(ResizeImgTbb& resizer, Img& dst, Img& src) {
    try {
        return resizer.resize(dst, src) ? "" : "false";
    } catch (const std::runtime_error& e) {
        return e.what();
    }
}

TEST(ResizeImgTbb, ScalesEachPlaneWithAResizerOfItsOwn) {
    Img src, dst;
    makePlanes(src, {{120, 80}, {60, 41}, {33, 80}}, 1);
    makePlanes(dst, {{80, 60}, {90, 30}, {33, 50}}, 1);
    ResizeImgTbb resizer;
    ASSERT_TRUE(resizer.allocate(dst, src, ResizeInterpCubic, ResizeSmoothNone));
    for (int i = 0; i < 3; ++i) {
        fillRandom(src, unsigned(i));
        ASSERT_TRUE(resizer.resize(dst, src));
        for (int p = 0; p < 3; ++p)
            EXPECT_EQ(bytesOf(dst, p), expectedBytes<std::uint8_t>(squarePixel(4), src, dst, p)) << p;
    }
}

TEST(ResizeImgTbb, ThrowsTheFirstSizeThatIsNotTheAllocatedOne) {
    Img src, dst;
    makePlanes(src, {{40, 30}}, 1);
    makePlanes(dst, {{20, 10}}, 1);
    ResizeImgTbb resizer;
    ASSERT_TRUE(resizer.allocate(dst, src, ResizeInterpLinear, ResizeSmoothNone));
    EXPECT_EQ(thrownBy(resizer, dst, src), "");
    struct Case {
        tagSIZE dst, src;
        const char* message;
    };
    for (const Case& c : {Case{{19, 9}, {39, 29}, "resizePlane - incorrect dst width"},
                          {{20, 9}, {39, 29}, "resizePlane - incorrect dst height"},
                          {{20, 10}, {39, 29}, "resizePlane - incorrect src width"},
                          {{20, 10}, {40, 29}, "resizePlane - incorrect src height"}}) {
        Img otherSrc, otherDst;
        makePlanes(otherSrc, {c.src}, 1);
        makePlanes(otherDst, {c.dst}, 1);
        EXPECT_EQ(thrownBy(resizer, otherDst, otherSrc), c.message);
    }
    Img words;
    makePlanes(words, {{40, 30}}, 2);
    EXPECT_EQ(thrownBy(resizer, dst, words), "resizePlane failed");
}

TEST(ResizeImgTbb, SuperSamplesPicturesOfAnySize) {
    Img src, dst, largerSrc, words, smaller;
    makePlanes(src, {{40, 30}, {20, 15}}, 1);
    makePlanes(dst, {{20, 10}, {10, 5}}, 1);
    makePlanes(largerSrc, {{400, 30}, {25, 15}}, 1);
    makePlanes(words, {{20, 10}, {10, 5}}, 2);
    ResizeImgTbb resizer;
    EXPECT_FALSE(resizer.allocate(words, words, ResizeInterpSuperSampling, ResizeSmoothNone));
    ASSERT_TRUE(resizer.allocate(dst, src, ResizeInterpSuperSampling, ResizeSmoothNone));
    for (Img* from : {&src, &largerSrc}) {
        ASSERT_EQ(thrownBy(resizer, dst, *from), "");
        for (int p = 0; p < 2; ++p)
            EXPECT_EQ(bytesOf(dst, p), expectedBytes<std::uint8_t>(primitives::superSampling, *from, dst, p));
    }
    EXPECT_EQ(thrownBy(resizer, largerSrc, dst), "resizePlane failed");
}

TEST(ResizeImgTbb, ComparesTheNumbersOfPlanes) {
    Img one, two, words;
    makePlanes(one, {{16, 16}}, 1);
    makePlanes(two, {{16, 16}, {8, 8}}, 1);
    ResizeImgTbb resizer;
    EXPECT_EQ(thrownBy(resizer, one, one), "false") << "unallocated";
    ASSERT_TRUE(resizer.allocate(two, two, ResizeInterpCubic, ResizeSmoothNone));
    EXPECT_FALSE(resizer.allocate(one, two, ResizeInterpCubic, ResizeSmoothNone));
    EXPECT_EQ(thrownBy(resizer, two, two), "") << "a refused allocate changes nothing when the planes differ in number";
    EXPECT_EQ(thrownBy(resizer, one, two), "false");
    EXPECT_EQ(thrownBy(resizer, one, one), "false");
    EXPECT_FALSE(resizer.allocate(two, two, ResizeInterp(3), ResizeSmoothNone));
    EXPECT_EQ(thrownBy(resizer, two, two), "false");
    resizer.deallocate();
}

}  // namespace
}  // namespace Orvel
