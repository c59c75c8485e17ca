#include <datastorage/arrays/DataArrayInfoStreamed.h>

#include <archive/ArchiveContext.h>

#include <support/CacheFixture.h>
#include <support/FaultyDevice.h>
#include <support/ReaderThread.h>
#include <support/VirtualSlot.h>

#include <QtCore/QJsonObject>

#include <limits>
#include <memory>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

constexpr float LARGEST = std::numeric_limits<float>::max();

/// Opens what a descriptor shows to its subclasses.
struct OpenInfo : DataArrayInfoStreamed
{
    using DataArrayInfoStreamed::DataArrayInfoStreamed;
    using DataArrayInfoStreamed::getDataArrayStreamed;
};

template <typename Base, typename Derived>
concept StaticallyCastable = requires(Base* base)
{
    static_cast<Derived*>(base);
};

} // namespace

class StreamedDescriptor : public CacheFixture
{};

// ---- construction

TEST_F(StreamedDescriptor, DefaultOneIsEmptyAndNeverStreamed)
{
    const DataArrayInfoStreamed info;
    EXPECT_EQ(info.getName(), QString());
    EXPECT_TRUE(info.getDataUnit().isUnknown());
    EXPECT_EQ(info.getStreamId(), -1);
    EXPECT_EQ(info.getLastTimeStreamed(), 0U);
}

TEST_F(StreamedDescriptor, NamedOneTakesItsFourValues)
{
    const UsualUnit unit(static_cast<UsualUnitType>(41));
    const DataArrayInfoStreamed info("Current", static_cast<PhysicalParameter>(6), Enum, unit);
    EXPECT_EQ(info.getName(), QString("Current"));
    EXPECT_EQ(static_cast<int>(info.getPhysicalParameter()), 6);
    EXPECT_EQ(info.getDataType(), Enum);
    EXPECT_TRUE(info.getDataUnit() == unit);
    EXPECT_EQ(info.getStreamId(), -1);
    EXPECT_EQ(info.getMin(), LARGEST);
    EXPECT_EQ(info.getMax(), -LARGEST);
}

TEST_F(StreamedDescriptor, AnswersNeutrallyBeforeItsArrayIsCreated)
{
    DataArrayInfoStreamed info("A", static_cast<PhysicalParameter>(9), Float, UsualUnit());
    EXPECT_EQ(info.getSize(), 0);
    EXPECT_EQ(info.capacity(), 0);
    EXPECT_EQ(info.getSizeLoadedInMemory(), 0);
    EXPECT_FALSE(info.isUseBatchMode());
    EXPECT_FALSE(info.isInError());
    info.setUseBatchMode(true);
    info.setReadWriteError(true);
    info.removeFromMemory();
    BytesDevice device;
    EXPECT_FALSE(info.writeToDiskStream(device));
    EXPECT_FALSE(info.updateToDiskStream(device));
    EXPECT_FALSE(info.readFromDiskStream(device));
    EXPECT_EQ(device.size(), 0);
    EXPECT_EQ(bitsOf(info.getSample(0)), NAN_PATTERN);
    EXPECT_EQ(bitsOf(info.getSampleFloat(0)), NAN_PATTERN);
    EXPECT_EQ(info.getSampleInt(0), NAN_PATTERN);
    info.addSampleFloat(1.0F);
    info.clear();
    EXPECT_EQ(info.getSize(), 0);
}

TEST_F(StreamedDescriptor, HasNoJsonFormBeforeItsArrayIsCreated)
{
    DataArrayInfoStreamed info("A", static_cast<PhysicalParameter>(9), Float, UsualUnit());
    vx::archive::ArchiveContext context;
    context.dataSourcePath = KEY;
    QJsonObject object;
    EXPECT_FALSE(info.write(object, 1, context));
    EXPECT_FALSE(object.contains("dataArray"));
    EXPECT_FALSE(info.read(QJsonObject{{"name", "B"}}, 1, context));
    EXPECT_FALSE(cache().isCached(&info));
}

