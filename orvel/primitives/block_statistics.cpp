#include "orvel/primitives/block_statistics.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/block_statistics.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/byte_differences_inl.h"
#include "orvel/primitives/row_loop_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

void activityOfBlocks(ConstViewU8 blocks, std::int32_t* activity, int count) {
    for (int i = 0; i < count; ++i) {
        const auto sumOf = [&](const auto& term) {
            int sum = 0;
            for (int y = 0; y < 8; ++y)
                for (int x = 8 * i; x < 8 * i + 8; ++x) sum += term(int{blocks.row(y)[x]});
            return sum;
        };
        const int mean = (sumOf([](int s) { return s; }) + 32) >> 6;
        activity[i] = sumOf([mean](int s) { return std::abs(s - mean); });
    }
}

void fineStructureOfBlocks(ConstViewU8 blocks, std::int32_t* structure, int count) {
    for (int i = 0; i < count; ++i) {
        structure[i] = 0;
        for (int y = 1; y < 7; ++y) {
            const std::uint8_t *above = blocks.row(y - 1), *here = blocks.row(y), *below = blocks.row(y + 1);
            const auto curve = [&](int x) { return above[x] - 2 * here[x] + below[x]; };
            for (int x = 8 * i + 1; x < 8 * i + 7; ++x)
                structure[i] += std::abs(curve(x - 1) - 2 * curve(x) + curve(x + 1));
        }
    }
}

/// Edge measures of the rows above and below of the first count blocks; steps are raised to them.
template <int side>
void raiseToRowEdges(ConstViewU8 grid, int row, int count, std::int32_t* steps) {
    for (int i = 0; i < count; ++i) {
        const auto lines = [&](int y) {  // between the rows y and y + 1
            const int x = i * side;
            const std::uint8_t *p = grid.row(y) + x, *q = grid.row(y + 1) + x;
            int sum = 0;
            for (int k = 0; k < side; ++k) sum += std::abs(p[k] - q[k]);
            return sum;
        };
        const int top = row * side, last = top + side - 1;
        if (top > 0) steps[i] = std::max(steps[i], lines(top - 1) - 2 * std::max(lines(top), lines(top + 1)));
        if (last + 1 < grid.height)
            steps[i] = std::max(steps[i], lines(last) - 2 * std::max(lines(last - 1), lines(last - 2)));
    }
}

#else

/// Calls body(d, x) for x = 0, .. with whole vectors of T, then with vectors of 8 lanes; width is a multiple of 8.
template <class T, class Body>
HWY_INLINE void forEachEight(int width, const Body& body) {
    const hn::ScalableTag<T> full;
    const hn::CappedTag<T, 8> eight;
    const int n = static_cast<int>(hn::Lanes(full));
    int x = 0;
    for (; x + n <= width; x += n) body(full, x);
    for (; x < width; x += 8) body(eight, x);
}

void activityOfBlocks(ConstViewU8 blocks, std::int32_t* activity, int count) {
    forEachEight<std::uint8_t>(8 * count, [&](auto d, int x) HWY_ATTR {
        const hn::Repartition<std::uint64_t, decltype(d)> d64;  // a lane for each block
        const auto sumOfDifferencesFrom = [&](auto value) HWY_ATTR {
            auto sum = hn::Zero(d64);
            for (int y = 0; y < 8; ++y) sum = hn::Add(sum, sumsOf8Differences(hn::LoadU(d, blocks.row(y) + x), value));
            return sum;
        };
        const auto sum = sumOfDifferencesFrom(hn::Zero(d));
        auto mean = hn::ShiftRight<6>(hn::Add(sum, hn::Set(d64, 32)));
        mean = hn::Or(mean, hn::ShiftLeft<8>(mean));
        mean = hn::Or(mean, hn::ShiftLeft<16>(mean));
        const auto means = hn::BitCast(d, hn::Or(mean, hn::ShiftLeft<32>(mean)));
        const auto result = sumOfDifferencesFrom(means);
        HWY_ALIGN std::uint64_t lanes[hn::MaxLanes(d64)];
        hn::Store(result, d64, lanes);
        for (std::size_t i = 0; i < hn::Lanes(d64); ++i)
            activity[static_cast<std::size_t>(x) / 8 + i] = static_cast<std::int32_t>(lanes[i]);
    });
}

