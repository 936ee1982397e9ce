#include "orvel/watermark/spit_watermark.h"

#include <gtest/gtest.h>

#include "tests/watermark/marks_support.h"

namespace Orvel {
namespace {

using namespace test;

constexpr unsigned values[] = {0, 1, 0x80000001, 0xFFFFFFFF, 0xDEADBEEF, 0x01020304};

/// The byte a block's sample becomes; -1 for samples that no block holds.
int plainLevel(unsigned value, int width, int height, int x, int y) {
    const int column = x / (width / 8), row = y / (height / 4);
    if (column >= 8 || row >= 4) return -1;
    return value >> (8 * row + column) & 1 ? 255 : 0;
}

/// Writes the value into img, a part of whole, and reads it back.
template <class T>
void expectWritten(T& img, unsigned value, const Img& whole, const Img& expected) {
    ASSERT_TRUE(SpitWatermark::write(img, value));
    EXPECT_TRUE(bytesOf(whole) == bytesOf(expected)) << img.getWidth(0) << " x " << img.getHeight(0);
    unsigned read = 5;
    EXPECT_TRUE(SpitWatermark::read(img, read));
    EXPECT_EQ(read, value) << img.getWidth(0) << " x " << img.getHeight(0);
}

TEST(SpitWatermark, FillsTheFirstChromaPlaneAndReadsItBack) {
    for (tagSIZE luma : {tagSIZE{64, 32}, {72, 33}, {200, 77}, {720, 576}})  // steps equal to widths
        for (unsigned value : values) {
            const auto img = picture<I420Img>(luma.cx, luma.cy);
            const auto expected = copyOf(*img);
            const int w = img->getWidth(1), h = img->getHeight(1);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x)
                    if (const int level = plainLevel(value, w, h, x, y); level >= 0)
                        sampleAt(*expected, 1, x, y) = std::uint8_t(level);
            expectWritten(*img, value, *img, *expected);
        }
}

TEST(SpitWatermark, TakesRowsToLieAPlanesWidthApart) {
    Window<I420Img> window({100, 40}, -1);  // 50 x 20 samples of chroma, 56 bytes apart
    const auto expected = copyOf(window.around);
    std::uint8_t* const first = expected->getPixel(1, 3, 3);
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 50; ++x)
            if (const int level = plainLevel(0xDEADBEEF, 50, 20, x, y); level >= 0)
                first[50 * y + x] = std::uint8_t(level);
    expectWritten(window.img, 0xDEADBEEF, window.around, *expected);
}

TEST(SpitWatermark, SetsEveryOtherChromaByteOfPackedPicturesAndLeavesLuma) {
    for (tagSIZE size : {tagSIZE{64, 32}, {65, 35}, {100, 50}, {720, 576}}) {
        const int blockWidth = size.cx / 8;
        for (unsigned value : values) {
            Window<UYVYImg> window(size, -1);
            const auto expected = copyOf(window.around);
            for (int y = 0; y < size.cy; ++y)
                for (int x = 0; x < size.cx; ++x)
                    if (const int level = plainLevel(value, size.cx, size.cy, x, y);
                        level >= 0 && x % blockWidth % 2 == 0)
                        *expected->getPixel(0, 6 + y, 6 + x) = std::uint8_t(level);
            expectWritten(window.img, value, window.around, *expected);
        }
    }
}

TEST(SpitWatermark, BlocksBetweenBlackAndWhiteAreUndecided) {
    const auto planar = flatPicture<I420Img>({64, 32}, 0);  // blocks of 4 x 4 samples
    const auto packed = flatPicture<UYVYImg>({64, 32}, 0);  // 8 x 8, of which half the chroma bytes count
    const auto setBlock = [](Img& img, int plane, int side, int level) {
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x) *img.getPixel(plane, y, 3 * side + x) = std::uint8_t(level);
    };
    for (int level = 0; level <= 255; ++level) {
        unsigned read = 5;
        setBlock(*planar, 1, 4, level);
        EXPECT_EQ(SpitWatermark::read(*planar, read), level <= 100 || level >= 125) << level;
        EXPECT_EQ(read, level >= 125 ? 8u : 0u) << level;
        read = 5;
        setBlock(*packed, 0, 8, level);
        EXPECT_EQ(SpitWatermark::read(*packed, read), level <= 200 || level >= 250) << level;
        EXPECT_EQ(read, level >= 250 ? 8u : 0u) << level;
    }
}

TEST(SpitWatermark, RefusesOtherPictures) {
    for (const auto& img : unmarkablePictures()) {
        const auto before = bytesOf(*img);
        unsigned value = 5;
        EXPECT_FALSE(SpitWatermark::write(*img, 1));
        EXPECT_FALSE(SpitWatermark::read(*img, value));
        EXPECT_EQ(value, 0u);
        EXPECT_TRUE(bytesOf(*img) == before);
    }
}

TEST(SpitWatermark, NeedsThePlaneOfItsBlocksAlone) {
    I420Img img;
    ASSERT_TRUE(img.allocatePlane(0, 64, 32, 4, 1) && img.allocatePlane(1, 32, 16, 4, 1));
    img.setFormat(I420Img::getClassFormat());
    unsigned read = 0;
    EXPECT_TRUE(SpitWatermark::write(img, 0x80000001) && SpitWatermark::read(img, read));
    EXPECT_EQ(read, 0x80000001);
}

}  // namespace
}  // namespace Orvel