TEST_F(StreamedDescriptor, SaysWhenADeviceTakesNoBody)
{
    Array& array = make("A");
    add(array, {1, 2, 3});
    BytesDevice bytes;
    FaultyDevice device(bytes);
    device.failWrite(1);
    EXPECT_FALSE(array.writeToDiskStream(device));
    EXPECT_TRUE(array.writeToDiskStream(device));
}

TEST_F(StreamedDescriptor, CreatingTheArrayAgainWaitsForTheTaskOfTheOldOne)
{
    Array& array = make("A");
    fill(array, {1, 2, 3});
    array.createDataArray();
    EXPECT_EQ(bytesOf(array), cacheFileBytes({1, 2, 3}));
    EXPECT_EQ(array.getSize(), 0);
    EXPECT_TRUE(errors().isEmpty());
}

TEST_F(StreamedDescriptor, CreatesAStreamedArray)
{
    OpenInfo info("A", static_cast<PhysicalParameter>(9), Float, UsualUnit());
    info.createDataArray();
    EXPECT_EQ(info.getSize(), 0);
    EXPECT_EQ(info.capacity(), 1024);
    EXPECT_EQ(info.getSizeLoadedInMemory(), 0);
    ASSERT_NE(info.getDataArrayStreamed(), nullptr);
    EXPECT_EQ(std::as_const(info).getDataArrayStreamed(), info.getDataArrayStreamed());
    static_assert(std::is_same_v<decltype(info.getDataArrayStreamed()), DataArrayStreamed*>);
    static_assert(
        std::is_same_v<decltype(std::as_const(info).getDataArrayStreamed()), const DataArrayStreamed*>);
}

TEST_F(StreamedDescriptor, IsAVirtualChildOfThePlainOne)
{
    static_assert(std::is_convertible_v<DataArrayInfoStreamed*, DataArrayInfo*>);
    static_assert(!StaticallyCastable<DataArrayInfo, DataArrayInfoStreamed>,
                  "a cast down from a virtual base cannot be static");
    static_assert(std::has_virtual_destructor_v<DataArrayInfoStreamed>);
}

TEST_F(StreamedDescriptor, KeepsTheCachesTwoValues)
{
    Array& info = make("A");
    info.setStreamId(qint64(1) << 40);
    info.setLastTimeStreamed(std::numeric_limits<quint64>::max());
    EXPECT_EQ(info.getStreamId(), qint64(1) << 40);
    EXPECT_EQ(info.getLastTimeStreamed(), std::numeric_limits<quint64>::max());
    info.setStreamId(-1);
}

TEST_F(StreamedDescriptor, ACopyTakesEveryValueAndSharesTheArray)
{
    Array& info = make("A");
    add(info, {1, 2, 3});
    info.setStreamSetIdentifier(12);
    info.setLastTimeStreamed(34);
    const DataArrayInfoStreamed copy(info);
    DataArrayInfoStreamed assigned;
    assigned = info;
    for (const DataArrayInfoStreamed* same :
         std::initializer_list<const DataArrayInfoStreamed*>{&copy, &assigned}) {
        EXPECT_EQ(same->getName(), QString("A"));
        EXPECT_EQ(same->getStreamSetIdentifier(), 12U);
        EXPECT_EQ(same->getLastTimeStreamed(), 34U);
        EXPECT_EQ(same->getStreamId(), info.getStreamId());
        EXPECT_EQ(same->getSize(), 3);
        EXPECT_EQ(same->getSizeLoadedInMemory(), 3);
        EXPECT_EQ(same->getMax(), 3.0F);
    }
    destroy(info);
    EXPECT_EQ(copy.getSampleInt(2), 3);
    EXPECT_EQ(assigned.getSampleInt(2), 3);
}

// ---- forwarding

