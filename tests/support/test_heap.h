#pragma once
// Replaces the allocation functions of a test program: link test_heap.cpp.

namespace Orvel::test {

/// While it lives, the calling thread's heap grants so many more requests and refuses all further ones.
class FailingHeap {
public:
    explicit FailingHeap(int granted) noexcept;
    ~FailingHeap();
    FailingHeap(const FailingHeap&) = delete;
    FailingHeap& operator=(const FailingHeap&) = delete;
};

/// While it lives, all memory that is handed out is filled with a value.
class HeapFill {
public:
    explicit HeapFill(int value) noexcept;
    ~HeapFill();
    HeapFill(const HeapFill&) = delete;
    HeapFill& operator=(const HeapFill&) = delete;
};

/// Requests of the whole program so far: all, and those for 16 KiB and more, which in these tests are planes and
/// scratch rows, never list nodes.
int allocations() noexcept;
int largeAllocations() noexcept;

/// How many requests of the calling thread were refused since the last FailingHeap began.
int refusedRequests() noexcept;

}  // namespace Orvel::test
