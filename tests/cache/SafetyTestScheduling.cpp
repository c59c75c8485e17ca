#include <datastorage/cache/CacheReadManager.h>

#include <support/CacheFixture.h>
#include <support/ReaderThread.h>

#include <atomic>
#include <optional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

using Samples = std::vector<std::int32_t>;

constexpr quint64 UNSTAMPED = quint64(1) << 60;

} // namespace

class SchedulingSafety : public CacheFixture
{
protected:
    void SetUp() override
    {
        CacheFixture::SetUp();
        m_newest = &store("newest", {1}, "newest");
    }

    /// Evicts everything that the cache lets go: the budget is exceeded whatever is held, and the one
    /// entry of the heap that stays is a stranger's.
    void evictAll()
    {
        push(*m_newest);
        cache().setCacheSizeInBytes(-1);
        updateCache();
        cache().setCacheSizeInBytes(AMPLE_BUDGET);
    }

    static void expectFile(Array& array, const Samples& samples)
    {
        cache().awaitTaskFinished(&array);
        EXPECT_EQ(bytesOf(array), cacheFileBytes(samples));
        evict(array);
        EXPECT_EQ(samplesOf(array), samples);
    }

private:
    Array* m_newest = nullptr;
};

// ---- waiting for a task

TEST_F(SchedulingSafety, ATaskThatFinishesWhileCompletionsRunIsNotLeftBehind)
{
    GatedPool pool;
    Array& failing = make("A");
    cache().loadDataArrayInfoToCache(KEY, &failing);
    cache().readDataArrayFromDisk(&failing);
    pool.runQueued(); // its completion waits
    Array& array = make("B");
    array.setLastTimeStreamed(UNSTAMPED);
    fill(array, {1, 2});
    pool.addGate();
    bool finished = false;
    const QMetaObject::Connection connection =
        QObject::connect(&cache(), &CacheManager::signal_cacheError, [&](const QString&) {
            pool.open();
            pool.awaitNext(); // the write is over, its completion handed in
            finished = true;
        });
    cache().awaitTaskFinished(&array);
    QObject::disconnect(connection);
    EXPECT_TRUE(finished);
    EXPECT_NE(array.getLastTimeStreamed(), UNSTAMPED) << "its completion has not run";
}

TEST_F(SchedulingSafety, AwaitNeverReturnsBeforeTheCompletion)
{
    Array& array = store("A", {1});
    for (int i = 0; i < 3000; ++i) {
        array.setLastTimeStreamed(UNSTAMPED);
        cache().writeDataArrayToDisk(&array);
        for (int spin = 0; spin < i % 100; ++spin) {
            std::this_thread::yield();
        }
        cache().awaitTaskFinished(&array);
        ASSERT_NE(array.getLastTimeStreamed(), UNSTAMPED) << "round " << i;
    }
}

// ---- eviction through an older entry of the heap

TEST_F(SchedulingSafety, AnArrayWhoseWriteWaitsKeepsItsSamples)
{
    Array& array = store("A", {1, 2});
    GatedPool pool;
    add(array, {3});
    cache().writeDataArrayToDisk(&array);
    evictAll();
    EXPECT_TRUE(isInMemory(array));
    pool.drain();
    expectFile(array, {1, 2, 3});
}

TEST_F(SchedulingSafety, AnArrayThatIsFilledKeepsItsSamples)
{
    Array& array = store("A", {1, 2});
    load(array); // a second entry
    array.startAddingData();
    add(array, {3});
    evictAll();
    EXPECT_EQ(array.getSizeLoadedInMemory(), 3);
    add(array, {4});
    array.endAddingData(KEY);
    expectFile(array, {1, 2, 3, 4});
}

TEST_F(SchedulingSafety, AnArrayThatIsAppendedKeepsItsNewSamples)
{
    Array& array = store("A", {1, 2});
    load(array);
    cache().prepareAppendDataArray(&array);
    add(array, {3});
    evictAll();
    add(array, {4});
    cache().appendDataArray(&array, KEY);
    expectFile(array, {1, 2, 3, 4});
}

TEST_F(SchedulingSafety, AnArrayWhoseAppendWaitsKeepsItsNewSamples)
{
    Array& array = store("A", {1, 2});
    load(array);
    GatedPool pool;
    cache().prepareAppendDataArray(&array);
    add(array, {3, 4});
    cache().appendDataArray(&array, KEY);
    evictAll();
    pool.drain();
    expectFile(array, {1, 2, 3, 4});
}

