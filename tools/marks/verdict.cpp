#include "tools/marks/verdict.h"

#include <fmt/format.h>

#include "tools/errors.h"

namespace OrvelTool {

void Verdict::add(std::int64_t frame, const std::string& fault) {
    ++frames_;
    if (fault.empty()) return;
    if (faulty_++ == 0) first_ = fmt::format("frame {}: {}", frame, fault);
}

void Verdict::pronounce(const std::string& clip) const {
    if (frames_ == 0) throw ToolError(ExitCode::badInput, clip, "holds no frame");
    if (faulty_ > 0)
        throw ToolError(ExitCode::no, clip, first_, fmt::format("{} of {} frames are at fault", faulty_, frames_));
}

}  // namespace OrvelTool
