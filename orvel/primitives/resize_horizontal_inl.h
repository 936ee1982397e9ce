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

/// Two rows at a time, so that the tables are read once for both: their intermediate samples, the first one being
/// column tile.begin, and where the destination samples go. Both may be the same row.
template <class Sample>
struct RowPair {
    const std::int16_t* t[2];
    Sample* dst[2];
};

/// The samples of a tile, plain.
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
using Windows = ColumnLayout::Windows;
inline constexpr int blocksPerVector = int(hn::MaxLanes(DColumns())) / 8;

/// The tables of a ColumnLayout by value: what the loops write cannot change these pointers, and the compiler sees it.
struct ColumnTables {
    explicit ColumnTables(const ColumnLayout& layout)
        : start(layout.start.data()), shuffle(layout.shuffle.data()), taps(layout.taps.data()) {}
    const std::int32_t* start;
    const std::uint8_t* shuffle;
    const std::int16_t* taps;
};

/// The sums of two rows.
template <class V>
struct SumPair {
    V row[2];
};

/// Eight samples for each 16-byte block.
HWY_INLINE auto loadWindow(const std::int16_t* t, const std::int32_t* start) {
    const DColumns d;
    if constexpr (blocksPerVector == 2) {
        const hn::Half<DColumns> half;
        return hn::Combine(d, hn::LoadU(half, t + start[1]), hn::LoadU(half, t + start[0]));
    } else {
        return hn::LoadU(d, t + start[0]);
    }
}

/// Four samples for each block, two pairs of neighbours picked for each by the byte indices; indices from 16 on mean
/// the second window.
template <class V16, class V8>
HWY_INLINE V16 pick(V16 window, V16 second, V8 index) {
    const DColumns d16;
    const hn::Repartition<std::uint8_t, DColumns> d8;
    // What is not in a window gets an index with the top bit set, for which the lookup gives zero.
    const auto inFirst = hn::And(hn::Add(index, hn::Set(d8, std::uint8_t{0x70})), hn::Set(d8, std::uint8_t{0x8F}));
    const auto inSecond = hn::Sub(index, hn::Set(d8, std::uint8_t{16}));
    return hn::Or(hn::TableLookupBytesOr0(window, hn::BitCast(d16, inFirst)),
                  hn::TableLookupBytesOr0(second, hn::BitCast(d16, inSecond)));
}

/// The sums of the block (or two blocks) b of the layout.
template <int kPairs, Windows kWindows>
HWY_INLINE auto windowSums(const ColumnTables& tables, std::size_t b, const std::int16_t* t0, const std::int16_t* t1) {
    const DColumns d16;
    const hn::Repartition<std::uint8_t, DColumns> d8;
    const DSums d32;
    constexpr std::size_t pairs = kPairs;
    const std::size_t half = b / 2, side = b % 2;
    const std::int16_t* taps = tables.taps + half * pairs * 16 + side * 8;
    const std::int32_t* start = tables.start + b;
    constexpr int next = kWindows == Windows::two ? 8 : 0;
    auto index = hn::LoadU(d8, tables.shuffle + b * 16);
    auto window0 = loadWindow(t0, start), window1 = loadWindow(t1, start);
    const auto second0 = loadWindow(t0 + next, start), second1 = loadWindow(t1 + next, start);
    auto s0 = hn::Zero(d32), s1 = s0, r0 = s0, r1 = s0;
    for (std::size_t p = 0; p < pairs; ++p) {
        if (p > 0 && kWindows == Windows::onePerPair) {
            window0 = loadWindow(t0 + 2 * p, start);
            window1 = loadWindow(t1 + 2 * p, start);
        } else if (p > 0) {
            index = hn::Add(index, hn::Set(d8, std::uint8_t{4}));
        }
        const auto pair = [&](auto window, auto second) HWY_ATTR {
            if constexpr (kWindows == Windows::two)
                return pick(window, second, index);
            else
                return hn::TableLookupBytes(window, hn::BitCast(d16, index));
        };
        const auto weights = hn::LoadU(d16, taps + p * 16);
        addPairs(d32, pair(window0, second0), weights, s0, r0);
        addPairs(d32, pair(window1, second1), weights, s1, r1);
    }
    return SumPair<decltype(s0)>{{hn::RearrangeToOddPlusEven(s0, r0), hn::RearrangeToOddPlusEven(s1, r1)}};
}

