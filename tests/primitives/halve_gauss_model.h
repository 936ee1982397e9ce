#pragma once
#include <algorithm>
#include <string>

#include "orvel/primitives/plane_view.h"

namespace Orvel::test {

/// Index i of n, turned back at the ends as often as it takes.
inline int turnedBack(int i, int n) {
    while (n > 1 && (i < 0 || i >= n)) i = i < 0 ? -i : 2 * (n - 1) - i;
    return n == 1 ? 0 : i;
}

/// The whole 5 x 5 sum of one sample of a plane halved with the Gaussian kernel; x counts pixels.
inline int halvedSample(primitives::ConstViewU8 src, int pixelBytes, int x, int y, int channel) {
    constexpr int weights[] = {1, 4, 6, 4, 1};
    int sum = 128;
    for (int j = 0; j < 5; ++j)
        for (int i = 0; i < 5; ++i) {
            const int column = turnedBack(2 * x + i - 2, src.width / pixelBytes);
            sum +=
                weights[i] * weights[j] * src.row(turnedBack(2 * y + j - 2, src.height))[column * pixelBytes + channel];
        }
    return sum / 256;
}

/// "" when dst is what the model makes of src, and what is larger repeats the last pixels; else the first difference.
inline std::string differenceFromHalved(primitives::ConstViewU8 src, int pixelBytes, primitives::ConstViewU8 dst) {
    const int lastX = (src.width / pixelBytes - 1) / 2, lastY = (src.height - 1) / 2;
    for (int y = 0; y < dst.height; ++y)
        for (int i = 0; i < dst.width; ++i) {
            const int x = std::min(i / pixelBytes, lastX), is = dst.row(y)[i];
            const int expected = halvedSample(src, pixelBytes, x, std::min(y, lastY), i % pixelBytes);
            if (is != expected)
                return std::to_string(is) + " and not " + std::to_string(expected) + " at " + std::to_string(i) + ", " +
                       std::to_string(y) + " out of " + std::to_string(src.width) + " x " + std::to_string(src.height);
        }
    return {};
}

}  // namespace Orvel::test
