// The horizontal pass of the resizers: destination samples out of a row of 16-bit intermediate samples.
// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_RESIZE_HORIZONTAL_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_RESIZE_HORIZONTAL_INL_H_
#undef ORVEL_PRIMITIVES_RESIZE_HORIZONTAL_INL_H_
#else
#define ORVEL_PRIMITIVES_RESIZE_HORIZONTAL_INL_H_
#endif

#include <hwy/highway.h>

#include <algorithm>

#include "orvel/primitives/resize_vertical_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

/// Rounding and range of the finished samples.
template <class Sample, int kShift>
struct Finish {
    static Sample one(std::int32_t sum) {
        const std::int32_t v = roundShift<kShift>(sum);
        if constexpr (sizeof(Sample) == 1)
            return static_cast<Sample>(std::clamp(v, 0, 255));
        else
            return static_cast<Sample>(std::clamp(v, -signedBias, signedBias - 1) + signedBias);
    }
#if HWY_TARGET != HWY_SCALAR
    /// Stores the samples that two vectors of sums give.
    template <class D32, class V32>
    static HWY_INLINE void store(D32 d32, V32 lower, V32 upper, Sample* out) {
        const hn::Repartition<std::int16_t, D32> d16;
        const auto packed = packSums<kShift>(d32, lower, upper);
        if constexpr (sizeof(Sample) == 1) {
            const hn::Rebind<std::uint8_t, decltype(d16)> d8;
            hn::StoreU(hn::DemoteTo(d8, packed), d8, out);
        } else {
            ToSamples16{out}.put(d16, 0, packed);
        }
    }
#endif
};

/// Samples [firstGroup * 16, last) of a destination row, plain. t[0] is source column tile.begin.
template <class Finish, class Sample>
void plainColumns(const TapTable& table, const ColumnLayout::Tile& tile, const std::int16_t* t, Sample* dst) {
    const int last = std::min(tile.lastGroup * ColumnLayout::group, table.size());
    for (int x = tile.firstGroup * ColumnLayout::group; x < last; ++x) {
        const std::int16_t *from = t + (table.first(x) - tile.begin), *taps = table.taps(x);
        std::int32_t sum = 0;
        for (int k = 0; k < table.length(); ++k) sum += taps[k] * from[k];
        dst[x] = Finish::one(sum);
    }
}

#if HWY_TARGET != HWY_SCALAR

using DColumns = hn::CappedTag<std::int16_t, 16>;
using DSums = hn::Repartition<std::int32_t, DColumns>;
inline constexpr int blocksPerVector = int(hn::MaxLanes(DColumns())) / 8;

/// Eight samples for each 16-byte block.
HWY_INLINE auto loadWindow(const std::int16_t* t, const std::int32_t* start, int offset) {
    const DColumns d;
    if constexpr (blocksPerVector == 2) {
        const hn::Half<DColumns> half;
        return hn::Combine(d, hn::LoadU(half, t + (start[1] + offset)), hn::LoadU(half, t + (start[0] + offset)));
    } else {
        return hn::LoadU(d, t + (start[0] + offset));
    }
}

/// The sums of the block (or two blocks) b of the layout.
template <int kPairs, int kWindows>
HWY_INLINE auto windowSums(const ColumnLayout& layout, std::size_t b, const std::int16_t* t, int begin) {
    const DColumns d16;
    const hn::Repartition<std::uint8_t, DColumns> d8;
    const DSums d32;
    const int pairs = kPairs != 0 ? kPairs : layout.pairs;
    const std::size_t half = b / 2, side = b % 2;
    const std::uint8_t* shuffle = layout.shuffle.data() + half * kWindows * 32 + side * 16;
    const std::int16_t* taps = layout.taps.data() + half * std::size_t(pairs) * 16 + side * 8;
    const std::int32_t* start = layout.start.data() + b;
    const auto index0 = hn::BitCast(d16, hn::LoadU(d8, shuffle));
    auto s0 = hn::Zero(d32), s1 = s0;
    for (int p = 0; p < pairs; ++p) {
        const int offset = 2 * p - begin;
        auto samples = loadWindow(t, start, offset);
        if constexpr (kWindows == 1) {
            samples = hn::TableLookupBytes(samples, index0);
        } else {
            const auto index1 = hn::BitCast(d16, hn::LoadU(d8, shuffle + 32));
            const auto next = loadWindow(t, start, offset + 8);
            samples = hn::Or(hn::TableLookupBytesOr0(samples, index0), hn::TableLookupBytesOr0(next, index1));
        }
        addPairs(d32, samples, hn::LoadU(d16, taps + p * 16), s0, s1);
    }
    return hn::RearrangeToOddPlusEven(s0, s1);
}

/// Per block of 16 bytes, the sums of the four lanes of a, b, c and d.
template <class D32, class V32>
HWY_INLINE V32 sumOfEach(D32 d32, V32 a, V32 b, V32 c, V32 d) {
    const hn::Repartition<std::int64_t, D32> d64;
    const auto ab = hn::BitCast(d64, hn::Add(hn::InterleaveLower(d32, a, b), hn::InterleaveUpper(d32, a, b)));
    const auto cd = hn::BitCast(d64, hn::Add(hn::InterleaveLower(d32, c, d), hn::InterleaveUpper(d32, c, d)));
    return hn::Add(hn::BitCast(d32, hn::InterleaveLower(d64, ab, cd)),
                   hn::BitCast(d32, hn::InterleaveUpper(d64, ab, cd)));
}

