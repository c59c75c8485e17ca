#include <datastorage/arrays/DataArrayInfo.h>

#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/units/PhysicalParameter.h>
#include <datastorage/units/UsualUnit.h>

#include <archive/ArchiveContext.h>

#include <support/OpenArrays.h>
#include <support/Printers.h>
#include <support/RowLabel.h>
#include <support/VirtualSlot.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

#include <cmath>
#include <limits>
#include <memory>
#include <numeric>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

constexpr float LARGEST = std::numeric_limits<float>::max();
constexpr float QUIET_NAN = std::numeric_limits<float>::quiet_NaN();

const UsualUnit VOLT(static_cast<UsualUnitType>(70));
const UsualUnit MILLIAMPERE_HOUR_PER_GRAM(static_cast<UsualUnitType>(41), static_cast<UsualUnitOperator>(1),
                                          static_cast<UsualUnitType>(23), static_cast<UsualUnitOperator>(2),
                                          static_cast<UsualUnitType>(2));

DataArrayInfo makeInfo(DataType type)
{
    return {"Voltage", static_cast<PhysicalParameter>(9), type, VOLT};
}

std::unique_ptr<DataArrayInfoStreamed> makeStreamed(DataType type)
{
    auto info =
        std::make_unique<DataArrayInfoStreamed>("Voltage", static_cast<PhysicalParameter>(9), type, VOLT);
    info->createDataArray();
    return info;
}

} // namespace

TEST(DataArrayInfo, DefaultDescriptorIsEmptyAndUnknown)
{
    const DataArrayInfo info;
    EXPECT_EQ(info.getName(), QString());
    EXPECT_EQ(static_cast<int>(info.getPhysicalParameter()), 0);
    EXPECT_EQ(info.getDataType(), Float);
    EXPECT_TRUE(info.getDataUnit().isUnknown());
    EXPECT_TRUE(info.getDataUnit() == UsualUnit());
    EXPECT_EQ(info.getStreamSetIdentifier(), 0U);
    EXPECT_EQ(bitsOf(info.getMin()), 0x7F7FFFFF);
    EXPECT_EQ(bitsOf(info.getMax()), static_cast<std::int32_t>(0xFF7FFFFFU));
}

TEST(DataArrayInfo, NamedDescriptorTakesItsFourValues)
{
    const DataArrayInfo info("Capacity", static_cast<PhysicalParameter>(25), Enum, MILLIAMPERE_HOUR_PER_GRAM);
    EXPECT_EQ(info.getName(), QString("Capacity"));
    EXPECT_EQ(static_cast<int>(info.getPhysicalParameter()), 25);
    EXPECT_EQ(info.getDataType(), Enum);
    EXPECT_TRUE(info.getDataUnit() == MILLIAMPERE_HOUR_PER_GRAM);
    EXPECT_EQ(info.getStreamSetIdentifier(), 0U);
    EXPECT_EQ(info.getMin(), LARGEST);
    EXPECT_EQ(info.getMax(), -LARGEST);
}

TEST(DataArrayInfo, SettersAssign)
{
    DataArrayInfo info;
    info.setName("Current");
    info.setPhysicalParameter(static_cast<PhysicalParameter>(6));
    info.setDataType(Int);
    info.setDataUnit(MILLIAMPERE_HOUR_PER_GRAM);
    info.setStreamSetIdentifier(4294967295U);
    EXPECT_EQ(info.getName(), QString("Current"));
    EXPECT_EQ(static_cast<int>(info.getPhysicalParameter()), 6);
    EXPECT_EQ(info.getDataType(), Int);
    EXPECT_TRUE(info.getDataUnit() == MILLIAMPERE_HOUR_PER_GRAM);
    EXPECT_EQ(info.getStreamSetIdentifier(), 4294967295U);
}

TEST(DataArrayInfo, HasNoArrayUntilItIsCreated)
{
    DataArrayInfo info = makeInfo(Float);
    EXPECT_EQ(info.getSize(), 0);
    EXPECT_EQ(info.capacity(), 0);
    EXPECT_EQ(bitsOf(info.getSample(0)), NAN_PATTERN);
    EXPECT_EQ(bitsOf(info.getSampleFloat(0)), NAN_PATTERN);
    EXPECT_EQ(info.getSampleInt(0), NAN_PATTERN);
    info.reserve(2000);
    info.addSampleFloat(1.0F);
    info.addSampleInt(1);
    info.addSample(floatSample(1.0F));
    info.clear();
    EXPECT_EQ(info.getSize(), 0);
    EXPECT_EQ(info.capacity(), 0);
}

