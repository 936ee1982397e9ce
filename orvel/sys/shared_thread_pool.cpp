#include "orvel/sys/shared_thread_pool.h"

#include "orvel/sys/pool_threads.h"

namespace OrvelSys {

SharedThreadPool::SharedThreadPool(int fewest, int most) : threads_(PoolThreads::get(fewest, most)) {}
SharedThreadPool::~SharedThreadPool() = default;

int SharedThreadPool::numThreads() const noexcept {
    return threads_->numThreads();
}

}  // namespace OrvelSys
