#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/CacheManager.h>

#include <support/FaultyDevice.h>
#include <support/OpenStreamedArray.h>
#include <support/PoolTask.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDeadlineTimer>
#include <QtCore/QFile>
#include <QtCore/QSemaphore>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>
#include <QtCore/QThreadPool>

#include <limits>
#include <memory>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

constexpr int count = 5000;
constexpr qint64 patienceMilliseconds = 10000;

/// What a plot asks of the cache: views, hints, figures and loads that nobody waits for.
class CachePlot : public ::testing::Test
{
protected:
    void SetUp() override
    {
        cache().setDefaultCachePath(m_directory.path(), false);
        ASSERT_TRUE(cache().checkDefaultCacheDirectory());
        cache().setCacheSizeInBytes(qint64(1) << 40);
        m_errors = QObject::connect(&cache(), &CacheManager::signal_cacheError,
                                    [this](const QString& error) { m_listened.append(error); });
    }

    void TearDown() override
    {
        m_arrays.clear();
        QObject::disconnect(m_errors);
    }

    static CacheManager& cache() { return CacheManager::instance(); }

    static float valueAt(qint64 index, int array) { return static_cast<float>(index * 3 + array); }

    /// A written array with `count` samples, in memory.
    DataArrayInfoStreamed& store()
    {
        const int number = static_cast<int>(m_arrays.size());
        m_arrays.push_back(std::make_unique<DataArrayInfoStreamed>(QString::number(number), ParameterVoltage,
                                                                   Float, UsualUnit(UnitVolt)));
        DataArrayInfoStreamed& info = *m_arrays.back();
        info.createDataArray();
        info.startAddingData();
        for (int i = 0; i < count; ++i)
            info.addSampleFloat(valueAt(i, number));
        info.endAddingData("run.csv");
        cache().awaitTaskFinished(&info);
        return info;
    }

    /// Lets events flow until `done` holds; false when that takes too long.
    template <typename Predicate>
    static bool waitFor(Predicate done)
    {
        const QDeadlineTimer deadline(patienceMilliseconds);
        while (!done() && !deadline.hasExpired())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        return done();
    }

    QStringList m_listened;

private:
    QTemporaryDir m_directory;
    QMetaObject::Connection m_errors;
    std::vector<std::unique_ptr<DataArrayInfoStreamed>> m_arrays;
};

} // namespace

TEST_F(CachePlot, APinLoadsAnEvictedArrayAndViewsTheRange)
{
    DataArrayInfoStreamed& info = store();
    info.removeFromMemory();
    const PinnedSamples view = info.pin(100, 50);
    ASSERT_EQ(view.count(), 50);
    EXPECT_EQ(view.first(), 100);
    EXPECT_EQ(view.floats()[0], valueAt(100, 0));
    EXPECT_EQ(view.floats()[49], valueAt(149, 0));
}

TEST_F(CachePlot, APinIsClippedToTheArray)
{
    DataArrayInfoStreamed& info = store();
    EXPECT_EQ(info.pin(count - 10, 50).count(), 10);
    EXPECT_TRUE(info.pin(count, 1).isEmpty());
    EXPECT_TRUE(info.pin(-1, 5).isEmpty());
    EXPECT_TRUE(info.pin(0, 0).isEmpty());
}

TEST_F(CachePlot, APinnedArrayIsNotEvictedUntilTheLastViewIsGone)
{
    DataArrayInfoStreamed& pinned = store();
    DataArrayInfoStreamed& other = store();
    PinnedSamples first = pinned.pin(0, 10);
    PinnedSamples second = std::move(first);
    cache().setCacheSizeInBytes(1);
    cache().readDataArrayFromDisk(&other);
    cache().awaitTaskFinished(&other);
    EXPECT_EQ(pinned.getSizeLoadedInMemory(), count);
    EXPECT_EQ(cache().statistics().pinnedArrays, 1);
    EXPECT_EQ(cache().statistics().pinnedBytes, 4 * count);
    EXPECT_GT(cache().statistics().sampleBytes, cache().statistics().budgetBytes);

    second = PinnedSamples();
    EXPECT_EQ(cache().statistics().pinnedArrays, 0);
    cache().readDataArrayFromDisk(&other);
    cache().awaitTaskFinished(&other);
    EXPECT_EQ(pinned.getSizeLoadedInMemory(), 0);
}

TEST_F(CachePlot, AViewOutlivesWhateverHappensToItsArray)
{
    DataArrayInfoStreamed& info = store();
    const PinnedSamples view = info.pin(0, count);
    info.startAddingData();
    for (int i = 0; i < 10 * count; ++i)
        info.addSampleFloat(-1.0F);
    info.endAddingData("run.csv");
    info.clear();
    info.addSampleFloat(-2.0F);
    for (int i = 0; i < count; ++i)
        ASSERT_EQ(view.floats()[static_cast<std::size_t>(i)], valueAt(i, 0)) << i;
}

