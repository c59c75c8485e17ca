#include <datastorage/arrays/DataArray.h>

#include <archive/ArchiveContext.h>

#include <support/OpenArrays.h>
#include <support/Printers.h>
#include <support/RowLabel.h>
#include <support/VirtualSlot.h>

#include <QtCore/QJsonObject>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <type_traits>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

void addSamples(OpenArray& array, int count)
{
    for (int i = 0; i < count; ++i) {
        array.addSampleInt(i);
    }
}

/// Adds until the array has `size` samples.
void fillUpTo(OpenArray& array, qint64 size)
{
    while (array.getSize() < size) {
        array.addSampleInt(static_cast<int>(array.getSize()));
    }
}

} // namespace

TEST(DataArray, StartsEmptyWithRoomFor1024Samples)
{
    const OpenArray array;
    EXPECT_EQ(array.capacity(), 1024);
    EXPECT_EQ(array.getSize(), 0);
}

TEST(DataArray, KeepsItsBlockUpTo1023Additions)
{
    OpenArray array;
    addSamples(array, 1023);
    EXPECT_EQ(array.capacity(), 1024);
    EXPECT_EQ(array.getSize(), 1023);
}

TEST(DataArray, GrowsWithThe1024thAddition)
{
    OpenArray array;
    addSamples(array, 1024);
    EXPECT_EQ(array.capacity(), 1536);
    EXPECT_EQ(array.getSize(), 1024);
    EXPECT_EQ(array.getSampleInt(1023), 1023);
}

struct GrowthRow
{
    qint64 additions;
    qint64 capacity;
};

/// Each block grows by half when the incoming sample would take its last free slot.
const GrowthRow GROWTH[] = {
    {1, 1024},     {1023, 1024},   {1024, 1536},   {1535, 1536},   {1536, 2304},   {2303, 2304},
    {2304, 3456},  {3455, 3456},   {3456, 5184},   {5183, 5184},   {5184, 7776},   {7775, 7776},
    {7776, 11664}, {11663, 11664}, {11664, 17496}, {17495, 17496}, {17496, 26244},
};

class DataArrayGrowth : public ::testing::TestWithParam<GrowthRow>
{};

TEST_P(DataArrayGrowth, FollowsTheSequence)
{
    OpenArray array;
    fillUpTo(array, GetParam().additions);
    EXPECT_EQ(array.capacity(), GetParam().capacity);
    EXPECT_LT(array.getSize(), array.capacity());
}

INSTANTIATE_TEST_SUITE_P(Additions, DataArrayGrowth, ::testing::ValuesIn(GROWTH),
                         [](const auto& row) { return "After" + std::to_string(row.param.additions); });

TEST(DataArray, KeepsItsSamplesWhileItGrows)
{
    OpenArray array;
    fillUpTo(array, 20000);
    for (qint64 i = 0; i < 20000; ++i) {
        ASSERT_EQ(array.getSampleInt(i), i);
    }
}

struct Adder
{
    const char* label;
    void (*add)(OpenArray&);
};

const Adder ADDERS[] = {
    {"addSample", [](OpenArray& array) { array.addSample(floatSample(2.5F)); }},
    {"addSampleFloat", [](OpenArray& array) { array.addSampleFloat(2.5F); }},
    {"addSampleInt", [](OpenArray& array) { array.addSampleInt(bitsOf(2.5F)); }},
    {"addSampleInternal", [](OpenArray& array) { array.addSampleInternal(floatSample(2.5F)); }},
};

class DataArrayAddition : public ::testing::TestWithParam<Adder>
{};

TEST_P(DataArrayAddition, StoresThe32BitsAndCounts)
{
    OpenArray array;
    GetParam().add(array);
    EXPECT_EQ(array.getSize(), 1);
    EXPECT_EQ(bitsOf(array.getSample(0)), bitsOf(2.5F));
}

TEST_P(DataArrayAddition, GrowsWhenTheLastFreeSlotWouldBeTaken)
{
    OpenArray array;
    addSamples(array, 1022);
    GetParam().add(array);
    EXPECT_EQ(array.capacity(), 1024);
    GetParam().add(array);
    EXPECT_EQ(array.capacity(), 1536);
    EXPECT_EQ(array.getSize(), 1024);
    EXPECT_EQ(bitsOf(array.getSample(1023)), bitsOf(2.5F));
}

