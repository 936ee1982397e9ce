#include "tools/media/y4m_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "tools/errors.h"
#include "tools/media/y4m_header.h"

namespace OrvelTool {
namespace {

bool isFrameLine(std::string_view line) {
    return line == y4mFrameMagic ||
           (line.substr(0, y4mFrameMagic.size()) == y4mFrameMagic && line[y4mFrameMagic.size()] == ' ');
}

}  // namespace

Y4mReader::Y4mReader(std::unique_ptr<InputFile> file, bool ignoreTail) : FrameSource(std::move(file), ignoreTail) {
    if (!file_->startsWith(y4mMagic))
        throw ToolError(ExitCode::badInput, name(), "is no Y4M stream: it does not begin with YUV4MPEG2",
                        "headerless pictures need --size WxH and --format");
    const auto line = file_->readLine(y4mMaxLine);
    if (!line) throw ToolError(ExitCode::badInput, name(), "ends within the Y4M header");
    info_ = parseY4mHeader(*line, name());
    settle();
    if (file_->size()) countFrames(*file_->size());
}

bool Y4mReader::readFrameHeader() {
    const std::int64_t position = file_->position();
    if (!file_->startsWith(y4mFrameMagic)) {
        std::uint8_t byte;
        if (file_->read({&byte, 1}) == 0) return false;
        if (!ignoreTail_) failNoFrame(framesRead_, position);
        return false;
    }
    const auto line = file_->readLine(y4mMaxLine);
    if (!line && ignoreTail_) return false;
    if (!line) failTruncated(framesRead_);
    if (!isFrameLine(*line)) failNoFrame(framesRead_, position);
    return true;
}

// Hops from frame line to frame line; looks at no pixels.
void Y4mReader::countFrames(std::int64_t fileBytes) {
    std::array<std::uint8_t, y4mMaxLine + 1> buffer;
    std::int64_t frames = 0, position = file_->position();
    for (; position < fileBytes; ++frames) {
        const std::size_t got = file_->readAt(position, buffer);
        const std::string_view text(reinterpret_cast<const char*>(buffer.data()), got);
        const std::size_t newline = text.find('\n');
        const bool whole = newline != text.npos;
        const bool cut = !whole && got < buffer.size();  // the file ends within the line
        if (!cut && (!whole || !isFrameLine(text.substr(0, newline)))) failNoFrame(frames, position);
        if (whole) position += static_cast<std::int64_t>(newline + 1 + frameBytes());
        if (cut || position > fileBytes) {
            if (!ignoreTail_) failTruncated(frames);
            break;
        }
    }
    info_.frames = frames;
}

void Y4mReader::failNoFrame(std::int64_t frame, std::int64_t position) const {
    throw ToolError(ExitCode::badInput, name(), fmt::format("no FRAME line for frame {} at byte {}", frame, position),
                    "the file is damaged, or its header gives a wrong size");
}

}  // namespace OrvelTool
