#pragma once
#include <memory>

#include "orvel/sys/api.h"

namespace OrvelSys {

class ForkJoin;
class PoolThreads;

/// Threads that stay alive between the jobs of one or more ForkJoin objects, and through them run their tasks. Tasks
/// start in the order in which they were added, so a task may wait for one that was added to the pool before it,
/// however few threads there are.
///
/// Pools with one thread a core share their threads with each other, so that many users do not multiply them; a pool
/// with a number of its own has its own. Different pools may be used from different threads.
class ORVEL_API SharedThreadPool {
public:
    /// Starts `fewest` threads; more follow, up to `most`, when a task finds none idle. 0 or less means one a core.
    /// Where the system refuses a thread the pool lives with those it has; without any, who waits for tasks runs them.
    /// Throws std::bad_alloc.
    SharedThreadPool(int fewest, int most);
    /// The threads end with the last pool or ForkJoin that uses them. Not to be called from a task.
    ~SharedThreadPool();
    SharedThreadPool(const SharedThreadPool&) = delete;
    SharedThreadPool& operator=(const SharedThreadPool&) = delete;

    /// Threads running now.
    int numThreads() const noexcept;

private:
    friend class ForkJoin;

    std::shared_ptr<PoolThreads> threads_;
};

}  // namespace OrvelSys

namespace Orvel {
using OrvelSys::SharedThreadPool;
}
