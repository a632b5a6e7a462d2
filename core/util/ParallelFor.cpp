#include "core/util/ParallelFor.h"

#include <algorithm>
#include <cassert>

namespace vantrel {

WorkerPool::WorkerPool(std::size_t threadCount) {
    threads_.reserve(threadCount);
    for (std::size_t i = 0; i < threadCount; ++i) threads_.emplace_back([this] { run(); });
}

WorkerPool::~WorkerPool() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    available_.notify_all();
    for (auto& thread : threads_) thread.join();
}

void WorkerPool::post(std::function<void()> job) {
    assert(!threads_.empty() && "a pool without threads never runs a job");
    {
        std::lock_guard lock(mutex_);
        jobs_.push_back(std::move(job));
    }
    available_.notify_one();
}

void WorkerPool::run() {
    while (true) {
        std::function<void()> job;
        {
            std::unique_lock lock(mutex_);
            available_.wait(lock, [&] { return stopping_ || !jobs_.empty(); });
            if (jobs_.empty()) return;
            job = std::move(jobs_.front());
            jobs_.pop_front();
        }
        job();
    }
}

ParallelFor::ParallelFor(WorkerPool& pool, std::size_t count, std::size_t lanes, Work work, CallerJoins callerJoins)
    : work_(std::move(work)), count_(count) {
    std::size_t laneCount = std::min(std::max<std::size_t>(1, lanes), count);
    if (callerJoins == CallerJoins::yes && laneCount > 0) {
        callerLanePending_ = true;
        --laneCount;
        callerLane_ = laneCount;
    }
    // A loop that needs the pool must have one with threads, or it would never end.
    assert(laneCount == 0 || pool.threadCount() > 0);
    // Counted before the first lane starts: a lane that ends lowers the count at once.
    lanesRunning_ = laneCount;
    for (std::size_t lane = 0; lane < laneCount; ++lane) pool.post([this, lane] { runLane(lane); });
}

ParallelFor::~ParallelFor() { wait(); }

void ParallelFor::takeIndexes(std::size_t lane) {
    for (std::size_t i = next_++; i < count_; i = next_++) work_(i, lane);
}

void ParallelFor::runLane(std::size_t lane) {
    takeIndexes(lane);
    // Notified under the lock: the waiter may destroy this object as soon as it sees
    // the count reach zero, so nothing may touch it after the lock is released.
    std::lock_guard lock(mutex_);
    if (--lanesRunning_ == 0) finished_.notify_all();
}

void ParallelFor::wait() {
    // Only the thread that waits reads or clears the flag.
    if (callerLanePending_) {
        callerLanePending_ = false;
        takeIndexes(callerLane_);
    }
    std::unique_lock lock(mutex_);
    finished_.wait(lock, [&] { return lanesRunning_ == 0; });
}

void parallelFor(WorkerPool& pool, std::size_t count, std::size_t lanes, const ParallelFor::Work& work,
                 const std::function<void()>& first) {
    if (count <= 1 || lanes <= 1 || pool.threadCount() == 0) {
        if (first) first();
        for (std::size_t i = 0; i < count; ++i) work(i, 0);
        return;
    }
    ParallelFor loop(pool, count, lanes, std::cref(work), ParallelFor::CallerJoins::yes);
    if (first) first();
    loop.wait();
}

}  // namespace vantrel
