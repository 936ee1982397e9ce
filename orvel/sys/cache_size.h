#pragma once
#include <cstddef>

namespace OrvelSys {

/// Bytes of the largest cache of this machine; 8 MiB where the system doesn't say. Asked once.
std::size_t lastLevelCacheBytes() noexcept;

}  // namespace OrvelSys
