#include "orvel/sys/cache_size.h"

#include <algorithm>

#ifdef _WIN32
#include <windows.h>

#include <array>
#else
#include <unistd.h>

#include <cstdio>
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
/// What one core can reach, as the kernel knows it; 0 when it doesn't say.
std::size_t askKernel() noexcept {
    std::FILE* const file = std::fopen("/sys/devices/system/cpu/cpu0/cache/index3/size", "r");
    if (file == nullptr) return 0;
    unsigned long number = 0;
    char unit = 0;
    const bool read = std::fscanf(file, "%lu%c", &number, &unit) == 2;
    static_cast<void>(std::fclose(file));
    return read && unit == 'K' ? std::size_t{number} << 10 : 0;
}

std::size_t askSystem() noexcept {
    if (const std::size_t known = askKernel(); known > 0) return known;
    // Of some processors the C library adds up the caches that their cores don't share.
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
