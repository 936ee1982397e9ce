#pragma once
#include <cmath>
#include <functional>
#include <random>
#include <string>

namespace OrvelTool::test {

/// Luma of a point in a scene without repetitions nearby; different scenes have nothing in common.
inline int sceneLuma(int scene, int x, int y) {
    const double a = 0.31 + 0.07 * scene, b = 0.23 - 0.05 * scene;
    return static_cast<int>(128 + 40 * std::sin(a * x + 0.013 * y * y / 8) + 40 * std::sin(b * y + 0.011 * x * x / 8));
}

/// One headerless picture of 4:2:0 without colour; width and height are even.
inline std::string greyFrame(int width, int height, const std::function<int(int x, int y)>& luma) {
    std::string frame;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) frame += static_cast<char>(luma(x, y));
    return frame + std::string(static_cast<std::size_t>(width * height / 2), '\x80');
}

/// Pictures of a scene whose content moves by (right, down) from each to the next.
inline std::string pan(int frames, int width, int height, int right, int down, int scene = 0) {
    std::string clip;
    for (int k = 0; k < frames; ++k)
        clip += greyFrame(width, height, [&](int x, int y) { return sceneLuma(scene, x - k * right, y - k * down); });
    return clip;
}

/// A still scene under noise that is almost normal; a sum of twelve, since distributions differ between libraries.
inline std::string noisyClip(int frames, int width, int height, double deviation) {
    std::mt19937 rng(7);
    const auto normal = [&] {
        double sum = -6;
        for (int i = 0; i < 12; ++i) sum += static_cast<double>(rng()) / 4294967296.0;
        return sum;
    };
    std::string clip;
    for (int k = 0; k < frames; ++k)
        clip += greyFrame(width, height, [&](int x, int y) {
            const double value = 64 + sceneLuma(0, x, y) / 2.0 + deviation * normal();
            return static_cast<int>(std::lround(std::fmin(255, std::fmax(0, value))));
        });
    return clip;
}

}  // namespace OrvelTool::test
