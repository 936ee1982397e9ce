#include "orvel/sys/pool_threads.h"

#include <algorithm>
#include <exception>

#include "orvel/sys/wait_briefly.h"

namespace OrvelSys {
namespace {

int coresIfZero(int threads) noexcept {
    return threads > 0 ? threads : std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

}  // namespace

std::shared_ptr<PoolThreads> PoolThreads::get(int fewest, int most) {
    if (most > 0) return std::make_shared<PoolThreads>(fewest, most);
    static std::mutex lock;
    static std::weak_ptr<PoolThreads> onePerCore;
    const std::lock_guard guard(lock);
    std::shared_ptr<PoolThreads> threads = onePerCore.lock();
    if (threads == nullptr) onePerCore = threads = std::make_shared<PoolThreads>(fewest, most);
    return threads;
}

PoolThreads::PoolThreads(int fewest, int most) : most_(coresIfZero(most)) {
    const std::lock_guard guard(lock_);
    for (int n = std::min(coresIfZero(fewest), most_); n > 0; --n) startThread();
}

PoolThreads::~PoolThreads() {
    {
        const std::lock_guard guard(lock_);
        ending_ = true;
    }
    work_.notify_all();
    for (std::thread& thread : threads_) thread.join();
}

// With the lock held.
void PoolThreads::startThread() noexcept {
    try {
        threads_.emplace_back([this] { serve(); });
    } catch (const std::exception&) {
        most_ = static_cast<int>(threads_.size());  // the system has no more to give: stay with these
    }
}

PoolThreads::Task* PoolThreads::takeFirst() noexcept {
    Task* task = first_;
    if (task == nullptr) return nullptr;
    first_ = task->next;
    --queued_;
    return task;
}

void PoolThreads::submit(Task& task) noexcept {
    {
        const std::lock_guard guard(lock_);
        task.next = nullptr;
        (first_ == nullptr ? first_ : last_->next) = &task;
        last_ = &task;
        ++queued_;
        if (queued_ > idle_ && static_cast<int>(threads_.size()) < most_) startThread();
    }
    work_.notify_one();
}

void PoolThreads::serve() noexcept {
    std::unique_lock guard(lock_);
    for (;;) {
        if (Task* task = takeFirst()) {
            guard.unlock();
            task->run();
            guard.lock();
        } else if (ending_) {
            return;
        } else {
            ++idle_;
            guard.unlock();
            const bool soon = waitBriefly([this] { return queued_.load(std::memory_order_relaxed) > 0; });
            guard.lock();
            if (!soon && first_ == nullptr && !ending_) work_.wait(guard);
            --idle_;
        }
    }
}

bool PoolThreads::runWithoutThreads() noexcept {
    Task* task = nullptr;
    {
        const std::lock_guard guard(lock_);
        if (threads_.empty()) task = takeFirst();
    }
    if (task != nullptr) task->run();
    return task != nullptr;
}

int PoolThreads::numThreads() const noexcept {
    const std::lock_guard guard(lock_);
    return static_cast<int>(threads_.size());
}

}  // namespace OrvelSys
