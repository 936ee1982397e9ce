#pragma once
#include <string_view>

#include "orvel/mctf/motion_estimate_params.h"

namespace OrvelTool {

/// The motion search as the noise filter runs it, for pictures or fields of this size.
/// Throws ToolError (refused) with where and a hint when not one block fits in.
Orvel::MotionEstimateImgParams blockSearch(std::string_view where, int width, int height);

}  // namespace OrvelTool