TEST_F(StreamedDescriptor, TracksTheRangeOfItsSamples)
{
    Array& info = make("A", Float);
    info.addSampleFloat(2.5F);
    info.addSample(floatSample(std::numeric_limits<float>::quiet_NaN()));
    info.addSampleFloat(-1.0F);
    EXPECT_EQ(info.getMin(), -1.0F);
    EXPECT_EQ(info.getMax(), 2.5F);
    EXPECT_EQ(info.getSize(), 3);
    EXPECT_EQ(info.getSizeLoadedInMemory(), 3);

    Array& ints = make("B", Int);
    ints.addSampleInt(5);
    ints.addSample(intSample(NAN_PATTERN));
    ints.addSampleInt(-7);
    EXPECT_EQ(ints.getMin(), -7.0F);
    EXPECT_EQ(ints.getMax(), 5.0F);
    EXPECT_EQ(ints.getSize(), 3);
}

TEST_F(StreamedDescriptor, ForwardsToItsArray)
{
    Array& info = make("A");
    add(info, {1, 2, 3});
    info.setUseBatchMode(true);
    EXPECT_TRUE(info.isUseBatchMode());
    info.setUseBatchMode(false);
    EXPECT_FALSE(info.isUseBatchMode());
    info.setReadWriteError(true);
    EXPECT_TRUE(info.isInError());
    info.setReadWriteError(false);
    EXPECT_FALSE(info.isInError());

    BytesDevice device;
    EXPECT_TRUE(info.writeToDiskStream(device));
    EXPECT_EQ(device.data(), bodyBytes({1, 2, 3}));
    add(info, {4});
    device.seek(0);
    EXPECT_TRUE(info.updateToDiskStream(device));
    EXPECT_EQ(device.data(), bodyBytes({1, 2, 3, 4}));
    info.removeFromMemory();
    EXPECT_EQ(info.getSizeLoadedInMemory(), 0);
    EXPECT_EQ(info.getSize(), 4);
    device.seek(0);
    EXPECT_TRUE(info.readFromDiskStream(device));
    EXPECT_EQ(info.getSizeLoadedInMemory(), 4);
    EXPECT_EQ(info.getSampleInt(3), 4);
}

// ---- getters

TEST_F(StreamedDescriptor, SamplesInMemoryAreReadAsTheyAre)
{
    Array& info = make("A");
    add(info, {16777217, NAN_PATTERN});
    EXPECT_EQ(info.getSampleInt(0), 16777217);
    EXPECT_EQ(bitsOf(info.getSample(0)), 16777217);
    EXPECT_EQ(bitsOf(info.getSampleFloat(1)), NAN_PATTERN);
}

TEST_F(StreamedDescriptor, AnEvictedSampleIsLoadedOnDemand)
{
    Array& info = store("A", {10, 11, 12});
    evict(info);
    EXPECT_EQ(info.getSizeLoadedInMemory(), 0);
    EXPECT_EQ(bitsOf(info.getSample(2)), 12);
    EXPECT_EQ(info.getSizeLoadedInMemory(), 3);
    EXPECT_EQ(info.getSize(), 3);
    EXPECT_TRUE(errors().isEmpty());

    evict(info);
    EXPECT_EQ(bitsOf(info.getSampleFloat(1)), 11);
    EXPECT_EQ(info.getSizeLoadedInMemory(), 3);
}

TEST_F(StreamedDescriptor, TheIntegerThatWaitedForItsLoadComesAtFloatPrecision)
{
    Array& info = store("A", {16777217, 16777219});
    evict(info);
    EXPECT_EQ(info.getSampleInt(0), 16777216);
    EXPECT_EQ(info.getSampleInt(0), 16777217);
    evict(info);
    EXPECT_EQ(info.getSampleInt(1), 16777220);
    EXPECT_EQ(info.getSampleInt(1), 16777219);
}

TEST_F(StreamedDescriptor, AGetterWaitsForTheLoader)
{
    Array& info = store("A", sequence(1000));
    evict(info);
    GatedPool pool;
    const long mainThread = threadId();
    ReaderThread<int> opener([&] {
        const bool waiting = awaitAsleep(mainThread);
        pool.open();
        return waiting ? 1 : 0;
    });
    EXPECT_EQ(info.getSampleInt(999), 999);
    ASSERT_TRUE(opener.awaitReturned());
    EXPECT_EQ(opener.result(), 1);
}

