#include "heading/UnitText.h"
#include "support/Printers.h"
#include "support/RowLabel.h"

#include <datastorage/units/Converter.h>

#include <gtest/gtest.h>

namespace {

using vx::cli::isUnitOf;
using vx::cli::readUnit;
using vx::cli::unitText;
using namespace vx::datastorage;

struct UnitRow
{
    const char* label;
    const char* text;
    const char* unit; ///< printed; "Unknown" when it is none
};

constexpr UnitRow UNITS[] = {
    {"Library", "mA.h/g", "mA.h/g"},
    {"AmpereHour", "Ah", "A.h"},
    {"MilliampereHourPerGram", "mAh/g", "mA.h/g"},
    {"AmpereHourPerKilogram", "A.h/kg", "A.h/kg"},
    {"MiddleDot", "A·h", "A.h"},
    {"Asterisk", "A*h", "A.h"},
    {"WattHour", "Wh", "W.h"},
    {"OhmSign", "\u2126", "Ω"},
    {"OhmWord", "Ohm", "Ω"},
    {"MilliohmWord", "mOhm", "mΩ"},
    {"GreekMu", "\u03BCA", "µA"},
    {"LatinU", "uA", "µA"},
    {"DegreeC", "degC", "°C"},
    {"Degree", "deg", "deg"},
    {"DegreeSign", "°", "deg"},
    {"Percent", "%", "%"},
    {"PercentWord", "percent", "%"},
    {"SquareCentimetre", "mA/cm2", "mA/cm²"},
    {"SquareCentimetreCaret", "mA/cm^2", "mA/cm²"},
    {"Siemens", "S", "Ω⁻¹"},
    {"Word", "milliampere", "mA"},
    {"WordPlural", "Hours", "h"},
    {"WordComposite", "ampere.hour", "A.h"},
    {"Seconds", "sec", "s"},
    {"SquareRoot", "s^1/2", "s^1/2"},
    {"One", "1", "-"},
    {"Dash", "-", "-"},
    {"Empty", "", "-"},
    {"None", "none", "-"},
    {"Unknown", "furlong", "Unknown"},
    {"UnknownWord", "Unknown", "Unknown"},
    {"UnknownPart", "mA.furlong", "Unknown"},
    {"Separators", "./", "Unknown"},
};

class UnitReading : public ::testing::TestWithParam<UnitRow>
{
protected:
    void SetUp() override { Converter::init(); }
};

TEST_P(UnitReading, FindsTheUnit)
{
    EXPECT_EQ(unitText(readUnit(QString::fromUtf8(GetParam().text))), QString::fromUtf8(GetParam().unit));
}

INSTANTIATE_TEST_SUITE_P(Texts, UnitReading, ::testing::ValuesIn(UNITS), RowLabel());

TEST(UnitReading, TakesEveryPrintedUnitBack)
{
    Converter::init();
    int units = 0;
    for (int number = ParameterNone + 1; number <= ParameterVolumeDqDu; ++number) {
        for (const UsualUnit& unit : Converter::getAvailableUnits(static_cast<PhysicalParameter>(number))) {
            SCOPED_TRACE(unitText(unit).toStdString());
            EXPECT_TRUE(readUnit(unitText(unit)) == unit);
            ++units;
        }
    }
    EXPECT_GT(units, 76);
}

TEST(UnitWord, TakesWordsOnly)
{
    Converter::init();
    EXPECT_EQ(unitText(vx::cli::readUnitWord("second")), "s");
    EXPECT_EQ(unitText(vx::cli::readUnitWord("Wh")), "W.h");
    EXPECT_TRUE(vx::cli::readUnitWord("V").isUnknown());
    EXPECT_TRUE(vx::cli::readUnitWord("count").isUnknown());
}

TEST(UnitOfParameter, ComparesTheMeasuredQuantity)
{
    Converter::init();
    EXPECT_TRUE(isUnitOf(readUnit("mA"), ParameterElectricCurrent));
    EXPECT_TRUE(isUnitOf(readUnit("Ah"), ParameterElectricCharge));
    EXPECT_TRUE(isUnitOf(readUnit("C"), ParameterElectricCharge));
    EXPECT_TRUE(isUnitOf(readUnit("Wh"), ParameterEnergy));
    EXPECT_TRUE(isUnitOf(readUnit("mAh/g"), ParameterMassElectricCharge));
    EXPECT_TRUE(isUnitOf(readUnit("%"), ParameterRatio));
    EXPECT_FALSE(isUnitOf(readUnit("A"), ParameterElectricCharge));
    EXPECT_FALSE(isUnitOf(readUnit("A/h"), ParameterElectricCharge));
    EXPECT_FALSE(isUnitOf(readUnit("mAh/g"), ParameterElectricCharge));
    EXPECT_FALSE(isUnitOf(UsualUnit(), ParameterElectricCharge));
    EXPECT_FALSE(isUnitOf(UsualUnit(), ParameterUnknown));
}

struct FactorRow
{
    const char* label;
    PhysicalParameter parameter;
    const char* unit;
    double toMain;
};

constexpr FactorRow FACTORS[] = {
    {"Second", ParameterTime, "s", 1},
    {"Millisecond", ParameterTime, "ms", 1.0 / 1000.0},
    {"Hour", ParameterTime, "h", 3600},
    {"Day", ParameterTime, "day", 86400},
    {"AmpereHour", ParameterElectricCharge, "A.h", 3600},
    {"MilliampereHour", ParameterElectricCharge, "mA.h", 3.6},
    {"MilliampereHourPerKilogram", ParameterMassElectricCharge, "mA.h/kg", 1e-6},
    {"WattPerSquareMetre", ParameterSurfaceAreaPower, "W/m²", 1e-4},
    {"SquareMicrometre", ParameterArea, "µm²", 1e-8}, // as the library has it
    {"Degree", ParameterAngle, "deg", 0.017453293},
    {"WattHour", ParameterEnergy, "W.h", 3600},
    {"Percent", ParameterRatio, "%", 0.01},
    {"Kilohertz", ParameterFrequency, "kHz", 1000},
};

class Factor : public ::testing::TestWithParam<FactorRow>
{};

TEST_P(Factor, IsThatOfTheUnit)
{
    Converter::init();
    const FactorRow& row = GetParam();
    const vx::cli::UnitFactors factors =
        vx::cli::unitFactors(row.parameter, readUnit(QString::fromUtf8(row.unit)));
    const double floatPrecision = 1.2e-7;
    EXPECT_NEAR(factors.toMain, row.toMain, row.toMain * floatPrecision);
    EXPECT_NEAR(factors.toMain * factors.fromMain, 1.0, floatPrecision);
}

INSTANTIATE_TEST_SUITE_P(Units, Factor, ::testing::ValuesIn(FACTORS), RowLabel());

TEST(Factor, IsExactWhereItIsAWholeNumber)
{
    Converter::init();
    EXPECT_EQ(vx::cli::unitFactors(ParameterElectricCharge, readUnit("A.h")).toMain, 3600.0);
    EXPECT_EQ(vx::cli::unitFactors(ParameterElectricCharge, readUnit("A.h")).fromMain, 1.0 / 3600.0);
    EXPECT_EQ(vx::cli::unitFactors(ParameterTime, readUnit("ms")).toMain, 1.0 / 1000.0);
    EXPECT_EQ(vx::cli::unitFactors(ParameterElectricCharge, readUnit("mA.h")).toMain, 3.6);
}

} // namespace