void fineStructureOfBlocks(ConstViewU8 blocks, std::int32_t* structure, int count) {
    forEachEight<std::int16_t>(8 * count, [&](auto d, int x) HWY_ATTR {
        const hn::Rebind<std::uint8_t, decltype(d)> d8;
        const auto samples = [&](int y) HWY_ATTR { return hn::PromoteTo(d, hn::LoadU(d8, blocks.row(y) + x)); };
        const auto twice = [](auto v) HWY_ATTR { return hn::Add(v, v); };
        auto above = samples(0), here = samples(1), sum = hn::Zero(d);
        for (int y = 1; y < 7; ++y) {
            const auto below = samples(y + 1);
            const auto curve = hn::Sub(hn::Add(above, below), twice(here));
            // A row of a block is one group of 8 lanes, so the shifts reach the neighbours of its inner samples; what
            // they give for the first and the last is left out below.
            const auto beside = hn::Add(hn::ShiftLeftLanes<1>(d, curve), hn::ShiftRightLanes<1>(d, curve));
            sum = hn::Add(sum, hn::Abs(hn::Sub(beside, twice(curve))));
            above = here;
            here = below;
        }
        HWY_ALIGN std::int16_t lanes[hn::MaxLanes(d)];
        hn::Store(sum, d, lanes);
        for (std::size_t i = 0; i < hn::Lanes(d); i += 8)
            structure[(static_cast<std::size_t>(x) + i) / 8] =
                lanes[i + 1] + lanes[i + 2] + lanes[i + 3] + lanes[i + 4] + lanes[i + 5] + lanes[i + 6];
    });
}

/// Sums of the differences of side neighbouring samples, each in the first of its side / 4 lanes of 32 bits.
template <int side, class V, class D = hn::DFromV<V> >
HWY_INLINE auto sumsOfSide(V a, V b) {
    const hn::Repartition<std::int32_t, D> d32;
    if constexpr (side == 8) {
        return hn::BitCast(d32, sumsOf8Differences(a, b));
    } else {
        const hn::Repartition<std::uint16_t, D> d16;
        const auto pairs = hn::BitCast(d16, absDifference(a, b));
        const auto sums = hn::BitCast(d32, hn::Add(hn::And(pairs, hn::Set(d16, 255)), hn::ShiftRight<8>(pairs)));
        return hn::Add(hn::And(sums, hn::Set(d32, 0xFFFF)), hn::ShiftRight<16>(sums));
    }
}

/// Edge measures of the rows above and below of the first count blocks; steps are raised to them.
template <int side>
void raiseToRowEdges(ConstViewU8 grid, int row, int count, std::int32_t* steps) {
    const int top = row * side, last = top + side - 1, wholeEights = count * side / 8 * 8;
    const auto runOf = [&](auto d, int x) HWY_ATTR {
        const hn::Repartition<std::int32_t, decltype(d)> d32;
        const auto lines = [&](int y) HWY_ATTR {  // between the rows y and y + 1
            return sumsOfSide<side>(hn::LoadU(d, grid.row(y) + x), hn::LoadU(d, grid.row(y + 1) + x));
        };
        const auto measure = [&](int across, int inside, int furtherInside) HWY_ATTR {
            return hn::Sub(lines(across), hn::ShiftLeft<1>(hn::Max(lines(inside), lines(furtherInside))));
        };
        auto result = hn::Set(d32, std::numeric_limits<std::int32_t>::min());
        if (top > 0) result = hn::Max(result, measure(top - 1, top, top + 1));
        if (last + 1 < grid.height) result = hn::Max(result, measure(last, last - 1, last - 2));
        HWY_ALIGN std::int32_t lanes[hn::MaxLanes(d32)];
        hn::Store(result, d32, lanes);
        std::int32_t* to = steps + x / side;
        for (std::size_t i = 0; i < hn::Lanes(d32); i += side / 4, ++to) *to = std::max(*to, lanes[i]);
    };
    forEachEight<std::uint8_t>(wholeEights, runOf);
    if constexpr (side == 4)
        if (wholeEights < count * side) runOf(hn::CappedTag<std::uint8_t, 4>(), wholeEights);
}

#endif

/// sums[i] = sum over side rows of |s(x + i) - s(x + i + 1)|.
template <int side>
HWY_INLINE void columnDifferences(const ConstViewU8& rows, int x, int count, std::int16_t* sums) {
    forEachRun<std::int16_t>(count, [&](auto d, int i) HWY_ATTR {
        const hn::Rebind<std::uint8_t, decltype(d)> d8;
        auto sum = hn::Zero(d);
        for (int y = 0; y < side; ++y) {
            const std::uint8_t* p = rows.row(y) + x + i;
            sum = hn::Add(sum, hn::PromoteTo(d, absDifference(hn::LoadU(d8, p), hn::LoadU(d8, p + 1))));
        }
        hn::StoreU(sum, d, sums + i);
    });
}

