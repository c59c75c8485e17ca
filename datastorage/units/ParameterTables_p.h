#pragma once

#include <datastorage/units/Converter.h>
#include <datastorage/units/UnitTables_p.h>

#include <QtCore/QStringView>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace vx::datastorage {

/// A physical parameter with its display name and the unit in which its samples are stored.
struct ParameterRow
{
    PhysicalParameter parameter;
    QStringView name;
    UsualUnit mainUnit;
};

/// Every physical parameter; the number of a parameter is its place.
inline constexpr std::array PARAMETERS{
    ParameterRow{ParameterUnknown, u"Unknown", UsualUnit(UnitUnknown)},
    ParameterRow{ParameterNone, u"None", UsualUnit(UnitNone)},
    ParameterRow{ParameterMass, u"Mass", UsualUnit(UnitKilogram)},
    ParameterRow{ParameterLength, u"Length", UsualUnit(UnitMeter)},
    ParameterRow{ParameterTime, u"Time", UsualUnit(UnitSecond)},
    ParameterRow{ParameterTemperature, u"Temperature", UsualUnit(UnitDegreeCelsius)},
    ParameterRow{ParameterElectricCurrent, u"Electric Current", UsualUnit(UnitAmpere)},
    ParameterRow{ParameterAmountOfSubstance, u"Amount of substance", UsualUnit(UnitMole)},
    ParameterRow{ParameterFrequency, u"Frequency", UsualUnit(UnitHertz)},
    ParameterRow{ParameterVoltage, u"Voltage", UsualUnit(UnitVolt)},
    ParameterRow{ParameterElectricCharge, u"Electric charge", UsualUnit(UnitCoulomb)},
    ParameterRow{ParameterCapacitance, u"Capacitance", UsualUnit(UnitFarad)},
    ParameterRow{ParameterPower, u"Power", UsualUnit(UnitWatt)},
    ParameterRow{ParameterEnergy, u"Energy", UsualUnit(UnitJoule)},
    ParameterRow{ParameterResistance, u"Resistance", UsualUnit(UnitOhm)},
    ParameterRow{ParameterAdmittance, u"Admittance", UsualUnit(UnitReciprocalOhm)},
    ParameterRow{ParameterArea, u"Area", UsualUnit(UnitSquareMeter)},
    ParameterRow{ParameterVolume, u"Volume", UsualUnit(UnitCubicMeter)},
    ParameterRow{ParameterRatio, u"Ratio", UsualUnit(UnitDimensionless)},
    ParameterRow{ParameterAngle, u"Angle", UsualUnit(UnitRadian)},
    ParameterRow{ParameterInductance, u"Inductance", UsualUnit(UnitHenry)},
    ParameterRow{ParameterCpe, u"CPE", UsualUnit(UnitFarad, OperatorMultiply, UnitSecondPowerAlphaMinusOne)},
    ParameterRow{ParameterWarburg, u"Warburg", UsualUnit(UnitOhm, OperatorDivide, UnitSecond)},
    ParameterRow{ParameterMolecularWeight, u"Molecular Weight",
                 UsualUnit(UnitGram, OperatorDivide, UnitMole)},
    ParameterRow{ParameterSurfaceAreaElectricCharge, u"Surface Area Electric Charge",
                 UsualUnit(UnitAmpere, OperatorMultiply, UnitHour, OperatorDivide, UnitSquareMeter)},
    ParameterRow{ParameterMassElectricCharge, u"Mass Electric Charge",
                 UsualUnit(UnitAmpere, OperatorMultiply, UnitHour, OperatorDivide, UnitGram)},
    ParameterRow{ParameterElectricCurrentTimeRatio, u"Electric Current/Time ratio",
                 UsualUnit(UnitAmpere, OperatorDivide, UnitSecond)},
    ParameterRow{ParameterVoltageTimeRatio, u"Voltage/Time ratio",
                 UsualUnit(UnitVolt, OperatorDivide, UnitSecond)},
    ParameterRow{ParameterSpecificPower, u"Specific Power", UsualUnit(UnitWatt, OperatorDivide, UnitGram)},
    ParameterRow{ParameterPowerDensity, u"Power Density",
                 UsualUnit(UnitWatt, OperatorDivide, UnitCubicCentimeter)},
    ParameterRow{ParameterSpecificEnergy, u"Specific Energy", UsualUnit(UnitJoule, OperatorDivide, UnitGram)},
    ParameterRow{ParameterEnergyDensity, u"Energy Density",
                 UsualUnit(UnitJoule, OperatorDivide, UnitCubicCentimeter)},
    ParameterRow{ParameterKinematicViscosity, u"Kinematic Viscosity",
                 UsualUnit(UnitSquareCentimeter, OperatorDivide, UnitSecond)},
    ParameterRow{ParameterModifiedInductance, u"Modified Inductance",
                 UsualUnit(UnitHenry, OperatorMultiply, UnitSecondPowerAlphaMinusOne)},
    ParameterRow{ParameterDqDu, u"dQ/dU", UsualUnit(UnitCoulomb, OperatorDivide, UnitVolt)},
    ParameterRow{ParameterSquareRootTime, u"Sqrt Time", UsualUnit(UnitSquareRootSecond)},
    ParameterRow{ParameterTimePowerAlphaMinusOne, u"Time power alpha-1",
                 UsualUnit(UnitSecondPowerAlphaMinusOne)},
    ParameterRow{ParameterMassElectricCurrent, u"Mass Electric Current",
                 UsualUnit(UnitAmpere, OperatorDivide, UnitGram)},
    ParameterRow{ParameterSurfaceAreaElectricCurrent, u"Surface Area Electric Current",
                 UsualUnit(UnitAmpere, OperatorDivide, UnitSquareCentimeter)},
    ParameterRow{ParameterVolumeElectricCurrent, u"Volume Electric Current",
                 UsualUnit(UnitAmpere, OperatorDivide, UnitCubicCentimeter)},
    ParameterRow{ParameterMassAmountOfSubstance, u"Mass Amount of substance",
                 UsualUnit(UnitMole, OperatorDivide, UnitGram)},
    ParameterRow{ParameterSurfaceAreaAmountOfSubstance, u"Surface Area Amount of substance",
                 UsualUnit(UnitMole, OperatorDivide, UnitSquareCentimeter)},
    ParameterRow{ParameterVolumeAmountOfSubstance, u"Volume Amount of substance",
                 UsualUnit(UnitMole, OperatorDivide, UnitCubicCentimeter)},
    ParameterRow{ParameterVolumeElectricCharge, u"Volume Electric Charge",
                 UsualUnit(UnitCoulomb, OperatorDivide, UnitCubicCentimeter)},
    ParameterRow{ParameterMassPower, u"Mass Power", UsualUnit(UnitWatt, OperatorDivide, UnitGram)},
    ParameterRow{ParameterSurfaceAreaPower, u"Surface Area Power",
                 UsualUnit(UnitWatt, OperatorDivide, UnitSquareCentimeter)},
    ParameterRow{ParameterVolumePower, u"Volume Power",
                 UsualUnit(UnitWatt, OperatorDivide, UnitCubicCentimeter)},
    ParameterRow{ParameterMassEnergy, u"Mass Energy", UsualUnit(UnitJoule, OperatorDivide, UnitGram)},
    ParameterRow{ParameterSurfaceAreaEnergy, u"Surface Area Energy",
                 UsualUnit(UnitJoule, OperatorDivide, UnitSquareCentimeter)},
    ParameterRow{ParameterVolumeEnergy, u"Volume Energy",
                 UsualUnit(UnitJoule, OperatorDivide, UnitCubicCentimeter)},
    ParameterRow{ParameterMassCapacitance, u"Mass Capacitance",
                 UsualUnit(UnitFarad, OperatorDivide, UnitGram)},
    ParameterRow{ParameterSurfaceAreaCapacitance, u"Surface Area Capacitance",
                 UsualUnit(UnitFarad, OperatorDivide, UnitSquareCentimeter)},
    ParameterRow{ParameterVolumeCapacitance, u"Volume Capacitance",
                 UsualUnit(UnitFarad, OperatorDivide, UnitCubicCentimeter)},
    ParameterRow{ParameterMassResistance, u"Mass Resistance", UsualUnit(UnitOhm, OperatorMultiply, UnitGram)},
    ParameterRow{ParameterSurfaceAreaResistance, u"Surface Area Resistance",
                 UsualUnit(UnitOhm, OperatorMultiply, UnitSquareCentimeter)},
    ParameterRow{ParameterVolumeResistance, u"Volume Resistance",
                 UsualUnit(UnitOhm, OperatorMultiply, UnitCubicCentimeter)},
    ParameterRow{ParameterMassInductance, u"Mass Inductance", UsualUnit(UnitHenry, OperatorDivide, UnitGram)},
    ParameterRow{ParameterSurfaceAreaInductance, u"Surface Area Inductance",
                 UsualUnit(UnitHenry, OperatorDivide, UnitSquareCentimeter)},
    ParameterRow{ParameterVolumeInductance, u"Volume Inductance",
                 UsualUnit(UnitHenry, OperatorDivide, UnitCubicCentimeter)},
    ParameterRow{ParameterMassAdmittance, u"Mass Admittance",
                 UsualUnit(UnitReciprocalOhm, OperatorDivide, UnitGram)},
    ParameterRow{ParameterSurfaceAreaAdmittance, u"Surface Area Admittance",
                 UsualUnit(UnitReciprocalOhm, OperatorDivide, UnitSquareCentimeter)},
    ParameterRow{ParameterVolumeAdmittance, u"Volume Admittance",
                 UsualUnit(UnitReciprocalOhm, OperatorDivide, UnitCubicCentimeter)},
    ParameterRow{ParameterCapacityTimePowerAlphaMinusOne, u"Capacity Time Power alpha-1",
                 UsualUnit(UnitFarad, OperatorMultiply, UnitSecondPowerAlphaMinusOne)},
    ParameterRow{ParameterResistanceTime, u"Resistance Time", UsualUnit(UnitOhm, OperatorDivide, UnitSecond)},
    ParameterRow{ParameterTemperatureTime, u"Temperature Time",
                 UsualUnit(UnitDegreeCelsius, OperatorDivide, UnitSecond)},
    ParameterRow{ParameterMassDqDu, u"Mass dQ_dU",
                 UsualUnit(UnitCoulomb, OperatorDivide, UnitVolt, OperatorDivide, UnitGram)},
    ParameterRow{ParameterSurfaceDqDu, u"Surface dQ_dU",
                 UsualUnit(UnitCoulomb, OperatorDivide, UnitVolt, OperatorDivide, UnitSquareCentimeter)},
    ParameterRow{ParameterVolumeDqDu, u"Volume dQ_dU",
                 UsualUnit(UnitCoulomb, OperatorDivide, UnitVolt, OperatorDivide, UnitCubicCentimeter)},
};

