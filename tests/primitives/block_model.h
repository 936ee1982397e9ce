#pragma once
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "orvel/primitives/plane_view.h"

namespace Orvel::test {

/// The block measures of the temporal filter and its blend, one sample at a time and straight from their definitions.

/// A square block of a grid.
struct BlockModel {
    primitives::ConstViewU8 plane;
    int side = 8, row = 0, col = 0;

    int at(int x, int y) const { return plane.row(row * side + y)[col * side + x]; }

    int activity() const {
        int sum = 0, spread = 0;
        for (int i = 0; i < 64; ++i) sum += at(i % 8, i / 8);
        for (int i = 0; i < 64; ++i) spread += std::abs(at(i % 8, i / 8) - ((sum + 32) >> 6));
        return spread;
    }

    int fineStructure() const {
        constexpr int kernel[3][3] = {{1, -2, 1}, {-2, 4, -2}, {1, -2, 1}};
        int total = 0;
        for (int y = 1; y <= 6; ++y)
            for (int x = 1; x <= 6; ++x) {
                int sum = 0;
                for (int k = 0; k < 9; ++k) sum += kernel[k / 3][k % 3] * at(x - 1 + k % 3, y - 1 + k / 3);
                total += std::abs(sum);
            }
        return total;
    }

    /// The largest measure of the edges that lie inside the grid of rows x cols blocks.
    int edgeStep(int rows, int cols) const {
        std::vector<int> measures;
        // Lines are numbered from the edge: -1 is the neighbour's, 0 the block's own nearest one.
        const auto edge = [&](auto line) {
            const auto between = [&](int first) {
                int sum = 0;
                for (int k = 0; k < side; ++k) sum += std::abs(line(first, k) - line(first + 1, k));
                return sum;
            };
            measures.push_back(between(-1) - 2 * std::max(between(0), between(1)));
        };
        if (row > 0) edge([&](int i, int k) { return at(k, i); });
        if (row < rows - 1) edge([&](int i, int k) { return at(k, side - 1 - i); });
        if (col > 0) edge([&](int i, int k) { return at(i, k); });
        if (col < cols - 1) edge([&](int i, int k) { return at(side - 1 - i, k); });
        return measures.empty() ? 0 : *std::max_element(measures.begin(), measures.end());
    }
};

/// Share of the picture, out of 256, where it differs from the prediction by d at a level.
inline int keptShare(int level, int d) {
    d = std::min(d, 41);
    const auto ramp = [d](int from, int perStep, int to) {
        return d >= to ? 256 : d <= from ? 0 : perStep * (d - from);
    };
    switch (level) {
        case 1:
        case 2:
        case 3:
            return ramp(24, 16, 41);
        case 4:
        case 5:
            return ramp(7, 8, 40);
        case 6:
            return ramp(8, 8, 41);
        default:
            return ramp(9, 8, 42);
    }
}

inline int blendModel(int level, int c, int p) {
    const int w = keptShare(level, std::abs(c - p));
    switch (level) {
        case 0:
            return c;
        case 1:
            return std::min(255, ((w + 768) * c + (256 - w) * p + 512) >> 10);
        case 2:
            return std::min(255, ((w + 256) * c + (256 - w) * p + 256) >> 9);
        case 3:
            return std::min(255, (w * c + (256 - w) * p) >> 8);
        case 4:
            return std::min(255, ((5 * w + 768) * c + 5 * (256 - w) * p + 1024) >> 11);
        default:
            return std::min(255, ((3 * w + 256) * c + 3 * (256 - w) * p + 512) >> 10);
    }
}

}  // namespace Orvel::test
