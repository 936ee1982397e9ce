#pragma once
#include <cstdint>

namespace Orvel {

/// What the temporal filter knows about one block: 8x8 luma samples and the 4x4 of each chroma plane under them.
struct BlockData {
    std::int32_t mvx = 0, mvy = 0;    ///< luma displacement into the reference picture, quarter luma samples
    std::int32_t mvxU = 0, mvyU = 0;  ///< the same for the U plane, quarter chroma samples
    std::int32_t mvxV = 0, mvyV = 0;  ///< and for V
    std::int32_t sad = 0;             ///< cost of the luma match
    std::int32_t aux1 = 0, aux2 = 0;  ///< as they came with the motion
    std::int16_t unused[6] = {};
    std::int32_t activity = 0;    ///< spread of the luma samples around their mean, 0 .. 8160
    std::int32_t blockiness = 0;  ///< largest luma edge step of the prediction, may be negative
    std::int32_t unused2 = 0;
    std::int32_t lumaReduction = 0;    ///< levels by which luma is filtered less, 0 .. 5
    std::int32_t chromaReduction = 0;  ///< levels by which chroma is filtered less, 0 .. 5
    std::int32_t noise = 0;            ///< noise value, about 83 * 9 / 16 a step of deviation while it is small

    /// Zeroes every field.
    void initialize() noexcept { *this = {}; }
};

}  // namespace Orvel
