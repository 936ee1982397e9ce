#pragma once
#include <string>

#include "tools/media/clip_info.h"

namespace OrvelTool {

/// The format the pictures are processed in. @param name i420, yv16, hy16, or empty for the one closest to the source.
/// Throws ToolError: usage for another name, refused when the engine for it does not take the source.
const Orvel::FormatInfo& workingFormat(const ClipInfo& source, const std::string& name);

/// True when the engine for working takes pictures of the source's format.
bool takesAs(const Orvel::FormatInfo& working, const Orvel::FormatInfo& source);

/// The format in which the engine for working is given source's pictures: their own, but interlaced YUYV goes to 4:2:0
/// as UYVY, which loses nothing.
const Orvel::FormatInfo& engineInput(const ClipInfo& source, const Orvel::FormatInfo& working);

}  // namespace OrvelTool
