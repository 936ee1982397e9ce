#include "tests/support/test_heap.h"

#include <tbb/parallel_for.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr std::size_t large = 16 * 1024;
std::atomic<int> allRequests{0}, largeRequests{0};

thread_local int granted = -1;  // -1: everything
thread_local int refused = 0;

std::atomic<int> fillValue{-1};  // -1: memory stays as it comes

void* obtain(std::size_t bytes, std::size_t alignment) noexcept {
    if (alignment <= alignof(std::max_align_t)) return std::malloc(bytes > 0 ? bytes : 1);
    return std::aligned_alloc(alignment, (bytes + alignment - 1) / alignment * alignment);
}

void* request(std::size_t bytes, std::size_t alignment) noexcept {
    ++allRequests;
    if (bytes >= large) ++largeRequests;
    if (granted == 0) {
        ++refused;
        return nullptr;
    }
    if (granted > 0) --granted;
    void* const p = obtain(bytes, alignment);
    const int value = fillValue;
    if (p != nullptr && value >= 0) std::memset(p, value, bytes);
    return p;
}

void* requestOrThrow(std::size_t bytes, std::size_t alignment) {
    void* const p = request(bytes, alignment);
    if (p == nullptr) throw std::bad_alloc();
    return p;
}

}  // namespace

namespace Orvel::test {

FailingHeap::FailingHeap(int requests) noexcept {
    // oneTBB waits for ever when its own start finds no memory; the code under test has it running.
    static const bool started = (tbb::parallel_for(0, 1000, [](int) {}), true);
    static_cast<void>(started);
    granted = requests;
    refused = 0;
}
FailingHeap::~FailingHeap() {
    granted = -1;
}
HeapFill::HeapFill(int value) noexcept {
    fillValue = value;
}
HeapFill::~HeapFill() {
    fillValue = -1;
}
int allocations() noexcept {
    return allRequests;
}
int largeAllocations() noexcept {
    return largeRequests;
}
int refusedRequests() noexcept {
    return refused;
}

}  // namespace Orvel::test

void* operator new(std::size_t bytes) {
    return requestOrThrow(bytes, 1);
}
void* operator new[](std::size_t bytes) {
    return requestOrThrow(bytes, 1);
}
void* operator new(std::size_t bytes, std::align_val_t alignment) {
    return requestOrThrow(bytes, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    return request(bytes, 1);
}
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
    return request(bytes, 1);
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete(void* p, std::align_val_t) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t, std::align_val_t) noexcept {
    std::free(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}