TEST_F(CachePlot, APrefetchBringsAnEvictedArrayIntoMemory)
{
    DataArrayInfoStreamed& info = store();
    info.removeFromMemory();
    const quint64 loads = cache().statistics().loads;
    cache().prefetch(&info);
    cache().awaitTaskFinished(&info);
    EXPECT_EQ(info.getSizeLoadedInMemory(), count);
    EXPECT_EQ(cache().statistics().loads, loads + 1);
    cache().prefetch(&info);
    cache().awaitTaskFinished(&info);
    EXPECT_EQ(cache().statistics().loads, loads + 1) << "what is in memory is not loaded again";
}

TEST_F(CachePlot, StatisticsCountWhatHappened)
{
    const CacheStatistics before = cache().statistics();
    DataArrayInfoStreamed& a = store();
    DataArrayInfoStreamed& b = store();
    CacheStatistics after = cache().statistics();
    EXPECT_EQ(after.registeredArrays, 2);
    EXPECT_EQ(after.residentArrays, 2);
    EXPECT_EQ(after.sampleBytes, 2 * 4 * count);
    EXPECT_EQ(after.writes, before.writes + 2);

    cache().setCacheSizeInBytes(1);
    cache().readDataArrayFromDisk(&a);
    cache().awaitTaskFinished(&a);
    cache().readDataArrayFromDisk(&b);
    cache().awaitTaskFinished(&b);
    after = cache().statistics();
    EXPECT_EQ(after.loads, before.loads + 2);
    EXPECT_EQ(after.residentArrays, 1);
    // The first load drops b and, through the entry that its write had left, a itself.
    EXPECT_EQ(after.evictions, before.evictions + 2);
    EXPECT_EQ(after.budgetBytes, 1);
    EXPECT_GT(after.loadMedianMilliseconds, 0);
    EXPECT_LE(after.loadMedianMilliseconds, after.load99Milliseconds);

    std::vector<float> samples(10);
    b.readSamples(0, samples);
    EXPECT_EQ(cache().statistics().hits, after.hits + 1);

    a.removeFromMemory();
    QFile::remove(cache().getFullFilename("run.csv", &a));
    cache().readDataArrayFromDisk(&a);
    cache().awaitTaskFinished(&a);
    EXPECT_EQ(cache().statistics().errors, after.errors + 1);
}

TEST_F(CachePlot, StatisticsTellWhatIsBeingLoaded)
{
    DataArrayInfoStreamed& info = store();
    info.removeFromMemory();
    BytesDevice bytes(bodyBytes(sequence(count)));
    FaultyDevice device(bytes);
    std::vector<CacheStatistics> during;
    device.onRead([&](int) { during.push_back(cache().statistics()); });
    ASSERT_TRUE(info.readFromDiskStream(device));
    ASSERT_GE(during.size(), 2U);
    EXPECT_EQ(during[0].inFlightBytes, 0) << "the count is not read yet";
    EXPECT_EQ(during[1].inFlightBytes, 4 * count);
    EXPECT_EQ(during[1].sampleBytes, 0);
    EXPECT_EQ(cache().statistics().inFlightBytes, 0);
    EXPECT_EQ(cache().statistics().sampleBytes, 4 * count);
}

TEST_F(CachePlot, ABackgroundLoadFinishesOnTheEventLoop)
{
    DataArrayInfoStreamed& info = store();
    info.removeFromMemory();
    const quint64 loads = cache().statistics().loads;
    const QFuture<LoadResult> future = cache().loadInBackground(&info);
    EXPECT_EQ(future.progressMaximum(), count);
    ASSERT_TRUE(waitFor([&] { return future.isFinished(); }));
    EXPECT_TRUE(future.result().isLoaded);
    EXPECT_EQ(future.result().samples, count);
    EXPECT_EQ(info.getSizeLoadedInMemory(), count);
    EXPECT_EQ(cache().statistics().loads, loads + 1);
}

TEST_F(CachePlot, BackgroundLoadsOfOneArrayShareOneRead)
{
    DataArrayInfoStreamed& info = store();
    info.removeFromMemory();
    const quint64 loads = cache().statistics().loads;
    const QFuture<LoadResult> first = cache().loadInBackground(&info);
    const QFuture<ReadResult> second = cache().readInBackground(&info, 10, 5);
    ASSERT_TRUE(waitFor([&] { return first.isFinished() && second.isFinished(); }));
    EXPECT_EQ(cache().statistics().loads, loads + 1);
    const ReadResult read = second.result();
    ASSERT_EQ(read.samples.size(), 5);
    EXPECT_EQ(read.first, 10);
    EXPECT_EQ(read.samples[4].floatValue, valueAt(14, 0));
    EXPECT_TRUE(read.error.isEmpty());
}

TEST_F(CachePlot, ABackgroundReadOfWhatIsInMemoryIsThereAtOnce)
{
    DataArrayInfoStreamed& info = store();
    const QFuture<ReadResult> future = cache().readInBackground(&info, count - 2, 100);
    ASSERT_TRUE(future.isFinished());
    ASSERT_EQ(future.result().samples.size(), 2);
    EXPECT_EQ(future.result().samples[1].floatValue, valueAt(count - 1, 0));
    EXPECT_TRUE(cache().readInBackground(&info, -5, 3).result().samples.isEmpty());
}

