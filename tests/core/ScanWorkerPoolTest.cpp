// The scan's pool: a flush or link window hands its files to a few lanes that take them
// in order. Every index must run exactly once, in start order, never more at once than
// the lanes, and `wait` must not return early nor hang, whatever the timing.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include "scan/WorkerPool.h"

namespace vantrel {
namespace {

TEST(ScanWorkerPool, EveryIndexRunsOnceInStartOrderWithinTheLanes) {
    WorkerPool pool(4);
    // Many small runs: the lanes of one run start while its constructor is still
    // posting them, and some end before the last one is posted.
    for (std::size_t round = 0; round < 3000; ++round) {
        std::size_t count = round % 11;
        std::size_t lanes = 1 + round % 5;
        // Every other run the waiting thread is one of the lanes.
        auto joins = round % 2 ? IndexedTasks::CallerJoins::yes : IndexedTasks::CallerJoins::no;
        std::vector<int> runs(count, 0);
        std::vector<std::size_t> started;
        std::mutex mutex;
        std::atomic<std::size_t> running{0};
        std::atomic<std::size_t> mostAtOnce{0};
        {
            IndexedTasks tasks(pool, count, lanes, [&](std::size_t i) {
                std::size_t now = ++running;
                std::size_t seen = mostAtOnce.load();
                while (now > seen && !mostAtOnce.compare_exchange_weak(seen, now)) {
                }
                {
                    std::lock_guard lock(mutex);
                    started.push_back(i);
                }
                ++runs[i];
                --running;
            }, joins);
            tasks.wait();
            // Everything has returned once `wait` has.
            ASSERT_EQ(std::count(runs.begin(), runs.end(), 1), static_cast<std::ptrdiff_t>(count)) << round;
        }
        ASSERT_LE(mostAtOnce.load(), lanes);
        // Indexes are taken in order; with several lanes the records of their starts may
        // interleave, but no index is taken before a smaller one.
        if (lanes == 1) {
            ASSERT_TRUE(std::is_sorted(started.begin(), started.end()));
        }
    }
}

TEST(ScanWorkerPool, AJoiningCallerWithOneLaneRunsEverythingItself) {
    WorkerPool pool(2);
    const auto caller = std::this_thread::get_id();
    std::vector<std::thread::id> ranOn;
    IndexedTasks tasks(pool, 50, 1, [&](std::size_t) { ranOn.push_back(std::this_thread::get_id()); },
                       IndexedTasks::CallerJoins::yes);
    EXPECT_TRUE(ranOn.empty());  // nothing starts before the caller waits
    tasks.wait();
    ASSERT_EQ(ranOn.size(), 50u);
    EXPECT_EQ(std::count(ranOn.begin(), ranOn.end(), caller), 50);
}

TEST(ScanWorkerPool, AnEmptyRunWaitsForNothing) {
    WorkerPool pool(2);
    bool ran = false;
    IndexedTasks tasks(pool, 0, 4, [&](std::size_t) { ran = true; });
    tasks.wait();
    EXPECT_FALSE(ran);
}

}  // namespace
}  // namespace vantrel
