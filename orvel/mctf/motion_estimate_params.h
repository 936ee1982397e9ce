#pragma once
#include <cstdint>

namespace Orvel {

/// What the block motion search is told.
struct MotionEstimateImgParams {
    std::int32_t width = 0;  ///< luma size of the pictures to be searched, in pixels
    std::int32_t height = 0;
    bool subPel = false;           ///< refine to half samples after the whole-sample search
    std::int32_t blkCols = 0;      ///< 8x8 blocks in a row, derived: width / 8
    std::int32_t blkRows = 0;      ///< block rows, derived: height / 8
    std::int32_t poolThreads = 0;  ///< most threads of the search, 0 = one a core
    bool sceneCutDetect = false;   ///< look for a scene cut after each search
};

}  // namespace Orvel
