#include <datastorage/cache/CacheManager.h>

#include <support/CacheFixture.h>
#include <support/ReaderThread.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

class CacheEviction : public CacheFixture
{
protected:
    /// A written array of `samples` samples, 4 bytes each, in memory.
    Array& storeOf(const QString& name, int samples) { return store(name, sequence(samples)); }

    /// Sets the budget and evicts what exceeds it.
    static void evictDownTo(qint64 bytes)
    {
        cache().setCacheSizeInBytes(bytes);
        updateCache();
    }

    /// Files written arrays as if their documents had just been read: on disk only, not on the heap.
    static void fileAnew(const std::vector<Array*>& arrays)
    {
        cache().removeAll();
        for (Array* array : arrays) {
            cache().loadDataArrayInfoToCache(KEY, array);
        }
    }

    /// The names of those arrays that are in memory.
    static std::string inMemory(const std::vector<Array*>& arrays)
    {
        std::string names;
        for (const Array* array : arrays) {
            if (isInMemory(*array)) {
                names += array->getName().toStdString();
            }
        }
        return names;
    }
};

TEST_F(CacheEviction, KeepsTheArrayStampedLast)
{
    Array& a = storeOf("A", 10);
    Array& b = storeOf("B", 10);
    Array& c = storeOf("C", 10);
    fileAnew({&a, &b, &c});
    for (Array* array : {&a, &b, &c}) {
        load(*array);
    }
    evictDownTo(1);
    EXPECT_EQ(inMemory({&a, &b, &c}), "C");
}

TEST_F(CacheEviction, WithABudgetOfOneByteEveryReadEvictsTheOneBefore)
{
    Array& a = storeOf("A", 10);
    Array& b = storeOf("B", 10);
    Array& c = storeOf("C", 10);
    evictDownTo(1);
    EXPECT_EQ(inMemory({&a, &b, &c}), "C");
    load(a);
    EXPECT_EQ(inMemory({&a, &b, &c}), "A");
    load(b);
    EXPECT_EQ(inMemory({&a, &b, &c}), "B");
    load(c);
    EXPECT_EQ(inMemory({&a, &b, &c}), "C");
}

TEST_F(CacheEviction, FollowsTheOrderOfTheReadsNotOfTheFills)
{
    Array& a = storeOf("A", 10);
    Array& b = storeOf("B", 10);
    Array& c = storeOf("C", 10);
    fileAnew({&a, &b, &c});
    for (Array* array : {&b, &c, &a}) {
        load(*array);
    }
    evictDownTo(80);
    EXPECT_EQ(inMemory({&a, &b, &c}), "AC");
    evictDownTo(40);
    EXPECT_EQ(inMemory({&a, &b, &c}), "A");
}

TEST_F(CacheEviction, StopsAsSoonAsTheBudgetIsMet)
{
    Array& a = storeOf("A", 10);
    Array& b = storeOf("B", 20);
    Array& c = storeOf("C", 30);
    evictDownTo(240);
    EXPECT_EQ(inMemory({&a, &b, &c}), "ABC");
    evictDownTo(239);
    EXPECT_EQ(inMemory({&a, &b, &c}), "BC");
    EXPECT_EQ(usedBytes(), 200);
    evictDownTo(200);
    EXPECT_EQ(inMemory({&a, &b, &c}), "BC");
    evictDownTo(199);
    EXPECT_EQ(inMemory({&a, &b, &c}), "C");
    EXPECT_EQ(usedBytes(), 120);
}

TEST_F(CacheEviction, TheLastEntryStaysEvenOverBudget)
{
    Array& a = storeOf("A", 10);
    evictDownTo(-1);
    EXPECT_EQ(inMemory({&a}), "A");
    Array& b = storeOf("B", 10);
    evictDownTo(-1);
    EXPECT_EQ(inMemory({&a, &b}), "B");
}