TEST(DataArrayInfo, CreatedArrayIsEmptyWithRoomFor1024Samples)
{
    DataArrayInfo info = makeInfo(Float);
    info.createDataArray();
    EXPECT_EQ(info.getSize(), 0);
    EXPECT_EQ(info.capacity(), 1024);
}

TEST(DataArrayInfo, CreatingTheArrayAgainGivesAnEmptyOne)
{
    DataArrayInfo info = makeInfo(Float);
    info.createDataArray();
    info.addSampleFloat(1.0F);
    info.createDataArray();
    EXPECT_EQ(info.getSize(), 0);
    info.addSampleFloat(2.0F);
    EXPECT_EQ(info.getSampleFloat(0), 2.0F);
}

TEST(DataArrayInfo, CreatingTheArrayAgainFreesNothingThatACopyUses)
{
    DataArrayInfo info = makeInfo(Float);
    info.createDataArray();
    info.addSampleFloat(1.0F);
    const DataArrayInfo copy(info);
    info.createDataArray();
    EXPECT_EQ(copy.getSize(), 1);
    EXPECT_EQ(copy.getSampleFloat(0), 1.0F);
    EXPECT_EQ(info.getSize(), 0);
}

TEST(DataArrayInfo, ForwardsReserveAndCapacity)
{
    DataArrayInfo info = makeInfo(Float);
    info.createDataArray();
    info.reserve(10);
    EXPECT_EQ(info.capacity(), 1024);
    info.reserve(2000);
    EXPECT_EQ(info.capacity(), 2000);
    EXPECT_EQ(info.getSize(), 0);
}

TEST(DataArrayInfo, ForwardsTheGetters)
{
    DataArrayInfo info = makeInfo(Float);
    info.createDataArray();
    info.addSampleFloat(1.0F);
    info.addSampleInt(16777217);
    EXPECT_EQ(info.getSize(), 2);
    EXPECT_EQ(info.getSampleFloat(0), 1.0F);
    EXPECT_EQ(info.getSampleInt(0), 1065353216);
    EXPECT_EQ(info.getSampleInt(1), 16777217);
    EXPECT_EQ(bitsOf(info.getSample(1)), 16777217);
}

TEST(DataArrayInfo, ChangingTheTypeLeavesTheSamples)
{
    DataArrayInfo info = makeInfo(Float);
    info.createDataArray();
    info.addSample(floatSample(1.0F));
    info.setDataType(Int);
    EXPECT_EQ(info.getSampleFloat(0), 1.0F);
    EXPECT_EQ(info.getSampleInt(0), 1065353216);
    EXPECT_EQ(info.getMax(), 1.0F);
}

TEST(DataArrayInfo, HooksOfThePlainDescriptorDoNothing)
{
    DataArrayInfo info = makeInfo(Float);
    info.createDataArray();
    info.startAddingData();
    info.addSampleFloat(2.0F);
    info.endAddingData("C:/data/run1.dat");
    info.restart();
    EXPECT_EQ(info.getSize(), 1);
    EXPECT_EQ(info.getSampleFloat(0), 2.0F);
    EXPECT_EQ(info.getMin(), 2.0F);
    EXPECT_EQ(info.getMax(), 2.0F);
}

struct FloatRangeRow
{
    const char* label;
    std::vector<float> samples;
    float minimum;
    float maximum;
};

