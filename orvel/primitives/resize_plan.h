#pragma once
#include <cstdint>
#include <vector>

#include "orvel/primitives/resize_pairs.h"
#include "orvel/primitives/resize_taps.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

/// Destination rows that are made together where the tap lists are long. Bands of whole strips are the cheapest.
struct Strip {
    static constexpr int rows = 16;
    static constexpr int columns = 128;      ///< source columns that are made at a time
    static constexpr int pairs = 512;        ///< most pairs of columns that are held: 32 KB
    static constexpr int sourcePairs = 64;   ///< most pairs of source rows of a strip, 128 columns of which take 32 KB
    static constexpr int listsTogether = 2;  ///< of the horizontal lists
};

/// The horizontal tap lists, laid out for vectors that make `group` destination samples at a time out of a row of
/// 16-bit samples.
///
/// Form windows: four neighbouring samples (a block, 16 bytes) take each pair of taps out of windows of eight source
/// samples with a byte shuffle. The blocks of a group stand in the order 0, 2, 1, 3, because packing two 256-bit
/// vectors of sums joins their lower halves first.
///
/// Form strips, for lists that are too long for that: they stand in pairTable and serve all rows of a strip at once.
///
/// Form lists, where a group needs more source samples than a strip holds: the plain tap table is used.
///
/// Form chunks, where it needs more than a tile holds: the plain tap table is used piece by piece.
struct ColumnLayout {
    enum class Form : std::uint8_t { windows, strips, lists, chunks };
    enum class Windows : std::uint8_t {
        one,         ///< one window holds the samples of all pairs of a block
        onePerPair,  ///< one window holds those of a pair; the next pair's begins two samples later
        two,         ///< two windows side by side hold all
    };
    /// Destination groups [firstGroup, lastGroup) and the source columns [begin, end) that they need.
    struct Tile {
        int firstGroup, lastGroup, begin, end;
    };

    static constexpr int group = 16;
    static constexpr int block = 4;
    static constexpr int tileColumns = 4096;  ///< most source columns of a tile: 8 KB of 16-bit samples
    static constexpr int tilePadding = 16;    ///< samples that windows may reach behind a tile, with zero taps

    ColumnLayout() = default;
    explicit ColumnLayout(const TapTable& table);  ///< throws std::bad_alloc

    Form form = Form::chunks;
    Windows windows = Windows::one;
    int pairs = 0;                      ///< windows: pairs of taps of a list, 1 to 3
    std::vector<std::int32_t> start;    ///< windows: [block], first source sample, from the tile's begin
    std::vector<std::uint8_t> shuffle;  ///< windows: [block][16], byte indices of the first pair; each next pair adds 4
    std::vector<std::int16_t> taps;     ///< windows: [group][half][pair][2 blocks][8]
    PairTable pairTable;                ///< strips
    std::vector<Tile> tiles;

private:
    bool chooseWindows(const TapTable& table);
    void layWindows(const TapTable& table);
    bool cutTiles(const TapTable& table);
};

/// All that resizing planes of one size to another needs to know ahead: the tap lists of both directions. Immutable
/// once built, so that any number of threads may work from one plan.
class ResizePlan {
public:
    /// A plan that no plane fits.
    ResizePlan() = default;
    /// @return badSize for a side below 1, badScale for area averaging that enlarges; the plan is then as it was.
    /// Throws std::bad_alloc, likewise.
    Status build(ResizeMethod method, int srcWidth, int srcHeight, int dstWidth, int dstHeight);

    bool built() const noexcept { return rows_.size() > 0; }
    ResizeMethod method() const noexcept { return method_; }
    int srcWidth() const noexcept { return columns_.source(); }
    int srcHeight() const noexcept { return rows_.source(); }
    int dstWidth() const noexcept { return columns_.size(); }
    int dstHeight() const noexcept { return rows_.size(); }

    const TapTable& rows() const noexcept { return rows_; }        ///< vertical taps
    const TapTable& columns() const noexcept { return columns_; }  ///< horizontal taps
    const ColumnLayout& layout() const noexcept { return layout_; }
    /// Vertical taps where the rows of a strip had better be made together: the layout has strips, and source rows
    /// enough are in common but no more than fit. Otherwise empty.
    const PairTable& rowPairs() const noexcept { return rowPairs_; }

private:
    ResizeMethod method_;
    TapTable rows_, columns_;
    ColumnLayout layout_;
    PairTable rowPairs_;
};

}  // namespace Orvel::primitives
