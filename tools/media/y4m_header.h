#pragma once
#include <string>
#include <string_view>

#include "tools/media/clip_info.h"

namespace OrvelTool {

inline constexpr std::string_view y4mMagic = "YUV4MPEG2 ";
inline constexpr std::string_view y4mFrameMagic = "FRAME";
inline constexpr std::size_t y4mMaxLine = 1024;  ///< longest header line that is read

/// Reads the first line of a Y4M stream, without its newline.
/// Accepted chroma: 420, 420jpeg, 420mpeg2, 420paldv (and none), 422, 422p16. Unknown X parameters are skipped.
/// @param name what an error message calls the stream. Throws ToolError (badInput).
ClipInfo parseY4mHeader(std::string_view line, const std::string& name);

/// The first line of a stream, with its newline. The format is I420, YV16 or HY16; an unknown rate becomes 30:1, an
/// unknown or mixed scan "?".
std::string formatY4mHeader(const ClipInfo& info);

/// True for the formats that Y4M can hold as they are.
bool fitsY4m(const Orvel::FormatInfo& format) noexcept;

}  // namespace OrvelTool