TEST_P(DataArrayAddition, AllocatesAfterTheBlockWasFreed)
{
    OpenArray array;
    array.freeArray();
    GetParam().add(array);
    EXPECT_EQ(array.capacity(), 1024);
    EXPECT_EQ(array.getSize(), 1);
    EXPECT_EQ(bitsOf(array.getSample(0)), bitsOf(2.5F));
}

INSTANTIATE_TEST_SUITE_P(Every, DataArrayAddition, ::testing::ValuesIn(ADDERS), RowLabel{});

TEST(DataArray, GettersReadTheBitsWithoutConversion)
{
    OpenArray array;
    array.addSampleFloat(1.0F);
    array.addSampleInt(16777217);
    array.addSampleInt(NAN_PATTERN);
    array.addSampleFloat(-0.0F);
    EXPECT_EQ(array.getSampleInt(0), 1065353216);
    EXPECT_EQ(array.getSampleInt(1), 16777217);
    EXPECT_EQ(bitsOf(array.getSampleFloat(1)), 16777217);
    EXPECT_EQ(bitsOf(array.getSampleFloat(2)), NAN_PATTERN);
    EXPECT_EQ(bitsOf(array.getSample(3)), std::numeric_limits<std::int32_t>::min());
}

struct ReserveRow
{
    qint64 asked;
    qint64 capacity;
};

const ReserveRow RESERVES[] = {
    {0, 1024},        {10, 1024},   {1023, 1024},
    {1024, 1024},     {1025, 1025}, {2000, 2000},
    {100000, 100000}, {-1, 1024},   {std::numeric_limits<qint64>::min(), 1024},
};

class DataArrayReserve : public ::testing::TestWithParam<ReserveRow>
{};

TEST_P(DataArrayReserve, GivesANewArrayThisCapacity)
{
    OpenArray array;
    array.reserve(GetParam().asked);
    EXPECT_EQ(array.capacity(), GetParam().capacity);
    EXPECT_EQ(array.getSize(), 0);
}

TEST_P(DataArrayReserve, GivesAFreedArrayThisCapacity)
{
    OpenArray array;
    array.freeArray();
    array.reserve(GetParam().asked);
    EXPECT_EQ(array.capacity(), GetParam().capacity);
}

INSTANTIATE_TEST_SUITE_P(Sizes, DataArrayReserve, ::testing::ValuesIn(RESERVES));

TEST(DataArray, ReserveNeverShrinks)
{
    OpenArray array;
    array.reserve(5000);
    array.reserve(2000);
    EXPECT_EQ(array.capacity(), 5000);
}

TEST(DataArray, ReserveKeepsTheSamples)
{
    OpenArray array;
    addSamples(array, 1000);
    array.reserve(50000);
    EXPECT_EQ(array.getSize(), 1000);
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(array.getSampleInt(i), i);
    }
}

TEST(DataArray, ResizeBelowTheCapacityOnlySetsTheSize)
{
    OpenArray array;
    array.resize(10);
    EXPECT_EQ(array.capacity(), 1024);
    EXPECT_EQ(array.getSize(), 10);
    array.resize(1023);
    EXPECT_EQ(array.capacity(), 1024);
    array.resize(1024);
    EXPECT_EQ(array.capacity(), 1024);
    EXPECT_EQ(array.getSize(), 1024);
}

TEST(DataArray, ResizeBeyondTheCapacityGivesExactlyTheSize)
{
    OpenArray array;
    array.resize(5000);
    EXPECT_EQ(array.capacity(), 5000);
    EXPECT_EQ(array.getSize(), 5000);
    array.addSampleInt(7);
    EXPECT_EQ(array.capacity(), 7500);
    EXPECT_EQ(array.getSize(), 5001);
    EXPECT_EQ(array.getSampleInt(5000), 7);
}

