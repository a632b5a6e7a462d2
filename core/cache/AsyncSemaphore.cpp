#include "core/cache/AsyncSemaphore.h"

namespace vantrel {

AsyncSemaphore::AsyncSemaphore(std::int64_t value) : permits_(value) {}

void AsyncSemaphore::wait() {
    std::unique_lock lock(mutex_);
    if (permits_ > 0) {
        --permits_;
        return;
    }
    Waiter self;
    waiters_.push_back(&self);
    // Woken only by a signal addressed to this waiter; the permit arrives with it, so
    // `permits_` is not tested again.
    wakeup_.wait(lock, [&] { return self.resumed; });
}

void AsyncSemaphore::signal() {
    std::lock_guard lock(mutex_);
    if (waiters_.empty()) {
        ++permits_;
        return;
    }
    waiters_.front()->resumed = true;
    waiters_.pop_front();
    // Notified under the lock: the woken task cannot return (and perhaps drop this
    // object) before signal is done with it. One condition variable serves all
    // waiters; each checks its own flag.
    wakeup_.notify_all();
}

std::int64_t AsyncSemaphore::availablePermits() const {
    std::lock_guard lock(mutex_);
    return permits_;
}

std::size_t AsyncSemaphore::waiterCount() const {
    std::lock_guard lock(mutex_);
    return waiters_.size();
}

}  // namespace vantrel
