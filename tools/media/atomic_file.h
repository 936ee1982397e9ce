#pragma once
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace OrvelTool {

/// An output file that appears under its name only when it is whole: bytes go to a temporary file beside the target,
/// commit() renames it. Until then, and after any failure, an existing target stays as it was.
///
/// "-" is standard output; it and whatever exists and is no regular file (a device, a pipe) is written directly.
/// Every failure throws ToolError with ExitCode::outputFailed.
class AtomicFile {
public:
    explicit AtomicFile(const std::string& path);
    /// Without commit() before: removes the temporary file.
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    void write(std::span<const std::uint8_t> bytes);
    void write(std::string_view text);
    /// Closes the file and gives it its name. Nothing may be written afterwards.
    void commit();

    /// The path as the user gave it, "standard output" for "-".
    const std::string& name() const noexcept { return name_; }

private:
    void openTemporary();
    void discard() noexcept;
    [[noreturn]] void fail(std::string_view what) const;

    std::string name_;
    std::string target_;     // symbolic links resolved
    std::string temporary_;  // empty when the target is written directly
    int fd_ = -1;
};

}  // namespace OrvelTool
