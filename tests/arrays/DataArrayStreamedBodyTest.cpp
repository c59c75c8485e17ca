#include <datastorage/arrays/DataArrayStreamed.h>

#include <support/FaultyDevice.h>
#include <support/OpenStreamedArray.h>
#include <support/Printers.h>
#include <support/RowLabel.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

/// What stands before the body in these tests: a body starts where the device stands.
const QByteArray PREFIX("HEADER..");

qint64 bodyStart()
{
    return PREFIX.size();
}

std::vector<std::int32_t> loadedSamples(const OpenStreamedArray& array)
{
    std::vector<std::int32_t> samples;
    samples.reserve(static_cast<std::size_t>(array.getSizeLoadedInMemory()));
    for (int i = 0; i < array.getSizeLoadedInMemory(); ++i) {
        samples.push_back(array.getSampleInt(i));
    }
    return samples;
}

} // namespace

// ---- writing whole bodies

TEST(DataArrayStreamedWrite, ThreeSamplesAreTwentyBytes)
{
    OpenStreamedArray array;
    array.addInts({1, -2, NAN_PATTERN});
    BytesDevice device;
    EXPECT_TRUE(array.writeToDiskStream(device));
    EXPECT_EQ(device.data(), QByteArray::fromHex("0300000000000000"
                                                 "01000000"
                                                 "feffffff"
                                                 "0000c07f"));
    EXPECT_EQ(device.pos(), 20);
}

TEST(DataArrayStreamedWrite, FloatsAreTheirIeeeBits)
{
    OpenStreamedArray array;
    array.addSampleFloat(1.0F);
    array.addSampleFloat(-0.0F);
    BytesDevice device;
    EXPECT_TRUE(array.writeToDiskStream(device));
    EXPECT_EQ(device.data(), QByteArray::fromHex("0200000000000000"
                                                 "0000803f"
                                                 "00000080"));
}

TEST(DataArrayStreamedWrite, TakesTwoWritesAtThePositionOfTheDevice)
{
    OpenStreamedArray array;
    array.addInts(sequence(5000));
    BytesDevice bytes(PREFIX, bodyStart());
    FaultyDevice device(bytes);
    EXPECT_TRUE(array.writeToDiskStream(device));
    EXPECT_EQ(device.writes(), (std::vector<qint64>{8, 20000}));
    EXPECT_EQ(bytes.data(), PREFIX + bodyBytes(sequence(5000)));
}

TEST(DataArrayStreamedWrite, AnEmptyArrayIsItsCount)
{
    OpenStreamedArray array;
    BytesDevice device;
    EXPECT_TRUE(array.writeToDiskStream(device));
    EXPECT_EQ(device.data(), QByteArray(8, '\0'));
}

TEST(DataArrayStreamedWrite, CountsTheSamplesInMemoryOnly)
{
    OpenStreamedArray array;
    array.addInts({1, 2, 3});
    array.removeFromMemory();
    BytesDevice device;
    EXPECT_TRUE(array.writeToDiskStream(device));
    EXPECT_EQ(device.data(), QByteArray(8, '\0'));
    EXPECT_EQ(array.getSize(), 3);
}

TEST(DataArrayStreamedWrite, LeavesTheArrayAsItIs)
{
    OpenStreamedArray array;
    array.addInts({1, 2, 3});
    BytesDevice device;
    ASSERT_TRUE(array.writeToDiskStream(device));
    EXPECT_EQ(array.getSize(), 3);
    EXPECT_EQ(loadedSamples(array), (std::vector<std::int32_t>{1, 2, 3}));
    EXPECT_FALSE(array.isInError());
}

struct FailedWriteRow
{
    const char* label;
    int write;
    qint64 taken;
};

const FailedWriteRow FAILED_WRITES[] = {
    {"CountFails", 0, -1}, {"CountIsCutToNothing", 0, 0}, {"CountIsShort", 0, 7},
    {"BodyFails", 1, -1},  {"BodyIsCutToNothing", 1, 0},  {"BodyIsShort", 1, 11},
};