TEST(DataArray, ResizeKeepsTheSamplesBelowTheNewSize)
{
    OpenArray array;
    addSamples(array, 100);
    array.resize(4000);
    EXPECT_EQ(array.getSampleInt(99), 99);
    array.resize(50);
    EXPECT_EQ(array.getSize(), 50);
    EXPECT_EQ(array.capacity(), 4000);
    EXPECT_EQ(array.getSampleInt(49), 49);
}

TEST(DataArray, ClearKeepsTheBlock)
{
    OpenArray array;
    addSamples(array, 2000);
    array.clear();
    EXPECT_EQ(array.getSize(), 0);
    EXPECT_EQ(array.capacity(), 2304);
    array.addSampleInt(3);
    EXPECT_EQ(array.getSampleInt(0), 3);
    EXPECT_EQ(array.getSize(), 1);
}

TEST(DataArray, FreeArrayDropsTheBlock)
{
    OpenArray array;
    addSamples(array, 2000);
    array.freeArray();
    EXPECT_EQ(array.getSize(), 0);
    EXPECT_EQ(array.capacity(), 0);
    array.freeArray();
    EXPECT_EQ(array.capacity(), 0);
    array.addSampleInt(3);
    EXPECT_EQ(array.capacity(), 1024);
    EXPECT_EQ(array.getSize(), 1);
}

TEST(DataArray, HasNoJsonForm)
{
    OpenArray array;
    array.addSampleInt(1);
    vx::archive::ArchiveContext context;
    QJsonObject object{{"realSize", "12"}};
    const QJsonObject before = object;
    EXPECT_FALSE(array.write(object, 1, context));
    EXPECT_EQ(object, before);
    EXPECT_FALSE(array.read(object, 1, context));
    EXPECT_EQ(object, before);
    EXPECT_EQ(array.getSize(), 1);
}

TEST(DataArray, CannotBeCopied)
{
    static_assert(!std::is_copy_constructible_v<DataArray>);
    static_assert(!std::is_copy_assignable_v<DataArray>);
    static_assert(std::is_default_constructible_v<DataArray>);
    static_assert(std::has_virtual_destructor_v<DataArray>);
}

namespace {

/// Sizes that no machine can hold.
const qint64 IMPOSSIBLE_SIZES[] = {
    qint64(1) << 46,
    qint64(1) << 60,
    (qint64(1) << 61) - 1,
    qint64(1) << 61, // 4 bytes for each are one more than the signed range holds
    qint64(1) << 62, // times 4 the product is 0 in 64 bits
    (qint64(1) << 62) + 512,
    std::numeric_limits<qint64>::max() / 2,
    std::numeric_limits<qint64>::max(),
};

} // namespace

class DataArrayImpossibleSize : public ::testing::TestWithParam<qint64>
{};

TEST_P(DataArrayImpossibleSize, ReserveNeverLeadsToAStoreThroughNull)
{
    OpenArray array;
    array.addSampleInt(5);
    array.reserve(GetParam());
    array.addSampleInt(6);
    array.addSampleFloat(2.5F);
    array.addSample(intSample(7));
    array.addSampleInternal(intSample(8));
    const std::array written{5, 6, bitsOf(2.5F), 7, 8};
    for (qint64 i = 0; i < std::min<qint64>(array.getSize(), 5); ++i) {
        const int sample = array.getSampleInt(i);
        EXPECT_TRUE(sample == written.at(static_cast<std::size_t>(i)) || sample == NAN_PATTERN)
            << "sample " << i << " reads " << sample;
    }
}

TEST_P(DataArrayImpossibleSize, ResizeNeverLeadsToAReadThroughNull)
{
    OpenArray array;
    array.resize(GetParam());
    const std::array indices{qint64(0), qint64(1023), qint64(5000), GetParam() - 1};
    for (const qint64 index : indices) {
        if (index < array.getSize() && array.getSize() > 1024) {
            EXPECT_EQ(bitsOf(array.getSample(index)), NAN_PATTERN) << index;
            EXPECT_EQ(array.getSampleInt(index), NAN_PATTERN) << index;
            EXPECT_EQ(bitsOf(array.getSampleFloat(index)), NAN_PATTERN) << index;
        }
    }
    array.freeArray();
    EXPECT_EQ(array.capacity(), 0);
    array.addSampleInt(8);
    EXPECT_EQ(array.getSampleInt(0), 8);
    EXPECT_EQ(array.capacity(), 1024);
}

