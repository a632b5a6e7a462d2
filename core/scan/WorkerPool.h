// A fixed set of threads taking jobs first in, first out. Used by a scan to run the
// per-file work of a batch; the threads end when the pool is destroyed.
#pragma once

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

// A first-in, first-out hand-over of values from many producers to one consumer.
template <typename T>
class Channel {
public:
    void push(T value) {
        std::lock_guard lock(mutex_);
        items_.push_back(std::move(value));
        // Notified under the lock: once the consumer has taken the last value it may
        // destroy the channel, which must not happen while this call still uses it.
        ready_.notify_one();
    }
    T pop() {
        std::unique_lock lock(mutex_);
        ready_.wait(lock, [&] { return !items_.empty(); });
        T value = std::move(items_.front());
        items_.pop_front();
        return value;
    }

private:
    std::mutex mutex_;
    std::condition_variable ready_;
    std::deque<T> items_;
};

}  // namespace vantrel
