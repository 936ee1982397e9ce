#pragma once
#include <functional>
#include <memory>

#include "orvel/sys/api.h"

namespace OrvelSys {

class SharedThreadPool;

/// A job of several tasks that run on a pool's threads, and the point where all of them have ended. It may be used for
/// one job after the other and allocates only when it is made. One thread at a time adds and waits; that must not be a
/// task of the same pool.
class ORVEL_API ForkJoin {
public:
    /// Has room for that many tasks in a job. Throws std::bad_alloc.
    ForkJoin(SharedThreadPool& pool, int tasks);
    /// Waits for tasks that were added.
    ~ForkJoin();
    ForkJoin(const ForkJoin&) = delete;
    ForkJoin& operator=(const ForkJoin&) = delete;

    /// Hands a task to the pool; tasks start in the order they come. What a task throws goes no further.
    /// @return false when there is no room or nothing to call.
    [[nodiscard]] bool AddTask(std::function<void()> task) noexcept;
    /// Returns when every task has ended; what they wrote is then seen here. There is room for a new job.
    /// @return false when a task of this job threw.
    bool WaitForCompletion() noexcept;

private:
    class Job;
    std::unique_ptr<Job> job_;
};

}  // namespace OrvelSys

namespace Orvel {
using OrvelSys::ForkJoin;
}