TEST_F(SchedulingSafety, SamplesAddedWithoutABracketAreNotEvicted)
{
    Array& array = store("A", {1, 2});
    add(array, {3});
    evictAll();
    EXPECT_EQ(bitsOf(array.getSample(2)), 3);
    EXPECT_EQ(samplesOf(array), (Samples{1, 2, 3}));
}

TEST_F(SchedulingSafety, TheReloadBeforeARewriteDoesNotEvictItsOwnArray)
{
    Array& array = store("A", {1, 2, 3});
    evict(array); // its entry stays on the heap
    cache().setCacheSizeInBytes(1);
    array.startAddingData();
    EXPECT_EQ(array.getSizeLoadedInMemory(), 3);
    add(array, {4});
    array.endAddingData(KEY);
    cache().awaitTaskFinished(&array);
    cache().setCacheSizeInBytes(AMPLE_BUDGET);
    expectFile(array, {1, 2, 3, 4});
}

TEST_F(SchedulingSafety, AnUnwrittenArrayIsNeverEvicted)
{
    Array& array = make("A");
    ASSERT_TRUE(QDir().mkdir(fileOf(array))); // its write fails
    fill(array, {1, 2, 3});
    cache().awaitTaskFinished(&array);
    ASSERT_EQ(errors().size(), 1);
    array.setReadWriteError(false);
    push(array);
    evictAll();
    EXPECT_EQ(samplesOf(array), (Samples{1, 2, 3}));
}

// ---- writes

TEST_F(SchedulingSafety, WritingAnEvictedArrayNeverShortensItsFile)
{
    Array& array = store("A", {1, 2, 3});
    evict(array);
    EXPECT_TRUE(cache().writeDataArrayToDisk(&array));
    expectFile(array, {1, 2, 3});
}

TEST_F(SchedulingSafety, WritingAPartlyLoadedArrayNeverShortensItsFile)
{
    Array& array = store("A", {1, 2, 3});
    evict(array);
    add(array, {4}); // the block holds the last sample only
    EXPECT_EQ(array.getSize(), 4);
    EXPECT_TRUE(cache().writeDataArrayToDisk(&array));
    expectFile(array, {1, 2, 3, 4});
}

TEST_F(SchedulingSafety, SamplesWhoseWriteWasDroppedAreWrittenLater)
{
    Array& array = store("A", {1, 2});
    GatedPool pool;
    cache().readDataArrayFromDisk(&array);
    add(array, {3});
    EXPECT_TRUE(cache().writeDataArrayToDisk(&array)); // a task of the array runs
    pool.drain();
    cache().awaitTaskFinished(&array);
    processEvents();
    expectFile(array, {1, 2, 3});
}

TEST_F(SchedulingSafety, ADirectSampleIsReadAfterAWriteThatWaitsForACompletion)
{
    Array& array = store("A", {1, 2});
    GatedPool pool;
    cache().readDataArrayFromDisk(&array);
    add(array, {3});
    cache().writeDataArrayToDisk(&array); // waits for the completion of the read
    pool.drain();
    EXPECT_EQ(cache().getSampleDirect(&array, 2).intValue, 3);
    EXPECT_FALSE(array.isInError());
}

TEST_F(SchedulingSafety, ALoadThatWasWaitedForIsNotFollowedByAnother)
{
    // What was added meanwhile is in no file, and a second load would take its place.
    Array& array = store("A", {});
    GatedPool pool;
    cache().readDataArrayFromDisk(&array);
    add(array, {7});
    const QMetaObject::Connection connection =
        QObject::connect(&cache(), &CacheManager::signal_cacheError,
                         [&array](const QString&) { array.setReadWriteError(false); });
    const long thisThread = threadId();
    ReaderThread<bool> opener([&pool, thisThread] {
        const bool isWaiting = awaitAsleep(thisThread);
        pool.open();
        return isWaiting;
    });
    EXPECT_EQ(bitsOf(array.getSample(1)), NAN_PATTERN); // waits for the load
    ASSERT_TRUE(opener.awaitReturned());
    EXPECT_TRUE(opener.result());
    QObject::disconnect(connection);
    EXPECT_EQ(errors(), QStringList());
    EXPECT_EQ(samplesOf(array), (Samples{7}));
    cache().writeDataArrayToDisk(&array);
    expectFile(array, {7});
}

