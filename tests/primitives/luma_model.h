#pragma once
#include <algorithm>

#include "orvel/primitives/plane_view.h"

namespace Orvel::test {

/// Sample (x, y) of a frame whose edge samples repeat outside.
inline int lumaAt(primitives::ConstViewU8 frame, int x, int y) {
    return frame.row(std::clamp(y, 0, frame.height - 1))[std::clamp(x, 0, frame.width - 1)];
}

/// The frame at (x + fx / 4, y + fy / 4), one sample at a time.
class LumaModel {
public:
    explicit LumaModel(primitives::ConstViewU8 frame) : frame_(frame) {}

    int quarter(int x, int y, int fx, int fy) const {
        const int g = lumaAt(frame_, x, y), rightG = lumaAt(frame_, x + 1, y), belowG = lumaAt(frame_, x, y + 1);
        const int b = half(across(x, y)), h = half(down(x, y)), j = centre(x, y);
        const int m = half(down(x + 1, y)), s = half(across(x, y + 1));
        const int table[4][4] = {{g, avg(g, b), b, avg(rightG, b)},
                                 {avg(g, h), avg(b, h), avg(b, j), avg(b, m)},
                                 {h, avg(h, j), j, avg(j, m)},
                                 {avg(belowG, h), avg(h, s), avg(j, s), avg(m, s)}};
        return table[fy][fx];
    }

private:
    static constexpr int taps[6] = {1, -5, 20, 20, -5, 1};
    static int clip(int v) { return std::clamp(v, 0, 255); }
    static int half(int sum) { return clip((sum + 16) >> 5); }
    static int avg(int a, int b) { return (a + b + 1) >> 1; }

    int across(int x, int y) const {
        int sum = 0;
        for (int k = 0; k < 6; ++k) sum += taps[k] * lumaAt(frame_, x - 2 + k, y);
        return sum;
    }
    int down(int x, int y) const {
        int sum = 0;
        for (int k = 0; k < 6; ++k) sum += taps[k] * lumaAt(frame_, x, y - 2 + k);
        return sum;
    }
    int centre(int x, int y) const {
        int sum = 0;
        for (int k = 0; k < 6; ++k) sum += taps[k] * across(x, y - 2 + k);
        return clip((sum + 512) >> 10);
    }

    primitives::ConstViewU8 frame_;
};

}  // namespace Orvel::test
