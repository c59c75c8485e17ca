#include "heading/Heading.h"
#include "heading/UnitText.h"
#include "support/Printers.h"
#include "support/RowLabel.h"

#include <datastorage/units/Converter.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using vx::cli::Heading;
using vx::cli::readHeading;

struct HeadingRow
{
    const char* label;
    const char* text;
    const char* name;
    const char* unit; ///< printed; null when the heading has none, "?" when it has an unknown one
};

constexpr HeadingRow HEADINGS[] = {
    {"Brackets", "Voltage [V]", "Voltage", "V"},
    {"BracketsWithoutBlank", "Voltage[mV]", "Voltage", "mV"},
    {"BracketsComposite", "Capacity [mA.h/g]", "Capacity", "mA.h/g"},
    {"BracketsAmpereHours", "AhStep [Ah]", "AhStep", "A.h"},
    {"BracketsDimensionless", "CRate [-]", "CRate", "-"},
    {"BracketsPercent", "SOC [%]", "SOC", "%"},
    {"BracketsEmpty", "Cycle []", "Cycle", "-"},
    {"BracketsUnknown", "Pressure [bar]", "Pressure", "?"},
    {"DegreesInBrackets", "TempBottom [C]", "TempBottom", "°C"},
    {"DegreesOfASymbol", "T1 [C]", "T1", "°C"},
    {"DegreesOfASmallWord", "cell temperature [C]", "cell temperature", "°C"},
    {"CoulombInBrackets", "Charge [C]", "Charge", "C"},
    {"CoulombOfASymbol", "Q [C]", "Q", "C"},
    {"CoulombOfAWordWithT", "Throughput [C]", "Throughput", "C"},
    {"Slash", "Current / mA", "Current", "mA"},
    {"SlashDimensionless", "Step Count / 1", "Step Count", "1"},
    {"SlashDegree", "Temperature 1 / °C", "Temperature 1", "°C"},
    {"SlashUnknown", "Pressure / bar", "Pressure", "?"},
    {"SlashComposite", "Capacity / mAh/g", "Capacity", "mA.h/g"},
    {"SlashWithoutBlanks", "Frequency/Hz", "Frequency", "Hz"},
    {"SlashBehindParentheses", "Re(Z)/Ω", "Re(Z)", "Ω"},
    {"SlashBehindMinus", "-Im(Z)/Ω", "-Im(Z)", "Ω"},
    {"SlashCompositeWithoutBlanks", "Q/mA.h/g", "Q", "mA.h/g"},
    {"SlashInAName", "dQ/dU", "dQ/dU", nullptr},
    {"Parentheses", "Voltage (V)", "Voltage", "V"},
    {"ParenthesesOfAName", "Re(Z)", "Re(Z)", nullptr},
    {"Word", "voltage_volt", "voltage", "V"},
    {"WordSecond", "test_time_second", "test_time", "s"},
    {"WordPlural", "run time hours", "run time", "h"},
    {"WordAmpereHour", "charging_capacity_ah", "charging_capacity", "A.h"},
    {"WordWattHour", "discharging_energy_wh", "discharging_energy", "W.h"},
    {"TwoWords", "capacity_ampere_hour", "capacity", "A.h"},
    {"WordCelsius", "ambient_temperature_celsius", "ambient_temperature", "°C"},
    {"TwoWordsCelsius", "temperature_degree_celsius", "temperature_degree", "°C"},
    {"WordMilliampere", "current_milliampere", "current", "mA"},
    {"UnderscoreSymbol", "I_mA", "I", "mA"},
    {"UnderscorePercent", "soc_%", "soc", "%"},
    {"UnderscoreCount", "cycle_count", "cycle_count", nullptr},
    {"UnderscoreIndex", "step_index", "step_index", nullptr},
    {"UnderscoreOther", "dV_dsoc", "dV_dsoc", nullptr},
    {"UnitWordAlone", "second", "second", nullptr},
    {"Bare", "t", "t", nullptr},
    {"BlanksAround", "  Voltage   [V]  ", "Voltage", "V"},
    {"Empty", "", "", nullptr},
};

class HeadingText : public ::testing::TestWithParam<HeadingRow>
{
protected:
    void SetUp() override { vx::datastorage::Converter::init(); }
};

TEST_P(HeadingText, IsTakenApart)
{
    const HeadingRow& row = GetParam();
    const Heading heading = readHeading(QString::fromUtf8(row.text));
    EXPECT_EQ(heading.text, QString::fromUtf8(row.text));
    EXPECT_EQ(heading.name, QString::fromUtf8(row.name));
    ASSERT_EQ(heading.hasUnit, row.unit != nullptr);
    if (row.unit == nullptr) {
        EXPECT_TRUE(heading.unit.isUnknown());
        return;
    }
    const std::string unit = row.unit;
    EXPECT_EQ(heading.unit.isUnknown(), unit == "?");
    if (unit != "?") {
        EXPECT_EQ(vx::cli::unitText(heading.unit), QString::fromStdString(unit == "1" ? "-" : unit));
    }
}

INSTANTIATE_TEST_SUITE_P(Headings, HeadingText, ::testing::ValuesIn(HEADINGS), RowLabel());

TEST(HeadingWords, AreDividedAtCaseDigitsAndSigns)
{
    EXPECT_EQ(vx::cli::wordsOf("TempBottom 2"), (QStringList{"temp", "bottom", "2"}));
    EXPECT_EQ(vx::cli::wordsOf("AhStep"), (QStringList{"ah", "step"}));
    EXPECT_EQ(vx::cli::wordsOf("CRate"), (QStringList{"c", "rate"}));
    EXPECT_EQ(vx::cli::wordsOf("SOC"), (QStringList{"soc"}));
    EXPECT_EQ(vx::cli::wordsOf("charging_capacity-ah"), (QStringList{"charging", "capacity", "ah"}));
    EXPECT_EQ(vx::cli::wordsOf("|Z|"), (QStringList{"z"}));
    EXPECT_TRUE(vx::cli::wordsOf(" / ").isEmpty());
}

} // namespace
