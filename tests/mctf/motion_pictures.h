#pragma once
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "orvel/img/i420_img.h"
#include "orvel/img/plane_access.h"

namespace Orvel::test {

/// A picture whose luma is sample(x, y), inside rows with random padding; chroma is not touched.
class LumaPicture {
public:
    LumaPicture(int width, int height, const std::function<int(int, int)>& sample, int padding = 7)
        : bytes_(std::size_t(width + padding) * std::size_t(height)) {
        std::mt19937 rng(unsigned(width * 31 + height));
        for (auto& byte : bytes_) byte = std::uint8_t(rng());
        if (!img_.setExternalMemory(0, bytes_.data(), width, height, 1, width + padding))
            throw std::runtime_error("no picture");
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) *img_.getPixel(0, y, x) = std::uint8_t(std::clamp(sample(x, y), 0, 255));
    }

    I420Img& img() { return img_; }
    primitives::ConstViewU8 luma() const { return planeView<const std::uint8_t>(img_, 0); }

private:
    std::vector<std::uint8_t> bytes_;
    I420Img img_;
};

/// A pair of pictures with a known relation.
struct Scene {
    std::string name;
    std::function<int(int, int)> cur, ref;
};

/// Smooth texture without a period.
inline int texture(double x, double y) {
    return int(std::lround(128 + 60 * std::sin(x * 0.31 + 0.002 * x * y) + 50 * std::cos(y * 0.23 - x * 0.011)));
}

/// Hash of a place, 0 .. 2^16 - 1: noise that is the same whoever asks.
inline int noiseAt(int x, int y, unsigned seed) {
    std::uint32_t h = std::uint32_t(x) * 0x9E3779B1u ^ std::uint32_t(y) * 0x85EBCA77u ^ seed * 0xC2B2AE3Du;
    h ^= h >> 15, h *= 0x2C1B3C6Du, h ^= h >> 12, h *= 0x297A2D39u, h ^= h >> 15;
    return int(h >> 16);
}

inline std::vector<Scene> scenes() {
    const auto random = [](unsigned seed) { return [=](int x, int y) { return noiseAt(x, y, seed) & 255; }; };
    const auto flat = [](int value) { return [=](int, int) { return value; }; };
    const auto moved = [](double dx, double dy, int noise) {
        return [=](int x, int y) {
            return texture(x + dx, y + dy) + (noise == 0 ? 0 : noiseAt(x, y, 77) % (2 * noise + 1) - noise);
        };
    };
    const auto stripes = [](int shift) { return [=](int x, int y) { return (x + y + shift) % 4 < 2 ? 0 : 255; }; };
    const auto ramp = [](int shift) { return [=](int x, int) { return 2 * (x + shift); }; };
    const auto extremes = [](unsigned seed) { return [=](int x, int y) { return 255 * (noiseAt(x, y, seed) & 1); }; };
    // Shifts far beyond one diamond walk, found along the blocks.
    const auto farAway = [](int shift) {
        return [=](int x, int y) { return noiseAt((x + shift) / 6, y / 5, 5) & 255; };
    };
    return {{"random", random(1), random(2)},
            {"flat", flat(90), flat(130)},
            {"equal", moved(0, 0, 0), moved(0, 0, 0)},
            {"moved", moved(3, -2, 0), moved(0, 0, 0)},
            {"moved by halves", moved(5.5, 2.5, 0), moved(0, 0, 0)},
            {"noisy", moved(-6.5, 4, 9), moved(0, 0, 4)},
            {"stripes", stripes(1), stripes(0)},
            {"ramp", ramp(9), ramp(0)},
            {"extremes", extremes(3), extremes(4)},
            {"far", farAway(19), farAway(0)}};
}

/// Luma of a frame of the example clip of a walk, 352 x 288.
inline std::function<int(int, int)> walkway(int frame) {
    constexpr int width = 352, height = 288;
    std::ifstream file(ORVEL_MEDIA_DIR "/walkway_352x288_30p.yuv", std::ios::binary);
    std::vector<char> luma(width * height);
    file.seekg(std::streamoff{frame} * width * height * 3 / 2);
    if (!file.read(luma.data(), std::streamsize(luma.size()))) throw std::runtime_error("no clip");
    return [luma](int x, int y) { return int(std::uint8_t(luma[std::size_t(y % height * width + x % width)])); };
}

}  // namespace Orvel::test
