#pragma once
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace OrvelTool {

/// The line on stderr that counts frames. Nothing is written when stderr is not a terminal.
class Progress {
public:
    /// @param total frames to come, where known.
    Progress(std::string label, std::optional<std::int64_t> total);
    /// Clears the line.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Counts a frame; the line is renewed at most ten times a second.
    void step();

private:
    using Clock = std::chrono::steady_clock;

    std::string label_;
    std::optional<std::int64_t> total_;
    bool shown_ = false;
    const bool terminal_;
    std::int64_t done_ = 0;
    const Clock::time_point start_ = Clock::now();
    Clock::time_point next_ = start_;
};

}  // namespace OrvelTool
