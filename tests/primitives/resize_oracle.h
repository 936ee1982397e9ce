#pragma once
// The resizers once more, sample by sample from their formulas, in other arithmetic than the library's.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

#include "orvel/primitives/resize_taps.h"
#include "tests/support/guarded_plane.h"

namespace Orvel::test {

using primitives::ResizeKernel;
using primitives::ResizeMethod;

/// The taps of one destination sample, before the border is applied.
struct OracleTaps {
    std::int64_t first = 0;
    std::vector<std::int64_t> taps;
};

inline int oracleRadius(ResizeKernel kernel) {
    if (kernel == ResizeKernel::linear) return 1;
    return kernel == ResizeKernel::lanczos || kernel == ResizeKernel::hann ? 3 : 2;
}

inline long double oracleKernel(ResizeKernel kernel, long double x) {
    constexpr long double pi = std::numbers::pi_v<long double>;
    x = std::abs(x);
    if (x >= oracleRadius(kernel)) return 0;
    const bool inner = x < 1;
    switch (kernel) {
        case ResizeKernel::linear:
            return 1 - x;
        case ResizeKernel::cubic:
            return inner ? 1 - x / 2 - x * x + x * x * x / 2 : 1 - 11 * x / 6 + x * x - x * x * x / 6;
        case ResizeKernel::bSpline:
            return inner ? (4 - 6 * x * x + 3 * x * x * x) / 6 : (2 - x) * (2 - x) * (2 - x) / 6;
        case ResizeKernel::catmullRom:
            return inner ? 1 - 2.5L * x * x + 1.5L * x * x * x : 2 - 4 * x + 2.5L * x * x - 0.5L * x * x * x;
        case ResizeKernel::softCubic:
            return inner ? (5.7L * x * x * x - 10.2L * x * x + 5) / 6
                         : (11.2L - 20.4L * x + 12 * x * x - 2.3L * x * x * x) / 6;
        case ResizeKernel::lanczos:
            return x == 0 ? 1 : 3 * std::sin(pi * x) * std::sin(pi * x / 3) / (pi * pi * x * x);
        default: {
            const long double window = std::cos(pi * x / 6);  // (1 + cos 2a) / 2 is the square of cos a
            return x == 0 ? 1 : std::sin(pi * x) / (pi * x) * window * window;
        }
    }
}

inline OracleTaps oracleArea(std::int64_t n, std::int64_t m, std::int64_t x) {
    std::vector<std::int64_t> covered(std::size_t(n), 0), taps, rest;
    for (std::int64_t cell = x * n; cell < (x + 1) * n; ++cell) ++covered[std::size_t(cell / m)];  // m cells a sample
    const std::int64_t first = x * n / m;
    std::int64_t left = 16384;
    for (std::int64_t i = first; i < n && covered[std::size_t(i)] > 0; ++i) {
        taps.push_back(16384 * covered[std::size_t(i)] / n);
        rest.push_back(16384 * covered[std::size_t(i)] % n);
        left -= taps.back();
    }
    for (; left > 0; --left) {
        const auto most = std::max_element(rest.begin(), rest.end());
        ++taps[std::size_t(most - rest.begin())];
        *most = -1;
    }
    return {first, taps};
}

inline OracleTaps oracleTaps(ResizeMethod method, std::int64_t n, std::int64_t m, std::int64_t x) {
    if (method.kernel == ResizeKernel::nearest) return {(2 * x + 1) * n / (2 * m), {16384}};
    if (method.kernel == ResizeKernel::area) return oracleArea(n, m, x);
    const long double stretch =
        method.antialias && n > m ? static_cast<long double>(n) / static_cast<long double>(m) : 1;
    const long double centre =
        (static_cast<long double>(x) + 0.5L) * static_cast<long double>(n) / static_cast<long double>(m) - 0.5L;
    const auto reach = static_cast<std::int64_t>(std::ceil(oracleRadius(method.kernel) * stretch)) + 1;
    const auto middle = static_cast<std::int64_t>(std::floor(centre));
    std::vector<long double> weights;
    long double sum = 0;
    for (std::int64_t j = middle - reach; j <= middle + reach; ++j) {
        weights.push_back(oracleKernel(method.kernel, (centre - static_cast<long double>(j)) / stretch));
        sum += weights.back();
    }
    OracleTaps list{middle - reach, {}};
    std::int64_t left = 16384;
    for (long double w : weights) {
        list.taps.push_back(static_cast<std::int64_t>(std::floor(16384 * w / sum + 0.5L + std::ldexp(1.0L, -30))));
        left -= list.taps.back();
    }
    *std::max_element(list.taps.begin(), list.taps.end()) += left;
    return list;
}

/// Every list of one direction.
inline std::vector<OracleTaps> oracleTable(ResizeMethod method, int n, int m) {
    std::vector<OracleTaps> table;
    for (int x = 0; x < m; ++x) table.push_back(oracleTaps(method, n, m, x));
    return table;
}

/// Sum of taps times samples, at(i) being sample i of n; the ends are repeated.
template <class At>
std::int64_t oracleSum(const OracleTaps& list, std::int64_t n, const At& at) {
    std::int64_t sum = 0;
    for (std::size_t k = 0; k < list.taps.size(); ++k)
        if (list.taps[k] != 0)
            sum += list.taps[k] * at(int(std::clamp<std::int64_t>(list.first + std::int64_t(k), 0, n - 1)));
    return sum;
}

inline std::int64_t rounded(std::int64_t sum, int shift) {
    return static_cast<std::int64_t>(std::floor(std::ldexp(static_cast<long double>(sum), -shift) + 0.5L));
}

template <class Sample>
void oracleResize(ResizeMethod method, const GuardedPlane<Sample>& src, GuardedPlane<Sample>& dst) {
    constexpr bool wide = sizeof(Sample) == 2;
    const auto rows = oracleTable(method, src.height(), dst.height()),
               columns = oracleTable(method, src.width(), dst.width());
    const bool blurs = method.kernel == ResizeKernel::bSpline || method.kernel == ResizeKernel::softCubic;
    const bool skipRows = wide && !blurs && src.height() == dst.height(),
               skipColumns = wide && !blurs && src.width() == dst.width();
    const int bias = wide ? 32768 : 0;
    const int rowShift = wide ? (skipColumns ? 14 : 15) : 8, columnShift = wide ? (skipRows ? 14 : 13) : 20;
    std::vector<std::int64_t> t(std::size_t(src.width()));
    for (int y = 0; y < dst.height(); ++y) {
        for (int x = 0; x < src.width(); ++x) {
            const auto sample = [&](int row) { return src.at(x, row) - bias; };
            t[std::size_t(x)] =
                skipRows ? sample(y) : rounded(oracleSum(rows[std::size_t(y)], src.height(), sample), rowShift);
        }
        for (int x = 0; x < dst.width(); ++x) {
            const auto column = [&](int i) { return t[std::size_t(i)]; };
            const std::int64_t v =
                skipColumns ? column(x) : rounded(oracleSum(columns[std::size_t(x)], src.width(), column), columnShift);
            dst.at(x, y) = static_cast<Sample>(std::clamp<std::int64_t>(v + bias, 0, wide ? 65535 : 255));
        }
    }
}

}  // namespace Orvel::test