/// A composite parameter and one of its decompositions into simpler ones.
struct DecompositionRow
{
    PhysicalParameter parameter;
    SubPhysicalParameters parts;
};

/// A row of DECOMPOSITIONS; the parts after the last one are 0.
constexpr DecompositionRow decompose(PhysicalParameter parameter, PhysicalParameter part1,
                                     UsualUnitOperator unitOperator, PhysicalParameter part2,
                                     UsualUnitOperator unitOperator2 = OperatorNone,
                                     PhysicalParameter part3 = ParameterUnknown,
                                     UsualUnitOperator unitOperator3 = OperatorNone,
                                     PhysicalParameter part4 = ParameterUnknown)
{
    return {parameter, {part1, unitOperator, part2, unitOperator2, part3, unitOperator3, part4}};
}

/// The decompositions in ascending order of the composite parameter. Where a parameter has several, the
/// order is the one in which they are tried and offered.
inline constexpr std::array DECOMPOSITIONS{
    decompose(ParameterElectricCharge, ParameterElectricCurrent, OperatorMultiply, ParameterTime),
    decompose(ParameterEnergy, ParameterPower, OperatorMultiply, ParameterTime),
    decompose(ParameterCpe, ParameterCapacitance, OperatorMultiply, ParameterTimePowerAlphaMinusOne),
    decompose(ParameterWarburg, ParameterResistance, OperatorMultiply, ParameterSquareRootTime),
    decompose(ParameterMolecularWeight, ParameterMass, OperatorDivide, ParameterAmountOfSubstance),
    decompose(ParameterSurfaceAreaElectricCharge, ParameterElectricCurrent, OperatorMultiply, ParameterTime,
              OperatorDivide, ParameterArea),
    decompose(ParameterSurfaceAreaElectricCharge, ParameterElectricCharge, OperatorDivide, ParameterArea),
    decompose(ParameterMassElectricCharge, ParameterElectricCurrent, OperatorMultiply, ParameterTime,
              OperatorDivide, ParameterMass),
    decompose(ParameterMassElectricCharge, ParameterElectricCharge, OperatorDivide, ParameterMass),
    decompose(ParameterElectricCurrentTimeRatio, ParameterElectricCurrent, OperatorDivide, ParameterTime),
    decompose(ParameterVoltageTimeRatio, ParameterVoltage, OperatorDivide, ParameterTime),
    decompose(ParameterSpecificPower, ParameterPower, OperatorDivide, ParameterMass),
    decompose(ParameterPowerDensity, ParameterPower, OperatorDivide, ParameterVolume),
    decompose(ParameterSpecificEnergy, ParameterEnergy, OperatorDivide, ParameterMass),
    decompose(ParameterSpecificEnergy, ParameterPower, OperatorMultiply, ParameterTime, OperatorDivide,
              ParameterMass),
    decompose(ParameterEnergyDensity, ParameterEnergy, OperatorDivide, ParameterVolume),
    decompose(ParameterEnergyDensity, ParameterPower, OperatorMultiply, ParameterTime, OperatorDivide,
              ParameterVolume),
    decompose(ParameterKinematicViscosity, ParameterArea, OperatorDivide, ParameterTime),
    decompose(ParameterModifiedInductance, ParameterInductance, OperatorDivide,
              ParameterTimePowerAlphaMinusOne),
    decompose(ParameterDqDu, ParameterElectricCurrent, OperatorMultiply, ParameterTime, OperatorDivide,
              ParameterVoltage),
    decompose(ParameterDqDu, ParameterElectricCharge, OperatorDivide, ParameterVoltage),
    decompose(ParameterMassElectricCurrent, ParameterElectricCurrent, OperatorDivide, ParameterMass),
    decompose(ParameterSurfaceAreaElectricCurrent, ParameterElectricCurrent, OperatorDivide, ParameterArea),
    decompose(ParameterVolumeElectricCurrent, ParameterElectricCurrent, OperatorDivide, ParameterVolume),
    decompose(ParameterMassAmountOfSubstance, ParameterAmountOfSubstance, OperatorDivide, ParameterMass),
    decompose(ParameterSurfaceAreaAmountOfSubstance, ParameterAmountOfSubstance, OperatorDivide,
              ParameterArea),
    decompose(ParameterVolumeAmountOfSubstance, ParameterAmountOfSubstance, OperatorDivide, ParameterVolume),
    decompose(ParameterVolumeElectricCharge, ParameterElectricCharge, OperatorDivide, ParameterVolume),
    decompose(ParameterVolumeElectricCharge, ParameterElectricCurrent, OperatorMultiply, ParameterTime,
              OperatorDivide, ParameterVolume),
    decompose(ParameterMassPower, ParameterPower, OperatorDivide, ParameterMass),
    decompose(ParameterSurfaceAreaPower, ParameterPower, OperatorDivide, ParameterArea),
    decompose(ParameterVolumePower, ParameterPower, OperatorDivide, ParameterVolume),
    decompose(ParameterMassEnergy, ParameterEnergy, OperatorDivide, ParameterMass),
    decompose(ParameterMassEnergy, ParameterPower, OperatorMultiply, ParameterTime, OperatorDivide,
              ParameterMass),
    decompose(ParameterSurfaceAreaEnergy, ParameterEnergy, OperatorDivide, ParameterArea),
    decompose(ParameterSurfaceAreaEnergy, ParameterPower, OperatorMultiply, ParameterTime, OperatorDivide,
              ParameterArea),
    decompose(ParameterVolumeEnergy, ParameterEnergy, OperatorDivide, ParameterVolume),
    decompose(ParameterVolumeEnergy, ParameterPower, OperatorMultiply, ParameterTime, OperatorDivide,
              ParameterVolume),
    decompose(ParameterMassCapacitance, ParameterCapacitance, OperatorDivide, ParameterMass),
    decompose(ParameterSurfaceAreaCapacitance, ParameterCapacitance, OperatorDivide, ParameterArea),
    decompose(ParameterVolumeCapacitance, ParameterCapacitance, OperatorDivide, ParameterVolume),
    decompose(ParameterMassResistance, ParameterResistance, OperatorMultiply, ParameterMass),
    decompose(ParameterSurfaceAreaResistance, ParameterResistance, OperatorMultiply, ParameterArea),
    decompose(ParameterVolumeResistance, ParameterResistance, OperatorMultiply, ParameterVolume),
    decompose(ParameterMassInductance, ParameterInductance, OperatorDivide, ParameterMass),
    decompose(ParameterSurfaceAreaInductance, ParameterInductance, OperatorDivide, ParameterArea),
    decompose(ParameterVolumeInductance, ParameterInductance, OperatorDivide, ParameterVolume),
    decompose(ParameterMassAdmittance, ParameterAdmittance, OperatorDivide, ParameterMass),
    decompose(ParameterSurfaceAreaAdmittance, ParameterAdmittance, OperatorDivide, ParameterArea),
    decompose(ParameterVolumeAdmittance, ParameterAdmittance, OperatorDivide, ParameterVolume),
    decompose(ParameterCapacityTimePowerAlphaMinusOne, ParameterCapacitance, OperatorMultiply,
              ParameterTimePowerAlphaMinusOne),
    decompose(ParameterResistanceTime, ParameterResistance, OperatorDivide, ParameterTime),
    decompose(ParameterTemperatureTime, ParameterTemperature, OperatorDivide, ParameterTime),
    decompose(ParameterMassDqDu, ParameterElectricCurrent, OperatorMultiply, ParameterTime, OperatorDivide,
              ParameterVoltage, OperatorDivide, ParameterMass),
    decompose(ParameterSurfaceDqDu, ParameterElectricCurrent, OperatorMultiply, ParameterTime, OperatorDivide,
              ParameterVoltage, OperatorDivide, ParameterArea),
    decompose(ParameterVolumeDqDu, ParameterElectricCurrent, OperatorMultiply, ParameterTime, OperatorDivide,
              ParameterVoltage, OperatorDivide, ParameterVolume),
};