TEST_F(CacheEviction, AnArrayReadTwiceStandsOnTheHeapTwice)
{
    Array& a = storeOf("A", 10);
    load(a);
    evictDownTo(-1);
    EXPECT_EQ(inMemory({&a}), "") << "its older entry is not the last one";
}

TEST_F(CacheEviction, APopTakesTheTopWhateverItsStampIsNow)
{
    Array& a = storeOf("A", 10);
    Array& b = storeOf("B", 10);
    Array& c = storeOf("C", 10);
    a.setLastTimeStreamed(1000000);
    evictDownTo(119);
    EXPECT_EQ(inMemory({&a, &b, &c}), "BC");
}

TEST_F(CacheEviction, RemovingAnArrayOrdersTheHeapAnew)
{
    Array& a = storeOf("A", 10);
    Array& b = storeOf("B", 10);
    Array& c = storeOf("C", 10);
    Array& d = storeOf("D", 10);
    a.setLastTimeStreamed(1000000);
    cache().removeDataArrayInfoFromCache(&d);
    evictDownTo(119);
    EXPECT_EQ(inMemory({&a, &b, &c}), "AC");
    evictDownTo(-1);
    EXPECT_EQ(inMemory({&a, &b, &c}), "A");
}

TEST_F(CacheEviction, ManyArraysGoInTheOrderOfTheirStamps)
{
    constexpr int count = 40;
    std::vector<Array*> arrays;
    arrays.reserve(count);
    for (int i = 0; i < count; ++i) {
        arrays.push_back(&storeOf(QString("%1").arg(i), 10));
    }
    Array& eldest = storeOf("eldest", 10);
    evictDownTo(-1); // only the eldest stays, on the heap too
    cache().setCacheSizeInBytes(AMPLE_BUDGET);
    std::vector<Array*> order{&eldest};
    for (int i = 0; i < count; ++i) {
        order.push_back(arrays[static_cast<std::size_t>(i * 7 % count)]);
        load(*order.back());
    }
    for (std::size_t evicted = 1; evicted < order.size(); ++evicted) {
        SCOPED_TRACE(evicted);
        evictDownTo(40 * static_cast<qint64>(order.size() - evicted));
        for (std::size_t i = 0; i < order.size(); ++i) {
            EXPECT_EQ(isInMemory(*order[i]), i >= evicted) << "array " << i;
        }
    }
}

// ---- the logical clock

TEST_F(CacheEviction, EveryPushTakesTheNextStamp)
{
    Array& a = storeOf("A", 1);
    Array& b = storeOf("B", 1);
    const quint64 first = a.getLastTimeStreamed();
    EXPECT_EQ(b.getLastTimeStreamed(), first + 1);
    load(a);
    EXPECT_EQ(a.getLastTimeStreamed(), first + 2);
    load(a);
    EXPECT_EQ(a.getLastTimeStreamed(), first + 3);
    push(b);
    EXPECT_EQ(b.getLastTimeStreamed(), first + 4);
    cache().writeDataArrayToDisk(&b);
    cache().awaitTaskFinished(&b);
    EXPECT_EQ(b.getLastTimeStreamed(), first + 5);
}

TEST_F(CacheEviction, ReadsOfArraysThatAreNotCachedTakeNoStamp)
{
    Array& array = storeOf("A", 1);
    ASSERT_TRUE(QFile::copy(fileOf(array), fileOf(array, QString())));
    cache().removeDataArrayInfoFromCache(&array);
    array.setLastTimeStreamed(4711);
    load(array);
    EXPECT_EQ(array.getLastTimeStreamed(), 4711U);
    EXPECT_TRUE(errors().isEmpty());
}

// ---- when the budget is looked at

TEST_F(CacheEviction, AWriteIsFollowedByNoEviction)
{
    cache().setCacheSizeInBytes(1);
    Array& a = storeOf("A", 10);
    Array& b = storeOf("B", 10);
    EXPECT_EQ(inMemory({&a, &b}), "AB");
    Array& c = storeOf("C", 10);
    EXPECT_EQ(inMemory({&a, &b, &c}), "BC") << "filing the third made room";
}

