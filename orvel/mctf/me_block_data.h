#pragma once
#include <cstdint>

namespace Orvel {

/// What the motion search found for one 8x8 luma block.
struct MEBlockData {
    /// Cost of a block for which nothing has been evaluated; larger than any sum of differences.
    static constexpr std::int32_t noCost = 0x7FFFFFFF;

    std::int32_t sad = 0;   ///< sum of absolute differences between the block and its match, at most 16320
    std::int32_t mvx = 0;   ///< displacement into the reference picture in quarter samples, positive = right
    std::int32_t mvy = 0;   ///< positive = down
    std::int32_t aux1 = 0;  ///< carried along for the caller; the search leaves them 0
    std::int32_t aux2 = 0;
};

}  // namespace Orvel