/// The elementary parameter of each row of UNITS: the one whose main unit is the main unit of the row.
inline constexpr auto PARAMETER_OF_UNIT_ROW = [] {
    std::array<PhysicalParameter, UNITS.size()> parameters{};
    for (std::size_t row = 0; row < UNITS.size(); ++row) {
        for (const ParameterRow& parameter : PARAMETERS) {
            if (parameter.mainUnit == UsualUnit(UNITS[row].mainUnit))
                parameters[row] = parameter.parameter;
        }
    }
    return parameters;
}();

/// The parameter that `unit` measures; ParameterUnknown for a number that names no unit.
[[nodiscard]] constexpr PhysicalParameter parameterOfUnit(UsualUnitType unit)
{
    const std::uint8_t place = placeOfUnit(unit);
    return place == NO_UNIT_ROW ? ParameterUnknown : PARAMETER_OF_UNIT_ROW[place];
}

// The parameter of a factor is the one that the unit measures, so the unit alone finds its factor.
static_assert(std::ranges::all_of(FACTORS, [](const FactorRow& row) {
    return parameterOfUnit(row.unit) == row.parameter;
}));

/// The row of `parameter`; null for a number that names no parameter.
[[nodiscard]] constexpr const ParameterRow* findParameterRow(PhysicalParameter parameter)
{
    const auto number = static_cast<std::uint32_t>(parameter);
    return number < PARAMETERS.size() ? &PARAMETERS[number] : nullptr;
}

