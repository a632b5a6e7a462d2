// The parallel for of the scan and the canvas: a loop hands its indexes to a few lanes that
// take them in order. Every index must run exactly once, in start order, never more at
// once than the lanes, no lane twice at once (its scratch memory is unguarded), and
// `wait` must not return early nor hang, whatever the timing.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include "core/util/ParallelFor.h"

namespace vantrel {
namespace {

TEST(ParallelFor, EveryIndexRunsOnceInStartOrderWithinTheLanes) {
    WorkerPool pool(4);
    // Many small runs: the lanes of one run start while its constructor is still
    // posting them, and some end before the last one is posted.
    for (std::size_t round = 0; round < 3000; ++round) {
        std::size_t count = round % 11;
        std::size_t lanes = 1 + round % 5;
        // Every other run the waiting thread is one of the lanes.
        auto joins = round % 2 ? ParallelFor::CallerJoins::yes : ParallelFor::CallerJoins::no;
        std::vector<int> runs(count, 0);
        std::vector<std::size_t> started;
        std::mutex mutex;
        std::atomic<std::size_t> running{0};
        std::atomic<std::size_t> mostAtOnce{0};
        std::vector<std::atomic<int>> inLane(lanes);
        std::atomic<bool> laneOverlapped{false};
        std::atomic<bool> laneOutOfRange{false};
        {
            ParallelFor tasks(
                pool, count, lanes,
                [&](std::size_t i, std::size_t lane) {
                    if (lane >= lanes) {
                        laneOutOfRange = true;
                        return;
                    }
                    if (inLane[lane]++ != 0) laneOverlapped = true;
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
                    --inLane[lane];
                },
                joins);
            tasks.wait();
            // Everything has returned once `wait` has.
            ASSERT_EQ(std::count(runs.begin(), runs.end(), 1), static_cast<std::ptrdiff_t>(count)) << round;
        }
        ASSERT_LE(mostAtOnce.load(), lanes);
        ASSERT_FALSE(laneOutOfRange.load()) << round;
        ASSERT_FALSE(laneOverlapped.load()) << round;
        // Indexes are taken in order; with several lanes the records of their starts may
        // interleave, but no index is taken before a smaller one.
        if (lanes == 1) {
            ASSERT_TRUE(std::is_sorted(started.begin(), started.end()));
        }
    }
}

TEST(ParallelFor, AJoiningCallerWithOneLaneRunsEverythingItself) {
    WorkerPool pool(2);
    const auto caller = std::this_thread::get_id();
    std::vector<std::thread::id> ranOn;
    ParallelFor tasks(
        pool, 50, 1, [&](std::size_t, std::size_t) { ranOn.push_back(std::this_thread::get_id()); },
        ParallelFor::CallerJoins::yes);
    EXPECT_TRUE(ranOn.empty());  // nothing starts before the caller waits
    tasks.wait();
    ASSERT_EQ(ranOn.size(), 50u);
    EXPECT_EQ(std::count(ranOn.begin(), ranOn.end(), caller), 50);
}

TEST(ParallelFor, AnEmptyRunWaitsForNothing) {
    WorkerPool pool(2);
    bool ran = false;
    ParallelFor tasks(pool, 0, 4, [&](std::size_t, std::size_t) { ran = true; });
    tasks.wait();
    EXPECT_FALSE(ran);
}

// The frame's form: the caller's own work runs while the lanes start, and the call returns
// only when every index has run; with no pool threads, everything runs on the caller.
TEST(ParallelFor, TheWholeLoopRunsFirstThenEveryIndexBeforeReturning) {
    for (std::size_t threads : {0, 1, 3}) {
        WorkerPool pool(threads);
        const auto caller = std::this_thread::get_id();
        for (int round = 0; round < 500; ++round) {
            std::vector<std::atomic<int>> runs(17);
            std::atomic<bool> firstRan{false};
            std::atomic<bool> firstOffCaller{false};
            std::atomic<int> offCaller{0};
            parallelFor(
                pool, runs.size(), threads + 1,
                [&](std::size_t i, std::size_t) {
                    ++runs[i];
                    if (std::this_thread::get_id() != caller) ++offCaller;
                },
                [&] {
                    firstRan = true;
                    if (std::this_thread::get_id() != caller) firstOffCaller = true;
                });
            ASSERT_TRUE(firstRan.load());
            ASSERT_FALSE(firstOffCaller.load());
            for (auto& count : runs) ASSERT_EQ(count.load(), 1) << threads << " " << round;
            if (threads == 0) {
                ASSERT_EQ(offCaller.load(), 0);
            }
        }
    }
}

}  // namespace
}  // namespace vantrel
