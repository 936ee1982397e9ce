#pragma once
#include <cstdint>
#include <vector>

#include "orvel/primitives/resize_taps.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

/// The horizontal tap lists, laid out for vectors that make `group` destination samples at a time out of a row of
/// 16-bit samples.
///
/// Form windows: four neighbouring samples (a block, 16 bytes) take each pair of taps out of windows of eight source
/// samples with a byte shuffle. The blocks of a group stand in the order 0, 2, 1, 3, because packing two 256-bit
/// vectors of sums joins their lower halves first.
///
/// Form dots: each sample has its taps in one piece, padded with zeros to a multiple of 16.
///
/// Form chunks: a group needs more source samples than a tile holds; the plain tap table is used piece by piece.
struct ColumnLayout {
    enum class Form : std::uint8_t { windows, dots, chunks };
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
    static constexpr int tilePadding = 48;    ///< samples that loads may read behind a tile, with zero taps

    ColumnLayout() = default;
    explicit ColumnLayout(const TapTable& table);  ///< throws std::bad_alloc

    Form form = Form::chunks;
    Windows windows = Windows::one;
    int pairs = 0;                      ///< windows: pairs of taps of a list
    int dotLength = 0;                  ///< dots: taps of a list
    std::vector<std::int32_t> start;    ///< first source sample, from the tile's begin: of each block, or of each list
    std::vector<std::uint8_t> shuffle;  ///< windows: [block][16], byte indices of the first pair; each next pair adds 4
    std::vector<std::int16_t> taps;     ///< windows: [group][half][pair][2 blocks][8]; dots: [sample][dotLength]
    std::vector<Tile> tiles;

private:
    bool chooseWindows(const TapTable& table);
    void layWindows(const TapTable& table);
    void layDots(const TapTable& table);
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

private:
    ResizeMethod method_;
    TapTable rows_, columns_;
    ColumnLayout layout_;
};

}  // namespace Orvel::primitives
