#include <datastorage/units/Converter.h>

#include <support/RowLabel.h>
#include <units/UnitFixtures.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

const OptionalValue<double> ABSENT;

struct MsvUnitRow
{
    const char* label;
    UsualUnit unit;
    bool isMsv;
};

const MsvUnitRow MSV_UNITS[] = {
    {"ByMass", makeUnit(41, 1, 23, 2, 2), true},
    {"ByVolume", makeUnit(103, 2, 144), true},
    {"ByArea", makeUnit(40, 2, 141), true},
    {"TimesMass", makeUnit(130, 1, 2), true},
    {"FourParts", makeUnit(40, 1, 23, 2, 70, 2, 1044), true},
    {"NoneWithMass", makeUnit(1, 2, 2), true},
    {"SinglePart", makeUnit(41), false},
    {"MassAlone", makeUnit(2), false},
    {"ByTime", makeUnit(70, 2, 20), false},
    {"MassBeforeTheLast", makeUnit(40, 2, 2, 1, 23), false},
    {"Unknown", makeUnit(0, 2, 2), false},
    {"SecondPartWithoutOperator", makeUnit(40, 0, 2), false},
    {"SecondPartNone", makeUnit(40, 2, 1), false},
    {"SecondPartMissingBeforeMass", makeUnit(40, 2, 0, 2, 2), false},
    {"LastUnitWithoutOperator", makeUnit(40, 1, 23, 0, 2), true},
    {"LastUnitWithoutSymbol", makeUnit(40, 2, 104), false},
};

struct FactorRow
{
    const char* label;
    UsualUnit unit;
    UsualUnitOperator unitOperator;
    OptionalValue<double> amount;
    float to;
    float from;
};

const FactorRow FACTORS[] = {
    {"Absent", makeUnit(2), OperatorDivide, ABSENT, -1, -1},
    {"AbsentForNone", makeUnit(1), OperatorDivide, ABSENT, -1, -1},
    {"AbsentWithoutOperator", makeUnit(2), OperatorNone, ABSENT, -1, -1},
    {"None", makeUnit(1), OperatorDivide, 4.0, 1, 1},
    {"Unknown", makeUnit(0), OperatorMultiply, 4.0, 1, 1},
    {"DividedByKilogram", makeUnit(4), OperatorDivide, 4.0, 0.25F, 4},
    {"DividedByGram", makeUnit(2), OperatorDivide, 0.004, 0.25F, 4},
    {"TimesGram", makeUnit(2), OperatorMultiply, 0.004, 4, 0.25F},
    {"DividedBySquareCentimeter", makeUnit(141), OperatorDivide, 0.0002, 0.5F, 2},
    {"DividedByCubicCentimeter", makeUnit(144), OperatorDivide, 2e-6, 0.5F, 2},
    {"WithoutOperator", makeUnit(2), OperatorNone, 0.004, 1, 1},
    {"DividedByNothing", makeUnit(2), OperatorDivide, 0.0, 0, 0},
    {"TimesNothing", makeUnit(2), OperatorMultiply, 0.0, 0, 0},
    {"NegativeNothing", makeUnit(2), OperatorDivide, -0.0, 0, 0},
    {"Negative", makeUnit(4), OperatorDivide, -2.0, -0.5F, -2},
    {"AboveFloat", makeUnit(4), OperatorDivide, 1e300, 0, std::numeric_limits<float>::infinity()},
    {"Infinite", makeUnit(4), OperatorDivide, std::numeric_limits<double>::infinity(), 0,
     std::numeric_limits<float>::infinity()},
    {"ReciprocalAboveFloat", makeUnit(4), OperatorMultiply, 1e-45, 1e-45F,
     std::numeric_limits<float>::infinity()},
    {"CompositeAmount", makeUnit(40, 1, 23), OperatorDivide, 7200.0, 0.5F, 2},
};

