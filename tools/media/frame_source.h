#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "orvel/img/img.h"
#include "tools/media/clip_info.h"
#include "tools/media/frame_shape.h"
#include "tools/media/input_file.h"

namespace OrvelTool {

/// Pictures read one after the other from a file or standard input.
class FrameSource {
public:
    virtual ~FrameSource() = default;
    FrameSource(const FrameSource&) = delete;
    FrameSource& operator=(const FrameSource&) = delete;

    const ClipInfo& info() const noexcept { return info_; }
    const std::string& name() const noexcept { return file_->name(); }
    /// Bytes of one frame in the file, without what stands between frames.
    std::size_t frameBytes() const noexcept { return shape_->bytes(); }

    /// What the user says of the clip replaces what the file says.
    void setRate(Ratio rate) { info_.rate = rate; }
    void setScan(Scan scan) { info_.scan = scan; }

    /// Reads the next frame into picture, which has the format and size of info().
    /// @return false at the end. Throws ToolError (badInput) when the input ends within a frame, unless the incomplete
    /// frame is to be ignored: then it counts as the end.
    bool read(Orvel::Img& picture);

protected:
    FrameSource(std::unique_ptr<InputFile> file, bool ignoreTail) : file_(std::move(file)), ignoreTail_(ignoreTail) {}

    /// Takes what stands before a frame's pixels. @return false at the end of the input.
    virtual bool readFrameHeader() { return true; }
    /// Fixes the shape of the frames; info_ has format, size and oddChroma.
    void settle();
    [[noreturn]] void failTruncated(std::int64_t frame) const;

    std::unique_ptr<InputFile> file_;
    const bool ignoreTail_;
    ClipInfo info_;
    std::int64_t framesRead_ = 0;

private:
    std::unique_ptr<FrameShape> shape_;
    std::vector<std::uint8_t> frame_;
};

}  // namespace OrvelTool
