#include <datastorage/cache/AsyncDataLock.h>

#include <support/ReaderThread.h>

#include <memory>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

TEST(AsyncDataLock, WakesItsWaiter)
{
    AsyncDataLock lock;
    ReaderThread<int> waiter([&] {
        lock.wait();
        return 1;
    });
    ASSERT_TRUE(waiter.awaitBlocked());
    EXPECT_FALSE(waiter.hasReturned());
    lock.wakeAll();
    ASSERT_TRUE(waiter.awaitReturned());
    EXPECT_EQ(waiter.result(), 1);
}

TEST(AsyncDataLock, WakesEveryWaiterAtOnce)
{
    AsyncDataLock lock;
    std::vector<std::unique_ptr<ReaderThread<int>>> waiters;
    for (int i = 0; i < 8; ++i) {
        waiters.push_back(std::make_unique<ReaderThread<int>>([&lock, i] {
            lock.wait();
            return i;
        }));
        ASSERT_TRUE(waiters.back()->awaitBlocked());
    }
    lock.wakeAll();
    for (int i = 0; i < 8; ++i) {
        ASSERT_TRUE(waiters[static_cast<std::size_t>(i)]->awaitReturned());
        EXPECT_EQ(waiters[static_cast<std::size_t>(i)]->result(), i);
    }
}

TEST(AsyncDataLock, DoesNotRememberAWakeUpThatNobodyWaitedFor)
{
    AsyncDataLock lock;
    lock.wakeAll();
    lock.wakeAll();
    ReaderThread<int> waiter([&] {
        lock.wait();
        return 1;
    });
    ASSERT_TRUE(waiter.awaitBlocked());
    EXPECT_FALSE(waiter.hasReturned());
    lock.wakeAll();
    EXPECT_TRUE(waiter.awaitReturned());
}

TEST(AsyncDataLock, CanBeWaitedForAgain)
{
    AsyncDataLock lock;
    for (int i = 0; i < 3; ++i) {
        ReaderThread<int> waiter([&] {
            lock.wait();
            return 1;
        });
        ASSERT_TRUE(waiter.awaitBlocked());
        EXPECT_FALSE(waiter.hasReturned());
        lock.wakeAll();
        ASSERT_TRUE(waiter.awaitReturned());
    }
}
