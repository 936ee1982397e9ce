#include "orvel/primitives/half_sample_planes.h"

#include <algorithm>
#include <new>

#include "orvel/primitives/clamped_window.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/half_sample_planes.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/luma_filter_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

/// The last six rows that passed by.
template <class V>
struct LastSix {
    HWY_INLINE void push(V v) {
        for (int i = 0; i < 5; ++i) rows[i] = rows[i + 1];
        rows[5] = v;
    }
    HWY_INLINE V outer() const { return hn::Add(rows[0], rows[5]); }
    HWY_INLINE V middle() const { return hn::Add(rows[1], rows[4]); }
    HWY_INLINE V inner() const { return hn::Add(rows[2], rows[3]); }

    V rows[6];
};

/// The half samples of one tile. window: the tile's samples with 2 columns and rows more before and 3 more behind; its
/// width without these is a multiple of every vector's lanes. Rows of the three results are step bytes apart.
void filterTile(ConstViewU8 window, std::uint8_t* right, std::uint8_t* below, std::uint8_t* centre,
                std::ptrdiff_t step) {
    const hn::CappedTag<std::int16_t, 32> d16;
    const hn::Rebind<std::uint8_t, decltype(d16)> d8;
    using V16 = hn::Vec<decltype(d16)>;
    const int n = static_cast<int>(hn::Lanes(d16)), rows = window.height - 5;

    for (int x = 0; x < window.width - 5; x += n) {
        // A column as wide as a vector, from top to bottom: each sum is made once and serves six rows.
        LastSix<V16> sums, samples;
        const auto read = [&](int y) HWY_ATTR {
            const std::uint8_t* p = window.row(y) + x;
            sums.push(sixTapSum(d16, p, 1));
            samples.push(hn::PromoteTo(d16, hn::LoadU(d8, p + 2)));
        };
        for (int y = 0; y < 5; ++y) read(y);
        for (int y = 0; y < rows; ++y) {
            read(y + 5);
            const std::ptrdiff_t to = y * step + x;
            hn::StoreU(halfSample(d16, sums.rows[2]), d8, right + to);
            hn::StoreU(halfSample(d16, sixTapSum(samples.outer(), samples.middle(), samples.inner())), d8, below + to);
            hn::StoreU(centreSample(d16, sums.outer(), sums.middle(), sums.inner()), d8, centre + to);
        }
    }
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {

HWY_EXPORT(filterTile);

namespace {
constexpr int tileWidth = 64;
}  // namespace

bool HalfSamplePlanes::allocate(int width, int height) noexcept {
    deallocate();
    if (width < 1 || height < 1) return false;
    // Whole tiles: what they hold beyond the last column is never looked at.
    const std::int64_t rowBytes = (std::int64_t{width} + tileWidth) / tileWidth * tileWidth;
    const std::int64_t rows = 3 * (std::int64_t{height} + 1);
    if (rowBytes > PTRDIFF_MAX / rows) return false;
    samples_.reset(new (std::nothrow) std::uint8_t[static_cast<std::size_t>(rowBytes * rows)]);
    if (samples_ == nullptr) return false;
    rowBytes_ = static_cast<std::ptrdiff_t>(rowBytes);
    width_ = width;
    height_ = height;
    return true;
}

void HalfSamplePlanes::deallocate() noexcept {
    samples_.reset();
    rowBytes_ = 0;
    width_ = height_ = 0;
}

Status HalfSamplePlanes::fillBand(ConstViewU8 plane, int band) noexcept {
    if (plane.base == nullptr) return Status::nullPointer;
    if (plane.width != width_ || plane.height != height_ || height_ == 0) return Status::badSize;
    if (band < 0 || band >= numBands()) return Status::badArgument;
    const int y = band * bandRows - 1, rows = std::min(bandRows, height_ - y);
    for (int x = -1; x < width_; x += tileWidth) {
        const ClampedWindow<tileWidth + 5, bandRows + 5> window(plane, x - 2, y - 2, tileWidth + 5, rows + 5);
        HWY_DYNAMIC_DISPATCH(filterTile)
        (window.view(), at(0, x, y), at(1, x, y), at(2, x, y), step());
    }
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