TEST_F(StreamedDescriptor, AnIndexBeyondTheEndOfALoadedArrayReadsAsNan)
{
    Array& info = store("A", {1, 2, 3});
    for (const qint64 index : {qint64(3), qint64(1000), std::numeric_limits<qint64>::max()}) {
        SCOPED_TRACE(index);
        EXPECT_EQ(bitsOf(info.getSample(index)), NAN_PATTERN);
        EXPECT_EQ(bitsOf(info.getSampleFloat(index)), NAN_PATTERN);
    }
    EXPECT_EQ(info.getSampleInt(3), NAN_PATTERN);
    evict(info);
    EXPECT_EQ(bitsOf(info.getSample(3)), NAN_PATTERN);
    EXPECT_EQ(info.getSize(), 3);
    EXPECT_EQ(bitsOf(info.getSample(2)), 3);
}

// ---- filling

TEST_F(StreamedDescriptor, TheFirstFillFilesAndWritesTheArray)
{
    Array& info = make("A");
    info.startAddingData();
    EXPECT_FALSE(cache().isCached(&info));
    EXPECT_FALSE(cache().isUpdating(&info));
    add(info, {1, 2, 3});
    info.endAddingData(KEY);
    EXPECT_TRUE(cache().isCached(&info));
    EXPECT_EQ(cache().getDataArrayInfoKey(&info), KEY);
    cache().awaitTaskFinished(&info);
    EXPECT_EQ(bytesOf(info), cacheFileBytes({1, 2, 3}));
}

TEST_F(StreamedDescriptor, AFurtherFillIsBracketedAndKeepsTheFirstKey)
{
    Array& info = store("A", {1, 2, 3});
    info.startAddingData();
    EXPECT_FALSE(cache().isCached(&info));
    EXPECT_TRUE(cache().isUpdating(&info));
    add(info, {4});
    info.endAddingData("another key");
    EXPECT_TRUE(cache().isCached(&info));
    EXPECT_FALSE(cache().isUpdating(&info));
    EXPECT_EQ(cache().getDataArrayInfoKey(&info), KEY);
    cache().awaitTaskFinished(&info);
    EXPECT_EQ(bytesOf(info), cacheFileBytes({1, 2, 3, 4}));
}

TEST_F(StreamedDescriptor, AFurtherFillBringsEvictedSamplesBackFirst)
{
    Array& info = store("A", {1, 2, 3});
    evict(info);
    info.startAddingData();
    EXPECT_EQ(info.getSizeLoadedInMemory(), 3);
    add(info, {4});
    info.endAddingData(KEY);
    cache().awaitTaskFinished(&info);
    EXPECT_EQ(bytesOf(info), cacheFileBytes({1, 2, 3, 4}));
    EXPECT_EQ(samplesOf(info), (std::vector<std::int32_t>{1, 2, 3, 4}));
}

TEST_F(StreamedDescriptor, EndWithoutStartFilesTheArrayToo)
{
    Array& info = make("A");
    add(info, {1});
    info.endAddingData("key without start");
    EXPECT_EQ(cache().getDataArrayInfoKey(&info), QString("key without start"));
}

TEST_F(StreamedDescriptor, ClearEmptiesItDeletesItsFileAndKeepsItFiled)
{
    Array& info = store("A", {1, 2, 3});
    ASSERT_TRUE(hasFile(info));
    info.clear();
    EXPECT_EQ(info.getSize(), 0);
    EXPECT_EQ(info.getSizeLoadedInMemory(), 0);
    EXPECT_EQ(info.getMin(), LARGEST);
    EXPECT_EQ(info.getMax(), -LARGEST);
    EXPECT_FALSE(hasFile(info));
    EXPECT_TRUE(cache().isCached(&info));
}

TEST_F(StreamedDescriptor, RestartDoesAllThatClearDoes)
{
    Array& info = store("A", {1, 2, 3});
    info.restart();
    EXPECT_EQ(info.getSize(), 0);
    EXPECT_EQ(info.getSizeLoadedInMemory(), 0);
    EXPECT_EQ(info.getMin(), LARGEST);
    EXPECT_EQ(info.getMax(), -LARGEST);
    EXPECT_FALSE(hasFile(info));
    EXPECT_TRUE(cache().isCached(&info));
}

