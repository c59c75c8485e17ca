#include <datastorage/cache/AsyncDataLock.h>

#include <support/CacheFixture.h>
#include <support/FaultyDevice.h>
#include <support/PoolTask.h>
#include <support/ReaderThread.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

using Samples = std::vector<std::int32_t>;

constexpr int MANY = 4 * 1024 * 1024; // 16 MiB: readers go on before such an array is whole

} // namespace

class LoadingSafety : public CacheFixture
{};

// ---- a wake-up between the look at the condition and the sleep

TEST(AsyncDataLockSafety, AWakeUpRightAfterTheLookAtTheConditionIsNotLost)
{
    AsyncDataLock lock;
    std::atomic<bool> isReady = false;
    std::unique_ptr<ReaderThread<int>> waker;
    ReaderThread<int> waiter([&] {
        lock.waitUntil([&] {
            const bool seen = isReady;
            if (!waker) { // what was seen is out of date before it is acted upon
                waker = std::make_unique<ReaderThread<int>>([&] {
                    isReady = true;
                    lock.wakeAll();
                    return 1;
                });
                EXPECT_TRUE(waker->awaitBlocked());
            }
            return seen;
        });
        return 1;
    });
    ASSERT_TRUE(waiter.awaitReturned());
    EXPECT_TRUE(waker->awaitReturned());
}

TEST_F(LoadingSafety, NoReaderMissesTheLastWakeUp)
{
    constexpr int rounds = 20000;
    OpenStreamedArray array;
    BytesDevice device(bodyBytes({7}));
    std::atomic<int> round = 0; // the reader follows the loader round by round
    Signal answered;
    ReaderThread<int> reader([&] {
        int wrong = 0;
        for (int i = 1; i <= rounds; ++i) {
            while (round < i) {
                std::this_thread::yield();
            }
            wrong += bitsOf(array.getSampleWhileReading(0)) == 7 ? 0 : 1;
            answered.give();
        }
        return wrong;
    });
    for (int i = 1; i <= rounds; ++i) {
        array.removeFromMemory();
        device.seek(0);
        round = i;
        ASSERT_TRUE(array.readFromDiskStream(device));
        ASSERT_TRUE(answered.take()) << "the reader sleeps on in round " << i;
    }
    ASSERT_TRUE(reader.awaitReturned());
    EXPECT_EQ(reader.result(), 0);
}

TEST_F(LoadingSafety, NoReaderMissesAnError)
{
    constexpr int rounds = 5000;
    OpenStreamedArray array;
    std::atomic<int> round = 0;
    Signal answered;
    ReaderThread<int> reader([&] {
        for (int i = 1; i <= rounds; ++i) {
            while (round < i) {
                std::this_thread::yield();
            }
            array.getSampleWhileReading(0);
            answered.give();
        }
        return 1;
    });
    for (int i = 1; i <= rounds; ++i) {
        array.setReadWriteError(false);
        round = i;
        array.setReadWriteError(true);
        // The reader is released by the error or never gets to sleep, and leaves when it is cleared and
        // a sample is there.
        array.addSampleInt(1);
        array.setReadWriteError(false);
        ASSERT_TRUE(answered.take()) << "the reader sleeps on in round " << i;
        array.removeFromMemory();
        array.clear();
    }
    ASSERT_TRUE(reader.awaitReturned());
}

// ---- more than one load

TEST_F(LoadingSafety, LoadingAnArrayInMemoryNeverCountsMoreThanItHolds)
{
    Array& array = store("A", sequence(1000));
    for (int i = 0; i < 3; ++i) {
        load(array);
        EXPECT_EQ(array.getSizeLoadedInMemory(), 1000);
        EXPECT_EQ(usedBytes(), 4000);
    }
    EXPECT_EQ(samplesOf(array), sequence(1000));
}

TEST_F(LoadingSafety, LoadingAgainKeepsSamplesThatNoFileHolds)
{
    Array& array = store("A", {1, 2, 3});
    add(array, {4, 5});
    load(array);
    EXPECT_EQ(array.getSize(), 5);
    EXPECT_LE(array.getSizeLoadedInMemory(), 5);
    EXPECT_EQ(samplesOf(array), (Samples{1, 2, 3, 4, 5}));
}

TEST_F(LoadingSafety, ReadersOnOtherThreadsSeeOnlyWhatWasWritten)
{
    constexpr int count = 3000;
    Array& array = store("A", sequence(count, 1));
    std::atomic<bool> stop = false;
    constexpr int threads = 4;
    std::vector<std::unique_ptr<ReaderThread<int>>> readers;
    readers.reserve(threads);
    for (int t = 0; t < threads; ++t) {
        readers.push_back(std::make_unique<ReaderThread<int>>([&array, &stop, t] {
            int wrong = 0;
            for (int i = t; !stop; i = (i + 7) % count) {
                wrong += bitsOf(array.getSample(i)) == i + 1 ? 0 : 1;
            }
            return wrong;
        }));
    }
    for (int i = 0; i < 300; ++i) {
        array.removeFromMemory();
        load(array);
    }
    stop = true;
    // Whoever still waits for a load is served by the event loop.
    for (const auto& reader : readers) {
        ASSERT_TRUE(reader->awaitReturned());
        EXPECT_EQ(reader->result(), 0);
    }
    processEvents();
}

// ---- eviction while something else is going on