INSTANTIATE_TEST_SUITE_P(Sizes, DataArrayImpossibleSize, ::testing::ValuesIn(IMPOSSIBLE_SIZES));

TEST(DataArray, ARefusedAllocationStillClaimsTheCapacity)
{
    const qint64 tooMany = qint64(1) << 46; // 256 TiB: a size that can be asked for and not be had
    OpenArray array;
    array.reserve(tooMany);
    EXPECT_EQ(array.capacity(), tooMany);
}

TEST(DataArray, ARefusedAllocationLeavesTheSamplesRoomToGrow)
{
    OpenArray array;
    array.reserve(qint64(1) << 46);
    fillUpTo(array, 1000);
    addSamples(array, 5000);
    ASSERT_EQ(array.getSize(), 6000);
    EXPECT_EQ(array.getSampleInt(5999), 4999);
    EXPECT_EQ(array.capacity(), qint64(1) << 46);
}

TEST(DataArray, ARefusedResizeCanBeFollowedByOneThatFits)
{
    OpenArray array;
    addSamples(array, 3);
    array.resize(qint64(1) << 46);
    ASSERT_EQ(array.getSize(), 3);
    array.resize(5000);
    EXPECT_EQ(array.getSize(), 5000);
    EXPECT_EQ(array.getSampleInt(2), 2);
}

TEST(DataArray, ANegativeResizeTouchesNoMemory)
{
    OpenArray array;
    addSamples(array, 3);
    array.resize(-1);
    array.addSampleInt(9);
    array.resize(std::numeric_limits<qint64>::min());
    array.addSampleInt(9);
    EXPECT_GE(array.getSize(), 1);
    EXPECT_GE(array.capacity(), 1024);
    EXPECT_EQ(array.getSampleInt(array.getSize() - 1), 9);
}

#ifdef VX_TEST_VIRTUAL_SLOTS
TEST(DataArray, VirtualOperationsStandInTheirSlots)
{
    EXPECT_EQ(virtualSlot(&DataArray::read), 1);
    EXPECT_EQ(virtualSlot(&DataArray::write), 2);
    EXPECT_EQ(virtualSlot(&OpenArray::capacity), 3);
    EXPECT_EQ(virtualSlot(&OpenArray::getSize), 4);
    EXPECT_EQ(virtualSlot(&OpenArray::clear), 5);
    EXPECT_EQ(virtualSlot(&OpenArray::addSampleFloat), 6);
    EXPECT_EQ(virtualSlot(&OpenArray::addSample), 7);
    EXPECT_EQ(virtualSlot(&OpenArray::addSampleInt), 8);
    EXPECT_EQ(virtualSlot(&OpenArray::getSample), 9);
    EXPECT_EQ(virtualSlot(&OpenArray::getSampleFloat), 10);
    EXPECT_EQ(virtualSlot(&OpenArray::getSampleInt), 11);
    EXPECT_EQ(virtualSlot(&OpenArray::resize), 12);
    EXPECT_EQ(virtualSlot(&OpenArray::reserve), -1);
    EXPECT_EQ(virtualSlot(&OpenArray::freeArray), -1);
    EXPECT_EQ(virtualSlot(&OpenArray::addSampleInternal), -1);
}
#endif

namespace {

/// Whether an operation can be called from outside; the sample operations are not meant to be.
template <typename Array>
concept OpensItsSamples = requires(Array& array)
{
    array.getSize();
}
|| requires(Array& array)
{
    array.addSampleInt(1);
}
|| requires(Array& array)
{
    array.getSampleInt(0);
}
|| requires(Array& array)
{
    array.reserve(1);
}
|| requires(Array& array)
{
    array.freeArray();
}
|| requires(Array& array)
{
    array.resize(1);
};

} // namespace

TEST(DataArray, KeepsItsSamplesToDescriptors)
{
    static_assert(!OpensItsSamples<DataArray>);
    static_assert(OpensItsSamples<OpenArray>);
}
