#pragma once

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

/// The row of `unit`; null for a number that names no unit.
[[nodiscard]] constexpr const UnitRow* findUnitRow(UsualUnitType unit)
{
    const auto number = static_cast<std::uint32_t>(unit);
    if (number >= UNIT_ROW_OF_NUMBER.size())
        return nullptr;
    const std::uint8_t row = UNIT_ROW_OF_NUMBER[number];
    return row == NO_UNIT_ROW ? nullptr : &UNITS[row];
}

} // namespace vx::datastorage
