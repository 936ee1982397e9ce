// Apart from the tests, so that the compiler does not see through the replaced operators.
#include "tests/resize/count_allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<int> count{0};
}

void* operator new(std::size_t size) {
    ++count;
    if (void* p = std::malloc(size)) return p;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++count;
    return std::malloc(size);
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}

namespace Orvel::test {
int allocations() {
    return count;
}
}  // namespace Orvel::test
