#pragma once
#include <memory>

#include "tools/media/frame_source.h"

namespace OrvelTool {

/// Frames of a Y4M stream. In a regular file the frames are counted, and a truncated one found, before the first is
/// read. Malformed input throws ToolError (badInput).
class Y4mReader : public FrameSource {
public:
    Y4mReader(std::unique_ptr<InputFile> file, bool ignoreTail);

private:
    bool readFrameHeader() override;
    void countFrames(std::int64_t fileBytes);
    [[noreturn]] void failNoFrame(std::int64_t frame, std::int64_t position) const;
};

}  // namespace OrvelTool
