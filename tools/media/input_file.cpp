#include "tools/media/input_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tools/errors.h"

namespace OrvelTool {

InputFile::InputFile(const std::string& path) : name_(path == "-" ? "standard input" : path) {
    fd_ = path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0) {
        if (errno == EINTR) throwIfInterrupted();  // a named pipe waits for its writer
        fail("cannot be opened");
    }
    struct stat status = {};
    if (fstat(fd_, &status) == 0 && S_ISREG(status.st_mode)) size_ = status.st_size;
}

InputFile::~InputFile() {
    if (fd_ >= 0) close(fd_);
}

bool InputFile::startsWith(std::string_view bytes) {
    while (buffer_.size() - first_ < bytes.size() && fill()) {
    }
    return buffer_.size() - first_ >= bytes.size() &&
           std::memcmp(buffer_.data() + first_, bytes.data(), bytes.size()) == 0;
}

std::size_t InputFile::read(std::span<std::uint8_t> bytes) {
    std::size_t done = take(bytes);
    while (done < bytes.size()) {
        const std::size_t got = readSome(bytes.subspan(done));
        if (got == 0) break;
        done += got;
    }
    position_ += static_cast<std::int64_t>(done);
    return done;
}

std::optional<std::string> InputFile::readLine(std::size_t limit) {
    std::size_t length = 0;  // bytes of the buffer known to hold no newline
    for (;;) {
        const auto begin = buffer_.begin() + static_cast<std::ptrdiff_t>(first_);
        const auto newline = std::find(begin + static_cast<std::ptrdiff_t>(length), buffer_.end(), '\n');
        length = static_cast<std::size_t>(newline - begin);
        if (length > limit)
            throw ToolError(ExitCode::badInput, name_,
                            fmt::format("header line at byte {} is longer than {} characters", position_, limit));
        if (newline != buffer_.end()) {
            std::string line(begin, newline);
            first_ += length + 1;
            position_ += static_cast<std::int64_t>(length) + 1;
            return line;
        }
        if (!fill()) return std::nullopt;
    }
}

std::size_t InputFile::readAt(std::int64_t position, std::span<std::uint8_t> bytes) const {
    std::size_t done = 0;
    while (done < bytes.size()) {
        throwIfInterrupted();
        const ssize_t got =
            pread(fd_, bytes.data() + done, bytes.size() - done, position + static_cast<std::int64_t>(done));
        if (got == 0) break;
        if (got < 0 && errno != EINTR) fail("cannot be read");
        if (got > 0) done += static_cast<std::size_t>(got);
    }
    return done;
}

// Adds what is there to the buffer; false at the end of the input.
bool InputFile::fill() {
    buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(first_));
    first_ = 0;
    const std::size_t held = buffer_.size();
    buffer_.resize(held + bufferSize);
    const std::size_t got = readSome(std::span(buffer_).subspan(held));
    buffer_.resize(held + got);
    return got > 0;
}

std::size_t InputFile::take(std::span<std::uint8_t> bytes) {
    const std::size_t count = std::min(bytes.size(), buffer_.size() - first_);
    std::copy_n(buffer_.begin() + static_cast<std::ptrdiff_t>(first_), count, bytes.begin());
    first_ += count;
    return count;
}

std::size_t InputFile::readSome(std::span<std::uint8_t> bytes) {
    for (;;) {
        throwIfInterrupted();
        const ssize_t got = ::read(fd_, bytes.data(), bytes.size());
        if (got >= 0) return static_cast<std::size_t>(got);
        if (errno != EINTR) fail("cannot be read");
    }
}

void InputFile::fail(std::string_view what) const {
    const int reason = errno;
    throw ToolError(ExitCode::badInput, name_, fmt::format("{}: {}", what, std::strerror(reason)));
}

}  // namespace OrvelTool
