// Samples that were added while the block could not take them and wait beside it.

#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/arrays/DataArrayStreamed_p.h>
#include <datastorage/cache/CacheManager.h>

#include <support/CacheFixture.h>
#include <support/ReaderThread.h>

using namespace vx::datastorage;

namespace {

/// A registered array of the samples 1, 2 and 3, which no file has: 3 waits beside the block.
class CacheWaitingSamples : public CacheFixture
{
protected:
    static constexpr qint64 BEHIND_THE_END = 3;

    void SetUp() override
    {
        CacheFixture::SetUp();
        m_array = &store("A", {7});
        m_array->clear();
        add(*m_array, {1, 2});
        DataArrayStreamed& samples = *StreamedArrayAccess::arrayOf(*m_array);
        StreamedArrayAccess::finishFilling(samples);
        StreamedArrayAccess::startLoad(samples); // from here on the block is the load's
        add(*m_array, {3});
        StreamedArrayAccess::finishLoad(samples);
        ASSERT_EQ(m_array->getSizeLoadedInMemory(), 2);
        ASSERT_EQ(m_array->getSize(), 3);
    }

    static qint64 readBehindTheEnd(const Array& array)
    {
        std::int32_t sample = 0;
        return array.readSamples(BEHIND_THE_END, std::span(&sample, 1));
    }

    void expectNothingWrong()
    {
        cache().awaitTaskFinished(m_array);
        processEvents();
        EXPECT_EQ(errors(), QStringList()) << "a file was looked for";
        EXPECT_FALSE(m_array->isInError());
        EXPECT_EQ(samplesOf(*m_array), (std::vector<std::int32_t>{1, 2, 3}));
    }

    Array* m_array = nullptr;
};

TEST_F(CacheWaitingSamples, AreNotLookedForInAFileByAnotherThread)
{
    ReaderThread<qint64> reader([this] { return readBehindTheEnd(*m_array); });
    ASSERT_TRUE(reader.awaitReturned());
    EXPECT_EQ(reader.result(), 0);
    expectNothingWrong();
}

TEST_F(CacheWaitingSamples, AreNotLookedForInAFileByTheMainThread)
{
    EXPECT_EQ(readBehindTheEnd(*m_array), 0);
    expectNothingWrong();
}

TEST_F(CacheWaitingSamples, CanBePinned)
{
    const PinnedSamples view = m_array->pin(0, 3);
    ASSERT_EQ(view.ints().size(), 3U);
    EXPECT_EQ(view.ints()[2], 3);
    expectNothingWrong();
}

TEST_F(CacheWaitingSamples, AreThereForABackgroundLoadAtOnce)
{
    const QFuture<LoadResult> future = cache().loadInBackground(m_array);
    while (!future.isFinished())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    EXPECT_TRUE(future.result().error.isEmpty()) << qPrintable(future.result().error);
    expectNothingWrong();
}

TEST_F(CacheWaitingSamples, AreWrittenWithTheOthers)
{
    cache().writeDataArrayToDisk(m_array);
    cache().awaitTaskFinished(m_array);
    evict(*m_array);
    expectNothingWrong();
}

} // namespace