TEST_F(SchedulingSafety, SamplesAddedWhileAWriteRunsAreWrittenToo)
{
    constexpr int first = 400000;
    constexpr int second = 100000;
    for (int round = 0; round < 5; ++round) {
        SCOPED_TRACE(round);
        Array& array = make(QString("A%1").arg(round));
        fill(array, sequence(first));
        add(array, sequence(second, first)); // the block moves while it is written
        cache().writeDataArrayToDisk(&array);
        cache().awaitTaskFinished(&array);
        processEvents();
        expectFile(array, sequence(first + second));
    }
}

TEST_F(SchedulingSafety, ClearingAnArrayDuringItsWriteLeavesNothing)
{
    for (int round = 0; round < 5; ++round) {
        Array& array = make(QString("A%1").arg(round));
        fill(array, sequence(400000));
        array.clear();
        EXPECT_FALSE(hasFile(array));
        EXPECT_EQ(array.getSize(), 0);
        fill(array, {7});
        expectFile(array, {7});
    }
}

TEST_F(SchedulingSafety, ANewKeyDuringAReadMovesTheFileAfterIt)
{
    Array& array = store("A", sequence(400000), "old");
    evict(array);
    cache().readDataArrayFromDisk(&array);
    EXPECT_TRUE(cache().updateDataCachePath("new", &array));
    EXPECT_TRUE(errors().isEmpty());
    EXPECT_EQ(array.getSizeLoadedInMemory(), 400000);
    evict(array);
    EXPECT_EQ(bitsOf(array.getSample(399999)), 399999);
}

// ---- open appends

TEST_F(SchedulingSafety, ASampleAskedForDuringAnAppendIsTheOneOfItsIndex)
{
    Array& array = store("A", {10, 11, 12});
    cache().prepareAppendDataArray(&array);
    add(array, {13, 14});
    EXPECT_EQ(array.getSize(), 5);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(bitsOf(array.getSample(i)), 10 + i) << "sample " << i;
    }
    EXPECT_EQ(bitsOf(array.getSample(5)), NAN_PATTERN);
    cache().appendDataArray(&array, KEY);
    expectFile(array, {10, 11, 12, 13, 14});
}

TEST_F(SchedulingSafety, AnAppendContinuesTheBodyWhateverStandsBehindIt)
{
    Array& array = store("A", {1, 2, 3, 4, 5});
    Array& shorter = make("A");
    ASSERT_TRUE(writeFile(fileOf(shorter, "other"), cacheFileBytes({1, 2}) + sampleBytes({7, 8, 9})));
    cache().loadDataArrayInfoToCache("other", &shorter);
    load(shorter);
    ASSERT_EQ(shorter.getSizeLoadedInMemory(), 2);
    cache().prepareAppendDataArray(&shorter);
    add(shorter, {3});
    cache().appendDataArray(&shorter, "other");
    cache().awaitTaskFinished(&shorter);
    EXPECT_EQ(bytesOf(shorter, "other").left(16 + 12), cacheFileBytes({1, 2, 3}));
    EXPECT_EQ(samplesOf(array), (Samples{1, 2, 3, 4, 5}));
}

TEST_F(SchedulingSafety, BytesBehindTheBodyAreNoSamplesOfAnOpenAppend)
{
    Array& array = store("A", {1, 2, 3});
    ASSERT_TRUE(writeFile(fileOf(array), bytesOf(array) + sampleBytes({9, 9, 9})));
    cache().prepareAppendDataArray(&array);
    add(array, {4, 5});
    Samples samples(5);
    EXPECT_EQ(array.readSamples(0, std::span<int>(samples)), 5);
    EXPECT_EQ(samples, (Samples{1, 2, 3, 4, 5}));
    EXPECT_TRUE(errors().isEmpty());
}

TEST_F(SchedulingSafety, ANewKeyShowsNoReaderTheFileOfAnArrayWithoutKey)
{
    Array& foreign = store("A", {9, 9, 9}, QString());
    Array& array = store("A", {1, 2, 3});
    evict(array);
    add(array, {4}); // so that the others are read from the file
    std::atomic<bool> isOver = false;
    ReaderThread<int> reader([&array, &isOver] {
        int wrong = 0;
        while (!isOver) {
            wrong += array.getSample(0).intValue == 1 ? 0 : 1;
            wrong += array.envelope(0, 1, 1).at(0).maximum == 1 ? 0 : 1;
        }
        return wrong;
    });
    constexpr int moves = 10'000;
    for (int i = 0; i < moves; ++i)
        array.updateDataCachePath(QString("key %1").arg(i % 2));
    isOver = true;
    ASSERT_TRUE(reader.awaitReturned());
    EXPECT_EQ(reader.result(), 0);
    EXPECT_EQ(samplesOf(foreign), (Samples{9, 9, 9}));
    EXPECT_TRUE(errors().isEmpty());
}