TEST_F(StreamedDescriptor, RestartReachesTheClearOfASubclass)
{
    struct Counting : DataArrayInfoStreamed
    {
        void clear() override
        {
            ++clears;
            DataArrayInfoStreamed::clear();
        }
        int clears = 0;
    };
    Counting info;
    info.createDataArray();
    info.restart();
    EXPECT_EQ(info.clears, 1);
}

TEST_F(StreamedDescriptor, FillsAgainAfterClear)
{
    Array& info = store("A", {1, 2, 3});
    info.clear();
    fill(info, {7, 8});
    cache().awaitTaskFinished(&info);
    EXPECT_EQ(bytesOf(info), cacheFileBytes({7, 8}));
    evict(info);
    EXPECT_EQ(samplesOf(info), (std::vector<std::int32_t>{7, 8}));
    EXPECT_EQ(info.getMin(), 7.0F);
}

// ---- documents

TEST_F(StreamedDescriptor, WritesItsSizeBesideTheMembersOfThePlainOne)
{
    Array& info = make("A");
    add(info, sequence(1234));
    vx::archive::ArchiveContext context;
    QJsonObject object;
    EXPECT_TRUE(info.write(object, 1, context));
    EXPECT_EQ(object["dataArray"], QJsonValue(QJsonObject{{"realSize", "1234"}}));
    EXPECT_EQ(object.keys(), (QStringList{"dataArray", "dataUnit", "max", "min", "name", "physicalParameter",
                                          "streamSetIdentifier", "type"}));
    EXPECT_EQ(object["name"], QJsonValue("A"));
    EXPECT_EQ(object["type"], QJsonValue(1));
    EXPECT_EQ(object["max"], QJsonValue(1233.0));
}

TEST_F(StreamedDescriptor, WritesTheFullSizeOfAnEvictedArray)
{
    Array& info = store("A", {1, 2, 3});
    evict(info);
    vx::archive::ArchiveContext context;
    QJsonObject object;
    EXPECT_TRUE(info.write(object, 1, context));
    EXPECT_EQ(object["dataArray"], QJsonValue(QJsonObject{{"realSize", "3"}}));
    EXPECT_EQ(info.getSizeLoadedInMemory(), 0);
}

TEST_F(StreamedDescriptor, WritingWaitsForTheArraysTask)
{
    GatedPool pool;
    Array& info = make("A");
    fill(info, {1, 2, 3});
    EXPECT_FALSE(hasFile(info));
    const long mainThread = threadId();
    ReaderThread<int> opener([&] {
        const bool waiting = awaitAsleep(mainThread);
        pool.open();
        return waiting ? 1 : 0;
    });
    vx::archive::ArchiveContext context;
    QJsonObject object;
    EXPECT_TRUE(info.write(object, 1, context));
    EXPECT_EQ(bytesOf(info), cacheFileBytes({1, 2, 3}));
    ASSERT_TRUE(opener.awaitReturned());
    EXPECT_EQ(opener.result(), 1);
}

TEST_F(StreamedDescriptor, ReadingFilesItUnderTheDataSourceAndLoadsNothing)
{
    Array& written = store("A", sequence(1234));
    vx::archive::ArchiveContext context;
    QJsonObject object;
    ASSERT_TRUE(written.write(object, 1, context));

    Array& info = make("before");
    context.dataSourcePath = "D:/other.dat";
    ASSERT_TRUE(QFile::copy(fileOf(written), cache().getFullFilename("D:/other.dat", &written)));
    EXPECT_TRUE(info.read(object, 1, context));
    EXPECT_EQ(info.getName(), QString("A"));
    EXPECT_EQ(info.getSize(), 1234);
    EXPECT_EQ(info.getSizeLoadedInMemory(), 0);
    EXPECT_TRUE(cache().isCached(&info));
    EXPECT_EQ(cache().getDataArrayInfoKey(&info), QString("D:/other.dat"));
    EXPECT_EQ(info.getMax(), 1233.0F);
    EXPECT_TRUE(info.getDataUnit() == UsualUnit(static_cast<UsualUnitType>(70)));
    EXPECT_EQ(samplesOf(info), sequence(1234));
    EXPECT_TRUE(errors().isEmpty());
}

