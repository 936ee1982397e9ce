#include "orvel/primitives/resize_taps.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <span>

namespace Orvel::primitives {
namespace {

constexpr int unit = 16384;

constexpr std::int64_t floorDiv(std::int64_t a, std::int64_t b) noexcept {
    return a / b - (a % b < 0);
}
constexpr std::int64_t ceilDiv(std::int64_t a, std::int64_t b) noexcept {
    return -floorDiv(-a, b);
}

// ---- kernels, as functions of the distance x >= 0 from their centre

double sinc(double x) {
    const double a = std::numbers::pi * x;
    return x == 0 ? 1.0 : std::sin(a) / a;
}

double twoParameterCubic(double x, double b, double c) {
    if (x < 1) return ((12 - 9 * b - 6 * c) * x * x * x + (-18 + 12 * b + 6 * c) * x * x + 6 - 2 * b) / 6;
    if (x < 2)
        return ((-b - 6 * c) * x * x * x + (6 * b + 30 * c) * x * x + (-12 * b - 48 * c) * x + 8 * b + 24 * c) / 6;
    return 0;
}

double polynomialCubic(double x) {
    if (x < 1) return (x + 1) * (x - 1) * (x - 2) / 2;
    return x < 2 ? -(x - 1) * (x - 2) * (x - 3) / 6 : 0;
}

double weight(ResizeKernel kernel, double x) {
    switch (kernel) {
        case ResizeKernel::linear:
            return std::max(0.0, 1 - x);
        case ResizeKernel::cubic:
            return polynomialCubic(x);
        case ResizeKernel::bSpline:
            return twoParameterCubic(x, 1, 0);
        case ResizeKernel::catmullRom:
            return twoParameterCubic(x, 0, 0.5);
        case ResizeKernel::softCubic:
            return twoParameterCubic(x, 0.5, 0.3);
        case ResizeKernel::lanczos:
            return x < 3 ? sinc(x) * sinc(x / 3) : 0;
        case ResizeKernel::hann:
            return x < 3 ? sinc(x) * (1 + std::cos(std::numbers::pi * x / 3)) / 2 : 0;
        case ResizeKernel::nearest:
        case ResizeKernel::area:
            break;
    }
    return 0;
}

int radius(ResizeKernel kernel) noexcept {
    switch (kernel) {
        case ResizeKernel::nearest:
        case ResizeKernel::area:
            return 0;
        case ResizeKernel::linear:
            return 1;
        case ResizeKernel::lanczos:
        case ResizeKernel::hann:
            return 3;
        default:
            return 2;
    }
}

// ---- lists

/// Integer taps that sum to 16384. The tiny addend sends exact ties upwards whatever the last bit of the weights is.
std::vector<std::int16_t> quantise(std::span<const double> weights) {
    const double sum = std::accumulate(weights.begin(), weights.end(), 0.0);
    std::vector<std::int16_t> taps(weights.size());
    std::transform(weights.begin(), weights.end(), taps.begin(),
                   [&](double w) { return static_cast<std::int16_t>(std::floor(unit * w / sum + 0.5 + 0x1p-30)); });
    auto& largest = *std::max_element(taps.begin(), taps.end());
    largest = static_cast<std::int16_t>(largest + unit - std::accumulate(taps.begin(), taps.end(), 0));
    return taps;
}

TapList nearestTap(int n, int m, int x) {
    return {static_cast<int>((2 * std::int64_t{x} + 1) * n / (2 * std::int64_t{m})), {unit}};
}

TapList areaTaps(int n, int m, int x) {
    const std::int64_t begin = std::int64_t{x} * n, end = begin + n;
    const std::int64_t first = begin / m, last = ceilDiv(end, m);
    TapList list{static_cast<int>(first), {}};
    std::vector<std::int64_t> rest;
    std::int64_t left = unit;
    for (std::int64_t i = first; i < last; ++i) {
        const std::int64_t covered = std::min(end, (i + 1) * m) - std::max(begin, i * m);
        list.taps.push_back(static_cast<std::int16_t>(unit * covered / n));
        rest.push_back(unit * covered % n);
        left -= list.taps.back();
    }
    std::vector<std::size_t> order(rest.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return rest[a] > rest[b]; });
    for (std::size_t k = 0; k < static_cast<std::size_t>(left); ++k) ++list.taps[order[k]];
    return list;
}

TapList kernelTaps(ResizeMethod method, int n, int m, int x) {
    // Everything in units of 1 / (2m) source samples: the centre is num, a sample is den, the radius is reach.
    const bool widened = method.antialias && n > m;
    const std::int64_t num = (2 * std::int64_t{x} + 1) * n - m, den = 2 * std::int64_t{m};
    const std::int64_t scale = widened ? 2 * std::int64_t{n} : den, reach = radius(method.kernel) * scale;
    const std::int64_t first =
        widened ? floorDiv(num - reach, den) + 1 : floorDiv(num, den) - radius(method.kernel) + 1;
    const std::int64_t count = widened ? ceilDiv(num + reach, den) - first : 2 * radius(method.kernel);
    std::vector<double> weights(static_cast<std::size_t>(count));
    for (std::int64_t k = 0; k < count; ++k) {
        const auto distance = static_cast<double>(std::abs(num - (first + k) * den));
        weights[static_cast<std::size_t>(k)] = weight(method.kernel, distance / static_cast<double>(scale));
    }
    return {static_cast<int>(first), quantise(weights)};
}

/// Moves what stands outside [0, n) onto the end samples and drops zeros at both ends.
void foldBorder(TapList& list, int n) {
    std::vector<std::int16_t> folded;
    const int lowest = std::clamp(list.first, 0, n - 1);
    for (std::size_t k = 0; k < list.taps.size(); ++k) {
        const auto at = static_cast<std::size_t>(std::clamp(list.first + static_cast<int>(k), 0, n - 1) - lowest);
        folded.resize(std::max(folded.size(), at + 1));
        folded[at] = static_cast<std::int16_t>(folded[at] + list.taps[k]);
    }
    while (folded.back() == 0) folded.pop_back();
    const auto start = std::find_if(folded.begin(), folded.end(), [](std::int16_t tap) { return tap != 0; });
    list.first = lowest + static_cast<int>(start - folded.begin());
    list.taps.assign(start, folded.end());
}

std::int64_t accountedTaps(ResizeMethod method, std::int64_t n, std::int64_t m) noexcept {
    const int a = radius(method.kernel);
    if (method.kernel == ResizeKernel::nearest) return 1;
    if (method.kernel == ResizeKernel::area) return ceilDiv(n, m) + 1;
    return method.antialias ? 2 * (n > m ? ceilDiv(a * n, m) : a) + 1 : 2 * a;
}

constexpr std::int64_t round64(std::int64_t bytes) noexcept {
    return (bytes + 63) / 64 * 64;
}

}  // namespace

