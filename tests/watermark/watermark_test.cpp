#include "orvel/watermark/watermark.h"

#include <gtest/gtest.h>

#include <initializer_list>

#include "orvel/convert/convert_img.h"
#include "tests/watermark/marks_support.h"

namespace Orvel {
namespace {

using namespace test;

constexpr int grayCodes[] = {0, 1, 3, 2, 6, 7};

/// The luma of column x on marked line r of a picture w wide; -1 where the mark leaves it alone.
int plainLuma(int r, int x, int w) {
    if (x < 14 || x >= w - 14) return 16;
    if (x < 20 || x >= w - 20) return 235;
    return x >= 32 ? -1 : grayCodes[r] >> (2 - (x - 20) / 4) & 1 ? 235 : 16;
}

std::unique_ptr<I420Img> marked(tagSIZE size = {720, 576}) {
    auto img = flatPicture<I420Img>(size, 128);
    EXPECT_TRUE(Watermark::write(*img));
    return img;
}

void greyLines(Img& img, std::initializer_list<int> lines) {
    for (int y : lines)
        for (int x = 0; x < img.getWidth(0); ++x) sampleAt(img, 0, x, y) = 126;
}

TEST(Watermark, MarksTheFirstLinesOfPlanarPictures) {
    for (tagSIZE size : {tagSIZE{64, 32}, {65, 33}, {720, 576}}) {
        const tagSIZE even{size.cx & ~1, size.cy & ~1};  // windows of odd pictures have uneven chroma
        Window<I420Img> window(even, -1);
        const auto odd = picture<I420Img>(size.cx, size.cy), expectedOdd = copyOf(*odd),
                   expected = copyOf(window.around);
        I420Img inside;
        expected->getShadowRoi(inside, {6, 6}, even);
        for (I420Img* img : {&inside, expectedOdd.get()}) {
            const int w = img->getWidth(0), chromaWidth = img->getWidth(1);
            for (int y = 0; y < 6; ++y)
                for (int x = 0; x < w; ++x)
                    if (const int level = plainLuma(y, x, w); level >= 0) sampleAt(*img, 0, x, y) = std::uint8_t(level);
            for (int plane : {1, 2})
                for (int y = 0; y < 3; ++y)
                    for (int x = 0; x < chromaWidth; ++x)
                        if (x < 16 || x >= chromaWidth - 10) sampleAt(*img, plane, x, y) = 100;
        }
        ASSERT_TRUE(Watermark::write(window.img) && Watermark::write(*odd));
        EXPECT_TRUE(bytesOf(window.around) == bytesOf(*expected)) << size.cx << " x " << size.cy;
        EXPECT_TRUE(bytesOf(*odd) == bytesOf(*expectedOdd)) << size.cx << " x " << size.cy;
    }
}

TEST(Watermark, MarksTheFirstLinesOfPackedPictures) {
    for (tagSIZE size : {tagSIZE{64, 32}, {65, 33}, {720, 576}}) {
        Window<UYVYImg> window(size, -1);
        const auto expected = copyOf(window.around);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < size.cx; ++x) {
                std::uint8_t* const pixel = expected->getPixel(0, 6 + y, 6 + x);
                if (x < 32 || x >= size.cx - 20) pixel[0] = 100;
                if (const int level = y < 6 ? plainLuma(y, x, size.cx) : -1; level >= 0) pixel[1] = std::uint8_t(level);
            }
        ASSERT_TRUE(Watermark::write(window.img));
        EXPECT_TRUE(bytesOf(window.around) == bytesOf(*expected)) << size.cx << " x " << size.cy;
    }
}

TEST(Watermark, IsReadInLinesWhoseChromaRowIsMarked) {
    Window<I420Img> window({720, 576}, 235);
    ASSERT_TRUE(window.img.set(128) && Watermark::write(window.img));
    for (int line : {0, 1, 2}) {
        int read = line;
        EXPECT_TRUE(Watermark::read(window.img, read));
        EXPECT_EQ(read, line);
    }
    for (int line : {-1, 3, 4, 5, 6, 287, 288, 575, 576}) {
        int read = line;
        EXPECT_FALSE(Watermark::read(window.img, read)) << line;
        EXPECT_EQ(read, line);
    }
}

TEST(Watermark, SurvivesAConversionFromPackedPictures) {
    const auto packed = flatPicture<UYVYImg>({720, 576}, 230);
    ASSERT_TRUE(Watermark::write(*packed));
    for (bool interlaced : {false, true}) {
        const auto planar = flatPicture<I420Img>({720, 576}, 0);
        ASSERT_TRUE(ConvertImg::UYVYToI420(*planar, *packed, interlaced));
        EXPECT_TRUE(Watermark::searchWatermark(*planar, false));
        for (int line : {0, 1, 2}) {
            int read = line;
            EXPECT_TRUE(Watermark::read(*planar, read)) << line << interlaced;
            EXPECT_EQ(read, line);
            for (int plane : {1, 2}) EXPECT_EQ(sampleAt(*planar, plane, 3, line), 100) << line << interlaced;
        }
    }
}

TEST(Watermark, IsReadOnlyOverOneOfTwoChromaLevels) {
    const auto isRead = [](int first, int others, int plane, int column) {
        const auto img = marked();
        for (int x = 0; x < 4; ++x)
            for (int p : {1, 2}) sampleAt(*img, p, x, 1) = std::uint8_t(first);
        sampleAt(*img, plane, column, 1) = std::uint8_t(others);
        int line = 1;
        return Watermark::read(*img, line);
    };
    for (int first = 0; first < 256; ++first) {
        const bool low = first >= 85 && first <= 119, high = first >= 137 && first <= 171;
        EXPECT_EQ(isRead(first, first, 1, 0), low || high) << first;
    }
    for (int other = 0; other < 256; ++other)
        for (const auto& [plane, column] : {std::pair{1, 1}, {1, 3}, {2, 0}, {2, 3}}) {
            EXPECT_EQ(isRead(100, other, plane, column), other >= 84 && other <= 120) << other;
            EXPECT_EQ(isRead(150, other, plane, column), other >= 136 && other <= 172) << other;
        }
}

TEST(Watermark, LumaBetweenBlackAndWhiteIsUndecided) {
    const auto img = marked();
    for (int group = 0; group < 3; ++group) {
        const int before = sampleAt(*img, 0, 21 + 4 * group, 2);
        for (int sum = 0; sum <= 510; ++sum) {
            const int first = std::min(sum, 255);
            sampleAt(*img, 0, 21 + 4 * group, 2) = std::uint8_t(first);
            sampleAt(*img, 0, 22 + 4 * group, 2) = std::uint8_t(sum - first);
            const int mean = sum / 2, codes = 3;
            int line = 2, expected = line;
            const bool decided = mean < 110 || mean > 142;
            EXPECT_EQ(Watermark::read(*img, line), decided) << mean;
            if (decided) {
                const int code = (codes & ~(4 >> group)) | (mean > 142 ? 4 >> group : 0);
                for (expected = 0; (expected ^ expected >> 1) != code;) ++expected;
            }
            EXPECT_EQ(line, expected) << mean;
            EXPECT_EQ(Watermark::searchWatermark(*img, false), decided && line == 2) << mean;
        }
        for (int column : {21, 22}) sampleAt(*img, 0, column + 4 * group, 2) = std::uint8_t(before);
    }
    EXPECT_TRUE(Watermark::searchWatermark(*img, false));
}

TEST(Watermark, StandsInPlaceWhenEnoughOfItsLinesDo) {
    for (unsigned lost = 0; lost < 64; ++lost) {
        const auto img = marked();
        for (int line = 0; line < 6; ++line)
            if (lost >> line & 1) greyLines(*img, {line});
        const auto stand = [&](unsigned lines) { return (lost & lines) == 0; };
        const bool frame = stand(0b001111) || stand(0b111100), field = stand(0b101010) || stand(0b010101);
        EXPECT_EQ(Watermark::searchWatermark(*img, false), frame) << lost;
        EXPECT_EQ(Watermark::searchWatermark(*img, true), frame || field) << lost;
    }
}

TEST(Watermark, DoesNotStandInPlaceInPicturesThatWereShiftedOrSplit) {
    const auto img = marked({720, 580});
    I420Img up, top, bottom;
    img->getShadowRoi(up, {0, 2}, {720, 576});
    img->getTopFieldShadow(top);
    img->getBottomFieldShadow(bottom);
    auto down = flatPicture<I420Img>({720, 580}, 128);
    I420Img below;
    down->getShadowRoi(below, {0, 2}, {720, 576});
    ASSERT_TRUE(Watermark::write(below));
    for (I420Img* moved : {&up, down.get(), &top, &bottom}) {
        EXPECT_FALSE(Watermark::searchWatermark(*moved, false));
        EXPECT_FALSE(Watermark::searchWatermark(*moved, true));
    }
}

TEST(Watermark, RefusesOtherPictures) {
    for (const auto& img : unmarkablePictures()) {
        const auto before = bytesOf(*img);
        int line = 0;
        EXPECT_FALSE(Watermark::write(*img));
        EXPECT_FALSE(Watermark::read(*img, line));
        EXPECT_TRUE(bytesOf(*img) == before);
        auto* const planar = dynamic_cast<I420Img*>(img.get());
        EXPECT_FALSE(planar != nullptr && Watermark::searchWatermark(*planar, true));
    }
    const auto packed = flatPicture<UYVYImg>({64, 32}, 128);
    int line = 0;
    EXPECT_TRUE(Watermark::write(*packed));
    EXPECT_FALSE(Watermark::read(*packed, line));
}

TEST(Watermark, IsSearchedInLumaAlone) {
    const auto img = marked();
    I420Img luma;
    ASSERT_TRUE(img->shadowCopyPlane(luma, 0));
    luma.setFormat(I420Img::getClassFormat());
    EXPECT_TRUE(Watermark::searchWatermark(luma, false));
    int line = 1;
    EXPECT_FALSE(Watermark::write(luma) || Watermark::read(luma, line));
}

}  // namespace
}  // namespace Orvel
