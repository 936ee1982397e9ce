#pragma once
#include <cstdint>

namespace Orvel {

/// What the frame-rate converter is told. Rates are fractions of whole numbers, frames per second; all four numbers
/// must be positive.
struct FrameRateConvertParams {
    std::int32_t srcRateNum = 0;
    std::int32_t srcRateDen = 0;
    std::int32_t dstRateNum = 0;
    std::int32_t dstRateDen = 0;
    bool blend = false;         ///< true: mix the two frames around an output's time; false: repeat the nearer one
    bool keepUserData = false;  ///< the frames' user data travels on to the outputs
};

}  // namespace Orvel
