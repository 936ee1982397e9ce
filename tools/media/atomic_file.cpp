#include "tools/media/atomic_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "tools/errors.h"

namespace OrvelTool {
namespace {

mode_t newFileMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

AtomicFile::AtomicFile(const std::string& path) : name_(path), target_(path) {
    if (path == "-") {
        name_ = "standard output";
        fd_ = dup(STDOUT_FILENO);
        if (fd_ < 0) fail("cannot be written");
        return;
    }
    struct stat status = {};
    const bool exists = stat(path.c_str(), &status) == 0;
    if (exists && !S_ISREG(status.st_mode)) {
        fd_ = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        if (fd_ < 0 && errno == EINTR) throwIfInterrupted();  // a named pipe waits for its reader
        if (fd_ < 0) fail("cannot be opened for writing");
        return;
    }
    std::error_code error;
    if (const auto real = std::filesystem::weakly_canonical(path, error); !error) target_ = real.string();
    openTemporary();
    // mkstemp made the file private; it gets the permissions a file made the ordinary way would have.
    if (fchmod(fd_, exists ? status.st_mode & 0777 : newFileMode()) != 0) {
        const int reason = errno;
        discard();
        errno = reason;
        fail("cannot be given its permissions");
    }
}

AtomicFile::~AtomicFile() {
    discard();
}

void AtomicFile::openTemporary() {
    const std::filesystem::path target(target_);
    temporary_ =
        (target.parent_path() / fmt::format(".{}.part-XXXXXX", target.filename().string().substr(0, 200))).string();
    fd_ = mkostemp(temporary_.data(), O_CLOEXEC);
    if (fd_ >= 0) return;
    temporary_.clear();
    fail("cannot be created");
}

void AtomicFile::write(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        throwIfInterrupted();
        const ssize_t written = ::write(fd_, bytes.data(), bytes.size());
        if (written > 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(written));
        } else if (written < 0 && errno != EINTR) {
            fail("cannot be written");
        }
    }
}

void AtomicFile::write(std::string_view text) {
    write(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

void AtomicFile::commit() {
    // Not every direct target can be synchronised (pipes cannot), and none of them needs it.
    if (!temporary_.empty() && fsync(fd_) != 0) fail("cannot be written");
    const int fd = fd_;
    fd_ = -1;
    if (close(fd) != 0) fail("cannot be closed");
    if (temporary_.empty()) return;
    if (std::rename(temporary_.c_str(), target_.c_str()) != 0) fail("cannot be given its name");
    temporary_.clear();
}

void AtomicFile::discard() noexcept {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
    if (!temporary_.empty()) unlink(temporary_.c_str());
    temporary_.clear();
}

void AtomicFile::fail(std::string_view what) const {
    const int reason = errno;
    const char* hint = "";
    if (reason == ENOSPC || reason == EDQUOT) hint = "free some space or choose another place";
    if (reason == ENOENT) hint = "make the folder first";
    if (reason == EISDIR) hint = "give a file name inside this folder";
    throw ToolError(ExitCode::outputFailed, name_, fmt::format("{}: {}", what, std::strerror(reason)), hint);
}

}  // namespace OrvelTool
