#include "tools/media/frame_source.h"

#include <fmt/format.h>

#include "tools/errors.h"

namespace OrvelTool {

void FrameSource::settle() {
    shape_ = std::make_unique<FrameShape>(*info_.format, info_.width, info_.height, info_.oddChroma);
}

bool FrameSource::read(Orvel::Img& picture) {
    throwIfInterrupted();
    if (!readFrameHeader()) return false;
    if (frame_.empty()) {
        frame_.resize(shape_->bytes());
        if (shape_->hasExtraColumn())
            notice(name(), fmt::format("width {} is odd: the last chroma column of the file is dropped", info_.width));
    }
    const std::size_t got = file_->read(frame_);
    if (got < frame_.size()) {
        const bool clean = got == 0 && info_.container == Container::raw;
        if (clean && framesRead_ == 0) throw ToolError(ExitCode::badInput, name(), "is empty");
        if (clean || ignoreTail_) return false;
        failTruncated(framesRead_);
    }
    shape_->unpack(frame_, picture);
    ++framesRead_;
    return true;
}

void FrameSource::failTruncated(std::int64_t frame) const {
    throw ToolError(ExitCode::badInput, name(), fmt::format("ends within frame {}", frame),
                    fmt::format("--ignore-tail takes the {} whole ones", frame));
}

}  // namespace OrvelTool
