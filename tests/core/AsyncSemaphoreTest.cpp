#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "cache/AsyncSemaphore.h"
#include "cache/Hashing.h"

using vantrel::AsyncSemaphore;

namespace {

using namespace std::chrono_literals;

// A guard against hanging when hand-over is broken: waits are bounded by this, and
// failures are reported instead.
constexpr auto kDeadline = 10s;

// Records which thread got through, so the test can wait for each wake-up in turn.
struct Arrivals {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<int> order;

    void add(int who) {
        std::lock_guard lock(mutex);
        order.push_back(who);
        changed.notify_all();
    }
    bool waitForCount(std::size_t count) {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, kDeadline, [&] { return order.size() >= count; });
    }
};

// Polls until the semaphore holds this many suspended waiters; the state is observed,
// not guessed from elapsed time.
bool waitForWaiters(const AsyncSemaphore& semaphore, std::size_t count) {
    auto end = std::chrono::steady_clock::now() + kDeadline;
    while (semaphore.waiterCount() != count) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::yield();
    }
    return true;
}

// Joins the test's threads; after a failed expectation it first frees any still waiting.
struct Threads {
    AsyncSemaphore& semaphore;
    std::vector<std::thread> list;
    ~Threads() {
        for (auto& thread : list)
            if (thread.joinable()) semaphore.signal();
        joinAll();
    }
    void joinAll() {
        for (auto& thread : list)
            if (thread.joinable()) thread.join();
    }
};

}  // namespace

TEST(AsyncSemaphore, WakesWaitersFirstInFirstOut) {
    // Value 2 and five callers: two pass at once, the rest in arrival order.
    AsyncSemaphore semaphore(2);
    semaphore.wait();
    semaphore.wait();
    EXPECT_EQ(semaphore.availablePermits(), 0);

    Arrivals arrivals;
    Threads threads{semaphore, {}};
    for (int i = 0; i < 3; ++i) {
        threads.list.emplace_back([&, i] {
            semaphore.wait();
            arrivals.add(i);
        });
        ASSERT_TRUE(waitForWaiters(semaphore, static_cast<std::size_t>(i) + 1));
    }
    for (std::size_t released = 1; released <= 3; ++released) {
        semaphore.signal();
        // The permit went straight to the waiter, not into the pool.
        EXPECT_EQ(semaphore.availablePermits(), 0);
        ASSERT_TRUE(arrivals.waitForCount(released));
        EXPECT_EQ(arrivals.order.size(), released);
    }
    threads.joinAll();
    EXPECT_EQ(arrivals.order, (std::vector<int>{0, 1, 2}));
}

TEST(AsyncSemaphore, NewcomerCannotOvertakeAWokenWaiter) {
    AsyncSemaphore semaphore(1);
    semaphore.wait();
    Arrivals arrivals;
    Threads threads{semaphore, {}};
    threads.list.emplace_back([&] {
        semaphore.wait();
        arrivals.add(1);
    });
    ASSERT_TRUE(waitForWaiters(semaphore, 1));
    semaphore.signal();
    // Whether or not the first waiter has run yet, the permit is its own: a newcomer waits.
    threads.list.emplace_back([&] {
        semaphore.wait();
        arrivals.add(2);
    });
    ASSERT_TRUE(waitForWaiters(semaphore, 1));
    ASSERT_TRUE(arrivals.waitForCount(1));
    EXPECT_EQ(arrivals.order, std::vector<int>{1});
    semaphore.signal();
    ASSERT_TRUE(arrivals.waitForCount(2));
    threads.joinAll();
    EXPECT_EQ(arrivals.order, (std::vector<int>{1, 2}));
}

TEST(AsyncSemaphore, ZeroBlocksAndSignalsAreUnbounded) {
    AsyncSemaphore closed(0);
    std::atomic<bool> passed{false};
    Threads threads{closed, {}};
    threads.list.emplace_back([&] {
        closed.wait();
        passed = true;
    });
    ASSERT_TRUE(waitForWaiters(closed, 1));
    EXPECT_FALSE(passed);
    closed.signal();
    threads.joinAll();
    EXPECT_TRUE(passed);
    EXPECT_EQ(closed.availablePermits(), 0);

    AsyncSemaphore open(1);
    open.signal();
    open.signal();
    EXPECT_EQ(open.availablePermits(), 3);
    for (int i = 0; i < 3; ++i) open.wait();  // none of these suspends
    EXPECT_EQ(open.availablePermits(), 0);
    EXPECT_EQ(open.waiterCount(), 0u);
}

TEST(AsyncSemaphore, BoundsConcurrencyUnderContention) {
    AsyncSemaphore semaphore(2);
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
    {
        Threads threads{semaphore, {}};
        for (int t = 0; t < 8; ++t) {
            threads.list.emplace_back([&] {
                for (int i = 0; i < 300; ++i) {
                    semaphore.wait();
                    int now = ++inside;
                    int seen = most.load();
                    while (now > seen && !most.compare_exchange_weak(seen, now)) {
                    }
                    --inside;
                    semaphore.signal();
                }
            });
        }
        threads.joinAll();
    }
    EXPECT_LE(most.load(), 2);
    EXPECT_EQ(semaphore.availablePermits(), 2);
    EXPECT_EQ(semaphore.waiterCount(), 0u);
}

TEST(Hashing, Sha256KnownVectors) {
    EXPECT_EQ(vantrel::sha256Hex(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(vantrel::sha256Hex("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(vantrel::sha256Hex("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    // Raw bytes, not C text: an embedded NUL is hashed.
    EXPECT_EQ(vantrel::sha256Hex(std::string_view("\0", 1)),
              "6e340b9cffb37a989ca544e6bb780a2c78901d3fb33738768511a30617afa01d");
    EXPECT_EQ(vantrel::sha256Hex(std::string(1000000, 'a')),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}
