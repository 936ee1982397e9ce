#include "orvel/resize/resize_plans.h"

#include <algorithm>

namespace Orvel {

const primitives::ResizePlan* ResizePlans::get(primitives::ResizeMethod method, tagSIZE src, tagSIZE dst) {
    const auto matches = [&](const Entry& entry) {
        const primitives::ResizePlan& plan = entry.plan;
        return plan.built() && plan.method() == method && plan.srcWidth() == src.cx && plan.srcHeight() == src.cy &&
               plan.dstWidth() == dst.cx && plan.dstHeight() == dst.cy;
    };
    auto entry = std::find_if(entries_.begin(), entries_.end(), matches);
    if (entry == entries_.end()) {
        const auto older = [](const Entry& a, const Entry& b) { return a.lastUse < b.lastUse; };
        entry = std::min_element(entries_.begin(), entries_.end(), older);
        if (entry->plan.build(method, src.cx, src.cy, dst.cx, dst.cy) != primitives::Status::ok) return nullptr;
    }
    entry->lastUse = ++clock_;
    return &entry->plan;
}

}  // namespace Orvel
