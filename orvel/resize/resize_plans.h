#pragma once
#include <array>
#include <cstdint>

#include "orvel/img/types.h"
#include "orvel/primitives/resize_plan.h"

namespace Orvel {

/// The tap tables of the plane sizes that a resizer has met lately. One thread at a time.
class ResizePlans {
public:
    /// The plan for these sizes; it is made if there is none, in place of the one not used for longest.
    /// @return null when a side is below 1 or area averaging would enlarge. Throws std::bad_alloc.
    const primitives::ResizePlan* get(primitives::ResizeMethod method, tagSIZE src, tagSIZE dst);

private:
    struct Entry {
        primitives::ResizePlan plan;
        std::uint64_t lastUse = 0;
    };
    /// Luma and chroma of a frame and of its two fields, with room to spare.
    std::array<Entry, 8> entries_;
    std::uint64_t clock_ = 0;
};

}  // namespace Orvel
