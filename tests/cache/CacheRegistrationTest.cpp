#include <datastorage/cache/CacheManager.h>

#include <support/CacheFixture.h>
#include <support/ReaderThread.h>

#include <QtCore/QTemporaryDir>

#include <atomic>
#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

using Samples = std::vector<std::int32_t>;

} // namespace

class CacheRegistration : public CacheFixture
{
protected:
    /// Whether the array stands on the eviction heap: evicts everything there but the newest entry, a
    /// stranger's.
    bool isOnTheHeap(Array& array)
    {
        store("stranger", {1}, "stranger");
        cache().setCacheSizeInBytes(-1);
        const bool wasInMemory = isInMemory(array);
        updateCache();
        cache().setCacheSizeInBytes(AMPLE_BUDGET);
        EXPECT_TRUE(wasInMemory) << "only samples in memory tell";
        return !isInMemory(array);
    }

    void expectState(Array& array, bool isCached, bool isUpdating, bool isFileThere)
    {
        EXPECT_EQ(cache().isCached(&array), isCached);
        EXPECT_EQ(cache().isUpdating(&array), isUpdating);
        EXPECT_EQ(hasFile(array), isFileThere);
    }
};

// ---- the states of an array

TEST_F(CacheRegistration, AnUnknownArrayIsNowhere)
{
    Array& array = make("A");
    add(array, {1, 2});
    expectState(array, false, false, false);
    EXPECT_FALSE(isOnTheHeap(array));
}

TEST_F(CacheRegistration, AWrittenArrayIsCachedAndOnTheHeap)
{
    Array& array = store("A", {1, 2});
    expectState(array, true, false, true);
    EXPECT_TRUE(isInMemory(array));
    EXPECT_TRUE(isOnTheHeap(array));
}

TEST_F(CacheRegistration, AnArrayIsCachedBeforeItIsWrittenAndOnTheHeapAfter)
{
    store("first", {1}, "first");
    Array& last = store("last", {1}, "last");
    GatedPool pool;
    Array& array = make("A");
    add(array, {1, 2});
    cache().addDataArrayInfoToCache(KEY, &array);
    expectState(array, true, false, false);
    cache().setCacheSizeInBytes(-1);
    updateCache();
    push(last); // two entries, so that the heap may lose one
    updateCache();
    cache().setCacheSizeInBytes(AMPLE_BUDGET);
    EXPECT_FALSE(isInMemory(last));
    EXPECT_TRUE(isInMemory(array)) << "it waits to be written";
    pool.drain();
    cache().awaitTaskFinished(&array);
    EXPECT_TRUE(isOnTheHeap(array));
}

TEST_F(CacheRegistration, AnEvictedArrayStaysCachedWithItsFile)
{
    Array& array = store("A", {1, 2});
    ASSERT_TRUE(isOnTheHeap(array));
    expectState(array, true, false, true);
    EXPECT_FALSE(isInMemory(array));
    EXPECT_EQ(array.getSize(), 2);
    EXPECT_EQ(bytesOf(array), cacheFileBytes({1, 2}));
}

TEST_F(CacheRegistration, AnArrayThatIsRewrittenHasNoFileAndIsNotOnTheHeap)
{
    Array& array = store("A", {1, 2});
    cache().startUpdateDataArrayInfoContent(&array);
    expectState(array, false, true, false);
    EXPECT_TRUE(cache().getDataArrayInfoKey(&array).isNull());
    EXPECT_FALSE(isOnTheHeap(array));
    cache().endUpdateDataArrayInfoContent(&array);
    EXPECT_EQ(cache().getDataArrayInfoKey(&array), KEY);
    cache().awaitTaskFinished(&array);
    expectState(array, true, false, true);
    EXPECT_TRUE(isOnTheHeap(array));
}

TEST_F(CacheRegistration, AnArrayThatIsAppendedKeepsItsFileAndIsNotOnTheHeap)
{
    Array& array = store("A", {1, 2});
    cache().prepareAppendDataArray(&array);
    expectState(array, false, true, true);
    EXPECT_FALSE(isInMemory(array)) << "only new samples are held";
    EXPECT_EQ(array.getSize(), 2);
    add(array, {3});
    EXPECT_EQ(array.getSize(), 3);
    EXPECT_FALSE(isOnTheHeap(array));
    EXPECT_TRUE(cache().appendDataArray(&array, "ignored"));
    EXPECT_EQ(cache().getDataArrayInfoKey(&array), KEY);
    cache().awaitTaskFinished(&array);
    expectState(array, true, false, true);
    EXPECT_EQ(bytesOf(array), cacheFileBytes({1, 2, 3}));
}

