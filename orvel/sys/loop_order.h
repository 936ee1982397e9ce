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
/// On a function: its own reads and writes are not checked, those of what it calls are.
#define ORVEL_UNCHECKED_BY_TSAN __attribute__((no_sanitize("thread")))
#else
#define ORVEL_UNCHECKED_BY_TSAN
#endif

namespace OrvelSys {

/// The order that a parallel loop keeps: what was written before the loop is seen in every band, what a band wrote is
/// seen after the loop, bands among themselves have no order. It tells the thread sanitizer, which cannot look into the
/// task library; in every other build it is empty. The function that the task library calls reads its captures and its
/// range from the library's memory, before any order is known: it is marked ORVEL_UNCHECKED_BY_TSAN, hands run() a
/// range of its own and does nothing else.
class LoopOrder {
public:
    LoopOrder() noexcept { release(&begun_); }
    ~LoopOrder() { acquire(&ended_); }
    LoopOrder(const LoopOrder&) = delete;
    LoopOrder& operator=(const LoopOrder&) = delete;

    /// Works on one band. Whatever body throws passes.
    template <class Body, class Range>
    void run(const Body& body, const Range& band) {
        const Band entered(*this);
        body(band);
    }

private:
    struct Band {
        explicit Band(LoopOrder& entered) noexcept : loop(entered) { acquire(&loop.begun_); }
        ~Band() { release(&loop.ended_); }
        Band(const Band&) = delete;
        Band& operator=(const Band&) = delete;
        LoopOrder& loop;
    };

#ifdef ORVEL_THREAD_SANITIZER
    static void acquire(char* point) noexcept {
        __tsan_acquire(point);
    }
    static void release(char* point) noexcept {
        __tsan_release(point);
    }
#else
    static void acquire(char*) noexcept {}
    static void release(char*) noexcept {}
#endif

    char begun_ = 0, ended_ = 0;
};

}  // namespace OrvelSys
