#include "bench/clip.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
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

struct Moments {
    double mean = 0, deviation = 0;
};

/// Of the differences from value.
Moments moments(const I420Img& picture, int plane, int value) {
    double sum = 0, squares = 0;
    for (int y = 0; y < picture.getHeight(plane); ++y)
        for (int x = 0; x < picture.getWidth(plane); ++x) {
            const int difference = *picture.getPixel(plane, y, x) - value;
            sum += difference, squares += difference * difference;
        }
    const double n = double(picture.getWidth(plane)) * picture.getHeight(plane);
    return {sum / n, std::sqrt(squares / n)};
}

bool same(const I420Img& a, const I420Img& b) {
    for (int p = 0; p < a.numPlanes(); ++p)
        for (int y = 0; y < a.getHeight(p); ++y)
            if (std::memcmp(a.getPixel(p, y, 0), b.getPixel(p, y, 0), static_cast<std::size_t>(a.getWidth(p))) != 0)
                return false;
    return true;
}

TEST(ClipTest, NoiseHasItsStrengthOnEachPlaneOfEachPicture) {
    const Clip clean{flat(200, 100, 128), flat(200, 100, 128)};
    const Clip noisy = withNoise(clean, 4, 2, 1);
    for (const Picture& picture : noisy)
        for (int p : {0, 1, 2}) {
            const double sigma = p == 0 ? 4 : 2, samples = p == 0 ? 20000 : 5000;
            const double deviation = std::sqrt(sigma * sigma + 1.0 / 12);  // with that of rounding
            const Moments found = moments(*picture, p, 128);
            EXPECT_NEAR(found.mean, 0, 4 * deviation / std::sqrt(samples)) << "plane " << p;
            EXPECT_NEAR(found.deviation, deviation, 4 * deviation / std::sqrt(2 * samples)) << "plane " << p;
        }
    EXPECT_FALSE(same(*noisy[0], *noisy[1]));
    EXPECT_EQ(moments(*clean[1], 0, 128).deviation, 0);  // the clean clip stays clean
    for (int value : {0, 255}) {
        const Clip atTheEnd = withNoise({flat(20, 20, value)}, 4, 4, 3);
        for (int x = 0; x < 20; ++x) ASSERT_NEAR(*atTheEnd[0]->getPixel(0, 0, x), value, 20);  // clipped, not wrapped
    }
}

TEST(ClipTest, NoiseComesAgainWithItsSeed) {
    const Clip clean{flat(40, 20, 128)};
    const Clip noisy = withNoise(clean, 4, 2, 1);
    EXPECT_TRUE(same(*noisy[0], *withNoise(clean, 4, 2, 1)[0]));
    EXPECT_FALSE(same(*noisy[0], *withNoise(clean, 4, 2, 2)[0]));
}

TEST(ClipTest, GoesForthAndBackWithoutRepeatingTheEnds) {
    const Clip clip{flat(4, 4, 0), flat(4, 4, 1), flat(4, 4, 2)};
    EXPECT_EQ(forthAndBack(clip), (Clip{clip[0], clip[1], clip[2], clip[1]}));
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