// ---- adding, loading, removing

TEST_F(CacheRegistration, AddFilesWritesAndKeepsInMemory)
{
    Array& array = make("A");
    add(array, {1, 2, 3});
    cache().addDataArrayInfoToCache("some key", &array);
    EXPECT_EQ(cache().getDataArrayInfoKey(&array), QString("some key"));
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(bytesOf(array, "some key"), cacheFileBytes({1, 2, 3}));
    EXPECT_EQ(samplesOf(array), (Samples{1, 2, 3}));
    EXPECT_FALSE(array.isUseBatchMode());
    EXPECT_TRUE(errors().isEmpty());
}

TEST_F(CacheRegistration, LoadFilesAndDropsTheSamplesWithoutReading)
{
    Array& source = store("A", {1, 2, 3});
    Array& array = make("A");
    add(array, {7, 8, 9});
    ASSERT_TRUE(QFile::copy(fileOf(source), fileOf(array, "loaded")));
    cache().loadDataArrayInfoToCache("loaded", &array);
    EXPECT_TRUE(cache().isCached(&array));
    EXPECT_FALSE(isInMemory(array));
    EXPECT_EQ(array.capacity(), 0);
    EXPECT_EQ(array.getSize(), 3);
    EXPECT_EQ(bytesOf(array, "loaded"), cacheFileBytes({1, 2, 3}));
    EXPECT_EQ(samplesOf(array), (Samples{1, 2, 3}));
}

TEST_F(CacheRegistration, LoadNeedsNoFile)
{
    Array& array = make("A");
    cache().loadDataArrayInfoToCache(KEY, &array);
    EXPECT_TRUE(cache().isCached(&array));
    EXPECT_FALSE(hasFile(array));
    EXPECT_TRUE(errors().isEmpty());
}

TEST_F(CacheRegistration, RemoveUnregistersAndDeletesTheFile)
{
    Array& array = store("A", {1, 2});
    cache().removeDataArrayInfoFromCache(&array);
    expectState(array, false, false, false);
    EXPECT_EQ(samplesOf(array), (Samples{1, 2})) << "the samples in memory stay";
    EXPECT_FALSE(isOnTheHeap(array));
}

TEST_F(CacheRegistration, RemoveOfAnUnknownArrayDoesNothing)
{
    Array& other = store("A", {1, 2});
    Array& array = make("A");
    cache().removeDataArrayInfoFromCache(&array);
    EXPECT_TRUE(hasFile(other));
    EXPECT_TRUE(cache().isCached(&other));
}

TEST_F(CacheRegistration, RemoveWaitsForTheTask)
{
    GatedPool pool;
    Array& array = make("A");
    fill(array, {1, 2});
    pool.open();
    cache().removeDataArrayInfoFromCache(&array);
    expectState(array, false, false, false);
}

TEST_F(CacheRegistration, ClearDeletesTheFileAndKeepsTheRest)
{
    Array& array = store("A", {1, 2});
    cache().clearDataArrayInfoInCache(&array);
    expectState(array, true, false, false);
    EXPECT_EQ(samplesOf(array), (Samples{1, 2}));
    EXPECT_TRUE(cache().isCached(&array));
}

TEST_F(CacheRegistration, ClearOfAnUnknownArrayDoesNothing)
{
    Array& other = store("A", {1});
    Array& array = make("A");
    cache().clearDataArrayInfoInCache(&array);
    EXPECT_TRUE(hasFile(other));
}

TEST_F(CacheRegistration, AnEmptyKeyCountsAsNotCached)
{
    Array& array = make("A");
    fill(array, {1, 2}, "");
    cache().awaitTaskFinished(&array);
    EXPECT_FALSE(cache().isCached(&array));
    EXPECT_FALSE(cache().isUpdating(&array));
    EXPECT_EQ(bytesOf(array, ""), cacheFileBytes({1, 2}));
    EXPECT_FALSE(isOnTheHeap(array));
}

