#pragma once
#include <cstdint>
#include <vector>

#include "orvel/primitives/status.h"

namespace Orvel::primitives {

/// Weighting curves of the resizers. Square-pixel model: destination sample x of m has its centre at
/// (x + 1/2) * n / m - 1/2 in the n source samples, sample centres at integers; samples beyond an end repeat the end.
enum class ResizeKernel : std::uint8_t {
    nearest,
    linear,
    cubic,       ///< the cubic polynomial through four samples
    bSpline,     ///< two-parameter cubics, (B, C) = (1, 0)
    catmullRom,  ///< (B, C) = (0, 1/2)
    softCubic,   ///< (B, C) = (1/2, 3/10)
    area,        ///< mean of the source interval [x * n / m, (x + 1) * n / m); reduces only
    lanczos,     ///< sinc(x) * sinc(x / 3), radius 3
    hann,        ///< sinc(x) * (1 + cos(pi * x / 3)) / 2, radius 3
};

struct ResizeMethod {
    ResizeKernel kernel = ResizeKernel::cubic;
    /// Widens the kernel by n / m where the size is reduced, so that no source sample is skipped. Without effect on
    /// nearest and area.
    bool antialias = false;

    friend bool operator==(const ResizeMethod&, const ResizeMethod&) = default;
};

inline constexpr ResizeMethod superSampling{ResizeKernel::area, false};
inline constexpr ResizeMethod lanczosFilter{ResizeKernel::lanczos, true};
inline constexpr ResizeMethod hannFilter{ResizeKernel::hann, true};

/// Flags of a square-pixel method code. The two edge flags are accepted and change nothing: the whole plane is the
/// region, and its border is replicated.
inline constexpr std::uint32_t resizeAntialiasing = 1u << 29, resizeSubpixelEdge = 1u << 30,
                               resizeSmoothEdge = 1u << 31;

/// The method of a square-pixel code: 1 nearest, 2 linear, 4 cubic, 5 bSpline, 6 catmullRom, 7 softCubic, 8 area,
/// 16 lanczos, OR-ed with the flags above. @return badInterpolation, with method untouched, for any other value.
Status squarePixelMethod(std::int32_t code, ResizeMethod& method) noexcept;

/// The source samples that make one destination sample: first, first + 1, ... Before the border is applied, so
/// samples may lie outside the source.
struct TapList {
    int first = 0;
    std::vector<std::int16_t> taps;  ///< 1/16384; they sum to 16384
};

/// Taps of destination sample x of m out of n source samples. Sizes at least 1, 0 <= x < m, m <= n for area.
/// Throws std::bad_alloc.
TapList makeTaps(ResizeMethod method, int n, int m, int x);

/// The tap lists of one direction with the border folded in: every list has the same length and lies inside the source.
/// What stands beyond the border is added to the tap of the end sample, which leaves every sum of products as it is.
/// First samples never fall from one list to the next.
class TapTable {
public:
    TapTable() = default;
    /// Sizes at least 1, destination <= source for area. Throws std::bad_alloc.
    TapTable(ResizeMethod method, int source, int destination);

    int source() const noexcept { return source_; }
    int size() const noexcept { return static_cast<int>(first_.size()); }  ///< destination samples
    int length() const noexcept { return length_; }                        ///< taps of every list, at most source()
    /// Every destination sample is the source sample of its index, so that the pass may be skipped. B-spline and soft
    /// cubic never are: they blur at equal sizes.
    bool identity() const noexcept { return identity_; }

    int first(int x) const noexcept { return first_[static_cast<std::size_t>(x)]; }
    /// length() taps, then zeros up to an even count.
    const std::int16_t* taps(int x) const noexcept {
        return taps_.data() + static_cast<std::size_t>(x) * static_cast<std::size_t>(stride());
    }
    int stride() const noexcept { return length_ + length_ % 2; }

private:
    int source_ = 0, length_ = 0;
    bool identity_ = false;
    std::vector<std::int32_t> first_;
    std::vector<std::int16_t> taps_;
};

/// Bytes of work memory that a resizer of these sizes accounts for: both tap tables, each rounded up to 64 bytes, one
/// row of 16-bit samples and a header.
/// @return badSize for a side below 1, badScale for area averaging that enlarges; bytes is then untouched.
Status resizeWorkBytes(ResizeMethod method, int srcWidth, int srcHeight, int dstWidth, int dstHeight,
                       std::int64_t& bytes) noexcept;

}  // namespace Orvel::primitives