/// Sums of four neighbouring lists from list x on; a 256-bit vector holds two halves of each.
HWY_INLINE auto dotSums(const ColumnLayout& layout, std::size_t x, const std::int16_t* t, int begin) {
    const DColumns d16;
    const DSums d32;
    const auto length = static_cast<std::size_t>(layout.dotLength);
    const auto one = [&](std::size_t list) HWY_ATTR {
        const std::int16_t *from = t + (layout.start[list] - begin), *taps = layout.taps.data() + list * length;
        auto s0 = hn::Zero(d32), s1 = s0;
        for (std::size_t k = 0; k < length; k += hn::Lanes(d16))
            addPairs(d32, hn::LoadU(d16, from + k), hn::LoadU(d16, taps + k), s0, s1);
        return hn::Add(s0, s1);
    };
    return sumOfEach(d32, one(x), one(x + 1), one(x + 2), one(x + 3));
}

/// The 16 samples of group g.
template <class Finish, class Sample>
HWY_INLINE void dotGroup(const ColumnLayout& layout, int g, const std::int16_t* t, int begin, Sample* out) {
    const DSums d32;
    const auto x = static_cast<std::size_t>(g) * ColumnLayout::group;
    const auto q0 = dotSums(layout, x, t, begin), q1 = dotSums(layout, x + 4, t, begin);
    const auto q2 = dotSums(layout, x + 8, t, begin), q3 = dotSums(layout, x + 12, t, begin);
    if constexpr (blocksPerVector == 2) {
        const auto joined = [&](auto a, auto b) HWY_ATTR {
            return hn::Add(hn::ConcatLowerLower(d32, b, a), hn::ConcatUpperUpper(d32, b, a));
        };
        Finish::store(d32, joined(q0, q2), joined(q1, q3), out);
    } else {
        Finish::store(d32, q0, q1, out);
        Finish::store(d32, q2, q3, out + 8);
    }
}

template <class Finish, int kPairs, int kWindows, class Sample>
HWY_INLINE void windowGroup(const ColumnLayout& layout, int g, const std::int16_t* t, int begin, Sample* out) {
    const auto b = static_cast<std::size_t>(g) * 4;
    for (std::size_t i = 0; i < 2; i += blocksPerVector)
        Finish::store(DSums(), windowSums<kPairs, kWindows>(layout, b + i, t, begin),
                      windowSums<kPairs, kWindows>(layout, b + i + 2, t, begin), out + 8 * i);
}

/// Calls makeGroup(g, out) for the groups of a tile; the last group of the row may be shorter than 16 samples.
template <class Sample, class MakeGroup>
HWY_INLINE void forEachGroup(const ColumnLayout::Tile& tile, int width, Sample* dst, const MakeGroup& makeGroup) {
    const int whole = std::min(tile.lastGroup, width / ColumnLayout::group);
    for (int g = tile.firstGroup; g < whole; ++g) makeGroup(g, dst + g * ColumnLayout::group);
    if (whole == tile.lastGroup) return;
    Sample rest[ColumnLayout::group];
    makeGroup(whole, rest);
    std::copy_n(rest, width - whole * ColumnLayout::group, dst + whole * ColumnLayout::group);
}

template <class Finish, int kPairs, int kWindows, class Sample>
void windowColumns(const ResizePlan& plan, const ColumnLayout::Tile& tile, const std::int16_t* t, Sample* dst) {
    forEachGroup(tile, plan.dstWidth(), dst, [&](int g, Sample* out) HWY_ATTR {
        windowGroup<Finish, kPairs, kWindows>(plan.layout(), g, t, tile.begin, out);
    });
}

template <class Finish, int kWindows, class Sample>
void windowColumns(const ResizePlan& plan, const ColumnLayout::Tile& tile, const std::int16_t* t, Sample* dst) {
    switch (plan.layout().pairs) {
        case 1:
            return windowColumns<Finish, 1, kWindows>(plan, tile, t, dst);
        case 2:
            return windowColumns<Finish, 2, kWindows>(plan, tile, t, dst);
        case 3:
            return windowColumns<Finish, 3, kWindows>(plan, tile, t, dst);
        default:
            return windowColumns<Finish, 0, kWindows>(plan, tile, t, dst);
    }
}

#endif  // HWY_TARGET != HWY_SCALAR

/// The destination samples of a tile out of its intermediate samples; t[0] is column tile.begin and
/// ColumnLayout::tilePadding samples behind the tile may be read.
template <class Finish, class Sample>
HWY_INLINE void horizontalPass(const ResizePlan& plan, const ColumnLayout::Tile& tile, const std::int16_t* t,
                               Sample* dst) {
#if HWY_TARGET == HWY_SCALAR
    plainColumns<Finish>(plan.columns(), tile, t, dst);
#else
    const ColumnLayout& layout = plan.layout();
    if (layout.form == ColumnLayout::Form::dots)
        forEachGroup(tile, plan.dstWidth(), dst,
                     [&](int g, Sample* out) HWY_ATTR { dotGroup<Finish>(layout, g, t, tile.begin, out); });
    else if (layout.windows == 1)
        windowColumns<Finish, 1>(plan, tile, t, dst);
    else
        windowColumns<Finish, 2>(plan, tile, t, dst);
#endif
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