const FloatRangeRow FLOAT_RANGES[] = {
    {"None", {}, LARGEST, -LARGEST},
    {"One", {2.5F}, 2.5F, 2.5F},
    {"WithNan", {2.5F, QUIET_NAN, -1.0F}, -1.0F, 2.5F},
    {"NanFirst", {QUIET_NAN, 4.0F}, 4.0F, 4.0F},
    {"OnlyNan", {QUIET_NAN, -QUIET_NAN, std::numeric_limits<float>::signaling_NaN()}, LARGEST, -LARGEST},
    {"Infinities",
     {std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity()},
     -std::numeric_limits<float>::infinity(),
     std::numeric_limits<float>::infinity()},
    {"LargestItself", {LARGEST}, LARGEST, LARGEST},
    {"SmallestItself", {-LARGEST}, -LARGEST, -LARGEST},
    {"Descending", {3.0F, 2.0F, 1.0F}, 1.0F, 3.0F},
    {"Denormal",
     {std::numeric_limits<float>::denorm_min(), 0.0F},
     0.0F,
     std::numeric_limits<float>::denorm_min()},
};

class DataArrayInfoFloatRange : public ::testing::TestWithParam<FloatRangeRow>
{};

TEST_P(DataArrayInfoFloatRange, IsWhatTheSamplesSpan)
{
    DataArrayInfo info = makeInfo(Float);
    info.createDataArray();
    for (const float sample : GetParam().samples) {
        info.addSampleFloat(sample);
    }
    EXPECT_EQ(info.getSize(), static_cast<qint64>(GetParam().samples.size()));
    EXPECT_EQ(info.getMin(), GetParam().minimum);
    EXPECT_EQ(info.getMax(), GetParam().maximum);
}

INSTANTIATE_TEST_SUITE_P(Samples, DataArrayInfoFloatRange, ::testing::ValuesIn(FLOAT_RANGES), RowLabel{});

struct IntRangeRow
{
    const char* label;
    std::vector<int> samples;
    float minimum;
    float maximum;
};

const IntRangeRow INT_RANGES[] = {
    {"None", {}, LARGEST, -LARGEST},
    {"WithMarker", {5, 2143289344, -7}, -7.0F, 5.0F},
    {"OnlyMarker", {2143289344}, LARGEST, -LARGEST},
    {"BesideTheMarker", {2143289343, 2143289345}, 2143289344.0F, 2143289344.0F},
    {"OtherNanPatterns", {2143289345, 2139095041}, 2139095040.0F, 2143289344.0F},
    {"Extremes",
     {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()},
     -2147483648.0F,
     2147483648.0F},
    {"RoundedToFloat", {16777217}, 16777216.0F, 16777216.0F},
};

class DataArrayInfoIntRange : public ::testing::TestWithParam<IntRangeRow>
{};

TEST_P(DataArrayInfoIntRange, IsWhatTheSamplesSpan)
{
    DataArrayInfo info = makeInfo(Int);
    info.createDataArray();
    for (const int sample : GetParam().samples) {
        info.addSampleInt(sample);
    }
    EXPECT_EQ(info.getSize(), static_cast<qint64>(GetParam().samples.size()));
    EXPECT_EQ(info.getMin(), GetParam().minimum);
    EXPECT_EQ(info.getMax(), GetParam().maximum);
    for (std::size_t i = 0; i < GetParam().samples.size(); ++i) {
        EXPECT_EQ(info.getSampleInt(static_cast<qint64>(i)), GetParam().samples[i]);
    }
}

INSTANTIATE_TEST_SUITE_P(Samples, DataArrayInfoIntRange, ::testing::ValuesIn(INT_RANGES), RowLabel{});

// ---- blocks of samples

struct FloatBlockRow
{
    const char* label;
    std::vector<float> samples;
};

constexpr float INFINITE = std::numeric_limits<float>::infinity();

std::vector<float> filled(std::size_t count, float sample)
{
    return std::vector<float>(count, sample);
}

std::vector<float> joined(std::vector<float> front, const std::vector<float>& back)
{
    front.insert(front.end(), back.begin(), back.end());
    return front;
}

