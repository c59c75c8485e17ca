// The disk fills up, or the file ends, at every byte that a cache file has.

#include <support/CacheFixture.h>
#include <support/Faults.h>
#include <support/FaultyDevice.h>
#include <support/RowLabel.h>

#include <functional>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

using Samples = std::vector<std::int32_t>;

const Samples FIRST{1, 2, 3};
const Samples ALL{1, 2, 3, 4, 5};
constexpr qint64 WHOLE_FILE = 8 + 8 + 4 * 5;

} // namespace

class EveryByte : public CacheFixture
{
protected:
    /// Lets `step`, which starts a write of the array, run on a disk with every possible number of free
    /// bytes, then writes again on a disk with room enough.
    void overEveryFullDisk(const std::function<Array&(const QString& name)>& prepare,
                           const std::function<void(Array&)>& step)
    {
        int failed = 0;
        for (qint64 bytes = 0; bytes <= WHOLE_FILE; ++bytes) {
            SCOPED_TRACE(::testing::Message() << "a disk of " << bytes << " bytes");
            Array& array = prepare(QString("A%1").arg(bytes));
            const qsizetype before = errors().size();
            {
                const FullDisk full(bytes);
                step(array);
                cache().awaitTaskFinished(&array);
                processEvents();
            }
            failed += expectKeptOrWritten(array, before) ? 0 : 1;
        }
        EXPECT_GE(failed, WHOLE_FILE - 16 - 12 - 1) << "most of these disks are too small";
    }

    /// After a write that went wrong: one error, every sample still there, and a retry that writes. True
    /// when nothing went wrong.
    bool expectKeptOrWritten(Array& array, qsizetype errorsBefore)
    {
        const bool isWritten = errors().size() == errorsBefore;
        if (!isWritten) {
            EXPECT_EQ(errors().size(), errorsBefore + 1);
            EXPECT_TRUE(array.isInError());
            array.setReadWriteError(false);
            EXPECT_EQ(samplesOf(array), ALL);
            cache().writeDataArrayToDisk(&array);
            cache().awaitTaskFinished(&array);
            EXPECT_EQ(errors().size(), errorsBefore + 1) << "the retry failed";
        }
        EXPECT_FALSE(array.isInError());
        EXPECT_EQ(bytesOf(array).left(WHOLE_FILE), cacheFileBytes(ALL));
        evict(array);
        EXPECT_EQ(samplesOf(array), ALL);
        return isWritten;
    }
};

TEST_F(EveryByte, OfAFirstWrite)
{
    overEveryFullDisk([this](const QString& name) -> Array& { return make(name); },
                      [](Array& array) { fill(array, ALL); });
}

TEST_F(EveryByte, OfAnUpdate)
{
    overEveryFullDisk(
        [this](const QString& name) -> Array& {
            Array& array = store(name, FIRST);
            add(array, {4, 5});
            return array;
        },
        [](Array& array) { cache().writeDataArrayToDisk(&array); });
}

TEST_F(EveryByte, OfARewrite)
{
    overEveryFullDisk([this](const QString& name) -> Array& { return store(name, FIRST); },
                      [](Array& array) {
                          fill(array, {4, 5});
                      });
}

TEST_F(EveryByte, OfAnAppend)
{
    overEveryFullDisk(
        [this](const QString& name) -> Array& {
            Array& array = store(name, FIRST);
            cache().prepareAppendDataArray(&array);
            add(array, {4, 5});
            return array;
        },
        [](Array& array) { cache().appendDataArray(&array, KEY); });
}

TEST_F(EveryByte, OfATruncatedFile)
{
    for (qint64 bytes = 0; bytes < WHOLE_FILE; ++bytes) {
        SCOPED_TRACE(::testing::Message() << "a file of " << bytes << " bytes");
        Array& array = store(QString("A%1").arg(bytes), ALL);
        evict(array);
        ASSERT_TRUE(QFile::resize(fileOf(array), bytes));
        const qsizetype before = errors().size();
        load(array);
        EXPECT_EQ(errors().size(), before + 1);
        EXPECT_TRUE(array.isInError());
        array.setReadWriteError(false);
        for (int i = 0; i < array.getSizeLoadedInMemory(); ++i) {
            const std::int32_t sample = bitsOf(array.getSample(i));
            EXPECT_TRUE(sample == i + 1 || sample == NAN_PATTERN) << "sample " << i << " reads " << sample;
        }
        ASSERT_TRUE(writeFile(fileOf(array), cacheFileBytes(ALL))); // a backup
        load(array);
        EXPECT_EQ(errors().size(), before + 1);
        EXPECT_EQ(samplesOf(array), ALL);
    }
}

TEST_F(EveryByte, OfAFailedUpdateLeavesWhatWasOnTheDevice)
{
    for (const bool batchMode : {false, true}) {
        for (int write = 0; write < 2; ++write) {
            for (qint64 taken = -1; taken < 12; ++taken) {
                SCOPED_TRACE(::testing::Message() << "batch mode " << batchMode << ", write " << write
                                                  << " takes " << taken << " bytes");
                OpenStreamedArray array;
                array.addInts(batchMode ? Samples{3, 4, 5} : ALL);
                array.setUseBatchMode(batchMode);
                BytesDevice bytes(bodyBytes({1, 2}));
                FaultyDevice faulty(bytes);
                faulty.limitWrite(write, taken);
                EXPECT_TRUE(array.updateToDiskStream(faulty));
                EXPECT_EQ(bytes.data().mid(8, 8), sampleBytes({1, 2})) << "what was there is spoilt";
            }
        }
    }
}