class DataArrayStreamedFailedWrite : public ::testing::TestWithParam<FailedWriteRow>
{};

TEST_P(DataArrayStreamedFailedWrite, IsReportedAfterBothWritesWereTried)
{
    OpenStreamedArray array;
    array.addInts({1, 2, 3});
    BytesDevice bytes;
    FaultyDevice device(bytes);
    device.limitWrite(GetParam().write, GetParam().taken);
    EXPECT_FALSE(array.writeToDiskStream(device));
    EXPECT_EQ(device.writes(), (std::vector<qint64>{8, 12}));
    EXPECT_EQ(loadedSamples(array), (std::vector<std::int32_t>{1, 2, 3}));
}

INSTANTIATE_TEST_SUITE_P(Faults, DataArrayStreamedFailedWrite, ::testing::ValuesIn(FAILED_WRITES),
                         RowLabel{});

// ---- updating bodies

struct UpdateRow
{
    const char* label;
    bool batchMode;
    std::vector<std::int32_t> onDisk;
    std::vector<std::int32_t> inMemory;
    qint64 count;                      ///< the count on disk afterwards
    std::vector<std::int32_t> samples; ///< every sample on disk afterwards
};

const UpdateRow UPDATES[] = {
    {"AppendsWhatIsNew", false, {10, 11, 12}, {10, 11, 12, 13, 14}, 5, {10, 11, 12, 13, 14}},
    {"LeavesOldSamplesAlone", false, {1, 2, 3}, {10, 11, 12, 13}, 4, {1, 2, 3, 13}},
    {"NothingNew", false, {10, 11, 12}, {10, 11, 12}, 3, {10, 11, 12}},
    {"EmptyOnDisk", false, {}, {10, 11}, 2, {10, 11}},
    {"BothEmpty", false, {}, {}, 0, {}},
    {"FewerInMemory", false, {1, 2, 3, 4, 5}, {10, 11}, 2, {10, 11, 3, 4, 5}},
    {"NoneInMemory", false, {1, 2, 3}, {}, 0, {1, 2, 3}},
    {"BatchAppendsAll", true, {10, 11, 12}, {20, 21}, 5, {10, 11, 12, 20, 21}},
    {"BatchOfNone", true, {10, 11, 12}, {}, 3, {10, 11, 12}},
    {"BatchToEmpty", true, {}, {20, 21}, 2, {20, 21}},
    {"BatchLargerThanDisk", true, {10}, {20, 21, 22}, 4, {10, 20, 21, 22}},
};

class DataArrayStreamedUpdate : public ::testing::TestWithParam<UpdateRow>
{};

TEST_P(DataArrayStreamedUpdate, RewritesTheCountAndAppends)
{
    OpenStreamedArray array;
    array.addInts(GetParam().inMemory);
    array.setUseBatchMode(GetParam().batchMode);
    BytesDevice device(PREFIX + bodyBytes(GetParam().onDisk), bodyStart());
    EXPECT_TRUE(array.updateToDiskStream(device));
    EXPECT_EQ(device.data(), PREFIX + countBytes(GetParam().count) + sampleBytes(GetParam().samples));
}

TEST_P(DataArrayStreamedUpdate, LeavesTheArrayAsItIs)
{
    OpenStreamedArray array;
    array.addInts(GetParam().inMemory);
    array.setUseBatchMode(GetParam().batchMode);
    BytesDevice device(bodyBytes(GetParam().onDisk));
    ASSERT_TRUE(array.updateToDiskStream(device));
    EXPECT_EQ(loadedSamples(array), GetParam().inMemory);
    EXPECT_EQ(array.getSize(), static_cast<qint64>(GetParam().inMemory.size()));
    EXPECT_EQ(array.isUseBatchMode(), GetParam().batchMode);
}

INSTANTIATE_TEST_SUITE_P(Bodies, DataArrayStreamedUpdate, ::testing::ValuesIn(UPDATES), RowLabel{});