TEST_F(SchedulingSafety, AnArrayThatIsFilledHasItsEnvelopeAtEveryMoment)
{
    Array& array = store("A", {0});
    array.startAddingData();
    std::atomic<bool> isOver = false;
    ReaderThread<int> reader([&array, &isOver] {
        int missed = 0;
        while (!isOver)
            missed += array.isEnvelopeReady() ? 0 : 1;
        return missed;
    });
    for (int i = 1; i <= 3'000'000; ++i)
        array.addSampleInt(i);
    isOver = true;
    ASSERT_TRUE(reader.awaitReturned());
    EXPECT_EQ(reader.result(), 0);
    array.endAddingData(KEY);
}

TEST_F(SchedulingSafety, WhoSeesTheCountOfAnAddedSampleGetsTheSample)
{
    constexpr int last = 3'000'000;
    Array& array = store("A", {0});
    array.startAddingData();
    std::atomic<bool> isOver = false;
    ReaderThread<int> reader([&array, &isOver] {
        int missed = 0;
        while (!isOver && missed == 0) {
            const qint64 index = array.getSize() - 1;
            std::int32_t sample = -1;
            if (array.envelope(index, index + 1, 1).at(0).count != 1)
                ++missed;
            if (array.readSamples(index, std::span(&sample, 1)) != 1 || sample != index)
                ++missed;
            if (array.readSamples(last + 1, std::span(&sample, 1)) != 0)
                ++missed;
        }
        return missed;
    });
    for (int i = 1; i <= last; ++i)
        array.addSampleInt(i);
    isOver = true;
    ASSERT_TRUE(reader.awaitReturned());
    EXPECT_EQ(reader.result(), 0) << "the array counted a sample before it had it";
    array.endAddingData(KEY);
    EXPECT_TRUE(errors().isEmpty()) << "a load was started for it";
}

// ---- streams end with their file

