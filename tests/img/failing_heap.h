#pragma once

namespace Orvel::test {

/// While it lives, the calling thread's heap grants so many more requests and refuses all further ones.
class FailingHeap {
public:
    explicit FailingHeap(int granted) noexcept;
    ~FailingHeap();
    FailingHeap(const FailingHeap&) = delete;
    FailingHeap& operator=(const FailingHeap&) = delete;
};

/// How many requests of the calling thread were refused since the last FailingHeap began.
int refusedRequests() noexcept;

}  // namespace Orvel::test
