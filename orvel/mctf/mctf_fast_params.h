#pragma once
#include <cstdint>

#include "orvel/mctf/motion_estimate_params.h"

namespace Orvel {

/// What the motion-compensated temporal filter is told.
struct MCTFFastParams {
    std::int32_t width = 0;  ///< frame size in luma pixels; the pipeline fills it in
    std::int32_t height = 0;
    std::int32_t strength = 3;  ///< filter level, 0 (off) to 7
    /// The search; it takes width and height from above and, here, refines to half samples by default.
    MotionEstimateImgParams me{.subPel = true};
};

}  // namespace Orvel
