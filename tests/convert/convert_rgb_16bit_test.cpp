#include <gtest/gtest.h>

#include "orvel/convert/convert_img.h"
#include "tests/convert/chroma_model.h"
#include "tests/support/pictures.h"

namespace Orvel {
namespace {

using test::bytesOf;
using test::fillRandom;

TEST(ConvertRgb, KnownColours) {
    UYVYImg packed;
    I420Img planar;
    BGRImg bgr;
    ASSERT_TRUE(packed.allocate(4, 2, 2) && planar.allocate(4, 2, 1) && bgr.allocate(4, 2, 4));
    packed.set(81, 90, 240);
    ASSERT_TRUE(planar.setPlane(0, 81) && planar.setPlane(1, 90) && planar.setPlane(2, 240));
    for (bool alt : {false, true}) {
        const std::vector<std::uint8_t> pixel =
            alt ? std::vector<std::uint8_t>{12, 37, 253, 255} : std::vector<std::uint8_t>{0, 0, 254, 255};
        for (bool fromPlanar : {false, true}) {
            ASSERT_TRUE(bgr.set(7));
            ASSERT_TRUE(fromPlanar ? ConvertImg::I420ToBGR(bgr, planar, alt) : ConvertImg::UYVYToBGR(bgr, packed, alt));
            const auto bytes = bytesOf(bgr);
            for (std::size_t i = 0; i < bytes.size(); ++i) ASSERT_EQ(bytes[i], pixel[i % 4]) << i;
        }
    }
    const std::uint8_t pair[] = {10, 200, 90, 0, 30, 20, 250, 99};  // the fourth byte is ignored
    for (int row = 0; row < 2; ++row)
        for (int x = 0; x < 4; x += 2) std::memcpy(bgr.getPixel(0, row, x), pair, 8);
    for (bool alt : {false, true}) {
        ASSERT_TRUE(ConvertImg::BGRToUYVY(packed, bgr, alt));
        const std::vector<std::uint8_t> words =
            alt ? std::vector<std::uint8_t>{75, 163, 163, 70} : std::vector<std::uint8_t>{80, 141, 161, 93};
        const auto bytes = bytesOf(packed);
        for (std::size_t i = 0; i < bytes.size(); ++i) ASSERT_EQ(bytes[i], words[i % 4]) << i;
    }
}

TEST(ConvertRgb, OddPicturesAreConvertedWholeAndOnlyThere) {
    for (int width : {1, 2, 5, 33})
        for (int height : {1, 3}) {
            I420Img planar;
            BGRImg bgr;
            ASSERT_TRUE(planar.allocate(width, height, 1) && bgr.allocate(width + 1, height + 1, 4));
            fillRandom(planar, unsigned(width));
            ASSERT_TRUE(bgr.set(7));
            ASSERT_TRUE(ConvertImg::I420ToBGR(bgr, planar, false));
            for (int row = 0; row < height; ++row)
                for (int x = 0; x < width; ++x) {
                    const int column = std::min(x / 2, width / 2 - 1);
                    const int u = width == 1 ? 0 : *planar.getPixel(1, row / 2, column) - 128;
                    const int v = width == 1 ? 0 : *planar.getPixel(2, row / 2, column) - 128;
                    const int luma = 9535 * (*planar.getPixel(0, row, x) - 16) + 4096;
                    EXPECT_EQ(*bgr.getPixel(0, row, x), std::clamp((luma + 16523 * u) >> 13, 0, 255));
                    EXPECT_EQ(*(bgr.getPixel(0, row, x) + 2), std::clamp((luma + 13074 * v) >> 13, 0, 255));
                    EXPECT_EQ(*(bgr.getPixel(0, row, x) + 3), 255);
                }
            EXPECT_EQ(*bgr.getPixel(0, 0, width), 7);
            EXPECT_EQ(*bgr.getPixel(0, height, 0), 7);
        }
}

TEST(ConvertRgb, RefusesASmallerDestination) {
    UYVYImg packed;
    BGRImg bgr;
    ASSERT_TRUE(packed.allocate(8, 8, 2) && bgr.allocate(8, 7, 4));
    EXPECT_FALSE(ConvertImg::UYVYToBGR(bgr, packed, false));
    ASSERT_TRUE(bgr.allocate(9, 8, 4));
    EXPECT_FALSE(ConvertImg::BGRToUYVY(packed, bgr, true));
}

TEST(Convert16Bit, WidensAndNarrowsByTheHighByte) {
    UYVYImg bytes;
    V216Img words;
    ASSERT_TRUE(bytes.allocate(2, 1, 2) && words.allocate(2, 1, 4));
    const std::uint8_t in[] = {128, 16, 128, 235};
    std::memcpy(bytes.getPixels(0), in, 4);
    ASSERT_TRUE(ConvertImg::UYVYToV216(words, bytes));
    const std::uint16_t wide[] = {32768, 4096, 32768, 60160};
    EXPECT_EQ(std::memcmp(words.getPixels(0), wide, 8), 0);

    const std::uint16_t fine[] = {0x8080, 0x10FF, 0xFFFF, 0x0001}, kept[] = {0x8000, 0x1000, 0xFF00, 0};
    std::memcpy(words.getPixels(0), fine, 8);
    ASSERT_TRUE(ConvertImg::V216ToUYVY(bytes, words));
    const std::uint8_t high[] = {0x80, 0x10, 0xFF, 0};
    EXPECT_EQ(std::memcmp(bytes.getPixels(0), high, 4), 0);
    EXPECT_EQ(std::memcmp(words.getPixels(0), kept, 8), 0);  // the source loses its low bytes
}

TEST(Convert16Bit, MovesSamplesUnchangedBetweenPackedAndPlanar) {
    for (auto [width, height] : {std::pair{2, 1}, {34, 3}, {1920, 1080}}) {
        HY16Img planar, back;
        V216Img packed;
        ASSERT_TRUE(planar.allocate(width, height, 2) && packed.allocate(width + 4, height + 2, 4) &&
                    back.allocate(width + 4, height + 2, 2));
        fillRandom(planar, 3);
        ASSERT_TRUE(packed.Img::set(0x11) && back.set(0x2222));
        // A smaller source leaves the rest of the destination alone.
        ASSERT_TRUE(ConvertImg::HY16ToV216(packed, planar));
        ASSERT_EQ(test::read(packed, width, height), test::read(planar, width, height));
        EXPECT_EQ(*packed.getPixel(0, height, 0), 0x11);
        EXPECT_EQ(*packed.getPixel(0, 0, width), 0x11);
        V216Img region;
        packed.getShadowRoi(region, {0, 0}, {width, height});
        ASSERT_TRUE(ConvertImg::V216ToHY16(back, region));
        ASSERT_EQ(test::read(back, width, height), test::read(planar, width, height));
        EXPECT_EQ(*back.getPixel(2, 0, width / 2), 0x22);
    }
}

TEST(Convert16Bit, HoldsPicturesToTheirFormat) {
    HY16Img planar;
    V216Img packed;
    UYVYImg bytes;
    ASSERT_TRUE(planar.allocate(8, 4, 2) && packed.allocate(8, 4, 4) && bytes.allocate(8, 4, 2));
    planar.setFormat(I420Img::getClassFormat());
    EXPECT_FALSE(ConvertImg::HY16ToV216(packed, planar));
    EXPECT_FALSE(ConvertImg::V216ToHY16(planar, packed));
    packed.setFormat(Img::noFormat);
    EXPECT_FALSE(ConvertImg::UYVYToV216(packed, bytes));
    EXPECT_FALSE(ConvertImg::V216ToUYVY(bytes, packed));
}

}  // namespace
}  // namespace Orvel
