#pragma once
#include <cstdint>
#include <functional>

#include "orvel/img/img.h"
#include "tools/media/open_media.h"

/// Marks lie in 4:2:0 pictures and in one 8-bit format of 4:2:2; clips of other formats pass through it.
namespace OrvelTool {

using UsePicture = std::function<void(Orvel::Img& picture, std::int64_t frame)>;

/// A clip that is to be read from or written to: pictures, and how they are handled.
struct MarkedClip {
    FrameSource& source;
    const Orvel::FormatInfo& of422;  ///< the format of 4:2:2 that carries the mark
    const char* label;               ///< of the progress
    bool fields = false;             ///< pictures hold two fields, even if source does not say so
};

/// The format that the clip's pictures are read and marked in.
const Orvel::FormatInfo& carrierOf(const MarkedClip& clip);

/// Calls use with each picture, 4:2:0 clips as they are and others in the format of 4:2:2.
void readMarks(const MarkedClip& clip, const UsePicture& use);

/// Calls mark with each picture as readMarks() does, and writes the pictures so marked. All that mark leaves alone
/// stays as it was, as far as the output's format holds it. Throws ToolError (refused) for a clip that would lose
/// something on the way: more than 8 bits, RGB, packed pictures of odd width.
void writeMarks(const MarkedClip& clip, const ClipOutput& output, const InputOptions& options, const UsePicture& mark);

}  // namespace OrvelTool
