#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <thread>

#include "core/cache/AsyncSemaphore.h"
#include "core/cache/Hashing.h"

using vantrel::AsyncSemaphore;
using namespace std::chrono_literals;

namespace {

// Threads that wait on the semaphore and record their arrival. The test steps on
// observed state (queue length, arrivals), never on elapsed time; the deadlines only
// turn a broken hand-over into a failure instead of a hang.
struct Probe {
    AsyncSemaphore& semaphore;
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<int> order;
    std::vector<std::thread> threads;

    void start(int who) {
        threads.emplace_back([this, who] {
            semaphore.wait();
            std::lock_guard lock(mutex);
            order.push_back(who);
            changed.notify_all();
        });
    }
    bool arrived(std::size_t count) {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, 10s, [&] { return order.size() >= count; });
    }
    bool queued(std::size_t count) const {
        auto end = std::chrono::steady_clock::now() + 10s;
        while (semaphore.waiterCount() != count) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::yield();
        }
        return true;
    }
    ~Probe() {
        while (semaphore.waiterCount() > 0) semaphore.signal();  // frees what a failed test left waiting
        for (auto& thread : threads) thread.join();
    }
};

}  // namespace

TEST(AsyncSemaphore, HandsPermitsToWaitersFirstInFirstOut) {
    AsyncSemaphore semaphore(2);
    semaphore.wait();  // two pass at once
    semaphore.wait();
    Probe probe{semaphore, {}, {}, {}, {}};
    for (int i = 0; i < 3; ++i) {
        probe.start(i);
        ASSERT_TRUE(probe.queued(static_cast<std::size_t>(i) + 1));
    }
    semaphore.signal();
    EXPECT_EQ(semaphore.availablePermits(), 0);  // passed straight to the oldest waiter
    // A newcomer can't take that permit, whether or not its owner has run yet.
    probe.start(9);
    ASSERT_TRUE(probe.queued(3));
    for (std::size_t arrivals = 1; arrivals <= 4; ++arrivals) {
        if (arrivals > 1) semaphore.signal();
        ASSERT_TRUE(probe.arrived(arrivals));
    }
    EXPECT_EQ(probe.order, (std::vector<int>{0, 1, 2, 9}));
}

TEST(AsyncSemaphore, ZeroBlocksAndSignalsAreUnbounded) {
    AsyncSemaphore closed(0);
    Probe probe{closed, {}, {}, {}, {}};
    probe.start(1);
    ASSERT_TRUE(probe.queued(1));
    closed.signal();
    ASSERT_TRUE(probe.arrived(1));
    EXPECT_EQ(closed.availablePermits(), 0);

    AsyncSemaphore open(1);
    open.signal();
    open.signal();
    EXPECT_EQ(open.availablePermits(), 3);
    for (int i = 0; i < 3; ++i) open.wait();  // none of these suspends
    EXPECT_EQ(open.waiterCount(), 0u);
}

TEST(AsyncSemaphore, BoundsConcurrencyUnderContention) {
    AsyncSemaphore semaphore(2);
    std::atomic<int> inside{0}, most{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 300; ++i) {
                semaphore.wait();
                int now = ++inside, seen = most.load();
                while (now > seen && !most.compare_exchange_weak(seen, now)) {
                }
                --inside;
                semaphore.signal();
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_LE(most.load(), 2);
    EXPECT_EQ(semaphore.availablePermits(), 2);
}

TEST(Hashing, Sha256KnownVectors) {
    EXPECT_EQ(vantrel::sha256Hex(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(vantrel::sha256Hex("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(vantrel::sha256Hex("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    // Raw bytes, not C text: an embedded NUL is hashed.
    EXPECT_EQ(vantrel::sha256Hex(std::string_view("\0", 1)),
              "6e340b9cffb37a989ca544e6bb780a2c78901d3fb33738768511a30617afa01d");
}
