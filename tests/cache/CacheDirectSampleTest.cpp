#include <datastorage/cache/CacheManager.h>

#include <support/CacheFixture.h>

#include <limits>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

class CacheDirectSample : public CacheFixture
{
protected:
    static std::int32_t direct(Array& array, qint64 index)
    {
        return bitsOf(cache().getSampleDirect(&array, index));
    }
};

TEST_F(CacheDirectSample, ReadsTheFileWithoutLoadingTheArray)
{
    Array& array = store("A", {10, -11, NAN_PATTERN});
    evict(array);
    EXPECT_EQ(array.getStreamId(), -1);
    EXPECT_EQ(direct(array, 0), 10);
    EXPECT_EQ(direct(array, 1), -11);
    EXPECT_EQ(direct(array, 2), NAN_PATTERN);
    EXPECT_GE(array.getStreamId(), 0);
    EXPECT_FALSE(isInMemory(array));
    EXPECT_TRUE(errors().isEmpty());
}

TEST_F(CacheDirectSample, ReadsNanOutsideTheArray)
{
    Array& array = store("A", {10, 11});
    for (const qint64 index :
         {qint64(-1), qint64(2), std::numeric_limits<qint64>::max(), std::numeric_limits<qint64>::min()}) {
        SCOPED_TRACE(index);
        EXPECT_EQ(direct(array, index), NAN_PATTERN);
    }
    EXPECT_TRUE(errors().isEmpty());
    EXPECT_FALSE(array.isInError());
}

TEST_F(CacheDirectSample, KeepsItsStreamOpen)
{
    Array& array = store("A", {10, 11});
    ASSERT_EQ(direct(array, 0), 10);
    const qint64 id = array.getStreamId();
    ASSERT_EQ(direct(array, 1), 11);
    EXPECT_EQ(array.getStreamId(), id);
    Array& other = store("B", {20});
    EXPECT_EQ(direct(other, 0), 20);
    EXPECT_NE(other.getStreamId(), id);
    EXPECT_EQ(direct(array, 1), 11);
}

TEST_F(CacheDirectSample, AFileThatCannotBeMappedIsReportedOnce)
{
    Array& array = make("A");
    cache().loadDataArrayInfoToCache(KEY, &array);
    EXPECT_EQ(direct(array, 0), 0) << "four zero bytes";
    EXPECT_EQ(errors(), QStringList("[CacheReadManager] Cannot initialize mmap for file:" + fileOf(array)));
    EXPECT_TRUE(array.isInError());
    EXPECT_NE(array.getStreamId(), -1);
    EXPECT_EQ(direct(array, 0), NAN_PATTERN);
    EXPECT_EQ(direct(array, 1), NAN_PATTERN);
    EXPECT_EQ(errors().size(), 1);
    array.setReadWriteError(false);
}

TEST_F(CacheDirectSample, AForeignFileCannotBeMapped)
{
    for (const QByteArray& bytes :
         {QByteArray(), QByteArray("text"), cacheFileHeader(3) + bodyBytes({1}),
          cacheFileHeader(1) + bodyBytes({1}), cacheFileHeader(2, 7) + bodyBytes({1}),
          cacheFileHeader() + QByteArray(7, '\0')}) {
        SCOPED_TRACE(bytes.toHex().toStdString());
        Array& array = make("A");
        cache().loadDataArrayInfoToCache(KEY, &array);
        ASSERT_TRUE(writeFile(fileOf(array), bytes));
        const qsizetype before = errors().size();
        EXPECT_EQ(direct(array, 0), 0);
        EXPECT_EQ(errors().size(), before + 1);
        EXPECT_TRUE(array.isInError());
        EXPECT_EQ(direct(array, 0), NAN_PATTERN);
        EXPECT_EQ(errors().size(), before + 1);
        array.setReadWriteError(false);
        destroy(array);
    }
}
