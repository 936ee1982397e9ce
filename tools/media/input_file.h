#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace OrvelTool {

/// An input read from front to back; "-" is standard input. Failures throw ToolError with ExitCode::badInput.
class InputFile {
public:
    explicit InputFile(const std::string& path);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    /// The path as the user gave it, "standard input" for "-".
    const std::string& name() const noexcept { return name_; }
    /// Bytes in the whole file; empty for what is no regular file.
    std::optional<std::int64_t> size() const noexcept { return size_; }
    /// Bytes read so far.
    std::int64_t position() const noexcept { return position_; }

    /// True when the next bytes are these; reads nothing away. At most bufferSize bytes.
    bool startsWith(std::string_view bytes);
    /// Reads into all of bytes. @return the number of bytes read, fewer only at the end of the input.
    std::size_t read(std::span<std::uint8_t> bytes);
    /// Reads a line of at most limit characters and its newline, which is not part of the result.
    /// @return empty when the input ends before; throws when the line is longer.
    std::optional<std::string> readLine(std::size_t limit);
    /// Reads at a position of a regular file without moving on. @return the number of bytes read.
    std::size_t readAt(std::int64_t position, std::span<std::uint8_t> bytes) const;

    static constexpr std::size_t bufferSize = 65536;

private:
    bool fill();
    std::size_t take(std::span<std::uint8_t> bytes);
    std::size_t readSome(std::span<std::uint8_t> bytes);
    [[noreturn]] void fail(std::string_view what) const;

    std::string name_;
    int fd_ = -1;
    std::optional<std::int64_t> size_;
    std::int64_t position_ = 0;
    std::vector<std::uint8_t> buffer_;
    std::size_t first_ = 0;  // unread bytes of the buffer: [first_, buffer_.size())
};

}  // namespace OrvelTool