TEST_F(StreamedDescriptor, ReadingADocumentWithoutArrayGivesAnEmptyFiledOne)
{
    for (const QJsonObject& object :
         {QJsonObject{{"name", "A"}}, QJsonObject{{"name", "A"}, {"dataArray", 7}},
          QJsonObject{{"name", "A"}, {"dataArray", QJsonObject{{"realSize", 12}}}}}) {
        Array& info = make("before");
        vx::archive::ArchiveContext context;
        context.dataSourcePath = KEY;
        EXPECT_TRUE(info.read(object, 1, context));
        EXPECT_EQ(info.getName(), QString("A"));
        EXPECT_EQ(info.getSize(), 0);
        EXPECT_TRUE(cache().isCached(&info));
        destroy(info);
    }
}

TEST_F(StreamedDescriptor, ReadingDropsTheSamplesItHad)
{
    Array& info = make("A");
    add(info, {1, 2, 3});
    vx::archive::ArchiveContext context;
    context.dataSourcePath = KEY;
    EXPECT_TRUE(info.read(QJsonObject{{"dataArray", QJsonObject{{"realSize", "9"}}}}, 1, context));
    EXPECT_EQ(info.getSize(), 9);
    EXPECT_EQ(info.getSizeLoadedInMemory(), 0);
    EXPECT_EQ(info.capacity(), 0);
}

// ---- the cache

TEST_F(StreamedDescriptor, UpdateDataCachePathMovesTheFile)
{
    Array& info = store("A", {1, 2, 3});
    info.updateDataCachePath("D:/moved.dat");
    EXPECT_EQ(cache().getDataArrayInfoKey(&info), QString("D:/moved.dat"));
    EXPECT_FALSE(hasFile(info, KEY));
    EXPECT_EQ(bytesOf(info, "D:/moved.dat"), cacheFileBytes({1, 2, 3}));
}

TEST_F(StreamedDescriptor, DestructionLeavesTheCacheWithItsFile)
{
    Array& info = store("A", {1, 2, 3});
    const QString file = fileOf(info);
    ASSERT_TRUE(QFile::exists(file));
    destroy(info);
    EXPECT_FALSE(QFile::exists(file));
    EXPECT_EQ(cache().getDataSourceFileCacheList("C:", "/"), QStringList());
}

TEST_F(StreamedDescriptor, DestructionOfOneCopyLeavesTheOther)
{
    Array& info = store("A", {1, 2, 3});
    {
        const DataArrayInfoStreamed copy(info);
        EXPECT_FALSE(cache().isCached(const_cast<DataArrayInfoStreamed*>(&copy)));
    }
    EXPECT_TRUE(cache().isCached(&info));
    EXPECT_TRUE(hasFile(info));
    EXPECT_EQ(samplesOf(info), (std::vector<std::int32_t>{1, 2, 3}));
}

#ifdef VX_TEST_VIRTUAL_SLOTS
TEST_F(StreamedDescriptor, OwnVirtualOperationsFollowEachOther)
{
    const int first = virtualSlot(&DataArrayInfoStreamed::getSizeLoadedInMemory);
    ASSERT_GT(first, 0);
    EXPECT_EQ(virtualSlot(&DataArrayInfoStreamed::setUseBatchMode), first + 1);
    EXPECT_EQ(virtualSlot(&DataArrayInfoStreamed::isUseBatchMode), first + 2);
    EXPECT_EQ(virtualSlot(&DataArrayInfoStreamed::getStreamId), -1);
    EXPECT_EQ(virtualSlot(&DataArrayInfoStreamed::isInError), -1);
    EXPECT_EQ(virtualSlot(&DataArrayInfoStreamed::removeFromMemory), -1);
    EXPECT_EQ(virtualSlot(&DataArrayInfoStreamed::readFromDiskStream), -1);
    EXPECT_EQ(virtualSlot(&DataArrayInfoStreamed::updateDataCachePath), -1);
}
#endif
