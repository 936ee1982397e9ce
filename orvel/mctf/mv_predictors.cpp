#include "orvel/mctf/mv_predictors.h"

#include <algorithm>

#include "orvel/primitives/sad.h"

namespace Orvel {

void MVPredictors::init(tagPOINT* const pts, int n) noexcept {
    clear();
    for (int i = 0; pts != nullptr && i < n; ++i) append(pts[i]);
}

void MVPredictors::clear() noexcept {
    std::fill_n(points_.begin(), count_, tagPOINT{});  // the slots behind are 0 already
    count_ = 0;
}

bool MVPredictors::evaluate(unsigned char* cur, int curStep, unsigned char* ref, int refStep, int& sad) noexcept {
    return primitives::sad8x8(cur, curStep, ref, refStep, sad) == primitives::Status::ok;
}

}  // namespace Orvel