Status squarePixelMethod(std::int32_t code, ResizeMethod& method) noexcept {
    constexpr std::uint32_t flags = resizeAntialiasing | resizeSubpixelEdge | resizeSmoothEdge;
    const auto bits = static_cast<std::uint32_t>(code);
    ResizeKernel kernel;
    switch (bits & ~flags) {
        case 1:
            kernel = ResizeKernel::nearest;
            break;
        case 2:
            kernel = ResizeKernel::linear;
            break;
        case 4:
            kernel = ResizeKernel::cubic;
            break;
        case 5:
            kernel = ResizeKernel::bSpline;
            break;
        case 6:
            kernel = ResizeKernel::catmullRom;
            break;
        case 7:
            kernel = ResizeKernel::softCubic;
            break;
        case 8:
            kernel = ResizeKernel::area;
            break;
        case 16:
            kernel = ResizeKernel::lanczos;
            break;
        default:
            return Status::badInterpolation;
    }
    const bool kernelWidens = kernel != ResizeKernel::nearest && kernel != ResizeKernel::area;
    method = {kernel, kernelWidens && (bits & resizeAntialiasing) != 0};
    return Status::ok;
}

TapList makeTaps(ResizeMethod method, int n, int m, int x) {
    if (method.kernel == ResizeKernel::nearest) return nearestTap(n, m, x);
    if (method.kernel == ResizeKernel::area) return areaTaps(n, m, x);
    return kernelTaps(method, n, m, x);
}

TapTable::TapTable(ResizeMethod method, int source, int destination) : source_(source) {
    const bool interpolates = method.kernel != ResizeKernel::bSpline && method.kernel != ResizeKernel::softCubic;
    identity_ = source == destination && interpolates;
    std::vector<TapList> lists(static_cast<std::size_t>(destination));
    first_.resize(lists.size());
    int next = source;  // first samples must not fall from one list to the next, whatever zeros were dropped
    for (int x = destination - 1; x >= 0; --x) {
        const auto i = static_cast<std::size_t>(x);
        lists[i] = makeTaps(method, source, destination, x);
        foldBorder(lists[i], source);
        first_[i] = next = std::min(next, lists[i].first);
        length_ = std::max(length_, lists[i].first - next + static_cast<int>(lists[i].taps.size()));
    }
    taps_.resize(lists.size() * static_cast<std::size_t>(stride()));
    auto row = taps_.begin();
    for (std::size_t i = 0; i < lists.size(); ++i, row += stride()) {
        first_[i] = std::min(first_[i], source - length_);  // equal lengths must not push a list over the end
        std::copy(lists[i].taps.begin(), lists[i].taps.end(), row + (lists[i].first - first_[i]));
    }
}

Status resizeWorkBytes(ResizeMethod method, int srcWidth, int srcHeight, int dstWidth, int dstHeight,
                       std::int64_t& bytes) noexcept {
    if (srcWidth < 1 || srcHeight < 1 || dstWidth < 1 || dstHeight < 1) return Status::badSize;
    if (method.kernel == ResizeKernel::area && (dstWidth > srcWidth || dstHeight > srcHeight)) return Status::badScale;
    const auto table = [&](std::int64_t n, std::int64_t m) {
        return round64((4 + 2 * accountedTaps(method, n, m)) * m);
    };
    bytes = table(srcWidth, dstWidth) + table(srcHeight, dstHeight) + round64(2 * (std::int64_t{srcWidth} + 16)) + 64;
    return Status::ok;
}

}  // namespace Orvel::primitives