TEST(DataArrayStreamedUpdateOf, ADeviceWithoutACountWritesTheWholeBody)
{
    for (const bool batchMode : {false, true}) {
        SCOPED_TRACE(batchMode);
        OpenStreamedArray array;
        array.addInts({1, 2});
        array.setUseBatchMode(batchMode);
        BytesDevice device(PREFIX, bodyStart());
        EXPECT_TRUE(array.updateToDiskStream(device));
        EXPECT_EQ(device.data(), PREFIX + bodyBytes({1, 2}));
    }
}

TEST(DataArrayStreamedUpdateOf, ABodyWritesTheNewSamplesAtOnce)
{
    OpenStreamedArray array;
    array.addInts(sequence(5000));
    BytesDevice bytes(bodyBytes(sequence(2000)));
    FaultyDevice device(bytes);
    EXPECT_TRUE(array.updateToDiskStream(device));
    EXPECT_EQ(device.reads(), std::vector<qint64>{8});
    EXPECT_EQ(device.writes(), (std::vector<qint64>{8, 12000}));
    EXPECT_EQ(bytes.data(), bodyBytes(sequence(5000)));
}

TEST(DataArrayStreamedUpdateOf, AnUnchangedBodyWritesTheCountOnly)
{
    OpenStreamedArray array;
    array.addInts({1, 2, 3});
    BytesDevice bytes(bodyBytes({1, 2, 3}));
    FaultyDevice device(bytes);
    EXPECT_TRUE(array.updateToDiskStream(device));
    EXPECT_EQ(device.writes(), std::vector<qint64>{8});
}

TEST(DataArrayStreamedUpdateOf, AFailingDeviceReportsNothing)
{
    for (const bool batchMode : {false, true}) {
        for (const int write : {0, 1}) {
            SCOPED_TRACE(::testing::Message() << "batch mode " << batchMode << ", write " << write);
            OpenStreamedArray array;
            array.addInts({1, 2, 3, 4, 5});
            array.setUseBatchMode(batchMode);
            BytesDevice bytes(bodyBytes({1, 2}));
            FaultyDevice device(bytes);
            device.failWrite(write);
            EXPECT_TRUE(array.updateToDiskStream(device));
            EXPECT_EQ(loadedSamples(array), sequence(5, 1));
        }
    }
}

// ---- reading bodies

struct ReadRow
{
    int count;
    std::vector<qint64> reads; ///< sizes of the reads, the count's included
};

std::vector<qint64> chunks(int whole, qint64 last)
{
    std::vector<qint64> sizes{8};
    sizes.insert(sizes.end(), static_cast<std::size_t>(whole), 1024);
    if (last > 0) {
        sizes.push_back(last);
    }
    return sizes;
}

const ReadRow READS[] = {
    {1, chunks(0, 4)},       {3, chunks(0, 12)},    {255, chunks(0, 1020)}, {256, chunks(1, 0)},
    {257, chunks(1, 4)},     {300, chunks(1, 176)}, {511, chunks(1, 1020)}, {512, chunks(2, 0)},
    {1023, chunks(3, 1020)}, {1024, chunks(4, 0)},  {1025, chunks(4, 4)},   {100000, chunks(390, 640)},
};

class DataArrayStreamedRead : public ::testing::TestWithParam<ReadRow>
{};

TEST_P(DataArrayStreamedRead, TakesChunksOf1024Bytes)
{
    const std::vector<std::int32_t> samples = sequence(GetParam().count, 1000);
    BytesDevice bytes(PREFIX + bodyBytes(samples), bodyStart());
    FaultyDevice device(bytes);
    OpenStreamedArray array;
    EXPECT_TRUE(array.readFromDiskStream(device));
    EXPECT_EQ(device.reads(), GetParam().reads);
    EXPECT_EQ(array.getSizeLoadedInMemory(), GetParam().count);
    EXPECT_EQ(loadedSamples(array), samples);
}