TEST_F(CacheEviction, ARewriteEndsWithALookAtTheBudget)
{
    Array& a = storeOf("A", 10);
    Array& b = storeOf("B", 10);
    Array& c = storeOf("C", 10);
    cache().startUpdateDataArrayInfoContent(&c);
    cache().setCacheSizeInBytes(1);
    cache().updateDataCacheSize(false);
    EXPECT_EQ(inMemory({&a, &b, &c}), "ABC");
    cache().endUpdateDataArrayInfoContent(&c);
    EXPECT_EQ(inMemory({&a, &b, &c}), "BC") << "one entry stays, and the third is not on the heap";
}

TEST_F(CacheEviction, ALoadedKeyIsNoReasonToEvict)
{
    Array& a = storeOf("A", 10);
    Array& b = storeOf("B", 10);
    cache().setCacheSizeInBytes(1);
    cache().loadDataArrayInfoToCache("key", &make("C"));
    EXPECT_EQ(inMemory({&a, &b}), "AB");
}

// ---- the count of used bytes: an eviction shows what it is

TEST_F(CacheEviction, OneMoreSampleCountsFourBytes)
{
    Array& a = storeOf("A", 10);
    Array& b = storeOf("B", 10);
    cache().updateDataCacheSize(false);
    evictDownTo(80);
    EXPECT_EQ(inMemory({&a, &b}), "AB");
    cache().updateDataCacheSize(true);
    evictDownTo(84);
    EXPECT_EQ(inMemory({&a, &b}), "AB");
    evictDownTo(83);
    EXPECT_EQ(inMemory({&a, &b}), "B");
}

TEST_F(CacheEviction, RecountingForgetsWhatWasCountedOnTheWay)
{
    Array& a = storeOf("A", 10);
    Array& b = storeOf("B", 10);
    cache().increaseDataCacheSize(1000000);
    cache().updateDataCacheSize(false);
    evictDownTo(80);
    EXPECT_EQ(inMemory({&a, &b}), "AB");
}

TEST_F(CacheEviction, ReadBytesAreCountedFromAnyThread)
{
    Array& a = storeOf("A", 10);
    Array& b = storeOf("B", 10);
    cache().updateDataCacheSize(false);
    ReaderThread<int> counter([] {
        for (int i = 0; i < 100; ++i) {
            cache().increaseDataCacheSize(10);
        }
        return 1;
    });
    ASSERT_TRUE(counter.awaitReturned());
    evictDownTo(1080);
    EXPECT_EQ(inMemory({&a, &b}), "AB");
    evictDownTo(1079);
    EXPECT_EQ(inMemory({&a, &b}), "B");
}

TEST_F(CacheEviction, SamplesOfAnUnknownArrayCountUntilTheNextRecount)
{
    Array& a = storeOf("A", 10);
    Array& b = storeOf("B", 10);
    Array& unknown = make("C");
    add(unknown, sequence(5));
    evictDownTo(100);
    EXPECT_EQ(inMemory({&a, &b}), "AB");
    evictDownTo(99);
    EXPECT_EQ(inMemory({&a, &b}), "B");
    EXPECT_TRUE(isInMemory(unknown));
}

TEST_F(CacheEviction, DroppedSamplesAreRecountedAtOnce)
{
    Array& a = storeOf("A", 10);
    Array& b = storeOf("B", 10);
    Array& c = storeOf("C", 10);
    cache().increaseDataCacheSize(1000000);
    c.removeFromMemory();
    evictDownTo(80);
    EXPECT_EQ(inMemory({&a, &b, &c}), "AB");
}

TEST_F(CacheEviction, ReadBytesOfALoadAreCounted)
{
    Array& a = storeOf("A", 10);
    Array& b = storeOf("B", 10);
    Array& c = storeOf("C", 10);
    evict(c);
    cache().setCacheSizeInBytes(119);
    load(c); // the completion of the load evicts
    EXPECT_EQ(inMemory({&a, &b, &c}), "BC");
}
