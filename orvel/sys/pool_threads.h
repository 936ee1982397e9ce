#pragma once
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace OrvelSys {

/// The threads behind a SharedThreadPool and the queue they serve: tasks start in the order of their submission.
class PoolThreads {
public:
    /// A piece of work in the queue; it belongs to who submitted it and stays in place until it has run.
    struct Task {
        virtual ~Task() = default;
        virtual void run() noexcept = 0;
        Task* next = nullptr;
    };

    /// Arguments as for SharedThreadPool, which says who shares. Throws std::bad_alloc.
    static std::shared_ptr<PoolThreads> get(int fewest, int most);

    PoolThreads(int fewest, int most);
    /// Ends the threads. No task may be queued any more.
    ~PoolThreads();
    PoolThreads(const PoolThreads&) = delete;
    PoolThreads& operator=(const PoolThreads&) = delete;

    void submit(Task& task) noexcept;
    /// Where the system granted no thread at all: runs the first task of the queue here.
    /// @return false when there are threads or the queue is empty.
    bool runWithoutThreads() noexcept;
    int numThreads() const noexcept;

private:
    void startThread() noexcept;
    void serve() noexcept;
    Task* takeFirst() noexcept;

    mutable std::mutex lock_;
    std::condition_variable work_;
    std::vector<std::thread> threads_;
    Task *first_ = nullptr, *last_ = nullptr;
    std::atomic<int> queued_{0};  // changed with the lock held
    int most_, idle_ = 0;
    bool ending_ = false;
};

}  // namespace OrvelSys
