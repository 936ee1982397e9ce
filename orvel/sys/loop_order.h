#pragma once

#if defined(__SANITIZE_THREAD__)
#define ORVEL_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define ORVEL_THREAD_SANITIZER 1
#endif
#endif

#ifdef ORVEL_THREAD_SANITIZER
extern "C" {
void __tsan_acquire(void* address);
void __tsan_release(void* address);
}
#endif

namespace OrvelSys {

/// The order that a parallel loop keeps: what was written before the loop is seen in every band, what a band wrote is
/// seen after the loop, bands among themselves have no order. It tells the thread sanitizer, which cannot look into the
/// task library; in every other build it is empty.
class LoopOrder {
public:
    LoopOrder() noexcept { release(&begun_); }
    ~LoopOrder() { acquire(&ended_); }
    LoopOrder(const LoopOrder&) = delete;
    LoopOrder& operator=(const LoopOrder&) = delete;

    /// Lives as long as a band is worked on.
    class Band {
    public:
        explicit Band(LoopOrder& loop) noexcept : loop_(loop) { acquire(&loop_.begun_); }
        ~Band() { release(&loop_.ended_); }
        Band(const Band&) = delete;
        Band& operator=(const Band&) = delete;

    private:
        LoopOrder& loop_;
    };

private:
#ifdef ORVEL_THREAD_SANITIZER
    static void acquire(char* point) noexcept { __tsan_acquire(point); }
    static void release(char* point) noexcept { __tsan_release(point); }
#else
    static void acquire(char*) noexcept {}
    static void release(char*) noexcept {}
#endif

    char begun_ = 0, ended_ = 0;
};

}  // namespace OrvelSys
