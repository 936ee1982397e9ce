#include "bench/picture_quality.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace Orvel::bench {
namespace {

constexpr int windowSide = 8, windowStep = 4, windowSamples = windowSide * windowSide;
constexpr double c1 = (0.01 * 255) * (0.01 * 255), c2 = (0.03 * 255) * (0.03 * 255);

double windowSsim(const Img& truth, const Img& result, int plane, int top, int left) {
    std::int64_t sumA = 0, sumB = 0, sumAA = 0, sumBB = 0, sumAB = 0;
    for (int y = top; y < top + windowSide; ++y) {
        const std::uint8_t *a = truth.getPixel(plane, y, left), *b = result.getPixel(plane, y, left);
        for (int x = 0; x < windowSide; ++x) {
            sumA += a[x], sumB += b[x];
            sumAA += a[x] * a[x], sumBB += b[x] * b[x], sumAB += a[x] * b[x];
        }
    }
    // n * sum of products - product of sums is n * (n - 1) times the unbiased (co)variance, exactly.
    const auto covariance = [](std::int64_t sumXY, std::int64_t sumX, std::int64_t sumY) {
        return double(windowSamples * sumXY - sumX * sumY) / (windowSamples * (windowSamples - 1));
    };
    const double meanA = double(sumA) / windowSamples, meanB = double(sumB) / windowSamples;
    const double varA = covariance(sumAA, sumA, sumA), varB = covariance(sumBB, sumB, sumB);
    return (2 * meanA * meanB + c1) * (2 * covariance(sumAB, sumA, sumB) + c2) /
           ((meanA * meanA + meanB * meanB + c1) * (varA + varB + c2));
}

}  // namespace

double meanSquaredError(const Img& truth, const Img& result, int plane) {
    std::int64_t sum = 0;
    for (int y = 0; y < truth.getHeight(plane); ++y) {
        const std::uint8_t *a = truth.getPixel(plane, y, 0), *b = result.getPixel(plane, y, 0);
        for (int x = 0; x < truth.getWidth(plane); ++x) sum += (a[x] - b[x]) * (a[x] - b[x]);
    }
    return double(sum) / (double(truth.getWidth(plane)) * truth.getHeight(plane));
}

double psnr(double meanSquaredError) {
    return meanSquaredError > 0 ? 10 * std::log10(255.0 * 255.0 / meanSquaredError)
                                : std::numeric_limits<double>::infinity();
}

double ssim(const Img& truth, const Img& result, int plane) {
    double sum = 0;
    int windows = 0;
    for (int y = 0; y + windowSide <= truth.getHeight(plane); y += windowStep)
        for (int x = 0; x + windowSide <= truth.getWidth(plane); x += windowStep, ++windows)
            sum += windowSsim(truth, result, plane, y, x);
    return sum / windows;
}

}  // namespace Orvel::bench
