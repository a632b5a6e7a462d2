// A fixed set of threads taking jobs first in, first out. Used by a scan to run the
// per-file work of a batch; the threads end when the pool is destroyed.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace vantrel {

class WorkerPool {
public:
    explicit WorkerPool(std::size_t threadCount);
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    void post(std::function<void()> job);

private:
    void run();
    std::mutex mutex_;
    std::condition_variable available_;
    std::deque<std::function<void()>> jobs_;
    bool stopping_ = false;
    std::vector<std::thread> threads_;
};

// Runs `work(i)` for every index of [0, count) on a pool: `lanes` jobs each take the
// next index in turn, so the indexes start in order and at most `lanes` calls run at
// once, and a batch of files costs a few jobs instead of one per file. `work` must not
// throw. `wait` returns once every call has returned; the destructor waits too, since
// the jobs refer to this object.
//
// With `CallerJoins::yes` the thread that will call `wait` is one of the lanes: only
// `lanes` - 1 jobs go to the pool, and `wait` takes indexes itself before it waits.
// A caller that would only sleep meanwhile thus does a lane's work, and the run does
// not wait for a sleeping pool thread to wake before it starts.
class IndexedTasks {
public:
    enum class CallerJoins { no, yes };

    IndexedTasks(WorkerPool& pool, std::size_t count, std::size_t lanes, std::function<void(std::size_t)> work,
                 CallerJoins callerJoins = CallerJoins::no);
    ~IndexedTasks();
    IndexedTasks(const IndexedTasks&) = delete;
    IndexedTasks& operator=(const IndexedTasks&) = delete;

    void wait();

private:
    void takeIndexes();
    void runLane();
    std::function<void(std::size_t)> work_;
    const std::size_t count_;
    std::atomic<std::size_t> next_{0};
    std::mutex mutex_;
    std::condition_variable finished_;
    std::size_t lanesRunning_;
    bool callerLane_ = false;  // the caller's lane is still to be run by `wait`
};

}  // namespace vantrel
