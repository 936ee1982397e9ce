#include "orvel/sys/page_lock.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace OrvelSys {

#ifdef _WIN32
bool pinPages(void* p, std::size_t bytes) noexcept {
    return VirtualLock(p, bytes) != 0;
}
bool unpinPages(void* p, std::size_t bytes) noexcept {
    return VirtualUnlock(p, bytes) != 0;
}
#else
bool pinPages(void* p, std::size_t bytes) noexcept {
    return mlock(p, bytes) == 0;
}
bool unpinPages(void* p, std::size_t bytes) noexcept {
    return munlock(p, bytes) == 0;
}
#endif

}  // namespace OrvelSys
