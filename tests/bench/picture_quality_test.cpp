#include "bench/picture_quality.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>

namespace Orvel::bench {
namespace {

/// One plane whose sample at (x, y) is sample(x, y).
template <class Sample>
void fill(Img& img, int width, int height, const Sample& sample) {
    ASSERT_TRUE(img.allocate(width, height, 1));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) *img.getPixel(0, y, x) = static_cast<std::uint8_t>(sample(x, y));
}

TEST(PictureQualityTest, ErrorAndSignalToNoiseRatio) {
    Img a, b;
    fill(a, 3, 2, [](int x, int y) { return 10 * x + y; });
    fill(b, 3, 2, [](int x, int y) { return 10 * x + y + (y == 1 ? 6 : 0); });
    EXPECT_DOUBLE_EQ(meanSquaredError(a, b, 0), 18);
    EXPECT_DOUBLE_EQ(meanSquaredError(b, a, 0), 18);
    EXPECT_TRUE(std::isinf(psnr(meanSquaredError(a, a, 0))));
    EXPECT_DOUBLE_EQ(psnr(255.0 * 255.0), 0);
    EXPECT_NEAR(psnr(1), 48.1308, 1e-4);
}

TEST(PictureQualityTest, SimilarityOfFlatPicturesIsThatOfTheirMeans) {
    Img a, b;
    fill(a, 17, 12, [](int, int) { return 100; });
    fill(b, 17, 12, [](int, int) { return 50; });
    EXPECT_DOUBLE_EQ(ssim(a, b, 0), (2 * 100 * 50 + 6.5025) / (100 * 100 + 50 * 50 + 6.5025));
    EXPECT_DOUBLE_EQ(ssim(a, a, 0), 1);
}

// A two-pass computation in floating point: means first, then products of the differences from them.
double similarityByDefinition(const Img& a, const Img& b) {
    double total = 0;
    int windows = 0;
    for (int top = 0; top <= a.getHeight(0) - 8; top += 4)
        for (int left = 0; left <= a.getWidth(0) - 8; left += 4, ++windows) {
            const auto mean = [&](auto value) {
                double sum = 0;
                for (int i = 0; i < 64; ++i) sum += value(top + i / 8, left + i % 8);
                return sum / 64;
            };
            const double meanA = mean([&](int y, int x) { return double(*a.getPixel(0, y, x)); });
            const double meanB = mean([&](int y, int x) { return double(*b.getPixel(0, y, x)); });
            const auto moment = [&](const Img& f, double meanF, const Img& g, double meanG) {
                return mean([&](int y, int x) {
                           return (*f.getPixel(0, y, x) - meanF) * (*g.getPixel(0, y, x) - meanG);
                       }) *
                       64 / 63;
            };
            const double luminance = (2 * meanA * meanB + 6.5025) / (meanA * meanA + meanB * meanB + 6.5025);
            total += luminance * (2 * moment(a, meanA, b, meanB) + 58.5225) /
                     (moment(a, meanA, a, meanA) + moment(b, meanB, b, meanB) + 58.5225);
        }
    return total / windows;
}

TEST(PictureQualityTest, SimilarityFollowsItsDefinition) {
    std::mt19937 rng(5);
    for (auto [width, height] : {std::pair{8, 8}, {9, 11}, {12, 15}, {31, 22}}) {
        Img a, b;
        fill(a, width, height, [&](int, int) { return rng() % 256; });
        fill(b, width, height, [&](int x, int y) { return (*a.getPixel(0, y, x) * 3 + rng() % 256) / 4; });
        EXPECT_NEAR(ssim(a, b, 0), similarityByDefinition(a, b), 1e-12) << width << "x" << height;
    }
}

// The figures are those of FFmpeg 5.1's ssim and psnr filters for these two pictures.
TEST(PictureQualityTest, AgreesWithAnotherProgram) {
    Img a, b;
    const auto base = [](int x, int y) { return (x * x + 3 * y * y + x * y) / 7 % 200 + 20; };
    fill(a, 64, 48, base);
    fill(b, 64, 48, [&](int x, int y) { return std::min(255, base(x, y) + (x * 5 + y * 11) % 23); });
    EXPECT_NEAR(ssim(a, b, 0), 0.983606, 2e-5);  // its first constant is smaller: 1/64
    EXPECT_NEAR(psnr(meanSquaredError(a, b, 0)), 25.956238, 1e-6);
}

}  // namespace
}  // namespace Orvel::bench
