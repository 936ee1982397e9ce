#include "orvel/sys/fork_join.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

#include "orvel/sys/pool_threads.h"
#include "orvel/sys/shared_thread_pool.h"

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
        {
            const std::lock_guard guard(lock_);
            ++running_;
        }
        threads_->submit(task);
        return true;
    }

    bool wait() noexcept {
        while (threads_->runWithoutThreads()) {
        }
        std::unique_lock guard(lock_);
        ended_.wait(guard, [&] { return running_ == 0; });
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
        if (--running_ == 0) ended_.notify_one();
    }

    std::shared_ptr<PoolThreads> threads_;
    std::vector<JobTask> tasks_;
    std::size_t added_ = 0;
    std::mutex lock_;
    std::condition_variable ended_;
    int running_ = 0;
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
