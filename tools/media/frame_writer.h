#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "orvel/img/img.h"
#include "tools/media/atomic_file.h"
#include "tools/media/clip_info.h"
#include "tools/media/frame_shape.h"

namespace OrvelTool {

/// Writes pictures one after the other: headerless, or as a Y4M stream. The file appears under its name with finish().
/// Failures throw ToolError (outputFailed).
class FrameWriter {
public:
    /// @param path "-" for standard output.
    /// @param info container, format, size, oddChroma and, for Y4M, what its header tells; the format must fit.
    FrameWriter(const std::string& path, const ClipInfo& info);

    /// Appends a picture of the format and size of info.
    void write(const Orvel::Img& picture);
    void finish() { file_.commit(); }
    std::int64_t frames() const noexcept { return frames_; }

private:
    AtomicFile file_;
    FrameShape shape_;
    std::string frameLine_;  // in front of each frame
    std::vector<std::uint8_t> frame_;
    std::int64_t frames_ = 0;
};

}  // namespace OrvelTool
