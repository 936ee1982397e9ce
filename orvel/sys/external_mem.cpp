#include "orvel/sys/external_mem.h"

namespace OrvelSys {

bool ExternalMem::allocate(unsigned, int) {
    return false;
}

IAlignedMem* ExternalMem::shadowCopy() {
    auto* shadow = new (std::nothrow) ExternalMem;
    if (shadow != nullptr) {
        shadow->copyView(*this);
        shadow->size_ = size_;
    }
    return shadow;
}

bool ExternalMem::deallocate() {
    setView(nullptr);
    size_ = 0;
    return true;
}

bool ExternalMem::setMem(void* p, unsigned size) {
    if (p == nullptr) return false;
    setView(static_cast<std::uint8_t*>(p));
    size_ = size;
    return true;
}

bool ExternalMem::lock() {
    return false;
}
bool ExternalMem::unlock() {
    return false;
}

}  // namespace OrvelSys