const FloatBlockRow FLOAT_BLOCKS[] = {
    {"None", {}},
    {"One", {2.5F}},
    {"SmallestIsZero", {0.0F, -0.0F, 1.0F}},
    {"SmallestIsMinusZero", {-0.0F, 0.0F, 1.0F}},
    {"LargestIsZero", {-1.0F, 0.0F, -0.0F}},
    {"LargestIsMinusZero", {-1.0F, -0.0F, 0.0F}},
    {"OnlyNan", {QUIET_NAN, QUIET_NAN}},
    {"SeventeenAndSmallestLast", {9, 8, 7, 6, 5, 4, 3, 2, 1, 2, 3, 4, 5, 6, 7, QUIET_NAN, -0.0F}},
    {"Infinity", {INFINITE}},
    {"MinusInfinityAndNan", {QUIET_NAN, -INFINITE}},
    {"BothInfinities", {1.0F, INFINITE, -INFINITE}},
    {"LongAndFirstZeroBehindManyOthers", joined(filled(20000, 1.0F), {-0.0F, 0.0F, -0.0F})},
    {"LongAndFirstZeroEarly", joined({0.0F}, joined(filled(20000, -1.0F), {-0.0F}))},
    {"LongAndNanInFront", joined(filled(20000, QUIET_NAN), {2.0F})},
    {"SeventeenAndLargestLast", {-9, -8, -7, QUIET_NAN, -5, -4, -3, -2, -1, -2, -3, -4, -5, -6, -7, -8, 3}},
};

class DataArrayInfoFloatBlock : public ::testing::TestWithParam<FloatBlockRow>
{};

TEST_P(DataArrayInfoFloatBlock, IsAddedAsItsSamplesAre)
{
    DataArrayInfo block = makeInfo(Float);
    DataArrayInfo single = makeInfo(Float);
    DataArrayInfo withoutArray = makeInfo(Float);
    block.createDataArray();
    single.createDataArray();
    block.addSamples(std::span<const float>(GetParam().samples));
    withoutArray.addSamples(std::span<const float>(GetParam().samples));
    for (const float sample : GetParam().samples) {
        single.addSampleFloat(sample);
    }
    EXPECT_EQ(bitsOf(block.getMin()), bitsOf(single.getMin()));
    EXPECT_EQ(bitsOf(block.getMax()), bitsOf(single.getMax()));
    EXPECT_EQ(bitsOf(withoutArray.getMin()), bitsOf(single.getMin()));
    EXPECT_EQ(bitsOf(withoutArray.getMax()), bitsOf(single.getMax()));
    ASSERT_EQ(block.getSize(), single.getSize());
    for (qint64 i = 0; i < single.getSize(); ++i) {
        EXPECT_EQ(block.getSampleInt(i), single.getSampleInt(i)) << i;
    }
}

