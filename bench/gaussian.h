#pragma once
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>

#include "orvel/img/img.h"

namespace Orvel::bench {

/// Standard normal values by the polar method of Marsaglia and Bray (1964): unlike std::normal_distribution the same
/// with every standard library.
class Gaussian {
public:
    explicit Gaussian(std::uint32_t seed) : rng_(seed) {}
    double operator()() {
        if (hasSpare_) {
            hasSpare_ = false;
            return spare_;
        }
        double u, v, s;
        do {
            u = uniform(), v = uniform(), s = u * u + v * v;
        } while (s >= 1 || s == 0);
        const double scale = std::sqrt(-2 * std::log(s) / s);
        spare_ = v * scale, hasSpare_ = true;
        return u * scale;
    }

private:
    double uniform() { return double(rng_()) / 2147483648.0 - 1; }
    std::mt19937 rng_;
    double spare_ = 0;
    bool hasSpare_ = false;
};

/// Adds noise of that standard deviation to all samples of an 8-bit plane, rounded and clipped to 0..255.
inline void addNoise(const Img& img, int plane, double sigma, Gaussian& gaussian) {
    for (int y = 0; y < img.getHeight(plane); ++y)
        for (int x = 0; x < img.getWidth(plane); ++x) {
            std::uint8_t& sample = *img.getPixel(plane, y, x);
            sample = static_cast<std::uint8_t>(std::clamp(std::lround(sample + sigma * gaussian()), 0L, 255L));
        }
}

}  // namespace Orvel::bench