TEST_F(SchedulingSafety, AStreamEndsWhenItsFileChanges)
{
    struct Row
    {
        const char* label;
        void (*change)(Array&);
    };
    const Row rows[] = {
        {"clear", [](Array& array) { array.clear(); }},
        {"update", [](Array& array) { array.startAddingData(); }},
        {"append", [](Array& array) { cache().prepareAppendDataArray(&array); }},
        {"remove", [](Array& array) { cache().removeDataArrayInfoFromCache(&array); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        Array& array = store(row.label, {1, 2, 3});
        ASSERT_EQ(bitsOf(cache().getSampleDirect(&array, 2)), 3);
        ASSERT_NE(array.getStreamId(), -1);
        row.change(array);
        EXPECT_EQ(array.getStreamId(), -1);
    }
}

TEST_F(SchedulingSafety, AStreamShowsTheContentAfterARewrite)
{
    Array& array = store("A", {1, 2, 3});
    ASSERT_EQ(bitsOf(cache().getSampleDirect(&array, 0)), 1);
    array.clear();
    fill(array, {7, 8, 9, 10});
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(bitsOf(cache().getSampleDirect(&array, 0)), 7);
    EXPECT_EQ(bitsOf(cache().getSampleDirect(&array, 3)), 10);
    cache().prepareAppendDataArray(&array);
    add(array, {11});
    cache().appendDataArray(&array, KEY);
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(bitsOf(cache().getSampleDirect(&array, 4)), 11);
}

TEST_F(SchedulingSafety, TheStreamOfADestroyedArrayIsGivenBack)
{
    CacheReadManager::instance().closeAll(); // no id is left over from elsewhere
    Array& array = store("A", {1});
    ASSERT_EQ(bitsOf(cache().getSampleDirect(&array, 0)), 1);
    const qint64 id = array.getStreamId();
    destroy(array);
    Array& other = store("B", {2});
    ASSERT_EQ(bitsOf(cache().getSampleDirect(&other, 0)), 2);
    EXPECT_EQ(other.getStreamId(), id);
}

// ---- the end of an array

/// Two arrays, one after the other, at the same address: nothing that was kept for the first may reach
/// the second.
class LifetimeSafety : public SchedulingSafety
{
protected:
    Array& emplace()
    {
        m_place.reset();
        m_place.emplace("A", static_cast<PhysicalParameter>(9), Int, UsualUnit());
        m_place->createDataArray();
        return *m_place;
    }

    /// Ends the first array and puts another one, with three samples, in its place.
    Array& replace()
    {
        Array& second = emplace();
        add(second, {7, 8, 9});
        second.setLastTimeStreamed(UNSTAMPED);
        return second;
    }

    void expectUntouched(Array& second)
    {
        processEvents();
        evictAll();
        EXPECT_FALSE(cache().isCached(&second));
        EXPECT_FALSE(cache().isUpdating(&second));
        EXPECT_TRUE(cache().getDataArrayInfoKey(&second).isNull());
        EXPECT_EQ(second.getLastTimeStreamed(), UNSTAMPED);
        EXPECT_EQ(second.getSizeLoadedInMemory(), 3);
        EXPECT_FALSE(second.isInError());
        EXPECT_EQ(usedBytes(), 0);
        m_place.reset();
    }

private:
    std::optional<Array> m_place;
};

TEST_F(LifetimeSafety, OfAnArrayOnTheHeapTwice)
{
    Array& first = emplace();
    fill(first, {1, 2});
    cache().awaitTaskFinished(&first);
    load(first);
    load(first);
    expectUntouched(replace());
}

TEST_F(LifetimeSafety, OfAnArrayThatIsFilled)
{
    Array& first = emplace();
    fill(first, {1, 2});
    cache().awaitTaskFinished(&first);
    load(first);
    first.startAddingData();
    add(first, {3});
    expectUntouched(replace());
}

TEST_F(LifetimeSafety, OfAnArrayThatIsAppended)
{
    Array& first = emplace();
    fill(first, {1, 2});
    cache().awaitTaskFinished(&first);
    load(first);
    cache().prepareAppendDataArray(&first);
    add(first, {3});
    expectUntouched(replace());
}

TEST_F(LifetimeSafety, OfAnArrayFiledUnderTwoKeys)
{
    Array& first = emplace();
    add(first, {1, 2});
    cache().addDataArrayInfoToCache("one", &first);
    cache().addDataArrayInfoToCache("two", &first);
    expectUntouched(replace());
    EXPECT_TRUE(cache().getDataSourceFileCacheList("one", "").isEmpty());
    EXPECT_TRUE(cache().getDataSourceFileCacheList("two", "").isEmpty());
}

TEST_F(LifetimeSafety, OfAnArrayFiledTwiceUnderOneKey)
{
    Array& first = emplace();
    add(first, {1, 2});
    cache().addDataArrayInfoToCache(KEY, &first);
    cache().addDataArrayInfoToCache(KEY, &first);
    expectUntouched(replace());
}

TEST_F(LifetimeSafety, OfAnArrayFiledUnderAnEmptyKey)
{
    Array& first = emplace();
    fill(first, {1, 2}, "");
    expectUntouched(replace());
}

TEST_F(LifetimeSafety, OfAnArrayThatIsUpdatedWithoutBeingFiled)
{
    Array& first = emplace();
    cache().startUpdateDataArrayInfoContent(&first);
    expectUntouched(replace());
}

TEST_F(LifetimeSafety, OfAnArrayOnTheHeapWithoutBeingFiled)
{
    Array& first = emplace();
    add(first, {1});
    push(first);
    expectUntouched(replace());
}

TEST_F(LifetimeSafety, OfAnArrayWithACompletionOnItsWay)
{
    GatedPool pool;
    Array& first = emplace();
    fill(first, {1, 2});
    pool.runQueued();
    expectUntouched(replace());
}

TEST_F(LifetimeSafety, OfAnArrayWithAnErrorOnItsWay)
{
    GatedPool pool;
    Array& first = emplace();
    cache().loadDataArrayInfoToCache(KEY, &first);
    cache().readDataArrayFromDisk(&first);
    pool.runQueued();
    expectUntouched(replace());
}

TEST_F(LifetimeSafety, OfAnArrayWithARunningWrite)
{
    for (int round = 0; round < 10; ++round) {
        Array& first = emplace();
        fill(first, sequence(200000));
        expectUntouched(replace());
    }
}

TEST_F(LifetimeSafety, OfAnArrayWithARunningRead)
{
    for (int round = 0; round < 10; ++round) {
        Array& first = emplace();
        fill(first, sequence(200000));
        evict(first);
        cache().readDataArrayFromDisk(&first);
        expectUntouched(replace());
    }
}

TEST_F(LifetimeSafety, OfAnArrayForgottenByRemoveAll)
{
    Array& first = emplace();
    fill(first, {1, 2});
    load(first);
    cache().removeAll();
    expectUntouched(replace());
}