TEST_F(LoadingSafety, AnArrayWhoseLoadIsRunningKeepsItsBlock)
{
    Array& other = store("B", {1});
    Array& array = store("A", sequence(MANY));
    for (int i = 0; i < 10; ++i) {
        SCOPED_TRACE(i);
        evict(array);
        EXPECT_EQ(bitsOf(array.getSample(0)), 0); // comes back while the rest is still being loaded
        cache().setCacheSizeInBytes(-1);
        push(other);
        updateCache();
        cache().setCacheSizeInBytes(AMPLE_BUDGET);
        cache().awaitTaskFinished(&array);
        ASSERT_EQ(bitsOf(array.getSample(MANY / 2)), MANY / 2);
        ASSERT_EQ(bitsOf(array.getSample(MANY - 1)), MANY - 1);
        ASSERT_LE(array.getSizeLoadedInMemory(), MANY);
    }
    EXPECT_TRUE(errors().isEmpty());
}

TEST_F(LoadingSafety, AnArrayWhoseReadWaitsKeepsItsBlock)
{
    Array& array = store("A", {1, 2, 3});
    Array& other = store("B", {1});
    GatedPool pool;
    cache().readDataArrayFromDisk(&array);
    cache().setCacheSizeInBytes(-1);
    push(other);
    updateCache();
    EXPECT_TRUE(isInMemory(array));
    cache().setCacheSizeInBytes(AMPLE_BUDGET);
    pool.drain();
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(samplesOf(array), (Samples{1, 2, 3}));
}

// ---- the count of used bytes

TEST_F(LoadingSafety, RecountingDuringALoadLeavesAnExactCount)
{
    Array& array = store("A", sequence(MANY / 4));
    Array& other = store("B", {1, 2, 3});
    for (int i = 0; i < 20; ++i) {
        SCOPED_TRACE(i);
        evict(array);
        cache().readDataArrayFromDisk(&array);
        while (array.getSizeLoadedInMemory() < MANY / 4) {
            cache().updateDataCacheSize(false);
        }
        cache().awaitTaskFinished(&array);
        push(other); // the newest; the older entry of it goes without effect
        cache().setCacheSizeInBytes(usedBytes());
        updateCache();
        EXPECT_TRUE(isInMemory(array)) << "the count is above what is held";
        cache().setCacheSizeInBytes(AMPLE_BUDGET);
    }
}

// ---- errors

TEST_F(LoadingSafety, ATaskOnTheOnlyThreadOfThePoolMayAskForASample)
{
    Array& array = store("A", {1, 2, 3});
    evict(array);
    QThreadPool& pool = *QThreadPool::globalInstance();
    const int previousCount = pool.maxThreadCount();
    pool.setMaxThreadCount(1); // the load is queued behind the task that waits for it
    Signal isRead;
    std::atomic<std::int32_t> bits = 0;
    PoolTask::start([&] {
        bits = bitsOf(array.getSample(1));
        isRead.give();
    });
    EXPECT_TRUE(isRead.take());
    pool.setMaxThreadCount(std::max(previousCount, 2));
    EXPECT_TRUE(pool.waitForDone(TEST_PATIENCE_MILLISECONDS));
    pool.setMaxThreadCount(previousCount);
    EXPECT_EQ(bits, 2);
}

TEST_F(LoadingSafety, AnErrorClearedWithNothingLoadedReadsAsNan)
{
    Array& array = make("A");
    vx::archive::ArchiveContext context;
    context.dataSourcePath = KEY;
    ASSERT_TRUE(
        array.read(QJsonObject{{"name", "A"}, {"dataArray", QJsonObject{{"realSize", "100"}}}}, 1, context));
    const QMetaObject::Connection connection =
        QObject::connect(&cache(), &CacheManager::signal_cacheError,
                         [&array](const QString&) { array.setReadWriteError(false); });
    EXPECT_EQ(bitsOf(array.getSample(50)), NAN_PATTERN);
    EXPECT_EQ(bitsOf(array.getSampleFloat(0)), NAN_PATTERN);
    EXPECT_EQ(array.getSampleInt(99), NAN_PATTERN);
    QObject::disconnect(connection);
    EXPECT_EQ(errors().size(), 3);
}

TEST_F(LoadingSafety, ADocumentThatClaimsMoreThanItsFileHoldsEndsInTheErrorChannel)
{
    Array& source = store("A", {1, 2, 3});
    Array& array = make("A");
    ASSERT_TRUE(QFile::copy(fileOf(source), fileOf(array, "claim")));
    vx::archive::ArchiveContext context;
    context.dataSourcePath = "claim";
    ASSERT_TRUE(
        array.read(QJsonObject{{"name", "A"}, {"dataArray", QJsonObject{{"realSize", "100"}}}}, 1, context));
    const QMetaObject::Connection connection =
        QObject::connect(&cache(), &CacheManager::signal_cacheError,
                         [&array](const QString&) { array.setReadWriteError(false); });
    EXPECT_EQ(bitsOf(array.getSample(50)), NAN_PATTERN);
    QObject::disconnect(connection);
    EXPECT_GE(errors().size(), 1);
}

TEST_F(LoadingSafety, ASlotOnTheErrorSignalMayCallTheCache)
{
    Array& good = store("good", {1, 2, 3});
    evict(good);
    Array& array = make("A");
    cache().loadDataArrayInfoToCache(KEY, &array);
    int calls = 0;
    const QMetaObject::Connection connection =
        QObject::connect(&cache(), &CacheManager::signal_cacheError, [&](const QString&) {
            if (++calls == 1) {
                cache().awaitTaskFinished(&array);
                cache().readDataArrayFromDisk(&good);
                cache().awaitTaskFinished(&good);
                cache().writeDataArrayToDisk(&good);
                cache().removeDataArrayInfoFromCache(&array);
            }
        });
    // On a thread of its own a dead lock is a failure, not a hang; the completions run where it waits.
    cache().readDataArrayFromDisk(&array);
    cache().awaitTaskFinished(&array);
    QObject::disconnect(connection);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(good.getSizeLoadedInMemory(), 3);
    EXPECT_FALSE(cache().isCached(&array));
}
