// Bounds how many files are processed at once. Waiters are woken strictly first in,
// first out: `signal` hands its permit straight to the oldest waiter, so a newcomer
// cannot overtake it.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>

namespace vantrel {

class AsyncSemaphore {
public:
    explicit AsyncSemaphore(std::int64_t value);
    // Returns once the caller holds a permit.
    void wait();
    // Gives one permit back (no upper bound).
    void signal();
    std::int64_t availablePermits() const;
    std::size_t waiterCount() const;

private:
    struct Waiter {
        bool resumed = false;
    };
    mutable std::mutex mutex_;
    std::condition_variable wakeup_;
    std::int64_t permits_;
    std::deque<Waiter*> waiters_;
};

}  // namespace vantrel
