#include "bench/clip.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <stdexcept>
#include <string>

namespace Orvel::bench {
namespace {

Picture flat(int width, int height, int value) {
    Picture picture = newPicture(width, height);
    EXPECT_TRUE(picture->set(value));
    return picture;
}

TEST(ClipTest, WeavingTakesEvenLinesFromTheEarlierPicture) {
    const Clip woven = weave({flat(6, 8, 10), flat(6, 8, 11), flat(6, 8, 12), flat(6, 8, 13), flat(6, 8, 14)});
    ASSERT_EQ(woven.size(), 2u);
    for (int k : {0, 1})
        for (int p : {0, 1, 2})
            for (int y = 0; y < woven[0]->getHeight(p); ++y)
                for (int x = 0; x < woven[0]->getWidth(p); ++x)
                    ASSERT_EQ(*woven[static_cast<std::size_t>(k)]->getPixel(p, y, x), 10 + 2 * k + y % 2)
                        << "frame " << k << " plane " << p << " line " << y;
}

TEST(ClipTest, NoiseHasItsStrengthAndComesAgainWithItsSeed) {
    const Clip clean{flat(200, 100, 128)};
    const Clip noisy = withNoise(clean, 4, 2, 1), again = withNoise(clean, 4, 2, 1), other = withNoise(clean, 4, 2, 2);
    double sum = 0, squares = 0;
    bool differs = false;
    for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 200; ++x) {
            const int value = *noisy[0]->getPixel(0, y, x);
            ASSERT_EQ(value, *again[0]->getPixel(0, y, x));
            differs |= value != *other[0]->getPixel(0, y, x);
            sum += value - 128, squares += (value - 128) * (value - 128);
        }
    EXPECT_TRUE(differs);
    EXPECT_NEAR(sum / 20000, 0, 0.12);  // four standard errors
    EXPECT_NEAR(std::sqrt(squares / 20000), std::sqrt(16 + 1.0 / 12), 0.08);
    for (int value : {0, 255}) {
        const Clip atTheEnd = withNoise({flat(20, 20, value)}, 4, 4, 3);
        for (int x = 0; x < 20; ++x) ASSERT_NEAR(*atTheEnd[0]->getPixel(0, 0, x), value, 20);  // clipped, not wrapped
    }
}

TEST(ClipTest, TilesRepeatThePicture) {
    Clip small{newPicture(4, 8)};
    for (int p : {0, 1, 2})
        for (int y = 0; y < small[0]->getHeight(p); ++y)
            for (int x = 0; x < small[0]->getWidth(p); ++x)
                *small[0]->getPixel(p, y, x) = static_cast<std::uint8_t>(100 * p + 10 * y + x);
    const Clip large = tiled(small, 10, 12);
    EXPECT_EQ(*large[0]->getPixel(0, 9, 7), 10 * 1 + 3);
    EXPECT_EQ(*large[0]->getPixel(2, 5, 3), 200 + 10 * 1 + 1);
}

TEST(ClipTest, ReadsWholeFramesAndNamesTheFileItCannotRead) {
    const std::filesystem::path file = std::filesystem::path(testing::TempDir()) / "clip_test_4x2_30p.yuv";
    // Chroma of 4 x 2 luma samples: two columns, one row.
    std::ofstream(file, std::ios::binary) << "abcdefghUuVvABCDEFGHXxYy";
    const Clip clip = readClip(file);
    ASSERT_EQ(clip.size(), 2u);
    EXPECT_EQ(*clip[0]->getPixel(0, 1, 3), 'h');
    EXPECT_EQ(*clip[1]->getPixel(2, 0, 1), 'y');
    std::filesystem::remove(file);
    try {
        readClip(file);
        FAIL() << "a file that is not there was read";
    } catch (const std::runtime_error& e) {
        EXPECT_NE(std::string(e.what()).find(file.filename().string()), std::string::npos);
    }
}

}  // namespace
}  // namespace Orvel::bench
