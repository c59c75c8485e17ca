#include "report/ColumnFiller.h"
#include "report/ArrayStatistics.h"
#include "report/Samples.h"
#include "support/Printers.h"
#include "support/RowLabel.h"

#include <datastorage/arrays/DataArrayInfoStreamed.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

using vx::cli::ArrayStatistics;
using vx::cli::ColumnFiller;
using namespace vx::datastorage;

constexpr double MISSING = std::numeric_limits<double>::quiet_NaN();

/// An array of the given type, filled with one column.
class Filled
{
public:
    Filled(DataType type, double toMain)
        : m_array("x", ParameterRatio, type, UnitDimensionless),
          m_filler((m_array.createDataArray(), m_array), toMain)
    {}

    bool add(const std::vector<double>& values) { return m_filler.add(values, 0, 1); }
    QString warning(const QString& unit = "ms") const { return m_filler.precisionWarning(unit); }
    DataArrayInfoStreamed& array() { return m_array; }

private:
    DataArrayInfoStreamed m_array;
    ColumnFiller m_filler;
};

TEST(ColumnFiller, TakesOneColumnOfTheRows)
{
    DataArrayInfoStreamed array("x", ParameterTime, Float, UnitSecond);
    array.createDataArray();
    ColumnFiller filler(array, 0.001);
    const std::vector<double> rows{1, 2, 3, 4, 5, 6};
    ASSERT_TRUE(filler.add(rows, 1, 3));
    ASSERT_EQ(array.getSize(), 2);
    EXPECT_EQ(array.getSampleFloat(0), 0.002F);
    EXPECT_EQ(array.getSampleFloat(1), 0.005F);
}

TEST(ColumnFiller, StoresMissingValues)
{
    Filled floats(Float, 1);
    ASSERT_TRUE(floats.add({1, MISSING}));
    EXPECT_TRUE(std::isnan(floats.array().getSampleFloat(1)));
    Filled ints(Int, 1);
    ASSERT_TRUE(ints.add({1, MISSING}));
    EXPECT_EQ(ints.array().getSampleInt(1), vx::cli::MISSING_INT);
}

TEST(ColumnFiller, RefusesWhatIsNoWholeNumber)
{
    for (const double value : {0.5, 6.283185307179586, 2147483648.0, -2147483649.0, 2143289344.0, 1e300,
                               std::numeric_limits<double>::infinity()}) {
        SCOPED_TRACE(value);
        Filled ints(Int, 1);
        EXPECT_FALSE(ints.add({1, 2, value}));
        EXPECT_EQ(ints.array().getSize(), 0);
    }
}

TEST(ColumnFiller, KeepsTheWholeRangeOfWholeNumbers)
{
    Filled ints(Int, 1);
    ASSERT_TRUE(ints.add({-2147483648.0, 2147483647.0, 16777217.0}));
    EXPECT_EQ(ints.array().getSampleInt(0), std::numeric_limits<int>::min());
    EXPECT_EQ(ints.array().getSampleInt(1), std::numeric_limits<int>::max());
    EXPECT_EQ(ints.array().getSampleInt(2), 16777217);
}

struct PrecisionRow
{
    const char* label;
    double toMain;
    std::vector<double> values;
    bool warned;
};

const PrecisionRow PRECISIONS[] = {
    {"UnixTimeInMilliseconds", 0.001, {1729687914000, 1729687914010, 1729687924010}, true},
    {"UnixTimeInSeconds", 1, {1766393064.885, 1766393074.885, 1766393084.885}, true},
    {"CounterBeyondFloat", 1, {16777216, 16777217, 16777218}, true},
    {"SingleUnixTime", 1, {1766393065}, true},
    {"BeyondTheRange", 1, {1e300, 1}, true},
    {"Voltages", 1, {3.00963, 3.00964, 4.10029}, false},
    {"NarrowTemperatures", 1, {25.65362, 25.65372, 25.97739}, false},
    {"TimeInMilliseconds", 0.001, {0, 10000, 125618210}, false},
    {"HundredThousandSecondsInTenths", 1, {102302.1, 102302.2, 102302.3}, false},
    {"ConstantFraction", 1, {6.283185307179586, 6.283185307179586}, false},
    {"ManyDigits", 1, {-0.2787931034482723, 85.74655172413793}, false},
    {"MissingBetween", 1, {3.1, MISSING, 3.2, MISSING, MISSING, 3.1}, false},
    {"NothingButMissing", 1, {MISSING, MISSING}, false},
    {"Empty", 1, {}, false},
    {"Infinite", 1, {std::numeric_limits<double>::infinity(), 1}, false},
};

