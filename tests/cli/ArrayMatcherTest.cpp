#include "heading/ArrayMatcher.h"
#include "config/DeclaredArrays.h"
#include "support/Printers.h"
#include "support/RowLabel.h"

#include <datastorage/units/Converter.h>

#include <gtest/gtest.h>

namespace {

using vx::cli::ArrayMatcher;
using vx::cli::DeclaredArrays;
using vx::cli::Heading;

struct MatchRow
{
    const char* label;
    const char* heading;
    const char* declared; ///< empty: none fits
    const char* name;     ///< of the array
};

constexpr MatchRow MATCHES[] = {
    {"SameName", "Voltage [V]", "Voltage", "Voltage"},
    {"OtherCase", "VOLTAGE [mV]", "Voltage", "VOLTAGE"},
    {"Numbered", "Temperature 1 / °C", "Temperature", "Temperature 1"},
    {"NumberedWithoutBlank", "Temperature12 / °C", "Temperature", "Temperature12"},
    {"FirstWord", "TempBottom [C]", "Temperature", "TempBottom"},
    {"LastWord", "ambient_temperature_celsius", "Temperature", "ambient_temperature"},
    {"TestTime", "Test Time / ms", "Time", "Test Time"},
    {"UnixTime", "unix_time_second", "Time", "unix_time"},
    {"StepTimeIsATime", "Step Time / s", "Time", "Step Time"},
    {"AmpereHoursOfAStep", "AhStep [Ah]", "Charge", "AhStep"},
    {"Capacity", "Capacity [mAh]", "Charge", "Capacity"},
    {"ChargingCapacity", "charging_capacity_ah", "Charge", "charging_capacity"},
    {"ChargeCurrentIsACurrent", "Charge Current [A]", "Current", "Charge Current"},
    {"ChargeEnergyIsAnEnergy", "Charge Energy [Wh]", "Energy", "Charge Energy"},
    {"CoulombCharge", "Q [C]", "Charge", "Q"},
    {"DischargingEnergy", "discharging_energy_wh", "Energy", "discharging_energy"},
    {"StepCount", "Step Count / 1", "Step", "Step Count"},
    {"StepIndex", "step_index", "Step", "step_index"},
    {"CycleCount", "cycle_count", "Cycle", "cycle_count"},
    {"Cycle", "Cycle [-]", "Cycle", "Cycle"},
    {"StateOfCharge", "SOC [%]", "State of charge", "SOC"},
    {"StateOfChargeInWords", "State of charge [%]", "State of charge", "State of charge"},
    {"StateOfChargeIsNoCharge", "state_of_charge", "State of charge", "state_of_charge"},
    {"SymbolTime", "t", "Time", "t"},
    {"SymbolPotential", "E", "Voltage", "E"},
    {"SymbolCurrent", "I", "Current", "I"},
    {"SymbolTemperature", "T", "Temperature", "T"},
    {"SymbolWithUnitBehindUnderscore", "I_mA", "Current", "I"},
    {"PotentialOfAnElectrode", "Ewe/V", "Voltage", "Ewe"},
    {"Frequency", "Frequency/Hz", "Frequency", "Frequency"},
    {"RealPart", "Re(Z)/Ω", "Re(Z)", "Re(Z)"},
    {"RealPartPrimed", "Z' [Ohm]", "Re(Z)", "Z'"},
    {"ImaginaryPart", "Im(Z) / mΩ", "Im(Z)", "Im(Z)"},
    {"NegativeImaginaryPart", "-Im(Z)/Ω", "-Im(Z)", "-Im(Z)"},
    {"NegativeImaginaryPartPrimed", "-Z'' [Ohm]", "-Im(Z)", "-Z''"},
    {"ImaginaryPartPrimed", "Z'' [Ohm]", "Im(Z)", "Z''"},
    {"Modulus", "|Z| / Ω", "|Z|", "|Z|"},
    {"Phase", "Phase / deg", "Phase", "Phase"},
    {"CRateWithoutBlank", "CRate [-]", "C rate", "CRate"},
    {"UnknownName", "Foo [-]", "", "Foo"},
    {"UnknownNameWithUnit", "Foo [mA]", "", "Foo"},
    {"UnknownUnit", "Temperature [K]", "", "Temperature"},
    {"UnitOfAnotherQuantity", "Voltage [A]", "", "Voltage"},
    {"NormalisedCharge", "Capacity [mAh/g]", "", "Capacity"},
    {"Derivative", "dV_dsoc", "", "dV_dsoc"},
    {"OtherDerivative", "dsoc_dV", "", "dsoc_dV"},
    {"SmallSymbolOfTemperature", "t [°C]", "", "t"},
    {"Empty", "", "", ""},
};

class ArrayMatch : public ::testing::TestWithParam<MatchRow>
{
protected:
    void SetUp() override
    {
        vx::datastorage::Converter::init();
        vx::cli::InputError error;
        ASSERT_TRUE(m_declared.read(VXDATA_SOURCE_DIR "/data/default-data-configuration.json", error))
            << vx::cli::formatError(error).toStdString();
    }

    DeclaredArrays m_declared;
};

TEST_P(ArrayMatch, FindsTheDeclaredArray)
{
    const MatchRow& row = GetParam();
    Heading heading = vx::cli::readHeading(QString::fromUtf8(row.heading));
    const auto* declared = ArrayMatcher(m_declared.arrays()).match(heading);
    EXPECT_EQ(declared == nullptr ? QString() : declared->getName(), QString::fromUtf8(row.declared));
    EXPECT_EQ(heading.name, QString::fromUtf8(row.name));
}

INSTANTIATE_TEST_SUITE_P(Headings, ArrayMatch, ::testing::ValuesIn(MATCHES), RowLabel());

TEST(NameCloseness, PrefersTheSameTextOverTheSameMeaning)
{
    const int same = vx::cli::nameCloseness("voltage", "Voltage");
    const int divided = vx::cli::nameCloseness("cell_voltage 2", "Cell Voltage");
    const int meaning = vx::cli::nameCloseness("Potential", "Voltage");
    const int anyWord = vx::cli::nameCloseness("VoltageTop", "Voltage");
    EXPECT_GT(same, divided);
    EXPECT_GT(divided, meaning);
    EXPECT_GT(meaning, anyWord);
    EXPECT_GT(anyWord, 0);
    EXPECT_EQ(vx::cli::nameCloseness("Humidity", "Voltage"), 0);
}

TEST(NameCloseness, MatchesWordsWithoutSynonyms)
{
    EXPECT_GT(vx::cli::nameCloseness("Humidity sensor 2", "Humidity"), 0);
    EXPECT_GT(vx::cli::nameCloseness("Room Humidity", "Humidity"), 0);
}

} // namespace