TEST_P(DataArrayStreamedRead, CountsEveryChunkOnceItIsThere)
{
    BytesDevice bytes(bodyBytes(sequence(GetParam().count)));
    FaultyDevice device(bytes);
    OpenStreamedArray array;
    std::vector<int> loaded;
    device.onRead([&](int) { loaded.push_back(array.getSizeLoadedInMemory()); });
    ASSERT_TRUE(array.readFromDiskStream(device));
    ASSERT_EQ(loaded.size(), GetParam().reads.size());
    for (std::size_t i = 1; i < loaded.size(); ++i) {
        EXPECT_EQ(loaded[i], static_cast<int>(i - 1) * 256) << "before read " << i;
    }
}

TEST_P(DataArrayStreamedRead, GivesTheBlockRoomForTheWholeArray)
{
    BytesDevice device(bodyBytes(sequence(GetParam().count)));
    OpenStreamedArray array;
    ASSERT_TRUE(array.readFromDiskStream(device));
    EXPECT_EQ(array.capacity(), std::max(1024, GetParam().count));
    array.removeFromMemory();
    device.seek(0);
    ASSERT_TRUE(array.readFromDiskStream(device));
    EXPECT_EQ(array.capacity(), std::max(1024, GetParam().count));
}

INSTANTIATE_TEST_SUITE_P(Counts, DataArrayStreamedRead, ::testing::ValuesIn(READS),
                         [](const auto& row) { return "Of" + std::to_string(row.param.count); });

TEST(DataArrayStreamedReadOf, AnEmptyBodyLoadsNothing)
{
    BytesDevice device(QByteArray(8, '\0'));
    OpenStreamedArray array;
    EXPECT_TRUE(array.readFromDiskStream(device));
    EXPECT_EQ(array.getSizeLoadedInMemory(), 0);
    EXPECT_FALSE(array.isLoadedInMemory(0));
}

TEST(DataArrayStreamedReadOf, ADeviceWithoutACountLoadsNothing)
{
    BytesDevice device;
    OpenStreamedArray array;
    EXPECT_TRUE(array.readFromDiskStream(device));
    EXPECT_EQ(array.getSizeLoadedInMemory(), 0);
}

TEST(DataArrayStreamedReadOf, ABodyLeavesTheFullSize)
{
    BytesDevice device(bodyBytes({1, 2, 3}));
    OpenStreamedArray fresh;
    ASSERT_TRUE(fresh.readFromDiskStream(device));
    EXPECT_EQ(fresh.getSize(), 0);
    EXPECT_EQ(fresh.getSizeLoadedInMemory(), 3);

    OpenStreamedArray array;
    array.addInts({1, 2, 3, 4});
    array.removeFromMemory();
    device.seek(0);
    ASSERT_TRUE(array.readFromDiskStream(device));
    EXPECT_EQ(array.getSize(), 4);
    EXPECT_EQ(array.getSizeLoadedInMemory(), 3);
}

TEST(DataArrayStreamedReadOf, ABodyAfterItWasWrittenGivesTheSameSamples)
{
    OpenStreamedArray array;
    const std::vector<std::int32_t> samples = sequence(3000, -1500);
    array.addInts(samples);
    BytesDevice device;
    ASSERT_TRUE(array.writeToDiskStream(device));
    array.removeFromMemory();
    device.seek(0);
    ASSERT_TRUE(array.readFromDiskStream(device));
    EXPECT_EQ(array.getSize(), 3000);
    EXPECT_EQ(loadedSamples(array), samples);
    EXPECT_FALSE(array.isInError());
}

TEST(DataArrayStreamedReadOf, ABodyTwiceDoesNotDoubleTheLoadedSamples)
{
    BytesDevice device(bodyBytes(sequence(300)));
    OpenStreamedArray array;
    ASSERT_TRUE(array.readFromDiskStream(device));
    device.seek(0);
    ASSERT_TRUE(array.readFromDiskStream(device));
    EXPECT_EQ(array.getSizeLoadedInMemory(), 300);
    EXPECT_EQ(loadedSamples(array), sequence(300));
}

struct ShortBodyRow
{
    const char* label;
    qint64 count;      ///< as the body claims
    qint64 bytesThere; ///< of samples
};