TEST_P(DataArrayInfoFloatBlock, IsAddedToAStreamedArrayAsItsSamplesAre)
{
    const auto block = makeStreamed(Float);
    const auto single = makeStreamed(Float);
    block->addSamples(std::span<const float>(GetParam().samples));
    for (const float sample : GetParam().samples) {
        single->addSampleFloat(sample);
    }
    EXPECT_EQ(bitsOf(block->getMin()), bitsOf(single->getMin()));
    EXPECT_EQ(bitsOf(block->getMax()), bitsOf(single->getMax()));
    ASSERT_EQ(block->getSize(), single->getSize());
    for (qint64 i = 0; i < single->getSize(); ++i) {
        EXPECT_EQ(block->getSampleInt(i), single->getSampleInt(i)) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Samples, DataArrayInfoFloatBlock, ::testing::ValuesIn(FLOAT_BLOCKS), RowLabel{});

TEST_P(DataArrayInfoIntRange, IsWhatABlockSpans)
{
    DataArrayInfo info = makeInfo(Int);
    info.createDataArray();
    info.addSamples(std::span<const int>(GetParam().samples));
    EXPECT_EQ(info.getMin(), GetParam().minimum);
    EXPECT_EQ(info.getMax(), GetParam().maximum);
    std::vector<int> stored(GetParam().samples.size());
    EXPECT_EQ(info.readSamples(0, stored), info.getSize());
    EXPECT_EQ(stored, GetParam().samples);
}

TEST(DataArrayInfo, ABlockThatGrowsTheArrayKeepsWhatWasThere)
{
    DataArrayInfo info = makeInfo(Int);
    info.createDataArray();
    info.addSampleInt(-1);
    std::vector<int> block(5000);
    std::iota(block.begin(), block.end(), 0);
    info.addSamples(std::span<const int>(block));
    ASSERT_EQ(info.getSize(), 5001);
    EXPECT_EQ(info.getSampleInt(0), -1);
    EXPECT_EQ(info.getSampleInt(1), 0);
    EXPECT_EQ(info.getSampleInt(5000), 4999);
}

TEST(DataArrayInfo, ReadsARangeClippedToItsSamples)
{
    DataArrayInfo info = makeInfo(Float);
    std::vector<float> out(4, 9.0F);
    EXPECT_EQ(info.readSamples(0, out), 0) << "there is no array";
    info.createDataArray();
    for (int i = 0; i < 10; ++i) {
        info.addSampleFloat(static_cast<float>(i));
    }
    EXPECT_EQ(info.readSamples(-1, out), 0);
    EXPECT_EQ(info.readSamples(10, out), 0);
    EXPECT_EQ(info.readSamples(1000000, out), 0);
    EXPECT_EQ(out, (std::vector{9.0F, 9.0F, 9.0F, 9.0F}));
    EXPECT_EQ(info.readSamples(3, out), 4);
    EXPECT_EQ(out, (std::vector{3.0F, 4.0F, 5.0F, 6.0F}));
    EXPECT_EQ(info.readSamples(8, out), 2);
    EXPECT_EQ(out, (std::vector{8.0F, 9.0F, 5.0F, 6.0F}));
}

TEST(DataArrayInfo, StoresANanWithItsBits)
{
    DataArrayInfo info = makeInfo(Float);
    info.createDataArray();
    info.addSampleFloat(2.5F);
    info.addSampleFloat(std::bit_cast<float>(0x7FC12345));
    EXPECT_EQ(info.getSampleInt(1), 0x7FC12345);
}

namespace {

/// Notes which addition a descriptor's addSample() reaches.
struct NotingInfo : DataArrayInfo
{
    using DataArrayInfo::DataArrayInfo;

    void addSampleFloat(float value) override
    {
        floats.push_back(value);
        DataArrayInfo::addSampleFloat(value);
    }
    void addSampleInt(int value) override
    {
        ints.push_back(value);
        DataArrayInfo::addSampleInt(value);
    }

    std::vector<float> floats;
    std::vector<int> ints;
};

} // namespace

TEST(DataArrayInfo, AddSampleReachesTheFloatAdditionOfAFloatDescriptor)
{
    NotingInfo info("A", static_cast<PhysicalParameter>(9), Float, VOLT);
    info.createDataArray();
    info.addSample(floatSample(1.5F));
    EXPECT_EQ(info.floats, std::vector<float>{1.5F});
    EXPECT_TRUE(info.ints.empty());
    EXPECT_EQ(info.getSampleFloat(0), 1.5F);
    EXPECT_EQ(info.getMax(), 1.5F);
}

TEST(DataArrayInfo, AddSampleReachesTheIntAdditionOfEveryOtherDescriptor)
{
    for (const int type : {1, 2, 3, -1}) {
        SCOPED_TRACE(type);
        NotingInfo info("A", static_cast<PhysicalParameter>(9), static_cast<DataType>(type), VOLT);
        info.createDataArray();
        info.addSample(intSample(-12));
        EXPECT_EQ(info.ints, std::vector<int>{-12});
        EXPECT_TRUE(info.floats.empty());
        EXPECT_EQ(info.getSampleInt(0), -12);
        EXPECT_EQ(info.getMin(), -12.0F);
    }
}

TEST(DataArrayInfo, ABlockReachesTheAdditionsOfASubclass)
{
    NotingInfo info("A", static_cast<PhysicalParameter>(9), Float, VOLT);
    info.createDataArray();
    const std::vector floats{1.5F, -2.0F};
    const std::vector ints{7, 8, 9};
    info.addSamples(std::span<const float>(floats));
    info.addSamples(std::span<const int>(ints));
    EXPECT_EQ(info.floats, floats);
    EXPECT_EQ(info.ints, ints);
    EXPECT_EQ(info.getSize(), 5);
    EXPECT_EQ(info.getMin(), -2.0F);
    EXPECT_EQ(info.getMax(), 9.0F);
}

TEST(DataArrayInfo, ClearEmptiesAndForgetsTheRange)
{
    DataArrayInfo info = makeInfo(Float);
    info.createDataArray();
    for (int i = 0; i < 2000; ++i) {
        info.addSampleFloat(static_cast<float>(i));
    }
    info.clear();
    EXPECT_EQ(info.getSize(), 0);
    EXPECT_EQ(info.capacity(), 2304);
    EXPECT_EQ(info.getMin(), LARGEST);
    EXPECT_EQ(info.getMax(), -LARGEST);
}

TEST(DataArrayInfo, TheDescriptorsOfOneArrayShareItAndTheLastFreesIt)
{
    auto first = std::make_unique<DataArrayInfo>("A", static_cast<PhysicalParameter>(9), Float, VOLT);
    first->createDataArray();
    first->setStreamSetIdentifier(3);
    first->addSampleFloat(1.0F);
    auto copy = std::make_unique<DataArrayInfo>(*first);
    DataArrayInfo assigned;
    assigned.createDataArray();
    assigned = *first;
    first->addSampleFloat(2.0F);
    EXPECT_EQ(copy->getName(), QString("A"));
    EXPECT_EQ(copy->getStreamSetIdentifier(), 3U);
    EXPECT_TRUE(copy->getDataUnit() == VOLT);
    EXPECT_EQ(copy->getMax(), 1.0F);
    EXPECT_EQ(copy->getSize(), 2);
    EXPECT_EQ(assigned.getSize(), 2);
    first.reset();
    EXPECT_EQ(copy->getSampleFloat(1), 2.0F);
    copy.reset();
    EXPECT_EQ(assigned.getSampleFloat(1), 2.0F);
    assigned.addSampleFloat(3.0F);
    EXPECT_EQ(assigned.getSize(), 3);
}

TEST(DataArrayInfo, AssigningADescriptorToItselfKeepsTheArray)
{
    DataArrayInfo info = makeInfo(Float);
    info.createDataArray();
    info.addSampleFloat(1.0F);
    const DataArrayInfo& same = info;
    info = same;
    EXPECT_EQ(info.getSize(), 1);
    EXPECT_EQ(info.getSampleFloat(0), 1.0F);
}

TEST(DataArrayInfo, WritesItsSevenMembers)
{
    DataArrayInfo info("Capacity", static_cast<PhysicalParameter>(25), Enum, MILLIAMPERE_HOUR_PER_GRAM);
    info.createDataArray();
    info.setStreamSetIdentifier(42);
    info.addSampleInt(5);
    info.addSampleInt(-7);
    vx::archive::ArchiveContext context;
    QJsonObject object;
    EXPECT_TRUE(info.write(object, 1, context));
    const QJsonObject unit{{"unit1", 41}, {"unitOperator", 1},  {"unit2", 23}, {"unitOperator2", 2},
                           {"unit3", 2},  {"unitOperator3", 0}, {"unit4", 0}};
    const QJsonObject expected{{"name", "Capacity"}, {"physicalParameter", 25},     {"type", 2},
                               {"dataUnit", unit},   {"streamSetIdentifier", "42"}, {"min", -7.0},
                               {"max", 5.0}};
    EXPECT_EQ(object, expected);
    EXPECT_TRUE(object["streamSetIdentifier"].isString());
    EXPECT_TRUE(object["type"].isDouble());
}

TEST(DataArrayInfo, WritesTheUnusedRangeAsDoubles)
{
    const DataArrayInfo info;
    vx::archive::ArchiveContext context;
    QJsonObject object{{"other", true}};
    EXPECT_TRUE(info.write(object, 1, context));
    EXPECT_EQ(object["min"].toDouble(), static_cast<double>(LARGEST));
    EXPECT_EQ(object["max"].toDouble(), -static_cast<double>(LARGEST));
    EXPECT_EQ(object["streamSetIdentifier"], QJsonValue("0"));
    EXPECT_EQ(object["other"], QJsonValue(true));
    EXPECT_EQ(object.size(), 8);
}

TEST(DataArrayInfo, HandsTheContextToItsUnit)
{
    const DataArrayInfo info("Capacity", static_cast<PhysicalParameter>(25), Int, MILLIAMPERE_HOUR_PER_GRAM);
    vx::archive::ArchiveContext context;
    context.unitsAsText = true;
    QJsonObject object;
    EXPECT_TRUE(info.write(object, 1, context));
    EXPECT_EQ(object["dataUnit"], QJsonValue("mA.h/g"));
}

TEST(DataArrayInfo, ReadsWhatItWrote)
{
    DataArrayInfo info("Capacity", static_cast<PhysicalParameter>(25), Int, MILLIAMPERE_HOUR_PER_GRAM);
    info.createDataArray();
    info.setStreamSetIdentifier(4294967295U);
    info.addSampleFloat(0.1F);
    info.addSampleFloat(-3.4e30F);
    vx::archive::ArchiveContext context;
    QJsonObject object;
    ASSERT_TRUE(info.write(object, 1, context));
    DataArrayInfo read;
    EXPECT_TRUE(read.read(object, 1, context));
    EXPECT_EQ(read.getName(), QString("Capacity"));
    EXPECT_EQ(static_cast<int>(read.getPhysicalParameter()), 25);
    EXPECT_EQ(read.getDataType(), Int);
    EXPECT_TRUE(read.getDataUnit() == MILLIAMPERE_HOUR_PER_GRAM);
    EXPECT_EQ(read.getStreamSetIdentifier(), 4294967295U);
    EXPECT_EQ(read.getMin(), -3.4e30F);
    EXPECT_EQ(read.getMax(), 0.1F);
    EXPECT_EQ(read.getSize(), 0);
}

TEST(DataArrayInfo, ReadingAnEmptyDocumentSetsEverythingToZero)
{
    DataArrayInfo info = makeInfo(Int);
    info.setStreamSetIdentifier(5);
    vx::archive::ArchiveContext context;
    EXPECT_TRUE(info.read(QJsonObject(), 1, context));
    EXPECT_EQ(info.getName(), QString());
    EXPECT_EQ(static_cast<int>(info.getPhysicalParameter()), 0);
    EXPECT_EQ(info.getDataType(), Float);
    EXPECT_TRUE(info.getDataUnit().isUnknown());
    EXPECT_EQ(info.getStreamSetIdentifier(), 0U);
    EXPECT_EQ(info.getMin(), 0.0F);
    EXPECT_EQ(info.getMax(), 0.0F);
}

TEST(DataArrayInfo, ReadsAnOldUnitNumber)
{
    DataArrayInfo info;
    vx::archive::ArchiveContext context;
    EXPECT_TRUE(info.read(QJsonObject{{"dataUnit", 88}}, 1, context));
    EXPECT_TRUE(info.getDataUnit() == UsualUnit(static_cast<UsualUnitType>(40),
                                                static_cast<UsualUnitOperator>(1),
                                                static_cast<UsualUnitType>(23)));
}

TEST(DataArrayInfo, ReadingTouchesNoSamples)
{
    DataArrayInfo info = makeInfo(Float);
    info.createDataArray();
    info.addSampleFloat(2.0F);
    vx::archive::ArchiveContext context;
    EXPECT_TRUE(info.read(QJsonObject{{"name", "B"}}, 1, context));
    EXPECT_EQ(info.getSize(), 1);
    EXPECT_EQ(info.getSampleFloat(0), 2.0F);
}

struct StreamSetRow
{
    const char* label;
    QJsonValue value;
    unsigned int number;
};

const StreamSetRow STREAM_SETS[] = {
    {"Digits", "42", 42U},
    {"Zero", "0", 0U},
    {"Largest", "4294967295", 4294967295U},
    {"Number", 42, 0U},
    {"TooLarge", "4294967296", 0U},
    {"Negative", "-1", 0U},
    {"Word", "abc", 0U},
    {"Empty", "", 0U},
    {"Fraction", "4.5", 0U},
    {"Hexadecimal", "0x10", 0U},
    {"Null", QJsonValue::Null, 0U},
};

class DataArrayInfoStreamSet : public ::testing::TestWithParam<StreamSetRow>
{};

TEST_P(DataArrayInfoStreamSet, IsReadFromItsDecimalDigits)
{
    DataArrayInfo info;
    info.setStreamSetIdentifier(7);
    vx::archive::ArchiveContext context;
    EXPECT_TRUE(info.read(QJsonObject{{"streamSetIdentifier", GetParam().value}}, 1, context));
    EXPECT_EQ(info.getStreamSetIdentifier(), GetParam().number);
}

INSTANTIATE_TEST_SUITE_P(Values, DataArrayInfoStreamSet, ::testing::ValuesIn(STREAM_SETS), RowLabel{});

struct WrongTypeRow
{
    const char* label;
    QJsonObject object;
};

const WrongTypeRow WRONG_TYPES[] = {
    {"Texts", {{"name", 1}, {"physicalParameter", "9"}, {"type", "INT"}, {"min", "1"}, {"max", "2"}}},
    {"Nulls", {{"name", QJsonValue::Null}, {"type", QJsonValue::Null}, {"max", QJsonValue::Null}}},
    {"Containers", {{"name", QJsonObject{}}, {"type", QJsonArray{1}}, {"min", QJsonArray{1}}}},
    {"Fractions", {{"physicalParameter", 9.5}, {"type", 1.5}}},
};

class DataArrayInfoWrongType : public ::testing::TestWithParam<WrongTypeRow>
{};

TEST_P(DataArrayInfoWrongType, ReadsAsTheDefaults)
{
    DataArrayInfo info = makeInfo(Int);
    vx::archive::ArchiveContext context;
    EXPECT_TRUE(info.read(GetParam().object, 1, context));
    EXPECT_EQ(info.getName(), QString());
    EXPECT_EQ(static_cast<int>(info.getPhysicalParameter()), 0);
    EXPECT_EQ(info.getDataType(), Float);
    EXPECT_EQ(info.getMin(), 0.0F);
    EXPECT_EQ(info.getMax(), 0.0F);
}

INSTANTIATE_TEST_SUITE_P(Values, DataArrayInfoWrongType, ::testing::ValuesIn(WRONG_TYPES), RowLabel{});

TEST(DataArrayInfo, NumbersOutsideTheFloatRangeNarrowToInfinity)
{
    DataArrayInfo info;
    vx::archive::ArchiveContext context;
    EXPECT_TRUE(info.read(QJsonObject{{"min", -1e300}, {"max", 1e300}}, 1, context));
    EXPECT_EQ(info.getMin(), -std::numeric_limits<float>::infinity());
    EXPECT_EQ(info.getMax(), std::numeric_limits<float>::infinity());
}

TEST(DataArrayInfo, ANumberOutsideTheEnumerationsIsKept)
{
    DataArrayInfo info;
    vx::archive::ArchiveContext context;
    EXPECT_TRUE(info.read(QJsonObject{{"physicalParameter", 4711}, {"type", 7}}, 1, context));
    EXPECT_EQ(static_cast<int>(info.getPhysicalParameter()), 4711);
    EXPECT_EQ(static_cast<int>(info.getDataType()), 7);
}

TEST(DataArrayInfo, TheNameIsReturnedByValueAndTheUnitByReference)
{
    static_assert(std::is_same_v<decltype(&DataArrayInfo::getName), QString (DataArrayInfo::*)() const>);
    static_assert(
        std::is_same_v<decltype(&DataArrayInfo::getDataUnit), const UsualUnit& (DataArrayInfo::*)() const>);
    static_assert(std::is_same_v<decltype(&DataArrayInfo::getPhysicalParameter),
                                 const PhysicalParameter& (DataArrayInfo::*)() const>);
    static_assert(std::has_virtual_destructor_v<DataArrayInfo>);
}

#ifdef VX_TEST_VIRTUAL_SLOTS
TEST(DataArrayInfo, VirtualOperationsStandInTheirSlots)
{
    EXPECT_EQ(virtualSlot(&DataArrayInfo::createDataArray), 1);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::setName), 2);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::getName), 3);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::getPhysicalParameter), 4);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::setPhysicalParameter), 5);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::getDataType), 6);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::setDataType), 7);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::getDataUnit), 8);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::setDataUnit), 9);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::getSample), 10);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::getSampleInt), 11);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::getSampleFloat), 12);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::startAddingData), 13);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::endAddingData), 14);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::addSampleFloat), 15);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::addSampleInt), 16);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::addSample), 17);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::clear), 18);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::getStreamSetIdentifier), 19);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::setStreamSetIdentifier), 20);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::getMin), 21);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::getMax), 22);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::reserve), 23);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::capacity), 24);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::getSize), 25);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::read), 26);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::write), 27);
    EXPECT_EQ(virtualSlot(&DataArrayInfo::restart), 28);
}
#endif
