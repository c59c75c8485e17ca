#include <datastorage/arrays/DataArrayInfo.h>
#include <datastorage/arrays/DataArrayStreamed.h>

#include <archive/ArchiveContext.h>

#include <support/OpenStreamedArray.h>
#include <support/Printers.h>
#include <support/RowLabel.h>
#include <support/VirtualSlot.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

#include <limits>
#include <memory>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

using namespace vx::datastorage;

TEST(DataArrayStreamed, StartsEmptyAndFreeOfErrors)
{
    OpenStreamedArray array;
    EXPECT_EQ(array.getSize(), 0);
    EXPECT_EQ(array.getSizeLoadedInMemory(), 0);
    EXPECT_FALSE(array.isLoadedInMemory(0));
    EXPECT_FALSE(array.isInError());
    EXPECT_FALSE(array.isUseBatchMode());
    EXPECT_EQ(array.capacity(), 1024);
}

TEST(DataArrayStreamed, AdditionsRaiseBothSizes)
{
    OpenStreamedArray array;
    array.addSampleFloat(1.5F);
    array.addSampleInt(-7);
    array.addSample(intSample(NAN_PATTERN));
    EXPECT_EQ(array.getSize(), 3);
    EXPECT_EQ(array.getSizeLoadedInMemory(), 3);
    EXPECT_TRUE(array.isLoadedInMemory(0));
    EXPECT_TRUE(array.isLoadedInMemory(2));
    EXPECT_FALSE(array.isLoadedInMemory(3));
    EXPECT_EQ(array.getSampleFloat(0), 1.5F);
    EXPECT_EQ(array.getSampleInt(1), -7);
    EXPECT_EQ(bitsOf(array.getSample(2)), NAN_PATTERN);
}

namespace {

struct Adder
{
    const char* label;
    void (*add)(OpenStreamedArray&);
};

const Adder ADDERS[] = {
    {"addSample", [](OpenStreamedArray& array) { array.addSample(intSample(9)); }},
    {"addSampleFloat", [](OpenStreamedArray& array) { array.addSampleFloat(std::bit_cast<float>(9)); }},
    {"addSampleInt", [](OpenStreamedArray& array) { array.addSampleInt(9); }},
};

} // namespace

class DataArrayStreamedAddition : public ::testing::TestWithParam<Adder>
{};

TEST_P(DataArrayStreamedAddition, GrowsByHalfWithOneSlotKeptFree)
{
    OpenStreamedArray array;
    for (int i = 0; i < 1023; ++i) {
        GetParam().add(array);
    }
    EXPECT_EQ(array.capacity(), 1024);
    GetParam().add(array);
    EXPECT_EQ(array.capacity(), 1536);
    for (int i = 1024; i < 1536; ++i) {
        GetParam().add(array);
    }
    EXPECT_EQ(array.capacity(), 2304);
    EXPECT_EQ(array.getSize(), 1536);
    EXPECT_EQ(array.getSizeLoadedInMemory(), 1536);
    EXPECT_EQ(array.getSampleInt(1535), 9);
}

INSTANTIATE_TEST_SUITE_P(Every, DataArrayStreamedAddition, ::testing::ValuesIn(ADDERS), RowLabel{});

TEST(DataArrayStreamed, ClearForgetsTheSamplesAndKeepsTheBlock)
{
    OpenStreamedArray array;
    array.addInts(sequence(2000));
    array.setReadWriteError(true);
    array.setUseBatchMode(true);
    array.clear();
    EXPECT_EQ(array.getSize(), 0);
    EXPECT_EQ(array.getSizeLoadedInMemory(), 0);
    EXPECT_FALSE(array.isLoadedInMemory(0));
    EXPECT_EQ(array.capacity(), 2304);
    EXPECT_TRUE(array.isInError());
    EXPECT_TRUE(array.isUseBatchMode());
}

TEST(DataArrayStreamed, RemoveFromMemoryKeepsOnlyTheFullSize)
{
    OpenStreamedArray array;
    array.addInts(sequence(2000));
    array.setReadWriteError(true);
    array.setUseBatchMode(true);
    array.removeFromMemory();
    EXPECT_EQ(array.getSize(), 2000);
    EXPECT_EQ(array.getSizeLoadedInMemory(), 0);
    EXPECT_FALSE(array.isLoadedInMemory(0));
    EXPECT_EQ(array.capacity(), 0);
    EXPECT_TRUE(array.isInError());
    EXPECT_TRUE(array.isUseBatchMode());
}

TEST(DataArrayStreamed, RemoveFromMemoryMayBeRepeated)
{
    OpenStreamedArray array;
    array.addInts({1, 2, 3});
    array.removeFromMemory();
    array.removeFromMemory();
    EXPECT_EQ(array.getSize(), 3);
    EXPECT_EQ(array.capacity(), 0);
}

