// The one "parallel for" of this system: a loop over [0, count) shared out over a few
// lanes, the calling thread being one of them. The scan's flushes and link windows and
// the canvas's bands of a frame run on it.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace vantrel {

// A fixed set of threads taking jobs first in, first out; the threads end when the pool
// is destroyed, after the jobs already posted.
class WorkerPool {
public:
    explicit WorkerPool(std::size_t threadCount);
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    std::size_t threadCount() const { return threads_.size(); }
    void post(std::function<void()> job);

private:
    void run();
    std::mutex mutex_;
    std::condition_variable available_;
    std::deque<std::function<void()>> jobs_;
    bool stopping_ = false;
    std::vector<std::thread> threads_;
};

// Runs `work(index, lane)` for every index of [0, count): `lanes` lanes each take the
// next index in turn, so the indexes start in order and at most `lanes` calls run at
// once. `lane` (in [0, lanes)) names the lane running the call: no two calls of one lane
// overlap, so per-lane scratch memory indexed by it needs no lock. `work` must not throw.
// `wait` returns once every call has returned; the destructor waits too, since the
// lanes refer to this object.
//
// With `CallerJoins::yes` the thread that calls `wait` runs the last lane: only
// `lanes` - 1 jobs go to the pool, and `wait` takes indexes itself before it waits. A
// caller that would only sleep meanwhile thus does a lane's work, and the loop does not
// wait for a sleeping pool thread to wake before it starts. With `CallerJoins::no` the
// caller may do other work before it waits.
class ParallelFor {
public:
    enum class CallerJoins { no, yes };
    using Work = std::function<void(std::size_t index, std::size_t lane)>;

    ParallelFor(WorkerPool& pool, std::size_t count, std::size_t lanes, Work work,
                CallerJoins callerJoins = CallerJoins::no);
    ~ParallelFor();
    ParallelFor(const ParallelFor&) = delete;
    ParallelFor& operator=(const ParallelFor&) = delete;

    void wait();

private:
    void takeIndexes(std::size_t lane);
    void runLane(std::size_t lane);
    Work work_;
    const std::size_t count_;
    std::atomic<std::size_t> next_{0};
    std::mutex mutex_;
    std::condition_variable finished_;
    std::size_t lanesRunning_ = 0;
    std::size_t callerLane_ = 0;
    bool callerLanePending_ = false;  // the caller's lane is still to be run by `wait`
};

// The whole loop at once: the caller runs `first` (work of its own that the loop does
// not touch) while the pool's lanes start, then joins as the last lane, and returns when
// every call has returned. `lanes` counts the caller.
void parallelFor(WorkerPool& pool, std::size_t count, std::size_t lanes, const ParallelFor::Work& work,
                 const std::function<void()>& first = {});

}  // namespace vantrel
