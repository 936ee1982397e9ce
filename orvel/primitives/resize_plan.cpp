#include "orvel/primitives/resize_plan.h"

#include <algorithm>
#include <utility>

namespace Orvel::primitives {
namespace {

constexpr int windowSamples = 8, mostWindowPairs = 3;

int groupsOf(const TapTable& table) noexcept {
    return (table.size() + ColumnLayout::group - 1) / ColumnLayout::group;
}

/// First source sample of destination sample x; samples behind the last one repeat it.
int firstOf(const TapTable& table, int x) noexcept {
    return table.first(std::min(x, table.size() - 1));
}

/// Most source samples between the first ones of the lists of a block.
int widestBlock(const TapTable& table) noexcept {
    int samples = 0;
    for (int x = 0; x < table.size(); x += ColumnLayout::block)
        samples = std::max(samples, firstOf(table, x + ColumnLayout::block - 1) - table.first(x));
    return samples;
}

}  // namespace

ColumnLayout::ColumnLayout(const TapTable& table) {
    if (!cutTiles(table)) return;
    if (chooseWindows(table)) {
        layWindows(table);
        return;
    }
    form = Form::lists;
    PairTable paired(table, Strip::listsTogether);
    if (paired.reach(group) + Strip::columns / 2 > Strip::pairs) return;
    form = Form::strips;
    pairTable = std::move(paired);
}

/// @return false when strips are cheaper.
bool ColumnLayout::chooseWindows(const TapTable& table) {
    const int span = widestBlock(table), all = span + table.stride();
    pairs = table.stride() / 2;
    if (pairs > mostWindowPairs) return false;
    if (span + 2 <= windowSamples)
        windows = all <= windowSamples ? Windows::one : Windows::onePerPair;
    else
        windows = Windows::two;
    return windows != Windows::two || all <= 2 * windowSamples;
}

/// Cuts the row into tiles of as many groups as fit. @return false when one group does not.
bool ColumnLayout::cutTiles(const TapTable& table) {
    for (int g = 0; g < groupsOf(table); ++g) {
        const int begin = table.first(g * group), end = firstOf(table, g * group + group - 1) + table.length();
        if (end - begin > tileColumns) {
            tiles.clear();
            return false;
        }
        if (tiles.empty() || end - tiles.back().begin > tileColumns)
            tiles.push_back({g, g + 1, begin, end});
        else
            tiles.back().lastGroup = g + 1, tiles.back().end = end;
    }
    return true;
}

void ColumnLayout::layWindows(const TapTable& table) {
    form = Form::windows;
    constexpr int blockOrder[] = {0, 2, 1, 3};
    const auto blocks = static_cast<std::size_t>(groupsOf(table)) * 4, pairCount = static_cast<std::size_t>(pairs);
    start.resize(blocks);
    shuffle.resize(blocks * 16);
    taps.assign(blocks * pairCount * 8, 0);
    for (std::size_t b = 0; b < blocks; ++b) {
        const std::size_t half = b / 2, side = b % 2;
        const int x0 = static_cast<int>(b / 4) * group + block * blockOrder[b % 4];
        start[b] = firstOf(table, x0);
        for (std::size_t i = 0; i < block; ++i) {
            const int x = x0 + static_cast<int>(i);
            for (std::size_t byte = 0; byte < 4; ++byte)  // of two neighbouring samples
                shuffle[b * 16 + 4 * i + byte] =
                    static_cast<std::uint8_t>(2 * (firstOf(table, x) - start[b]) + int(byte));
            if (x >= table.size()) continue;
            for (std::size_t p = 0; p < pairCount; ++p)
                std::copy_n(table.taps(x) + 2 * p, 2, &taps[((half * pairCount + p) * 2 + side) * 8 + 2 * i]);
        }
    }
    constexpr int blocksPerGroup = group / block;
    for (const Tile& tile : tiles)
        for (int b = tile.firstGroup * blocksPerGroup; b < tile.lastGroup * blocksPerGroup; ++b)
            start[static_cast<std::size_t>(b)] -= tile.begin;
}

namespace {

/// The vertical lists of strips, if they share enough and fit.
PairTable sharedRows(const TapTable& table) {
    PairTable paired(table, 1);
    const bool pays = paired.mostPairs() > 2 && paired.reach(Strip::rows) <= Strip::sourcePairs;
    return pays ? std::move(paired) : PairTable();
}

}  // namespace

Status ResizePlan::build(ResizeMethod method, int srcWidth, int srcHeight, int dstWidth, int dstHeight) {
    std::int64_t bytes = 0;
    if (const Status fault = resizeWorkBytes(method, srcWidth, srcHeight, dstWidth, dstHeight, bytes);
        fault != Status::ok)
        return fault;
    TapTable rows(method, srcHeight, dstHeight), columns(method, srcWidth, dstWidth);
    ColumnLayout layout(columns);
    PairTable rowPairs = layout.form == ColumnLayout::Form::strips ? sharedRows(rows) : PairTable();
    method_ = method;
    rows_ = std::move(rows);
    columns_ = std::move(columns);
    layout_ = std::move(layout);
    rowPairs_ = std::move(rowPairs);
    return Status::ok;
}

}  // namespace Orvel::primitives
