#include "tools/progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <utility>

namespace OrvelTool {

Progress::Progress(std::string label, std::optional<std::int64_t> total)
    : label_(std::move(label)), total_(total), terminal_(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
    if (shown_) std::fputs("\r\033[K", stderr);
}

void Progress::step() {
    ++done_;
    const auto now = Clock::now();
    if (!terminal_ || now < next_) return;
    next_ = now + std::chrono::milliseconds(100);
    shown_ = true;
    const double seconds = std::chrono::duration<double>(now - start_).count();
    const std::string of = total_ ? fmt::format("/{}", *total_) : "";
    fmt::print(stderr, "\r\033[K{}: frame {}{}, {:.0f} a second", label_, done_, of,
               static_cast<double>(done_) / (seconds > 0 ? seconds : 1));
    std::fflush(stderr);
}

}  // namespace OrvelTool