TEST_F(CacheRegistration, AnArrayIsValidWhileItsFileCanBeOpened)
{
    Array& array = store("A", {1});
    EXPECT_TRUE(cache().isValid(&array));
    ASSERT_TRUE(writeFile(fileOf(array), "anything"));
    EXPECT_TRUE(cache().isValid(&array)) << "the content is not looked at";
    ASSERT_TRUE(QFile::remove(fileOf(array)));
    EXPECT_FALSE(cache().isValid(&array));
    EXPECT_FALSE(cache().isValid(&make("unknown")));
}

// ---- all at once

TEST_F(CacheRegistration, RemoveAllForgetsEveryArrayAndKeepsFilesAndSamples)
{
    Array& first = store("A", {1, 2});
    Array& second = store("B", {3});
    cache().removeAll();
    for (Array* array : {&first, &second}) {
        expectState(*array, false, false, true);
        EXPECT_TRUE(isInMemory(*array));
        EXPECT_FALSE(isOnTheHeap(*array));
    }
    EXPECT_EQ(samplesOf(first), (Samples{1, 2}));
}

TEST_F(CacheRegistration, RemoveAllKeepsArraysThatAreUpdated)
{
    Array& array = store("A", {1, 2});
    cache().startUpdateDataArrayInfoContent(&array);
    cache().removeAll();
    EXPECT_TRUE(cache().isUpdating(&array));
    cache().endUpdateDataArrayInfoContent(&array);
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(bytesOf(array), cacheFileBytes({1, 2}));
}

TEST_F(CacheRegistration, RemoveAllWaitsForTheWholePool)
{
    GatedPool pool;
    const long mainThread = threadId();
    std::atomic<bool> removed = false;
    ReaderThread<int> opener([&] {
        const bool waiting = awaitAsleep(mainThread);
        const bool early = removed;
        pool.open();
        return waiting && !early ? 1 : 0;
    });
    cache().removeAll(); // the pool runs the gate, which is no task of the cache
    removed = true;
    ASSERT_TRUE(opener.awaitReturned());
    EXPECT_EQ(opener.result(), 1);
}

TEST_F(CacheRegistration, RemoveAllDoesNotDiscardCompletions)
{
    Array& array = make("A");
    cache().loadDataArrayInfoToCache(KEY, &array);
    cache().readDataArrayFromDisk(&array);
    cache().removeAll();
    EXPECT_TRUE(errors().isEmpty());
    processEvents();
    EXPECT_EQ(errors(),
              QStringList("CacheTaskRead::run ERROR !\nCache file " + fileOf(array) + " doesn't exists\n"));
    EXPECT_TRUE(array.isInError());
}

TEST_F(CacheRegistration, RemoveAllLeavesLateCompletionsOfWritesWithoutEffect)
{
    Array& array = make("A");
    fill(array, {1, 2});
    cache().removeAll();
    array.setLastTimeStreamed(4711);
    processEvents();
    EXPECT_EQ(array.getLastTimeStreamed(), 4711U) << "it is not cached any more";
    EXPECT_EQ(bytesOf(array), cacheFileBytes({1, 2}));
}

// ---- rewriting

TEST_F(CacheRegistration, ARewriteBringsEvictedSamplesBackFirst)
{
    Array& array = store("A", {1, 2, 3});
    evict(array);
    cache().startUpdateDataArrayInfoContent(&array);
    EXPECT_EQ(array.getSizeLoadedInMemory(), 3);
    EXPECT_FALSE(hasFile(array));
    add(array, {4});
    cache().endUpdateDataArrayInfoContent(&array);
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(bytesOf(array), cacheFileBytes({1, 2, 3, 4}));
}

TEST_F(CacheRegistration, ARewriteWaitsForTheTaskOfTheArray)
{
    GatedPool pool;
    Array& array = make("A");
    fill(array, {1, 2});
    pool.open();
    cache().startUpdateDataArrayInfoContent(&array);
    expectState(array, false, true, false);
    cache().endUpdateDataArrayInfoContent(&array);
}

// ---- appending

TEST_F(CacheRegistration, AppendWritesBehindTheBodyAndDropsTheSamples)
{
    Array& array = store("A", {1, 2});
    cache().prepareAppendDataArray(&array);
    add(array, {3, 4, 5});
    EXPECT_TRUE(cache().appendDataArray(&array, KEY));
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(bytesOf(array), cacheFileBytes({1, 2, 3, 4, 5}));
    EXPECT_FALSE(isInMemory(array));
    EXPECT_FALSE(array.isUseBatchMode());
    EXPECT_EQ(array.getSize(), 5);
    EXPECT_EQ(samplesOf(array), (Samples{1, 2, 3, 4, 5}));
}