TEST(DataArrayStreamed, ClearAfterRemoveFromMemoryForgetsTheFullSize)
{
    OpenStreamedArray array;
    array.addInts({1, 2, 3});
    array.removeFromMemory();
    array.clear();
    EXPECT_EQ(array.getSize(), 0);
    EXPECT_EQ(array.capacity(), 0);
    array.addSampleInt(4);
    EXPECT_EQ(array.getSize(), 1);
    EXPECT_EQ(array.capacity(), 1024);
    EXPECT_EQ(array.getSampleInt(0), 4);
}

TEST(DataArrayStreamed, ResizeToFewerSamplesTakesTheOthersOutOfTheEnvelope)
{
    struct OpenInfo : DataArrayInfo
    {
        OpenInfo() : DataArrayInfo("I", static_cast<PhysicalParameter>(9), Int, UsualUnit()) {}
        using DataArrayInfo::setDataArray;
    };
    constexpr int size = 300000; // enough to be summed up
    constexpr int kept = 600;
    const auto array = std::make_shared<OpenStreamedArray>();
    OpenInfo info;
    info.setDataArray(array);
    array->addInts(sequence(size));
    const std::vector<EnvelopeColumn> whole = info.envelope(0, size, 2);
    ASSERT_EQ(whole.size(), 2U);
    EXPECT_EQ(whole[1].maximum, size - 1);

    array->resize(kept);
    const std::vector<EnvelopeColumn> envelope = info.envelope(0, size, 2);
    ASSERT_EQ(envelope.size(), 2U);
    EXPECT_EQ(envelope[1].first, whole[1].first);
    EXPECT_EQ(envelope[1].count, 0) << "there are no such samples any more";
    const std::vector<EnvelopeColumn> start = info.envelope(0, kept, 1);
    ASSERT_EQ(start.size(), 1U);
    EXPECT_EQ(start[0].count, kept);
    EXPECT_EQ(start[0].maximum, kept - 1);
}

TEST(DataArrayStreamed, TheErrorFlagStaysUntilACallerClearsIt)
{
    OpenStreamedArray array;
    array.setReadWriteError(true);
    EXPECT_TRUE(array.isInError());
    array.addSampleInt(1);
    BytesDevice device;
    EXPECT_TRUE(array.writeToDiskStream(device));
    device.seek(0);
    EXPECT_TRUE(array.updateToDiskStream(device));
    array.removeFromMemory();
    device.seek(0);
    EXPECT_TRUE(array.readFromDiskStream(device));
    EXPECT_TRUE(array.isInError());
    array.setReadWriteError(false);
    EXPECT_FALSE(array.isInError());
}

TEST(DataArrayStreamed, BatchModeIsWhatWasSetLast)
{
    OpenStreamedArray array;
    array.setUseBatchMode(true);
    EXPECT_TRUE(array.isUseBatchMode());
    array.setUseBatchMode(false);
    EXPECT_FALSE(array.isUseBatchMode());
}

struct WhileReadingRow
{
    const char* label;
    std::int32_t stored;
    std::int32_t returned;
};

/// Integers pass through a float on this path.
const WhileReadingRow WHILE_READING[] = {
    {"Zero", 0, 0},
    {"Small", -7, -7},
    {"LastExact", 16777216, 16777216},
    {"FirstRounded", 16777217, 16777216},
    {"NextExact", 16777218, 16777218},
    {"RoundedUp", 16777219, 16777220},
    {"NegativeRounded", -16777217, -16777216},
    {"Large", 123456789, 123456792},
    {"Smallest", std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::min()},
    {"LargestFloatBelowTheTop", 2147483520, 2147483520},
    {"Marker", NAN_PATTERN, NAN_PATTERN},
};

class DataArrayStreamedWhileReading : public ::testing::TestWithParam<WhileReadingRow>
{};

TEST_P(DataArrayStreamedWhileReading, IntegersComeBackAtFloatPrecision)
{
    OpenStreamedArray array;
    array.addSampleInt(GetParam().stored);
    EXPECT_EQ(array.getSampleIntWhileReading(0), GetParam().returned);
    EXPECT_EQ(array.getSampleInt(0), GetParam().stored);
    EXPECT_EQ(bitsOf(array.getSampleWhileReading(0)), GetParam().stored);
    EXPECT_EQ(bitsOf(array.getSampleFloatWhileReading(0)), GetParam().stored);
}

INSTANTIATE_TEST_SUITE_P(Values, DataArrayStreamedWhileReading, ::testing::ValuesIn(WHILE_READING),
                         RowLabel{});

TEST(DataArrayStreamed, TheTopOfTheIntegersSurvivesTheFloat)
{
    OpenStreamedArray array;
    for (const std::int32_t stored : {std::numeric_limits<std::int32_t>::max(), 2147483584}) {
        array.clear();
        array.addSampleInt(stored); // its float is 2^31, which no int can hold
        EXPECT_GE(array.getSampleIntWhileReading(0), 2147483520);
    }
}

TEST(DataArrayStreamed, WritesItsSizeAsAText)
{
    vx::archive::ArchiveContext context;
    OpenStreamedArray array;
    QJsonObject empty;
    EXPECT_TRUE(array.write(empty, 1, context));
    EXPECT_EQ(empty, (QJsonObject{{"realSize", "0"}}));
    array.addInts(sequence(1234));
    array.removeFromMemory();
    QJsonObject object{{"other", 1}};
    EXPECT_TRUE(array.write(object, 1, context));
    EXPECT_EQ(object, (QJsonObject{{"other", 1}, {"realSize", "1234"}}));
}

