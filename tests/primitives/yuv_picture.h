#pragma once
#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <random>
#include <string>

#include "orvel/primitives/packed_422.h"
#include "orvel/primitives/stores.h"
#include "tests/support/guarded_plane.h"

// Pictures and plain oracles for the tests of the 4:2:2 and 4:2:0 conversions.

namespace Orvel::test {

using Plane = GuardedPlane<std::uint8_t>;
using primitives::ConstViewU8;
using primitives::PackedLayout;
using primitives::Status;
using primitives::Stores;
using primitives::ViewU8;

/// How the planes of a case lie in memory, with and without gaps between the rows, on even and odd addresses, and how
/// they are written. With gaps of 64 bytes, luma rows of some widths are on vector boundaries and chroma rows are not.
struct Placement {
    int padding, lead;
    Stores stores;
};
inline constexpr Placement placements[] = {
    {5, 61, Stores::streaming}, {0, 64, Stores::cached}, {0, 64, Stores::streaming}, {64, 64, Stores::streaming}};

struct YuvPlanes {
    Plane y, cb, cr;

    YuvPlanes(int width, int height, int chromaRows, Placement at = placements[0])
        : y(width, height, at.padding, at.lead),
          cb(width / 2, chromaRows, at.padding, at.lead + at.padding),
          cr(width / 2, chromaRows, at.padding, at.lead) {}

    void fillRandom(std::mt19937& rng) {
        for (Plane* plane : {&y, &cb, &cr}) plane->fillRandom(rng);
    }
    /// "" when all samples are equal and nobody wrote outside of these planes.
    std::string fault(const YuvPlanes& expected) const {
        if (!y.guardsIntact() || !cb.guardsIntact() || !cr.guardsIntact()) return "wrote outside the planes";
        for (const auto plane : {&YuvPlanes::y, &YuvPlanes::cb, &YuvPlanes::cr})
            if (const std::string text = (this->*plane).difference(expected.*plane); !text.empty()) return text;
        return {};
    }
};

/// The byte of packed 4:2:2 that holds the luma of pixel x, and the one that holds its chroma (Cb of even, Cr of odd
/// x).
inline int lumaAt(PackedLayout layout, int x) {
    return 2 * x + (layout == PackedLayout::uyvy ? 1 : 0);
}
inline int chromaAt(PackedLayout layout, int x) {
    return 2 * x + (layout == PackedLayout::uyvy ? 0 : 1);
}

/// Rows [0, rows) of packed become planes whose chroma at (x, y) is given by cb(x, y) and cr(x, y).
template <class Cb, class Cr>
void packInto(Plane& packed, PackedLayout layout, const Plane& y, int rows, const Cb& cb, const Cr& cr) {
    const int width = y.width(), lastPair = width / 2 - 1;
    for (int row = 0; row < rows; ++row)
        for (int x = 0; x < width; ++x) {
            packed.at(lumaAt(layout, x), row) = y.at(x, row);
            const int pair = std::min(x / 2, lastPair);
            packed.at(chromaAt(layout, x), row) = static_cast<std::uint8_t>(x % 2 == 0 ? cb(pair, row) : cr(pair, row));
        }
}

/// Luma rows [0, rows) of planes become those of packed; chroma row k becomes row(c, x, k), c(x, y) being the chroma of
/// packed, for k in [0, chromaRows).
template <class Row>
void splitInto(YuvPlanes& planes, PackedLayout layout, const Plane& packed, int rows, int chromaRows, const Row& row) {
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < planes.y.width(); ++x) planes.y.at(x, y) = packed.at(lumaAt(layout, x), y);
    for (const int odd : {0, 1}) {
        const auto c = [&](int x, int y) -> int { return packed.at(chromaAt(layout, 2 * x + odd), y); };
        Plane& chroma = odd != 0 ? planes.cr : planes.cb;
        for (int k = 0; k < chromaRows; ++k)
            for (int x = 0; x < chroma.width(); ++x) chroma.at(x, k) = static_cast<std::uint8_t>(row(c, x, k));
    }
}

/// Calls body(width, height, placement) for widths around every vector length and for one wide picture.
template <class Body>
void forEachSize(int minimumHeight, const Body& body) {
    for (const Placement at : placements) {
        for (int width = 2; width <= 65; ++width)
            for (int height = minimumHeight; height <= 9; ++height) body(width, height, at);
        for (const int width : {127, 128, 160, 192, 255, 256, 384, 1920}) body(width, minimumHeight + 1, at);
    }
}

/// A plane with the given column in every pixel column.
inline Plane columns(int width, std::initializer_list<int> column) {
    Plane plane(width, static_cast<int>(column.size()));
    for (int y = 0; y < plane.height(); ++y)
        for (int x = 0; x < width; ++x) plane.at(x, y) = static_cast<std::uint8_t>(column.begin()[y]);
    return plane;
}

/// The same picture, stored upside down: its flipped() view shows it upright.
inline Plane upsideDown(const Plane& plane) {
    Plane turned(plane.width(), plane.height(), 3);
    for (int y = 0; y < plane.height(); ++y)
        for (int x = 0; x < plane.width(); ++x) turned.at(x, plane.height() - 1 - y) = plane.at(x, y);
    return turned;
}

}  // namespace Orvel::test