const ShortBodyRow SHORT_BODIES[] = {
    {"NothingThere", 100, 0},          {"OneByteMissing", 100, 399},   {"HalfAChunk", 300, 512},
    {"SecondChunkMissing", 512, 1024}, {"MiddleOfASample", 512, 1026}, {"Many", 100000, 4000},
};

class DataArrayStreamedShortBody : public ::testing::TestWithParam<ShortBodyRow>
{};

TEST_P(DataArrayStreamedShortBody, ReadsAsNanWhereSamplesAreMissing)
{
    const std::vector<std::int32_t> samples = sequence(static_cast<int>(GetParam().count), 5);
    BytesDevice device(countBytes(GetParam().count) + sampleBytes(samples).left(GetParam().bytesThere));
    OpenStreamedArray array;
    EXPECT_TRUE(array.readFromDiskStream(device));
    const qint64 whole = GetParam().bytesThere / 4;
    for (qint64 i = 0; i < whole; ++i) {
        ASSERT_EQ(array.getSampleInt(i), samples[static_cast<std::size_t>(i)]) << i;
    }
    for (qint64 i = whole; i < array.getSizeLoadedInMemory(); ++i) {
        ASSERT_EQ(array.getSampleInt(i), NAN_PATTERN) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Bodies, DataArrayStreamedShortBody, ::testing::ValuesIn(SHORT_BODIES), RowLabel{});

TEST(DataArrayStreamedReadOf, AFailingDeviceShowsNoLeftOverMemory)
{
    for (const int failing : {1, 2, 3}) {
        SCOPED_TRACE(failing);
        BytesDevice bytes(bodyBytes(sequence(768, 1)));
        FaultyDevice device(bytes);
        device.failRead(failing);
        OpenStreamedArray array;
        array.addInts(std::vector<std::int32_t>(900, 77)); // what a reused block would show
        array.removeFromMemory();
        EXPECT_TRUE(array.readFromDiskStream(device));
        for (int i = 0; i < array.getSizeLoadedInMemory(); ++i) {
            const int sample = array.getSampleInt(i);
            ASSERT_TRUE(sample == i + 1 || sample == NAN_PATTERN) << "sample " << i << " reads " << sample;
        }
    }
}

struct HostileCountRow
{
    const char* label;
    qint64 count;
};

const HostileCountRow HOSTILE_COUNTS[] = {
    {"MinusOne", -1},
    {"Smallest", std::numeric_limits<qint64>::min()},
    {"Largest", std::numeric_limits<qint64>::max()},
    {"FourTimesIsZero", qint64(1) << 62},
    {"FourTimesOverflows", qint64(1) << 61},
    {"Huge", qint64(1) << 46},
};

class DataArrayStreamedHostileCount : public ::testing::TestWithParam<HostileCountRow>
{};

TEST_P(DataArrayStreamedHostileCount, TouchesNoMemory)
{
    BytesDevice device(countBytes(GetParam().count) + sampleBytes(sequence(100)));
    OpenStreamedArray array;
    array.readFromDiskStream(device);
    EXPECT_GE(array.getSizeLoadedInMemory(), 0);
    EXPECT_LE(array.getSizeLoadedInMemory(), 100);
    array.removeFromMemory();
    array.clear();
    array.addInts({1, 2});
    EXPECT_EQ(loadedSamples(array), (std::vector<std::int32_t>{1, 2}));
}

TEST_P(DataArrayStreamedHostileCount, OnDiskDoesNotLeadAnUpdateAstray)
{
    BytesDevice device(countBytes(GetParam().count) + sampleBytes(sequence(100)));
    OpenStreamedArray array;
    array.addInts({1, 2});
    EXPECT_TRUE(array.updateToDiskStream(device));
    EXPECT_LE(device.size(), 1000);
}

INSTANTIATE_TEST_SUITE_P(Counts, DataArrayStreamedHostileCount, ::testing::ValuesIn(HOSTILE_COUNTS),
                         RowLabel{});
