#include <datastorage/arrays/PinnedSamples.h>
#include <datastorage/cache/CacheManager.h>

#include <support/CacheFixture.h>

#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

/// A descriptor whose array has not been made is filed, asked and taken out like any other: it holds
/// nothing, and writing or reading it is an error that is told.
class CacheNoArray : public CacheFixture
{
protected:
    /// Processes what was posted and says what went wrong since the last call.
    QStringList newErrors()
    {
        cache().awaitTaskFinished(&m_info);
        processEvents();
        QStringList found = errors().mid(m_seen);
        m_seen = errors().size();
        return found;
    }

    QString writeError() const
    {
        return "CacheTaskWrite::run ERROR (write failed !) !\nError while writing data to " + file();
    }
    QString readError() const
    {
        return "CacheTaskRead::run ERROR !\nError while reading data from " + file();
    }
    QString file() const { return cache().getFullFilename(KEY, &m_info); }

    Array m_info{"A", ParameterVoltage, Float, UsualUnit(UnitVolt)};

private:
    qsizetype m_seen = 0;
};

TEST_F(CacheNoArray, IsFiledAndTakenOut)
{
    cache().addDataArrayInfoToCache(KEY, &m_info);
    const QStringList errors = newErrors();
    ASSERT_EQ(errors.size(), 1);
    EXPECT_TRUE(errors.first().startsWith(writeError())) << errors.first().toStdString();
    EXPECT_TRUE(cache().isCached(&m_info));
    EXPECT_EQ(cache().statistics().registeredArrays, 1);
    EXPECT_EQ(cache().statistics().residentArrays, 0);
    cache().removeDataArrayInfoFromCache(&m_info);
    EXPECT_FALSE(cache().isCached(&m_info));
    EXPECT_FALSE(QFile::exists(file()));
    EXPECT_TRUE(newErrors().isEmpty());
}

TEST_F(CacheNoArray, ContinuesNoFile)
{
    cache().loadDataArrayInfoToCache(KEY, &m_info);
    const QByteArray bytes = cacheFileBytes({1, 2});
    ASSERT_TRUE(writeFile(file(), bytes));
    cache().writeDataArrayToDisk(&m_info);
    const QStringList errors = newErrors();
    ASSERT_EQ(errors.size(), 1);
    EXPECT_TRUE(errors.first().startsWith(writeError())) << errors.first().toStdString();
    EXPECT_EQ(readFile(file()), bytes);
}

TEST_F(CacheNoArray, ReplacesAFileOfAnotherVersion)
{
    cache().loadDataArrayInfoToCache(KEY, &m_info);
    ASSERT_TRUE(writeFile(file(), cacheFileHeader(1) + bodyBytes({1, 2})));
    cache().writeDataArrayToDisk(&m_info);
    EXPECT_EQ(newErrors().size(), 1);
    EXPECT_EQ(readFile(file()), cacheFileHeader());
}

TEST_F(CacheNoArray, LoadsNothing)
{
    cache().loadDataArrayInfoToCache(KEY, &m_info);
    ASSERT_TRUE(writeFile(file(), cacheFileBytes({1, 2})));
    const quint64 loads = cache().statistics().loads;
    cache().readDataArrayFromDisk(&m_info);
    EXPECT_EQ(newErrors(), QStringList{readError()});
    cache().prefetch(&m_info);
    EXPECT_TRUE(newErrors().isEmpty());
    EXPECT_EQ(cache().statistics().loads, loads);
    EXPECT_EQ(m_info.getSize(), 0);
}

TEST_F(CacheNoArray, IsBracketedAndAppended)
{
    cache().loadDataArrayInfoToCache(KEY, &m_info);
    cache().startUpdateDataArrayInfoContent(&m_info);
    EXPECT_TRUE(cache().isUpdating(&m_info));
    cache().endUpdateDataArrayInfoContent(&m_info);
    EXPECT_TRUE(cache().isCached(&m_info));
    EXPECT_EQ(newErrors().size(), 1) << "there was nothing to write";
    cache().prepareAppendDataArray(&m_info);
    EXPECT_TRUE(cache().isUpdating(&m_info));
    EXPECT_TRUE(cache().appendDataArray(&m_info, KEY));
    EXPECT_TRUE(cache().isCached(&m_info));
    EXPECT_EQ(newErrors().size(), 1);
}

TEST_F(CacheNoArray, FollowsItsKeyAndLosesItsFile)
{
    cache().loadDataArrayInfoToCache(KEY, &m_info);
    ASSERT_TRUE(writeFile(file(), cacheFileBytes({1, 2})));
    EXPECT_TRUE(cache().updateDataCachePath("another", &m_info));
    const QString moved = cache().getFullFilename("another", &m_info);
    EXPECT_EQ(readFile(moved), cacheFileBytes({1, 2}));
    cache().clearDataArrayInfoInCache(&m_info);
    EXPECT_FALSE(QFile::exists(moved));
    EXPECT_TRUE(cache().isCached(&m_info));
}

TEST_F(CacheNoArray, ShowsWhatItsFileHolds)
{
    cache().loadDataArrayInfoToCache(KEY, &m_info);
    EXPECT_EQ(bitsOf(cache().getSampleDirect(&m_info, 1)), 0) << "there is no file";
    EXPECT_EQ(newErrors(), QStringList{"[CacheReadManager] Cannot initialize mmap for file:" + file()});
    m_info.setStreamId(-1);
    ASSERT_TRUE(writeFile(file(), cacheFileBytes({1, 2})));
    EXPECT_EQ(bitsOf(cache().getSampleDirect(&m_info, 1)), 2);
}

TEST_F(CacheNoArray, AnswersEveryQuestionWithNothing)
{
    cache().loadDataArrayInfoToCache(KEY, &m_info);
    std::vector<float> out(3);
    EXPECT_EQ(m_info.readSamples(0, out), 0);
    EXPECT_TRUE(m_info.pin(0, 3).isEmpty());
    EXPECT_TRUE(m_info.envelope(0, 3, 3).empty());
    EXPECT_FALSE(m_info.isEnvelopeReady());
    const QFuture<LoadResult> load = cache().loadInBackground(&m_info);
    ASSERT_TRUE(load.isFinished());
    EXPECT_EQ(load.result().samples, 0);
    const QFuture<ReadResult> read = cache().readInBackground(&m_info, 0, 3);
    ASSERT_TRUE(read.isFinished());
    EXPECT_TRUE(read.result().samples.isEmpty());
    EXPECT_TRUE(cache().prepareEnvelope(&m_info).isFinished());
    EXPECT_TRUE(newErrors().isEmpty());
}

TEST_F(CacheNoArray, StaysOnTheHeapWhenMemoryIsShort)
{
    Array& other = store("B", {1, 2, 3});
    cache().loadDataArrayInfoToCache(KEY, &m_info);
    push(m_info);
    push(other);
    cache().setCacheSizeInBytes(-1);
    updateCache();
    EXPECT_TRUE(cache().isCached(&m_info));
    EXPECT_TRUE(newErrors().isEmpty());
}