struct NormalisedRow
{
    const char* label;
    UsualUnit unit;
    OptionalValue<double> amount;
    double fromUnit;
};

const NormalisedRow NORMALISED[] = {
    {"SpecificCapacity", makeUnit(41, 1, 23, 2, 2), 0.002, 7.2},
    {"SinglePart", makeUnit(41), 0.002, 1e-3},
    {"SinglePartAbsent", makeUnit(41), ABSENT, 1e-3},
    {"TwoParts", makeUnit(41, 2, 2), 0.002, 2e-3},
    {"TwoPartsAbsent", makeUnit(41, 2, 2), ABSENT, -1e-3},
    {"TwoPartsMultiplied", makeUnit(132, 1, 141), 0.0002, 0.5e-3},
    {"ThreePartsAbsent", makeUnit(41, 1, 23, 2, 2), ABSENT, -3.6},
    {"FourParts", makeUnit(41, 1, 23, 2, 71, 2, 2), 0.002, 7200},
    {"FourPartsDivisions", makeUnit(82, 2, 71, 2, 22, 2, 144), 2e-6, 2.0 / 60},
    {"SecondPartWithoutOperator", makeUnit(41, 0, 23), 0.002, 1e-3},
};

} // namespace

class MsvUnit : public ::testing::TestWithParam<MsvUnitRow>
{};

TEST_P(MsvUnit, IsRecognisedByItsLastUnit)
{
    EXPECT_EQ(Converter::isMsvUnit(GetParam().unit), GetParam().isMsv);
}

INSTANTIATE_TEST_SUITE_P(Units, MsvUnit, ::testing::ValuesIn(MSV_UNITS), RowLabel());

class MsvFactor : public ::testing::TestWithParam<FactorRow>
{};

TEST_P(MsvFactor, AppliesAndRemovesTheAmount)
{
    const FactorRow& row = GetParam();
    OptionalValue<double> amount = row.amount;
    EXPECT_FLOAT_EQ(Converter::getToMSVConversionFactor(row.unit, row.unitOperator, amount), row.to);
    EXPECT_FLOAT_EQ(Converter::getFromMSVConversionFactor(row.unit, row.unitOperator, amount), row.from);
    EXPECT_EQ(amount.exists, row.amount.exists);
    EXPECT_EQ(amount.value, row.amount.value);
}

INSTANTIATE_TEST_SUITE_P(Amounts, MsvFactor, ::testing::ValuesIn(FACTORS), RowLabel());

TEST(MsvFactorOfNan, IsNan)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(std::isnan(Converter::getToMSVConversionFactor(makeUnit(4), OperatorDivide, nan)));
    EXPECT_TRUE(std::isnan(Converter::getFromMSVConversionFactor(makeUnit(4), OperatorDivide, nan)));
}

class NormalisedUnit : public ::testing::TestWithParam<NormalisedRow>
{};

TEST_P(NormalisedUnit, ConvertsWithTheAmountInItsLastPart)
{
    const NormalisedRow& row = GetParam();
    EXPECT_FLOAT_EQ(Converter::getConversionFactorFromUnit(row.unit, row.amount),
                    static_cast<float>(row.fromUnit));
}

TEST_P(NormalisedUnit, ConvertsBackWithTheReciprocal)
{
    const NormalisedRow& row = GetParam();
    EXPECT_FLOAT_EQ(Converter::getConversionFactorToUnit(row.unit, row.amount),
                    static_cast<float>(1.0 / row.fromUnit));
}

INSTANTIATE_TEST_SUITE_P(Units, NormalisedUnit, ::testing::ValuesIn(NORMALISED), RowLabel());

TEST(NormalisedUnitUnknown, GivesOne)
{
    EXPECT_EQ(Converter::getConversionFactorFromUnit(UsualUnit(), 2.0), 1.0F);
    EXPECT_EQ(Converter::getConversionFactorToUnit(UnitNone, 2.0), 1.0F);
}
