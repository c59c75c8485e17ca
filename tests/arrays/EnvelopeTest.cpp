#include <datastorage/arrays/DataArrayInfo.h>

#include <support/Random.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

constexpr int MISSING = 2143289344;
constexpr qint64 BLOCK = 256;

/// Bits that are easy to take wrongly: NaN of all sorts, infinities, both zeros, extremes, and others.
std::int32_t oddBits(Random& random)
{
    constexpr std::uint32_t odd[] = {0x7FC00000, 0xFFC00000, 0x7F800001, 0x7F800000, 0xFF800000, 0x00000000,
                                     0x80000000, 0x7FFFFFFF, 0x00000001, 0x80000001, 0x7F7FFFFF, 0xFF7FFFFF};
    return static_cast<std::int32_t>(random.onceIn(3) ? odd[random.upTo(std::size(odd) - 1)] : random.next());
}

DataArrayInfo makeArray(DataType type, int count, quint32 seed)
{
    DataArrayInfo array("U", ParameterVoltage, type, UsualUnit(UnitVolt));
    array.createDataArray();
    Random random(seed);
    for (int i = 0; i < count; ++i)
        array.addSample(DataTypeBase{.intValue = oddBits(random)});
    return array;
}

/// One column by looking at every sample.
EnvelopeColumn columnOf(const DataArrayInfo& array, qint64 first, qint64 last)
{
    EnvelopeColumn column{first, last - first};
    double minimum = std::numeric_limits<double>::infinity();
    double maximum = -minimum;
    for (qint64 i = first; i < last; ++i) {
        const DataTypeBase sample = array.getSample(i);
        const bool isFloat = array.getDataType() == Float;
        if (isFloat ? std::isnan(sample.floatValue) : sample.intValue == MISSING) {
            ++column.missing;
            continue;
        }
        const double value =
            isFloat ? static_cast<double>(sample.floatValue) : static_cast<double>(sample.intValue);
        minimum = value < minimum ? value : minimum;
        maximum = value > maximum ? value : maximum;
    }
    if (column.missing < column.count) {
        column.minimum = minimum;
        column.maximum = maximum;
    }
    return column;
}

bool isSame(double a, double b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

/// Checks the columns of a range: they follow each other, and each is what its samples say.
void expectEnvelope(const DataArrayInfo& array, qint64 first, qint64 last, int columns)
{
    const std::vector<EnvelopeColumn> envelope = array.envelope(first, last, columns);
    ASSERT_EQ(static_cast<qint64>(envelope.size()), std::min<qint64>(columns, last - first));
    qint64 at = first;
    for (const EnvelopeColumn& column : envelope) {
        ASSERT_EQ(column.first, at);
        ASSERT_GT(column.count, 0);
        at += column.count;
        const EnvelopeColumn expected = columnOf(array, column.first, at);
        ASSERT_EQ(column.missing, expected.missing) << "from " << column.first;
        ASSERT_TRUE(isSame(column.minimum, expected.minimum)) << "from " << column.first;
        ASSERT_TRUE(isSame(column.maximum, expected.maximum)) << "from " << column.first;
    }
    ASSERT_EQ(at, last);
}

} // namespace

TEST(Envelope, OfNothingHasNoColumns)
{
    DataArrayInfo array = makeArray(Float, 10, 1);
    EXPECT_TRUE(array.envelope(3, 3, 5).empty());
    EXPECT_TRUE(array.envelope(7, 3, 5).empty());
    EXPECT_TRUE(array.envelope(10, 20, 5).empty());
    EXPECT_TRUE(array.envelope(-5, 0, 5).empty());
    EXPECT_TRUE(array.envelope(0, 10, 0).empty());
    EXPECT_TRUE(array.envelope(0, 10, -1).empty());
    EXPECT_TRUE(DataArrayInfo().envelope(0, 10, 5).empty());
}

TEST(Envelope, IsClippedToTheArray)
{
    const DataArrayInfo array = makeArray(Float, 10, 1);
    const std::vector<EnvelopeColumn> envelope =
        array.envelope(std::numeric_limits<qint64>::min(), std::numeric_limits<qint64>::max(), 2);
    ASSERT_EQ(envelope.size(), 2U);
    EXPECT_EQ(envelope[0].first, 0);
    EXPECT_EQ(envelope[0].count, 5);
    EXPECT_EQ(envelope[1].first, 5);
    EXPECT_EQ(envelope[1].count, 5);
}

TEST(Envelope, HasNoMoreColumnsThanSamples)
{
    const DataArrayInfo array = makeArray(Int, 3, 1);
    EXPECT_EQ(array.envelope(0, 3, std::numeric_limits<int>::max()).size(), 3U);
}

TEST(Envelope, OfMissingSamplesAloneHasNoMinimum)
{
    DataArrayInfo array("U", ParameterVoltage, Float, UsualUnit(UnitVolt));
    array.createDataArray();
    for (int i = 0; i < 100; ++i)
        array.addSampleFloat(std::numeric_limits<float>::quiet_NaN());
    const std::vector<EnvelopeColumn> envelope = array.envelope(0, 100, 1);
    ASSERT_EQ(envelope.size(), 1U);
    EXPECT_EQ(envelope[0].count, 100);
    EXPECT_EQ(envelope[0].missing, 100);
    EXPECT_TRUE(std::isnan(envelope[0].minimum));
    EXPECT_TRUE(std::isnan(envelope[0].maximum));
}

TEST(Envelope, HoldsIntsWhole)
{
    DataArrayInfo array("N", ParameterNone, Int, UsualUnit(UnitNone));
    array.createDataArray();
    for (const int value : {16777217, MISSING, 16777219})
        array.addSampleInt(value);
    const std::vector<EnvelopeColumn> envelope = array.envelope(0, 3, 1);
    ASSERT_EQ(envelope.size(), 1U);
    EXPECT_EQ(envelope[0].minimum, 16777217.0);
    EXPECT_EQ(envelope[0].maximum, 16777219.0);
    EXPECT_EQ(envelope[0].missing, 1);
}

TEST(Envelope, EdgesAreSnappedToBlocksInWideColumnsAlone)
{
    const DataArrayInfo array = makeArray(Float, 5000, 1);
    for (const EnvelopeColumn& column : array.envelope(10, 10 + 2 * BLOCK - 1, 2))
        EXPECT_TRUE(column.first % BLOCK != 0) << column.first;
    const std::vector<EnvelopeColumn> snapped = array.envelope(10, 10 + 10 * BLOCK, 10);
    ASSERT_EQ(snapped.size(), 10U);
    EXPECT_EQ(snapped[0].first, 10);
    for (std::size_t i = 1; i < snapped.size(); ++i)
        EXPECT_EQ(snapped[i].first % BLOCK, 0) << i;
    EXPECT_EQ(snapped.back().first + snapped.back().count, 10 + 10 * BLOCK);
}

TEST(Envelope, OfAnArrayInMemoryIsWhatItsSamplesSay)
{
    for (const DataType type : {Float, Int, Enum}) {
        SCOPED_TRACE(type);
        const DataArrayInfo array = makeArray(type, 20000, 7);
        Random random(8);
        for (int i = 0; i < 200; ++i) {
            const qint64 first = random.upTo(19998);
            const qint64 last = first + 1 + random.upTo(static_cast<quint32>(19999 - first));
            SCOPED_TRACE(testing::Message() << first << " to " << last);
            ASSERT_NO_FATAL_FAILURE(
                expectEnvelope(array, first, last, 1 + static_cast<int>(random.upTo(40))));
        }
    }
}
