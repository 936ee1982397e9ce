#include "orvel/primitives/histogram.h"

#include <algorithm>

namespace Orvel::primitives {

Status histogramRange(ConstViewU8 src, std::span<const std::int32_t> levels, std::span<std::int32_t> counts) noexcept {
    if (src.base == nullptr || levels.data() == nullptr || counts.data() == nullptr) return Status::nullPointer;
    if (!src.valid()) return Status::badSize;
    if (levels.size() < 2 || counts.size() != levels.size() - 1) return Status::badArgument;

    std::int32_t samples[4][256] = {};  // four tables: runs of one value would wait for their own counter
    for (int y = 0; y < src.height; ++y) {
        const std::uint8_t* row = src.row(y);
        for (int x = 0; x < src.width; ++x) ++samples[x & 3][row[x]];
    }
    for (std::size_t k = 0; k < counts.size(); ++k) {
        counts[k] = 0;
        for (int v = std::max(levels[k], 0); v < std::min(levels[k + 1], 256); ++v)
            counts[k] += samples[0][v] + samples[1][v] + samples[2][v] + samples[3][v];
    }
    return Status::ok;
}

}  // namespace Orvel::primitives
