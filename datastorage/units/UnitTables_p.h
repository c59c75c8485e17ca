#pragma once

#include <datastorage/units/PhysicalParameter.h>
#include <datastorage/units/UsualUnitType.h>

#include <QtCore/QStringView>

#include <array>
#include <cstddef>
#include <cstdint>

namespace vx::datastorage {

/// An elementary unit with its symbol and the unit in which the factors of its quantity are expressed.
struct UnitRow
{
    UsualUnitType unit;
    QStringView symbol;
    UsualUnitType mainUnit;
};

/// Every elementary unit, in the order of the quantities.
inline constexpr std::array UNITS{
    UnitRow{UnitUnknown, u"Unknown", UnitUnknown},
    UnitRow{UnitNone, u"None", UnitNone},
    UnitRow{UnitGram, u"g", UnitKilogram},
    UnitRow{UnitMilligram, u"mg", UnitKilogram},
    UnitRow{UnitKilogram, u"kg", UnitKilogram},
    UnitRow{UnitMicrogram, u"µg", UnitKilogram},
    UnitRow{UnitNanometer, u"nm", UnitMeter},
    UnitRow{UnitMicrometer, u"µm", UnitMeter},
    UnitRow{UnitMillimeter, u"mm", UnitMeter},
    UnitRow{UnitCentimeter, u"cm", UnitMeter},
    UnitRow{UnitMeter, u"m", UnitMeter},
    UnitRow{UnitDecimeter, u"dm", UnitMeter},
    UnitRow{UnitSecond, u"s", UnitSecond},
    UnitRow{UnitMillisecond, u"ms", UnitSecond},
    UnitRow{UnitMinute, u"min", UnitSecond},
    UnitRow{UnitHour, u"h", UnitSecond},
    UnitRow{UnitDay, u"day", UnitSecond},
    UnitRow{UnitMicrosecond, u"µs", UnitSecond},
    UnitRow{UnitNanosecond, u"ns", UnitSecond},
    UnitRow{UnitDegreeCelsius, u"°C", UnitDegreeCelsius},
    UnitRow{UnitAmpere, u"A", UnitAmpere},
    UnitRow{UnitMilliampere, u"mA", UnitAmpere},
    UnitRow{UnitMicroampere, u"µA", UnitAmpere},
    UnitRow{UnitNanoampere, u"nA", UnitAmpere},
    UnitRow{UnitPicoampere, u"pA", UnitAmpere},
    UnitRow{UnitFemtoampere, u"fA", UnitAmpere},
    UnitRow{UnitMole, u"mol", UnitMole},
    UnitRow{UnitHertz, u"Hz", UnitHertz},
    UnitRow{UnitKilohertz, u"kHz", UnitHertz},
    UnitRow{UnitMillihertz, u"mHz", UnitHertz},
    UnitRow{UnitMegahertz, u"MHz", UnitHertz},
    UnitRow{UnitMicrohertz, u"µHz", UnitHertz},
    UnitRow{UnitVolt, u"V", UnitVolt},
    UnitRow{UnitMillivolt, u"mV", UnitVolt},
    UnitRow{UnitMicrovolt, u"µV", UnitVolt},
    UnitRow{UnitCoulomb, u"C", UnitCoulomb},
    UnitRow{UnitKilocoulomb, u"kC", UnitCoulomb},
    UnitRow{UnitMillicoulomb, u"mC", UnitCoulomb},
    UnitRow{UnitMicrocoulomb, u"µC", UnitCoulomb},
    UnitRow{UnitNanocoulomb, u"nC", UnitCoulomb},
    UnitRow{UnitPicocoulomb, u"pC", UnitCoulomb},
    UnitRow{UnitFarad, u"F", UnitFarad},
    UnitRow{UnitNanowatt, u"nW", UnitWatt},
    UnitRow{UnitMicrowatt, u"µW", UnitWatt},
    UnitRow{UnitMilliwatt, u"mW", UnitWatt},
    UnitRow{UnitWatt, u"W", UnitWatt},
    UnitRow{UnitNanojoule, u"nJ", UnitJoule},
    UnitRow{UnitMicrojoule, u"µJ", UnitJoule},
    UnitRow{UnitMillijoule, u"mJ", UnitJoule},
    UnitRow{UnitJoule, u"J", UnitJoule},
    UnitRow{UnitKilojoule, u"kJ", UnitJoule},
    UnitRow{UnitMegajoule, u"MJ", UnitJoule},
    UnitRow{UnitOhm, u"Ω", UnitOhm},
    UnitRow{UnitMicroohm, u"µΩ", UnitOhm},
    UnitRow{UnitMilliohm, u"mΩ", UnitOhm},
    UnitRow{UnitKiloohm, u"kΩ", UnitOhm},
    UnitRow{UnitMegaohm, u"MΩ", UnitOhm},
    UnitRow{UnitReciprocalOhm, u"Ω⁻¹", UnitReciprocalOhm},
    UnitRow{UnitSquareMeter, u"m²", UnitSquareMeter},
    UnitRow{UnitSquareCentimeter, u"cm²", UnitSquareMeter},
    UnitRow{UnitSquareMillimeter, u"mm²", UnitSquareMeter},
    UnitRow{UnitSquareDecimeter, u"dm²", UnitSquareMeter},
    UnitRow{UnitSquareMicrometer, u"µm²", UnitSquareMeter},
    UnitRow{UnitSquareNanometer, u"nm²", UnitSquareMeter},
    UnitRow{UnitCubicMeter, u"m³", UnitCubicMeter},
    UnitRow{UnitCubicCentimeter, u"cm³", UnitCubicMeter},
    UnitRow{UnitCubicMillimeter, u"mm³", UnitCubicMeter},
    UnitRow{UnitLiter, u"L", UnitCubicMeter},
    UnitRow{UnitMilliliter, u"mL", UnitCubicMeter},
    UnitRow{UnitDimensionless, u"-", UnitDimensionless},
    UnitRow{UnitPercent, u"%", UnitDimensionless},
    UnitRow{UnitDegree, u"deg", UnitRadian},
    UnitRow{UnitRadian, u"rad", UnitRadian},
    UnitRow{UnitHenry, u"H", UnitHenry},
    UnitRow{UnitSquareRootSecond, u"s^1/2", UnitSquareRootSecond},
    UnitRow{UnitSecondPowerAlphaMinusOne, u"s^(α - 1)", UnitSecondPowerAlphaMinusOne},
};

/// The factor from a parameter's main unit to a unit: a value in the main unit times `factor` is the value
/// in `unit`.
struct FactorRow
{
    PhysicalParameter parameter;
    UsualUnitType unit;
    float factor;
};

/// The factors of the elementary parameters; each unit belongs to one of them. Factors of composite
/// parameters are computed from these. The square micrometre and the square nanometre deliberately do not
/// carry the squares of their linear factors (1e12, 1e18): converted documents depend on the values here.
inline constexpr std::array FACTORS{
    FactorRow{ParameterMass, UnitKilogram, 1.0F},
    FactorRow{ParameterMass, UnitGram, 1000.0F},
    FactorRow{ParameterMass, UnitMilligram, 1e6F},
    FactorRow{ParameterMass, UnitMicrogram, 1e9F},
    FactorRow{ParameterLength, UnitMeter, 1.0F},
    FactorRow{ParameterLength, UnitDecimeter, 10.0F},
    FactorRow{ParameterLength, UnitCentimeter, 100.0F},
    FactorRow{ParameterLength, UnitMillimeter, 1000.0F},
    FactorRow{ParameterLength, UnitMicrometer, 1e6F},
    FactorRow{ParameterLength, UnitNanometer, 1e9F},
    FactorRow{ParameterTime, UnitSecond, 1.0F},
    FactorRow{ParameterTime, UnitMillisecond, 1000.0F},
    FactorRow{ParameterTime, UnitMicrosecond, 1e6F},
    FactorRow{ParameterTime, UnitNanosecond, 1e9F},
    FactorRow{ParameterTime, UnitMinute, 1.0F / 60.0F},
    FactorRow{ParameterTime, UnitHour, 1.0F / 3600.0F},
    FactorRow{ParameterTime, UnitDay, 1.0F / 86400.0F},
    FactorRow{ParameterTemperature, UnitDegreeCelsius, 1.0F},
    FactorRow{ParameterElectricCurrent, UnitAmpere, 1.0F},
    FactorRow{ParameterElectricCurrent, UnitMilliampere, 1000.0F},
    FactorRow{ParameterElectricCurrent, UnitMicroampere, 1e6F},
    FactorRow{ParameterElectricCurrent, UnitNanoampere, 1e9F},
    FactorRow{ParameterElectricCurrent, UnitPicoampere, 1e12F},
    FactorRow{ParameterElectricCurrent, UnitFemtoampere, 1e15F},
    FactorRow{ParameterAmountOfSubstance, UnitMole, 1.0F},
    FactorRow{ParameterFrequency, UnitHertz, 1.0F},
    FactorRow{ParameterFrequency, UnitKilohertz, 1e-3F},
    FactorRow{ParameterFrequency, UnitMegahertz, 1e-6F},
    FactorRow{ParameterFrequency, UnitMillihertz, 1000.0F},
    FactorRow{ParameterFrequency, UnitMicrohertz, 1e6F},
    FactorRow{ParameterVoltage, UnitVolt, 1.0F},
    FactorRow{ParameterVoltage, UnitMillivolt, 1000.0F},
    FactorRow{ParameterVoltage, UnitMicrovolt, 1e6F},
    FactorRow{ParameterElectricCharge, UnitCoulomb, 1.0F},
    FactorRow{ParameterElectricCharge, UnitKilocoulomb, 1e-3F},
    FactorRow{ParameterElectricCharge, UnitMillicoulomb, 1000.0F},
    FactorRow{ParameterElectricCharge, UnitMicrocoulomb, 1e6F},
    FactorRow{ParameterElectricCharge, UnitNanocoulomb, 1e9F},
    FactorRow{ParameterElectricCharge, UnitPicocoulomb, 1e12F},
    FactorRow{ParameterCapacitance, UnitFarad, 1.0F},
    FactorRow{ParameterPower, UnitWatt, 1.0F},
    FactorRow{ParameterPower, UnitMilliwatt, 1000.0F},
    FactorRow{ParameterPower, UnitMicrowatt, 1e6F},
    FactorRow{ParameterPower, UnitNanowatt, 1e9F},
    FactorRow{ParameterEnergy, UnitJoule, 1.0F},
    FactorRow{ParameterEnergy, UnitKilojoule, 1e-3F},
    FactorRow{ParameterEnergy, UnitMegajoule, 1e-6F},
    FactorRow{ParameterEnergy, UnitMillijoule, 1000.0F},
    FactorRow{ParameterEnergy, UnitMicrojoule, 1e6F},
    FactorRow{ParameterEnergy, UnitNanojoule, 1e9F},
    FactorRow{ParameterResistance, UnitOhm, 1.0F},
    FactorRow{ParameterResistance, UnitKiloohm, 1e-3F},
    FactorRow{ParameterResistance, UnitMegaohm, 1e-6F},
    FactorRow{ParameterResistance, UnitMilliohm, 1000.0F},
    FactorRow{ParameterResistance, UnitMicroohm, 1e6F},
    FactorRow{ParameterAdmittance, UnitReciprocalOhm, 1.0F},
    FactorRow{ParameterArea, UnitSquareMeter, 1.0F},
    FactorRow{ParameterArea, UnitSquareDecimeter, 100.0F},
    FactorRow{ParameterArea, UnitSquareCentimeter, 1e4F},
    FactorRow{ParameterArea, UnitSquareMillimeter, 1e6F},
    FactorRow{ParameterArea, UnitSquareMicrometer, 1e8F},
    FactorRow{ParameterArea, UnitSquareNanometer, 1e10F},
    FactorRow{ParameterVolume, UnitCubicMeter, 1.0F},
    FactorRow{ParameterVolume, UnitLiter, 1000.0F},
    FactorRow{ParameterVolume, UnitCubicCentimeter, 1e6F},
    FactorRow{ParameterVolume, UnitMilliliter, 1e6F},
    FactorRow{ParameterVolume, UnitCubicMillimeter, 1e9F},
    FactorRow{ParameterRatio, UnitDimensionless, 1.0F},
    FactorRow{ParameterRatio, UnitPercent, 100.0F},
    FactorRow{ParameterAngle, UnitRadian, 1.0F},
    FactorRow{ParameterAngle, UnitDegree, 57.29578F},
    FactorRow{ParameterInductance, UnitHenry, 1.0F},
    FactorRow{ParameterSquareRootTime, UnitSquareRootSecond, 1.0F},
    FactorRow{ParameterTimePowerAlphaMinusOne, UnitSecondPowerAlphaMinusOne, 1.0F},
};

/// The place of each unit number in UNITS, for a look-up by number in one step; NO_UNIT_ROW for a number
/// that names no unit.
inline constexpr std::uint8_t NO_UNIT_ROW = 0xFF;
inline constexpr auto UNIT_ROW_OF_NUMBER = [] {
    std::array<std::uint8_t, UnitPicocoulomb + 1> rows{};
    rows.fill(NO_UNIT_ROW);
    for (std::size_t row = 0; row < UNITS.size(); ++row)
        rows[static_cast<std::size_t>(UNITS[row].unit)] = static_cast<std::uint8_t>(row);
    return rows;
}();

/// The place in FACTORS for each row of UNITS, NO_UNIT_ROW for a unit without factors.
inline constexpr auto FACTOR_ROW_OF_UNIT_ROW = [] {
    std::array<std::uint8_t, UNITS.size()> rows{};
    rows.fill(NO_UNIT_ROW);
    for (std::size_t row = 0; row < FACTORS.size(); ++row)
        rows[UNIT_ROW_OF_NUMBER[static_cast<std::size_t>(FACTORS[row].unit)]] =
            static_cast<std::uint8_t>(row);
    return rows;
}();

/// The place of `unit` in UNITS; NO_UNIT_ROW for a number that names no unit.
[[nodiscard]] constexpr std::uint8_t placeOfUnit(UsualUnitType unit)
{
    const auto number = static_cast<std::uint32_t>(unit);
    return number < UNIT_ROW_OF_NUMBER.size() ? UNIT_ROW_OF_NUMBER[number] : NO_UNIT_ROW;
}

/// The place of `unit` in FACTORS; NO_UNIT_ROW for a unit without factors, such as UnitNone.
[[nodiscard]] constexpr std::uint8_t placeOfFactor(UsualUnitType unit)
{
    const std::uint8_t place = placeOfUnit(unit);
    return place == NO_UNIT_ROW ? NO_UNIT_ROW : FACTOR_ROW_OF_UNIT_ROW[place];
}

/// The row of `unit`; null for a number that names no unit.
[[nodiscard]] constexpr const UnitRow* findUnitRow(UsualUnitType unit)
{
    const std::uint8_t place = placeOfUnit(unit);
    return place == NO_UNIT_ROW ? nullptr : &UNITS[place];
}

/// The factor row of `unit`; null for a unit without factors.
[[nodiscard]] constexpr const FactorRow* findFactorRow(UsualUnitType unit)
{
    const std::uint8_t place = placeOfFactor(unit);
    return place == NO_UNIT_ROW ? nullptr : &FACTORS[place];
}

} // namespace vx::datastorage
