#include <datastorage/cache/CacheManager.h>
#include <datastorage/cache/MappedSampleTable_p.h>

#include <support/CacheFileBytes.h>

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using vx::datastorage::MappedSamples;
using vx::datastorage::MappedSampleTable;

namespace {

constexpr std::int32_t MISSING = 2143289344;

const uchar* bytesOf(const QByteArray& samples)
{
    return reinterpret_cast<const uchar*>(samples.constData());
}

/// Leaves the table, which belongs to the process, empty for the next test.
class MappedSampleTableTest : public testing::Test
{
protected:
    void TearDown() override
    {
        for (const int id : m_used)
            MappedSampleTable::withdraw(id);
    }

    void publish(int id, const QByteArray& samples)
    {
        ASSERT_TRUE(MappedSampleTable::reserve(id));
        m_used.push_back(id);
        MappedSampleTable::publish(id, bytesOf(samples), samples.size() / 4, -1);
    }

private:
    std::vector<int> m_used;
};

// Ids around the numbers of rows at which the table grows.
const int IDS[] = {0, 1, 1022, 1023, 1024, 1025, 3070, 3071, 3072, 3073, 7167, 7168, 15'359, 15'360};

TEST_F(MappedSampleTableTest, KeepsTheRowsOfAllIdsApart)
{
    std::vector<QByteArray> blocks;
    for (const int id : IDS)
        blocks.push_back(cachefile::samples({id, -id, 7}));
    std::size_t next = 0;
    for (const int id : IDS)
        publish(id, blocks[next++]);
    for (const int id : IDS) {
        SCOPED_TRACE(id);
        EXPECT_EQ(MappedSamples::read(id, 0).intValue, id);
        EXPECT_EQ(MappedSamples::read(id, 1).intValue, -id);
        EXPECT_EQ(MappedSamples::read(id, 2).intValue, 7);
        EXPECT_EQ(MappedSamples::read(id, 3).intValue, MISSING);
    }
}

TEST_F(MappedSampleTableTest, IsReadThroughTheCacheUnderEveryId)
{
    vx::datastorage::DataArrayInfoStreamed info;
    for (const int id : IDS) {
        SCOPED_TRACE(id);
        const QByteArray samples = cachefile::samples({id, -id});
        publish(id, samples);
        info.setStreamId(id);
        vx::datastorage::CacheManager& cache = vx::datastorage::CacheManager::instance();
        EXPECT_EQ(cache.getSampleDirect(&info, 0).intValue, id);
        EXPECT_EQ(cache.getSampleDirect(&info, 1).intValue, -id);
        EXPECT_EQ(cache.getSampleDirect(&info, 2).intValue, MISSING);
        EXPECT_EQ(cache.getSampleDirect(&info, -1).intValue, MISSING);
        MappedSampleTable::withdraw(id);
    }
    info.setStreamId(-1); // the rows were none of the cache's
}

TEST_F(MappedSampleTableTest, AnswersMissingForIndicesOutside)
{
    const QByteArray samples = cachefile::samples({1, 2});
    publish(5, samples);
    for (const qint64 index : {qint64{-1}, qint64{2}, std::numeric_limits<qint64>::min(),
                               std::numeric_limits<qint64>::max(), qint64{1} << 62, -(qint64{1} << 62)}) {
        SCOPED_TRACE(index);
        EXPECT_EQ(MappedSamples::read(5, index).intValue, MISSING);
    }
}

TEST_F(MappedSampleTableTest, AnswersMissingForIdsWithoutARow)
{
    for (const int id : {-1, -1023, -1024, -1025, std::numeric_limits<int>::min(),
                         std::numeric_limits<int>::max(), std::numeric_limits<int>::max() - 1023, 1 << 30}) {
        SCOPED_TRACE(id);
        EXPECT_EQ(MappedSampleTable::find(id), nullptr);
        EXPECT_EQ(MappedSamples::read(id, 0).intValue, MISSING);
    }
}

TEST_F(MappedSampleTableTest, AnswersMissingAfterAWithdrawal)
{
    const QByteArray samples = cachefile::samples({11});
    publish(9, samples);
    ASSERT_EQ(MappedSamples::read(9, 0).intValue, 11);
    MappedSampleTable::withdraw(9);
    EXPECT_EQ(MappedSamples::read(9, 0).intValue, MISSING);
}

TEST_F(MappedSampleTableTest, NeverMovesARow)
{
    ASSERT_TRUE(MappedSampleTable::reserve(1500));
    const MappedSamples::Row* const early = &MappedSamples::rowOf(3);
    const MappedSamples::Row* const late = &MappedSamples::rowOf(1500);
    ASSERT_EQ(MappedSampleTable::find(200'000), nullptr);
    ASSERT_TRUE(MappedSampleTable::reserve(200'000));
    EXPECT_NE(MappedSampleTable::find(200'000), nullptr);
    EXPECT_EQ(&MappedSamples::rowOf(3), early);
    EXPECT_EQ(&MappedSamples::rowOf(1500), late);
    EXPECT_EQ(MappedSampleTable::find(1500), late);
}

TEST_F(MappedSampleTableTest, RefusesANegativeId)
{
    EXPECT_FALSE(MappedSampleTable::reserve(-1));
    MappedSampleTable::withdraw(-1);
    EXPECT_EQ(MappedSampleTable::find(-1), nullptr);
}

TEST_F(MappedSampleTableTest, FindsARowByItsContent)
{
    const QByteArray samples = cachefile::samples({1, 2, 3});
    publish(1500, samples);
    const MappedSamples::Row* found = nullptr;
    const auto holdsSamples = [&](const MappedSamples::Row& row) {
        const bool hit = row.samples.load() == bytesOf(samples);
        if (hit)
            found = &row;
        return hit;
    };
    EXPECT_TRUE(MappedSampleTable::findIf(holdsSamples));
    EXPECT_EQ(found, MappedSampleTable::find(1500));
    EXPECT_EQ(found->mappedBytes.load(), 12U);
    MappedSampleTable::withdraw(1500);
    EXPECT_FALSE(MappedSampleTable::findIf(holdsSamples));
}

} // namespace
