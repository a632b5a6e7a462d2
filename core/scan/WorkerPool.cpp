#include "scan/WorkerPool.h"

#include <algorithm>

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

IndexedTasks::IndexedTasks(WorkerPool& pool, std::size_t count, std::size_t lanes,
                           std::function<void(std::size_t)> work, CallerJoins callerJoins)
    : work_(std::move(work)), count_(count) {
    std::size_t laneCount = std::min(std::max<std::size_t>(1, lanes), count);
    if (callerJoins == CallerJoins::yes && laneCount > 0) {
        callerLane_ = true;
        --laneCount;
    }
    // Counted before the first lane starts: a lane that ends lowers the count at once.
    lanesRunning_ = laneCount;
    for (std::size_t i = 0; i < laneCount; ++i) pool.post([this] { runLane(); });
}

IndexedTasks::~IndexedTasks() { wait(); }

void IndexedTasks::takeIndexes() {
    for (std::size_t i = next_++; i < count_; i = next_++) work_(i);
}

void IndexedTasks::runLane() {
    takeIndexes();
    // Notified under the lock: the waiter may destroy this object as soon as it sees
    // the count reach zero, so nothing may touch it after the lock is released.
    std::lock_guard lock(mutex_);
    if (--lanesRunning_ == 0) finished_.notify_all();
}

void IndexedTasks::wait() {
    // Only the thread that waits reads or clears the flag.
    if (callerLane_) {
        callerLane_ = false;
        takeIndexes();
    }
    std::unique_lock lock(mutex_);
    finished_.wait(lock, [&] { return lanesRunning_ == 0; });
}

}  // namespace vantrel