class Precision : public ::testing::TestWithParam<PrecisionRow>
{};

TEST_P(Precision, IsWarnedAboutWhenNeighboursBlur)
{
    Filled filled(Float, GetParam().toMain);
    ASSERT_TRUE(filled.add(GetParam().values));
    EXPECT_EQ(!filled.warning().isEmpty(), GetParam().warned) << filled.warning().toStdString();
}

INSTANTIATE_TEST_SUITE_P(Columns, Precision, ::testing::ValuesIn(PRECISIONS), RowLabel());

TEST(Precision, NamesErrorAndStepInTheUnitOfTheValues)
{
    Filled filled(Float, 1);
    ASSERT_TRUE(filled.add({16777217, 16777219}));
    EXPECT_EQ(filled.warning("s"),
              "a 32-bit float rounds values of up to 1.678e+07 s by up to 1 s, the mean step "
              "between values is 2 s");
    EXPECT_EQ(filled.warning("-"),
              "a 32-bit float rounds values of up to 1.678e+07 by up to 1, the mean step "
              "between values is 2");
}

TEST(ArrayStatistics, CountMissingSamplesApart)
{
    Filled filled(Float, 1);
    ASSERT_TRUE(filled.add({MISSING, 4, -2, 1, MISSING}));
    ArrayStatistics statistics;
    ASSERT_TRUE(vx::cli::readStatistics(filled.array(), statistics));
    EXPECT_EQ(statistics.samples, 5);
    EXPECT_EQ(statistics.missing, 2);
    EXPECT_EQ(statistics.minimum, -2);
    EXPECT_EQ(statistics.maximum, 4);
    EXPECT_EQ(statistics.mean, 1);
    EXPECT_TRUE(std::isnan(statistics.first));
    EXPECT_TRUE(std::isnan(statistics.last));
}

TEST(ArrayStatistics, KeepWholeNumbersWhole)
{
    Filled filled(Int, 1);
    ASSERT_TRUE(filled.add({16777217, MISSING, 16777219}));
    ArrayStatistics statistics;
    ASSERT_TRUE(vx::cli::readStatistics(filled.array(), statistics));
    EXPECT_EQ(statistics.samples, 3);
    EXPECT_EQ(statistics.missing, 1);
    EXPECT_EQ(statistics.minimum, 16777217);
    EXPECT_EQ(statistics.maximum, 16777219);
    EXPECT_EQ(statistics.mean, 16777218);
    EXPECT_EQ(statistics.first, 16777217);
    EXPECT_EQ(statistics.last, 16777219);
}

TEST(ArrayStatistics, OfNothingAreNoValues)
{
    for (const DataType type : {Float, Int}) {
        Filled filled(type, 1);
        ASSERT_TRUE(filled.add({}));
        ArrayStatistics statistics;
        ASSERT_TRUE(vx::cli::readStatistics(filled.array(), statistics));
        EXPECT_EQ(statistics.samples, 0);
        for (const double value :
             {statistics.minimum, statistics.maximum, statistics.mean, statistics.first, statistics.last}) {
            EXPECT_TRUE(std::isnan(value));
        }
    }
}

TEST(ArrayStatistics, AddUpInDoublePrecision)
{
    Filled filled(Float, 1);
    ASSERT_TRUE(filled.add(std::vector<double>(1000, 16777216.0)));
    ASSERT_TRUE(filled.add(std::vector<double>(1000, 1.0)));
    ArrayStatistics statistics;
    ASSERT_TRUE(vx::cli::readStatistics(filled.array(), statistics));
    EXPECT_EQ(statistics.mean, 8388608.5);
}

} // namespace