/// Edge measures of the columns left and right of count blocks from first on; steps are raised to them.
template <int side>
void raiseToColumnEdges(ConstViewU8 grid, int row, int first, int count, std::int32_t* steps) {
    constexpr int blocksAtOnce = 64, noEdge = -20000;  // less than any measure, and so are its sums with one
    const hn::ScalableTag<std::int16_t> d;
    constexpr int lanes = static_cast<int>(hn::MaxLanes(d)), stride = std::max(lanes, side);
    std::int16_t sums[blocksAtOnce * side + side + stride] = {};  // [k]: between the columns k - 1 and k from the left
    const ConstViewU8 rows = grid.band(row * side, (row + 1) * side);
    for (int done = 0; done < count; done += blocksAtOnce) {
        const int left = (first + done) * side, width = std::min(blocksAtOnce, count - done) * side;
        const int firstSum = left == 0 ? 1 : 0, endSum = left + width == grid.width ? width : width + 1;
        sums[0] = sums[width] = noEdge;
        columnDifferences<side>(rows, left - 1 + firstSum, endSum - firstSum, sums + firstSum);
        for (int k = 0; k < width; k += stride) {
            const auto at = [&](int i) HWY_ATTR { return hn::LoadU(d, sums + k + i); };
            const auto measure = [&](int across, int inside, int furtherInside) HWY_ATTR {
                return hn::Sub(at(across), hn::ShiftLeft<1>(hn::Max(at(inside), at(furtherInside))));
            };
            HWY_ALIGN std::int16_t edges[lanes];  // of a block in the lane of its first column
            hn::Store(hn::Max(measure(0, 1, 2), measure(side, side - 1, side - 2)), d, edges);
            std::int32_t* step = steps + done + k / side;
            for (int i = 0; i < std::min(lanes, width - k); i += side, ++step)
                *step = std::max(*step, std::int32_t{edges[i]});
        }
    }
}

template <int side>
void raiseToEdges(ConstViewU8 grid, int row, int first, int count, std::int32_t* steps) {
    const ConstViewU8 fromFirst{grid.base + std::ptrdiff_t{first} * side, grid.step, count * side, grid.height};
    raiseToRowEdges<side>(fromFirst, row, count, steps);
    raiseToColumnEdges<side>(grid, row, first, count, steps);
}

void edgeStepsOfBlocks(ConstViewU8 grid, int side, int row, int first, int count, std::int32_t* steps) {
    if (side == 8) return raiseToEdges<8>(grid, row, first, count, steps);
    raiseToEdges<4>(grid, row, first, count, steps);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {

HWY_EXPORT(activityOfBlocks);
HWY_EXPORT(fineStructureOfBlocks);
HWY_EXPORT(edgeStepsOfBlocks);

namespace {

Status checkEightByEight(ConstViewU8 blocks, std::span<std::int32_t> results) noexcept {
    if (blocks.base == nullptr || results.data() == nullptr) return Status::nullPointer;
    if (blocks.height != 8 || blocks.width < 8 || results.size() > static_cast<std::size_t>(blocks.width) / 8)
        return Status::badSize;
    return Status::ok;
}

}  // namespace

Status blockActivity(ConstViewU8 blocks, std::span<std::int32_t> activity) noexcept {
    if (const Status fault = checkEightByEight(blocks, activity); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(activityOfBlocks)(blocks, activity.data(), static_cast<int>(activity.size()));
    return Status::ok;
}

Status blockFineStructure(ConstViewU8 blocks, std::span<std::int32_t> structure) noexcept {
    if (const Status fault = checkEightByEight(blocks, structure); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(fineStructureOfBlocks)(blocks, structure.data(), static_cast<int>(structure.size()));
    return Status::ok;
}

Status blockEdgeSteps(ConstViewU8 grid, int side, int row, int first, std::span<std::int32_t> steps) noexcept {
    if (grid.base == nullptr || steps.data() == nullptr) return Status::nullPointer;
    if (!grid.valid() || (side != 4 && side != 8) || grid.width % side != 0 || grid.height % side != 0)
        return Status::badSize;
    const int rows = grid.height / side, cols = grid.width / side;
    if (row < 0 || row >= rows || first < 0 || first >= cols || steps.size() > static_cast<std::size_t>(cols - first))
        return Status::badArgument;
    const bool alone = rows == 1 && cols == 1;
    std::fill(steps.begin(), steps.end(), alone ? 0 : std::numeric_limits<std::int32_t>::min());
    HWY_DYNAMIC_DISPATCH(edgeStepsOfBlocks)(grid, side, row, first, static_cast<int>(steps.size()), steps.data());
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
