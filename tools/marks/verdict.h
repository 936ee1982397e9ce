#pragma once
#include <cstdint>
#include <string>

namespace OrvelTool {

/// Gathers what is wrong with the frames of a clip.
class Verdict {
public:
    /// @param fault a phrase; empty when nothing is wrong.
    void add(std::int64_t frame, const std::string& fault);
    /// Throws ToolError (no), which tells the first fault and how many frames have one, when there was any; otherwise,
    /// when there was no frame at all, ToolError (badInput).
    void pronounce(const std::string& clip) const;

private:
    std::int64_t frames_ = 0, faulty_ = 0;
    std::string first_;
};

}  // namespace OrvelTool
