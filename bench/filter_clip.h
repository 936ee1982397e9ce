#pragma once
#include <map>
#include <string>

#include "bench/clip.h"

namespace Orvel::bench {

/// Runs a whole clip through FFmpeg's filters.
/// @param interlaced whether the pictures are marked as interlaced, with the top field first
/// @param instantsPerFrame 1 or 2: a result is filed under when it is to be shown, in frames or in fields.
/// Throws std::runtime_error when FFmpeg is not installed, refuses the filters or fails.
std::map<int, Picture> filterClip(const std::string& filters, const Clip& clip, bool interlaced, int instantsPerFrame);

}  // namespace Orvel::bench
