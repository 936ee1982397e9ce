#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

#include "orvel/sys/fork_join.h"
#include "orvel/sys/shared_thread_pool.h"

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && defined(__GLIBC__)
#define ORVEL_TEST_CAN_REFUSE_THREADS 1
#include <dlfcn.h>
#include <pthread.h>

namespace {
std::atomic<int> threadsGranted{-1};  // -1: all
}

// Stands before the system's own.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attr, void* (*run)(void*), void* argument) {
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    if (threadsGranted == 0) return EAGAIN;
    if (threadsGranted > 0) --threadsGranted;
    return create(thread, attr, run, argument);
}
#endif

namespace OrvelSys {
namespace {

/// Tasks of which each waits for the one before it to have begun and then ended.
void runChain(SharedThreadPool& pool, int tasks, int turns) {
    ForkJoin forkJoin(pool, tasks);
    for (int turn = 0; turn < turns; ++turn) {
        std::vector<int> order;  // written by one task at a time, as each waits for the one before
        std::atomic<int> ended{0};
        for (int i = 0; i < tasks; ++i)
            ASSERT_TRUE(forkJoin.AddTask([&, i] {
                while (ended.load() < i) std::this_thread::yield();
                order.push_back(i);
                ended = i + 1;
            }));
        ASSERT_TRUE(forkJoin.WaitForCompletion());
        ASSERT_EQ(order.size(), std::size_t(tasks));
        ASSERT_TRUE(std::is_sorted(order.begin(), order.end()));
    }
}

TEST(SharedThreadPool, ATaskMayWaitForAnEarlierOneHoweverFewThreads) {
    for (const int most : {1, 2, 3, 4, 0}) {
        SharedThreadPool pool(1, most);
        runChain(pool, 40, 50);
        EXPECT_LE(pool.numThreads(), most > 0 ? most : int(std::max(1u, std::thread::hardware_concurrency())));
    }
}

TEST(SharedThreadPool, KeepsItsThreadsAndStartsMoreWhenTheyAreNeeded) {
    SharedThreadPool pool(2, 3), one(-5, 1);
    EXPECT_EQ(pool.numThreads(), 2);
    EXPECT_EQ(one.numThreads(), 1);
    ForkJoin forkJoin(pool, 8);
    std::mutex lock;
    std::set<std::thread::id> ids;
    for (int turn = 0; turn < 20; ++turn) {
        // All three threads must be there for the first three tasks to end.
        std::atomic<int> begun{0};
        for (int i = 0; i < 8; ++i)
            ASSERT_TRUE(forkJoin.AddTask([&] {
                ++begun;
                while (begun < 3) std::this_thread::yield();
                const std::lock_guard guard(lock);
                ids.insert(std::this_thread::get_id());
            }));
        forkJoin.WaitForCompletion();
    }
    EXPECT_EQ(ids.size(), 3u);
    EXPECT_EQ(ids.count(std::this_thread::get_id()), 0u);
    EXPECT_EQ(pool.numThreads(), 3);
}

TEST(SharedThreadPool, PoolsOfOneThreadACoreShareThem) {
    const auto idOf = [](SharedThreadPool& pool) {
        std::thread::id id;
        ForkJoin forkJoin(pool, 1);
        EXPECT_TRUE(forkJoin.AddTask([&] { id = std::this_thread::get_id(); }));
        forkJoin.WaitForCompletion();
        return id;
    };
    SharedThreadPool own(1, 1), alike(1, 1);
    EXPECT_NE(idOf(own), idOf(alike));

    auto first = std::make_unique<SharedThreadPool>(1, 0);
    SharedThreadPool second(1, 0);
    const int cores = int(std::max(1u, std::thread::hardware_concurrency()));
    runChain(*first, 4 * cores, 3);
    EXPECT_EQ(second.numThreads(), first->numThreads());
    first.reset();
    runChain(second, 20, 3);  // they live on
}

TEST(SharedThreadPool, ServesSeveralUsersAtOnce) {
    SharedThreadPool pool(1, 2);
    std::vector<std::thread> users;
    for (int user = 0; user < 4; ++user) users.emplace_back([&] { runChain(pool, 15, 30); });
    for (std::thread& user : users) user.join();
}

TEST(ForkJoin, ExceptionsGoNoFurtherThanTheirJob) {
    SharedThreadPool pool(1, 2);
    ForkJoin forkJoin(pool, 3);
    std::atomic<int> ran{0};
    ASSERT_TRUE(forkJoin.AddTask([&] { ++ran; }));
    ASSERT_TRUE(forkJoin.AddTask([] { throw std::runtime_error("a task failed"); }));
    ASSERT_TRUE(forkJoin.AddTask([&] { ++ran; }));
    EXPECT_FALSE(forkJoin.WaitForCompletion());
    EXPECT_EQ(ran, 2);
    ASSERT_TRUE(forkJoin.AddTask([&] { ++ran; }));
    EXPECT_TRUE(forkJoin.WaitForCompletion());
    EXPECT_EQ(ran, 3);
    EXPECT_TRUE(forkJoin.WaitForCompletion()) << "nothing to wait for";
}

TEST(ForkJoin, HasRoomForItsTasksAndLetsGoOfThem) {
    auto pool = std::make_unique<SharedThreadPool>(1, 1);
    auto held = std::make_shared<int>(0);
    std::atomic<bool> go{false};
    {
        ForkJoin forkJoin(*pool, 2), none(*pool, -1);
        EXPECT_FALSE(none.AddTask([] {}));
        EXPECT_FALSE(forkJoin.AddTask(nullptr));
        const auto task = [held, &go] {
            while (!go) std::this_thread::yield();
            ++*held;
        };
        ASSERT_TRUE(forkJoin.AddTask(task));
        ASSERT_TRUE(forkJoin.AddTask(task));
        EXPECT_FALSE(forkJoin.AddTask(task)) << "full";
        pool.reset();  // the threads stay for who still uses them
        go = true;
    }  // waits
    EXPECT_EQ(*held, 2);
    EXPECT_EQ(held.use_count(), 1) << "what ran is not kept";
}

#ifdef ORVEL_TEST_CAN_REFUSE_THREADS
TEST(SharedThreadPool, LivesWithTheThreadsTheSystemGrants) {
    for (const int granted : {0, 1}) {
        threadsGranted = granted;
        SharedThreadPool pool(3, 4);
        EXPECT_EQ(pool.numThreads(), granted);
        runChain(pool, 30, 10);
        if (granted == 0) {
            std::thread::id id;
            ForkJoin forkJoin(pool, 1);
            EXPECT_TRUE(forkJoin.AddTask([&] { id = std::this_thread::get_id(); }));
            forkJoin.WaitForCompletion();
            EXPECT_EQ(id, std::this_thread::get_id()) << "who waits does the work";
        }
        threadsGranted = -1;
    }
}
#endif

}  // namespace
}  // namespace OrvelSys