template <class Finish, int kPairs, Windows kWindows, class Sample>
HWY_INLINE void windowGroup(const ColumnTables& tables, std::size_t g, const RowPair<Sample>& rows) {
    for (std::size_t i = 0; i < 2; i += blocksPerVector) {
        const auto lower = windowSums<kPairs, kWindows>(tables, g * 4 + i, rows.t[0], rows.t[1]);
        const auto upper = windowSums<kPairs, kWindows>(tables, g * 4 + i + 2, rows.t[0], rows.t[1]);
        for (int r = 0; r < 2; ++r) Finish::store(DSums(), lower.row[r], upper.row[r], rows.dst[r] + 8 * i);
    }
}

/// Calls makeGroup(g, rows) for the groups of a tile; the last group of the row may be shorter than 16 samples.
template <class Sample, class MakeGroup>
HWY_INLINE void forEachGroup(const ColumnLayout::Tile& tile, int width, const RowPair<Sample>& rows,
                             const MakeGroup& makeGroup) {
    constexpr int group = ColumnLayout::group;
    const int whole = width / group, last = tile.lastGroup;
    Sample rest[2][group];
    for (int g = tile.firstGroup; g < last; ++g) {
        const bool fits = g < whole;
        const RowPair<Sample> at{{rows.t[0], rows.t[1]},
                                 {fits ? rows.dst[0] + g * group : rest[0], fits ? rows.dst[1] + g * group : rest[1]}};
        makeGroup(static_cast<std::size_t>(g), at);
    }
    if (whole < last)
        for (int r = 0; r < 2; ++r) std::copy_n(rest[r], width - whole * group, rows.dst[r] + whole * group);
}

template <class Finish, int kPairs, Windows kWindows, class Sample>
void windowColumns(const ResizePlan& plan, const ColumnLayout::Tile& tile, const RowPair<Sample>& rows) {
    forEachGroup(tile, plan.dstWidth(), rows,
                 [tables = ColumnTables(plan.layout())](std::size_t g, const RowPair<Sample>& at)
                     HWY_ATTR { windowGroup<Finish, kPairs, kWindows>(tables, g, at); });
}

template <class Finish, Windows kWindows, class Sample>
void windowColumns(const ResizePlan& plan, const ColumnLayout::Tile& tile, const RowPair<Sample>& rows) {
    switch (plan.layout().pairs) {
        case 1:
            return windowColumns<Finish, 1, kWindows>(plan, tile, rows);
        case 2:
            return windowColumns<Finish, 2, kWindows>(plan, tile, rows);
        default:
            return windowColumns<Finish, 3, kWindows>(plan, tile, rows);
    }
}

#endif  // HWY_TARGET != HWY_SCALAR

/// The destination samples of a tile. ColumnLayout::tilePadding intermediate samples behind the tile may be read.
template <class Finish, class Sample>
HWY_INLINE void horizontalPass(const ResizePlan& plan, const ColumnLayout::Tile& tile, const RowPair<Sample>& rows) {
#if HWY_TARGET != HWY_SCALAR
    const ColumnLayout& layout = plan.layout();
    if (layout.form == ColumnLayout::Form::windows) {
        switch (layout.windows) {
            case Windows::one:
                return windowColumns<Finish, Windows::one>(plan, tile, rows);
            case Windows::onePerPair:
                return windowColumns<Finish, Windows::onePerPair>(plan, tile, rows);
            case Windows::two:
                return windowColumns<Finish, Windows::two>(plan, tile, rows);
        }
    }
#endif
    for (int r = 0; r < 2; ++r) plainColumns<Finish>(plan.columns(), tile, rows.t[r], rows.dst[r]);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
