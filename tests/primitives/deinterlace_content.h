#pragma once
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>

#include "tests/support/guarded_plane.h"

namespace Orvel::test {

using Plane8 = GuardedPlane<std::uint8_t>;

/// Pictures that drive the deinterlacers into their corners.
enum class Content { noise, extremes, checkerboard, comb, columns, gradient, quiet };
inline constexpr Content allContents[] = {Content::noise,   Content::extremes, Content::checkerboard, Content::comb,
                                          Content::columns, Content::gradient, Content::quiet};

template <class T>
void fillWith(GuardedPlane<T>& plane, Content content, std::mt19937& rng) {
    const unsigned top = T(~T(0)), phase = unsigned(rng() % 2);
    for (int y = 0; y < plane.height(); ++y)
        for (int x = 0; x < plane.width(); ++x) {
            const auto cell = [&]() -> unsigned {
                switch (content) {
                    case Content::noise:
                        return unsigned(rng());
                    case Content::extremes:
                        return unsigned(rng() % 2) * top;
                    case Content::checkerboard:
                        return (unsigned(x + y) + phase) % 2 * top;
                    case Content::comb:
                        return (unsigned(y) + phase) % 2 * top;
                    case Content::columns:
                        return (unsigned(x) / 3 + phase) % 2 * top;
                    case Content::gradient:
                        return unsigned(7 * x + 11 * y + int(phase)) * (top / 255);
                    default:
                        return top / 2 + unsigned(rng() % 8);
                }
            };
            plane.at(x, y) = T(cell());
        }
}

/// What the content-adaptive filter looks at in one column: kept rows a .. d, sums of the other rows u0 .. u2.
struct CavtColumn {
    int a, b, c, d, u0, u1, u2;
};

/// The filter's result in column x of a row of the given width; column(x) describes each column.
template <class ColumnAt>
int cavtOracle(const ColumnAt& column, int x, int width, unsigned threshold) {
    const auto clip8 = [](int v) { return std::clamp(v, 0, 255); };
    const CavtColumn m = column(x);
    const int spatial = clip8((9 * (m.b + m.c) - m.a - m.d + 8) >> 4);
    const int withDetail = clip8((2 * (m.a + 7 * m.b + 7 * m.c + m.d) + 8 * m.u1 - 4 * m.u0 - 4 * m.u2 + 16) >> 5);
    int detail = 40, mismatch = 0;
    for (int i = x - 2; i <= x + 2; ++i) {
        const CavtColumn v = column(std::clamp(i, 0, width - 1));
        detail +=
            (std::abs(2 * v.u1 - v.u0 - v.u2) >> 1) + std::abs(2 * v.b - v.a - v.c) + std::abs(2 * v.c - v.b - v.d);
        mismatch += std::abs(2 * v.u1 + v.u0 + v.u2 - 4 * (v.b + v.c)) >> 1;
    }
    const std::int64_t t = std::min(threshold, 2041u);
    int gain = 0;
    if (t != 0) {
        const std::int64_t strength = std::min<std::int64_t>(65535, (12288 * (2041 - t) + t / 2) / t);
        const std::int64_t q = (8 * mismatch * strength) >> 16;
        for (int j = 1; j <= 8; ++j) gain += q <= (detail * (17 - 2 * j)) >> 4 ? 1 : 0;
    }
    return spatial + (((withDetail - spatial) * gain + 4) >> 3);
}

}  // namespace Orvel::test
