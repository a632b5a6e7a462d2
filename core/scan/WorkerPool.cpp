#include "scan/WorkerPool.h"

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

}  // namespace vantrel
