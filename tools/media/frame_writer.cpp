#include "tools/media/frame_writer.h"

#include <fmt/format.h>

#include <algorithm>
#include <span>

#include "tools/errors.h"
#include "tools/media/y4m_header.h"

namespace OrvelTool {

FrameWriter::FrameWriter(const std::string& path, const ClipInfo& info)
    : file_(path), shape_(*info.format, info.width, info.height, info.oddChroma) {
    if (info.container == Container::y4m) {
        file_.write(formatY4mHeader(info));
        frameLine_ = fmt::format("{}\n", y4mFrameMagic);
    }
    if (shape_.hasExtraColumn())
        notice(file_.name(), fmt::format("width {} is odd: the last chroma column is written twice", info.width));
    frame_.resize(frameLine_.size() + shape_.bytes());
    std::copy(frameLine_.begin(), frameLine_.end(), frame_.begin());
}

void FrameWriter::write(const Orvel::Img& picture) {
    shape_.pack(picture, std::span(frame_).subspan(frameLine_.size()));
    file_.write(frame_);
    ++frames_;
}

}  // namespace OrvelTool