/// The rows of DECOMPOSITIONS of one parameter.
[[nodiscard]] constexpr std::span<const DecompositionRow> decompositionsOf(PhysicalParameter parameter)
{
    const auto* first = std::ranges::lower_bound(DECOMPOSITIONS, parameter, std::ranges::less{},
                                                 &DecompositionRow::parameter);
    const auto* last = std::ranges::upper_bound(DECOMPOSITIONS, parameter, std::ranges::less{},
                                                &DecompositionRow::parameter);
    return {first, last};
}

[[nodiscard]] constexpr std::array<PhysicalParameter, 4> parametersOf(const SubPhysicalParameters& parts)
{
    return {std::get<0>(parts), std::get<2>(parts), std::get<4>(parts), std::get<6>(parts)};
}

[[nodiscard]] constexpr std::array<UsualUnitOperator, 3> operatorsOf(const SubPhysicalParameters& parts)
{
    return {std::get<1>(parts), std::get<3>(parts), std::get<5>(parts)};
}

/// The parameters that the four units of `unit` measure, whatever its operators; ParameterUnknown for a
/// unit field that is 0.
[[nodiscard]] constexpr std::array<PhysicalParameter, 4> parametersOfUnits(const UsualUnit& unit)
{
    return {parameterOfUnit(unit.getUnit1()), parameterOfUnit(unit.getUnit2()),
            parameterOfUnit(unit.getUnit3()), parameterOfUnit(unit.getUnit4())};
}

} // namespace vx::datastorage
