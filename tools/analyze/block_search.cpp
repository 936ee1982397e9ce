#include "tools/analyze/block_search.h"

#include <fmt/format.h>

#include "orvel/mctf/mctf_fast_params.h"
#include "tools/errors.h"

namespace OrvelTool {

Orvel::MotionEstimateImgParams blockSearch(std::string_view where, int width, int height) {
    if (width < 8 || height < 8)
        throw ToolError(ExitCode::refused, where, fmt::format("no block of 8x8 fits into {}x{}", width, height),
                        "use pictures of 8x8 or more, 8x16 for two fields");
    Orvel::MotionEstimateImgParams search = Orvel::MCTFFastParams{}.me;
    search.width = width;
    search.height = height;
    return search;
}

}  // namespace OrvelTool