struct RealSizeRow
{
    const char* label;
    QJsonObject object;
    qint64 size;
};

const RealSizeRow REAL_SIZES[] = {
    {"Text", {{"realSize", "1234"}}, 1234},
    {"Zero", {{"realSize", "0"}}, 0},
    {"BeyondAnInt", {{"realSize", "5000000000"}}, 5000000000},
    {"Missing", {}, 0},
    {"Number", {{"realSize", 12}}, 0},
    {"Null", {{"realSize", QJsonValue::Null}}, 0},
    {"Word", {{"realSize", "twelve"}}, 0},
    {"Empty", {{"realSize", ""}}, 0},
    {"Fraction", {{"realSize", "12.5"}}, 0},
    {"TrailingText", {{"realSize", "12 samples"}}, 0},
    {"TooLarge", {{"realSize", "9223372036854775808"}}, 0},
    {"Array", {{"realSize", QJsonArray{"12"}}}, 0},
};

class DataArrayStreamedDocument : public ::testing::TestWithParam<RealSizeRow>
{};

TEST_P(DataArrayStreamedDocument, GivesTheFullSizeAndLoadsNothing)
{
    vx::archive::ArchiveContext context;
    OpenStreamedArray array;
    EXPECT_TRUE(array.read(GetParam().object, 1, context));
    EXPECT_EQ(array.getSize(), GetParam().size);
    EXPECT_EQ(array.getSizeLoadedInMemory(), 0);
    EXPECT_EQ(array.capacity(), 1024);
}

TEST_P(DataArrayStreamedDocument, ReplacesAnEarlierSize)
{
    vx::archive::ArchiveContext context;
    OpenStreamedArray array;
    ASSERT_TRUE(array.read(QJsonObject{{"realSize", "77"}}, 1, context));
    ASSERT_EQ(array.getSize(), 77);
    EXPECT_TRUE(array.read(GetParam().object, 1, context));
    EXPECT_EQ(array.getSize(), GetParam().size);
}

INSTANTIATE_TEST_SUITE_P(Documents, DataArrayStreamedDocument, ::testing::ValuesIn(REAL_SIZES), RowLabel{});

TEST(DataArrayStreamed, CannotBeCopied)
{
    static_assert(!std::is_copy_constructible_v<DataArrayStreamed>);
    static_assert(!std::is_copy_assignable_v<DataArrayStreamed>);
    static_assert(std::is_convertible_v<DataArrayStreamed*, DataArray*>);
    static_assert(std::is_same_v<decltype(&DataArrayStreamed::getSizeLoadedInMemory),
                                 int (DataArrayStreamed::*)() const>);
}

#ifdef VX_TEST_VIRTUAL_SLOTS
TEST(DataArrayStreamed, VirtualOperationsStandInTheirSlots)
{
    EXPECT_EQ(virtualSlot(&DataArrayStreamed::read), 1);
    EXPECT_EQ(virtualSlot(&DataArrayStreamed::write), 2);
    EXPECT_EQ(virtualSlot(&OpenStreamedArray::getSize), 4);
    EXPECT_EQ(virtualSlot(&OpenStreamedArray::clear), 5);
    EXPECT_EQ(virtualSlot(&OpenStreamedArray::addSampleFloat), 6);
    EXPECT_EQ(virtualSlot(&OpenStreamedArray::addSample), 7);
    EXPECT_EQ(virtualSlot(&OpenStreamedArray::addSampleInt), 8);
    EXPECT_EQ(virtualSlot(&DataArrayStreamed::setUseBatchMode), 13);
    EXPECT_EQ(virtualSlot(&DataArrayStreamed::isUseBatchMode), 14);
    EXPECT_EQ(virtualSlot(&OpenStreamedArray::getSampleWhileReading), 15);
    EXPECT_EQ(virtualSlot(&OpenStreamedArray::getSampleFloatWhileReading), 16);
    EXPECT_EQ(virtualSlot(&OpenStreamedArray::getSampleIntWhileReading), 17);
    EXPECT_EQ(virtualSlot(&DataArrayStreamed::getSizeLoadedInMemory), -1);
    EXPECT_EQ(virtualSlot(&DataArrayStreamed::isLoadedInMemory), -1);
    EXPECT_EQ(virtualSlot(&DataArrayStreamed::isInError), -1);
    EXPECT_EQ(virtualSlot(&DataArrayStreamed::setReadWriteError), -1);
    EXPECT_EQ(virtualSlot(&DataArrayStreamed::removeFromMemory), -1);
    EXPECT_EQ(virtualSlot(&DataArrayStreamed::writeToDiskStream), -1);
    EXPECT_EQ(virtualSlot(&DataArrayStreamed::updateToDiskStream), -1);
    EXPECT_EQ(virtualSlot(&DataArrayStreamed::readFromDiskStream), -1);
}
#endif