TEST_F(CacheRegistration, AppendMayBeRepeated)
{
    Array& array = store("A", {1});
    for (int i = 2; i <= 5; ++i) {
        cache().prepareAppendDataArray(&array);
        add(array, {i});
        cache().appendDataArray(&array, KEY);
    }
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(bytesOf(array), cacheFileBytes({1, 2, 3, 4, 5}));
    EXPECT_EQ(samplesOf(array), (Samples{1, 2, 3, 4, 5}));
}

TEST_F(CacheRegistration, AppendOfAnUnknownArrayFilesItUnderTheGivenKey)
{
    Array& array = make("A");
    add(array, {1, 2});
    EXPECT_TRUE(cache().appendDataArray(&array, "given"));
    EXPECT_EQ(cache().getDataArrayInfoKey(&array), QString("given"));
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(bytesOf(array, "given"), cacheFileBytes({1, 2}));
    EXPECT_FALSE(isInMemory(array));
    EXPECT_EQ(samplesOf(array), (Samples{1, 2}));
}

TEST_F(CacheRegistration, AppendedArraysAreNotStamped)
{
    Array& array = store("A", {1});
    cache().prepareAppendDataArray(&array);
    add(array, {2});
    array.setLastTimeStreamed(4711);
    cache().appendDataArray(&array, KEY);
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(array.getLastTimeStreamed(), 4711U);
}

TEST_F(CacheRegistration, PrepareAppendOfAnUnknownArrayDoesNothing)
{
    Array& array = make("A");
    add(array, {1, 2});
    cache().prepareAppendDataArray(&array);
    expectState(array, false, false, false);
    EXPECT_EQ(samplesOf(array), (Samples{1, 2}));
}

TEST_F(CacheRegistration, PrepareAppendWaitsForTheTaskOfTheArray)
{
    GatedPool pool;
    Array& array = make("A");
    fill(array, {1, 2});
    pool.open();
    cache().prepareAppendDataArray(&array);
    EXPECT_EQ(bytesOf(array), cacheFileBytes({1, 2}));
    add(array, {3});
    cache().appendDataArray(&array, KEY);
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(bytesOf(array), cacheFileBytes({1, 2, 3}));
}

// ---- counting bytes

TEST_F(CacheRegistration, TheUsedBytesAreThoseOfCachedArraysInMemory)
{
    EXPECT_EQ(usedBytes(), 0);
    Array& first = store("A", sequence(10));
    EXPECT_EQ(usedBytes(), 40);
    Array& second = store("B", sequence(5));
    EXPECT_EQ(usedBytes(), 60);
    evict(first);
    EXPECT_EQ(usedBytes(), 20);
    cache().startUpdateDataArrayInfoContent(&second);
    EXPECT_EQ(usedBytes(), 0) << "arrays that are updated are not counted";
    cache().endUpdateDataArrayInfoContent(&second);
    EXPECT_EQ(usedBytes(), 20);
    load(first);
    EXPECT_EQ(usedBytes(), 60);
    cache().addDataArrayInfoToCache("again", &first);
    EXPECT_EQ(usedBytes(), 100) << "an array filed twice counts twice";
    Array& unknown = make("C");
    add(unknown, {1, 2, 3});
    EXPECT_EQ(usedBytes(), 100);
}

// ---- the end of the process

TEST(CacheManagerObject, TakesItsDirectoryAlongWhenItGoes)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const QTemporaryDir directory;
    if (qEnvironmentVariableIsEmpty("VX_TEST_DIRECTORY")) {
        qputenv("VX_TEST_DIRECTORY", directory.path().toUtf8());
    }
    const QString base = qEnvironmentVariable("VX_TEST_DIRECTORY");
    EXPECT_EXIT(
        {
            CacheManager::instance().setDefaultCachePath(base + "/cache", false);
            const bool made = CacheManager::instance().checkDefaultCacheDirectory() &&
                              QDir().mkpath(base + "/cache/below") &&
                              writeFile(base + "/cache/below/file", "x");
            std::exit(made ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_TRUE(QDir(base).exists());
    EXPECT_FALSE(QDir(base + "/cache").exists());
    qunsetenv("VX_TEST_DIRECTORY");
}