TEST_F(CachePlot, AFailedBackgroundLoadIsAResultWithTheText)
{
    DataArrayInfoStreamed& info = store();
    info.removeFromMemory();
    const QString file = cache().getFullFilename("run.csv", &info);
    ASSERT_TRUE(QFile::remove(file));
    const QFuture<LoadResult> future = cache().loadInBackground(&info);
    ASSERT_TRUE(waitFor([&] { return future.isFinished(); }));
    EXPECT_FALSE(future.result().isLoaded);
    EXPECT_EQ(future.result().error, "CacheTaskRead::run ERROR !\nCache file " + file + " doesn't exists\n");
    EXPECT_EQ(m_listened, QStringList{future.result().error});
    EXPECT_TRUE(info.isInError());
}

TEST_F(CachePlot, ACancelledBackgroundLoadEndsWhileTheLoadIsQueued)
{
    DataArrayInfoStreamed& info = store();
    info.removeFromMemory();
    QSemaphore gate;
    QThreadPool* pool = QThreadPool::globalInstance();
    const int threads = pool->maxThreadCount();
    pool->setMaxThreadCount(1);
    PoolTask::start([&] { gate.acquire(); });
    QFuture<LoadResult> future = cache().loadInBackground(&info);
    EXPECT_FALSE(future.isFinished());
    future.cancel();
    EXPECT_TRUE(waitFor([&] { return future.isFinished(); }));
    EXPECT_EQ(info.getSizeLoadedInMemory(), 0);
    gate.release();
    cache().awaitTaskFinished(&info);
    pool->setMaxThreadCount(threads);
    EXPECT_EQ(info.getSizeLoadedInMemory(), count) << "the load itself goes on";
}

TEST_F(CachePlot, AnArrayThatIsDestroyedEndsItsRequests)
{
    QFuture<LoadResult> future;
    {
        DataArrayInfoStreamed info("short-lived", ParameterVoltage, Float, UsualUnit(UnitVolt));
        info.createDataArray();
        info.addSampleFloat(1);
        info.endAddingData("run.csv");
        cache().awaitTaskFinished(&info);
        info.removeFromMemory();
        QFile::remove(cache().getFullFilename("run.csv", &info));
        future = cache().loadInBackground(&info);
    }
    EXPECT_TRUE(future.isFinished());
    EXPECT_FALSE(future.result().isLoaded);
}

TEST_F(CachePlot, BlocksAreAddedAndReadAsSamplesAre)
{
    DataArrayInfoStreamed block("block", ParameterVoltage, Float, UsualUnit(UnitVolt));
    DataArrayInfoStreamed single("single", ParameterVoltage, Float, UsualUnit(UnitVolt));
    block.createDataArray();
    single.createDataArray();
    std::vector<float> values(count);
    std::iota(values.begin(), values.end(), -17.5F);
    values[3] = std::numeric_limits<float>::quiet_NaN();
    values[4] = std::numeric_limits<float>::infinity();
    block.addSamples(std::span<const float>(values).first(1000));
    block.addSamples(std::span<const float>(values).subspan(1000));
    for (const float value : values)
        single.addSampleFloat(value);
    EXPECT_EQ(block.getSize(), single.getSize());
    EXPECT_EQ(block.capacity(), single.capacity());
    EXPECT_EQ(block.getMin(), single.getMin());
    EXPECT_EQ(block.getMax(), single.getMax());
    std::vector<float> out(count + 5, 0.0F);
    EXPECT_EQ(block.readSamples(0, out), count);
    EXPECT_EQ(out[5], values[5]);
    EXPECT_EQ(block.readSamples(count - 2, out), 2);
    EXPECT_EQ(block.readSamples(count, out), 0);
    EXPECT_EQ(block.readSamples(-1, out), 0);
}

TEST_F(CachePlot, ARangeOfAnEvictedArrayIsLoadedAndIntsComeBackWhole)
{
    DataArrayInfoStreamed info("int", ParameterNone, Int, UsualUnit(UnitNone));
    info.createDataArray();
    const std::vector<int> values{1, 16777217, 2147483647, 2143289344, -5};
    info.addSamples(std::span<const int>(values));
    EXPECT_EQ(info.getMax(), 2147483648.0F);
    info.endAddingData("run.csv");
    cache().awaitTaskFinished(&info);
    info.removeFromMemory();
    std::vector<int> out(5);
    EXPECT_EQ(info.readSamples(0, out), 5);
    EXPECT_EQ(out, values);
}

TEST_F(CachePlot, ARangeThatCannotBeLoadedIsShortAndNobodyWaits)
{
    DataArrayInfoStreamed& info = store();
    info.removeFromMemory();
    ASSERT_TRUE(QFile::remove(cache().getFullFilename("run.csv", &info)));
    std::vector<float> out(10);
    EXPECT_EQ(info.readSamples(0, out), 0);
    EXPECT_TRUE(info.isInError());
    EXPECT_TRUE(info.pin(0, 10).isEmpty());
}
