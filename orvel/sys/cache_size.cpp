#include "orvel/sys/cache_size.h"

#include <algorithm>

#ifdef _WIN32
#include <windows.h>

#include <array>
#else
#include <unistd.h>
#endif

namespace OrvelSys {
namespace {

/// 0 when the system doesn't say.
#ifdef _WIN32
std::size_t askSystem() noexcept {
    std::array<SYSTEM_LOGICAL_PROCESSOR_INFORMATION, 512> found;
    DWORD bytes = sizeof found;
    if (!GetLogicalProcessorInformation(found.data(), &bytes)) return 0;
    std::size_t largest = 0;
    for (std::size_t i = 0; i < bytes / sizeof found[0]; ++i)
        if (found[i].Relationship == RelationCache) largest = std::max<std::size_t>(largest, found[i].Cache.Size);
    return largest;
}
#elif defined(_SC_LEVEL3_CACHE_SIZE)
std::size_t askSystem() noexcept {
    const long largest = std::max(sysconf(_SC_LEVEL3_CACHE_SIZE), sysconf(_SC_LEVEL2_CACHE_SIZE));
    return largest > 0 ? static_cast<std::size_t>(largest) : 0;
}
#else
std::size_t askSystem() noexcept {
    return 0;
}
#endif

}  // namespace

std::size_t lastLevelCacheBytes() noexcept {
    static const std::size_t asked = askSystem();
    return asked > 0 ? asked : std::size_t{8} << 20;
}

}  // namespace OrvelSys
