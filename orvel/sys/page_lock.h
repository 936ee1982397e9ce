#pragma once
#include <cstddef>

namespace OrvelSys {

/// Keeps the pages that hold [p, p + bytes) in RAM. @return false when the system refuses (limits, rights).
bool pinPages(void* p, std::size_t bytes) noexcept;
/// Lets the pages be swapped out again. @return false when they were not pinned.
bool unpinPages(void* p, std::size_t bytes) noexcept;

}  // namespace OrvelSys
