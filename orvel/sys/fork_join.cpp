#include "orvel/sys/fork_join.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

#include "orvel/sys/pool_threads.h"
#include "orvel/sys/shared_thread_pool.h"
#include "orvel/sys/wait_briefly.h"

namespace OrvelSys {

class ForkJoin::Job {
public:
    Job(std::shared_ptr<PoolThreads> threads, int tasks)
        : threads_(std::move(threads)), tasks_(static_cast<std::size_t>(std::max(tasks, 0))) {
        for (JobTask& task : tasks_) task.job = this;
    }
    ~Job() { wait(); }

    bool add(std::function<void()> work) noexcept {
        if (added_ == tasks_.size() || work == nullptr) return false;
        JobTask& task = tasks_[added_++];
        task.work = std::move(work);
        running_.fetch_add(1, std::memory_order_relaxed);
        threads_->submit(task);
        return true;
    }

    bool wait() noexcept {
        while (threads_->runWithoutThreads()) {
        }
        const auto allEnded = [&] { return running_.load(std::memory_order_acquire) == 0; };
        const bool soon = waitBriefly(allEnded);
        std::unique_lock guard(lock_);  // also when all have ended: the last one may still hold it
        if (!soon) ended_.wait(guard, allEnded);
        added_ = 0;
        return !std::exchange(failed_, false);
    }

private:
    struct JobTask final : PoolThreads::Task {
        void run() noexcept override {
            bool failed = false;
            try {
                work();
            } catch (...) {
                failed = true;
            }
            work = nullptr;  // what it holds on to ends here, not with the next job
            job->end(failed);
        }
        std::function<void()> work;
        Job* job = nullptr;
    };

    void end(bool failed) noexcept {
        // The lock is held to the end: who waits may destroy the job as soon as it gets it.
        const std::lock_guard guard(lock_);
        failed_ |= failed;
        if (running_.fetch_sub(1, std::memory_order_release) == 1) ended_.notify_one();
    }

    std::shared_ptr<PoolThreads> threads_;
    std::vector<JobTask> tasks_;
    std::size_t added_ = 0;
    std::mutex lock_;
    std::condition_variable ended_;
    std::atomic<int> running_{0};  // lowered with the lock held
    bool failed_ = false;
};

ForkJoin::ForkJoin(SharedThreadPool& pool, int tasks) : job_(std::make_unique<Job>(pool.threads_, tasks)) {}
ForkJoin::~ForkJoin() = default;

bool ForkJoin::AddTask(std::function<void()> task) noexcept {
    return job_->add(std::move(task));
}

bool ForkJoin::WaitForCompletion() noexcept {
    return job_->wait();
}

}  // namespace OrvelSys
