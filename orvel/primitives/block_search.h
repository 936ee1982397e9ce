#pragma once
#include <cstddef>
#include <cstdint>
#include <span>

#include "orvel/primitives/plane_view.h"

namespace Orvel::primitives {

/// Displacement in whole samples.
struct WholeVector {
    std::int32_t x, y;
};

/// A match of a block: the sum of absolute differences, and where it lies.
struct BlockMatch {
    std::int32_t sad;
    WholeVector vector;
};

/// An 8x8 block, and the picture in which matches are looked for around the same place (x, y).
struct SearchedBlock {
    const std::uint8_t* samples;
    std::ptrdiff_t step;
    ConstViewU8 ref;
    int x, y;
};

/// The search for the best match of a block on whole samples. Better is a lower sum, or the same sum and a shorter
/// vector (|x| + |y|). Vectors that lead out of the picture are passed over.
struct BlockSearch {
    /// Tries best's vector plus each of the candidates, in order. @return whether best was improved.
    bool (*tryVectors)(const SearchedBlock& block, std::span<const WholeVector> candidates, BlockMatch& best);
    /// Walks the large diamond up to 8 times and the small one once while the sum is above 255.
    void (*refine)(const SearchedBlock& block, BlockMatch& best);
    /// The best one of zero and the four predictors, refined. The block at (x, y) must lie inside the picture.
    BlockMatch (*search)(const SearchedBlock& block, const WholeVector (&predictors)[4]);
};
/// The form of it for this machine. A search asks once and uses it for every block.
const BlockSearch& blockSearch() noexcept;

}  // namespace Orvel::primitives
