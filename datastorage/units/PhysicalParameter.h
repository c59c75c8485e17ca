#pragma once

#include <cstdint>

namespace vx::datastorage {

/// The quantity that the samples of a data array measure.
///
/// The numbers 0 to 67 are stored in documents and configuration files and never change. Behind each
/// enumerator: its display name (Converter::castPhysicalParameterAsString()) and, in brackets, its
/// main unit (Converter::getMainUnit()), in which samples are stored.
enum PhysicalParameter : std::int32_t
{
    ParameterUnknown = 0,           ///< no known quantity; the answer of every look-up that finds nothing
    ParameterNone = 1,              ///< explicitly no quantity
    ParameterMass = 2,              ///< Mass [kg]
    ParameterLength = 3,            ///< Length [m]
    ParameterTime = 4,              ///< Time [s]
    ParameterTemperature = 5,       ///< Temperature [°C]
    ParameterElectricCurrent = 6,   ///< Electric Current [A]
    ParameterAmountOfSubstance = 7, ///< Amount of substance [mol]
    ParameterFrequency = 8,         ///< Frequency [Hz]
    ParameterVoltage = 9,           ///< Voltage [V]
    ParameterElectricCharge = 10,   ///< Electric charge [C]
    ParameterCapacitance = 11,      ///< Capacitance [F]
    ParameterPower = 12,            ///< Power [W]
    ParameterEnergy = 13,           ///< Energy [J]
    ParameterResistance = 14,       ///< Resistance [Ω]
    ParameterAdmittance = 15,       ///< Admittance [Ω⁻¹]
    ParameterArea = 16,             ///< Area [m²]
    ParameterVolume = 17,           ///< Volume [m³]
    ParameterRatio = 18,            ///< Ratio [-]
    ParameterAngle = 19,            ///< Angle [rad]
    ParameterInductance = 20,       ///< Inductance [H]
    ParameterCpe = 21,              ///< CPE [F.s^(α - 1)]
    ParameterWarburg = 22,          ///< Warburg [Ω/s]
    ParameterMolecularWeight = 23,  ///< Molecular Weight [g/mol]
    ParameterSurfaceAreaElectricCharge = 24,      ///< Surface Area Electric Charge [A.h/m²]
    ParameterMassElectricCharge = 25,             ///< Mass Electric Charge [A.h/g]
    ParameterElectricCurrentTimeRatio = 26,       ///< Electric Current/Time ratio [A/s]
    ParameterVoltageTimeRatio = 27,               ///< Voltage/Time ratio [V/s]
    ParameterSpecificPower = 28,                  ///< Specific Power [W/g]
    ParameterPowerDensity = 29,                   ///< Power Density [W/cm³]
    ParameterSpecificEnergy = 30,                 ///< Specific Energy [J/g]
    ParameterEnergyDensity = 31,                  ///< Energy Density [J/cm³]
    ParameterKinematicViscosity = 32,             ///< Kinematic Viscosity [cm²/s]
    ParameterModifiedInductance = 33,             ///< Modified Inductance [H.s^(α - 1)]
    ParameterDqDu = 34,                           ///< dQ/dU [C/V]
    ParameterSquareRootTime = 35,                 ///< Sqrt Time [s^1/2]
    ParameterTimePowerAlphaMinusOne = 36,         ///< Time power alpha-1 [s^(α - 1)]
    ParameterMassElectricCurrent = 37,            ///< Mass Electric Current [A/g]
    ParameterSurfaceAreaElectricCurrent = 38,     ///< Surface Area Electric Current [A/cm²]
    ParameterVolumeElectricCurrent = 39,          ///< Volume Electric Current [A/cm³]
    ParameterMassAmountOfSubstance = 40,          ///< Mass Amount of substance [mol/g]
    ParameterSurfaceAreaAmountOfSubstance = 41,   ///< Surface Area Amount of substance [mol/cm²]
    ParameterVolumeAmountOfSubstance = 42,        ///< Volume Amount of substance [mol/cm³]
    ParameterVolumeElectricCharge = 43,           ///< Volume Electric Charge [C/cm³]
    ParameterMassPower = 44,                      ///< Mass Power [W/g]
    ParameterSurfaceAreaPower = 45,               ///< Surface Area Power [W/cm²]
    ParameterVolumePower = 46,                    ///< Volume Power [W/cm³]
    ParameterMassEnergy = 47,                     ///< Mass Energy [J/g]
    ParameterSurfaceAreaEnergy = 48,              ///< Surface Area Energy [J/cm²]
    ParameterVolumeEnergy = 49,                   ///< Volume Energy [J/cm³]
    ParameterMassCapacitance = 50,                ///< Mass Capacitance [F/g]
    ParameterSurfaceAreaCapacitance = 51,         ///< Surface Area Capacitance [F/cm²]
    ParameterVolumeCapacitance = 52,              ///< Volume Capacitance [F/cm³]
    ParameterMassResistance = 53,                 ///< Mass Resistance [Ω.g]
    ParameterSurfaceAreaResistance = 54,          ///< Surface Area Resistance [Ω.cm²]
    ParameterVolumeResistance = 55,               ///< Volume Resistance [Ω.cm³]
    ParameterMassInductance = 56,                 ///< Mass Inductance [H/g]
    ParameterSurfaceAreaInductance = 57,          ///< Surface Area Inductance [H/cm²]
    ParameterVolumeInductance = 58,               ///< Volume Inductance [H/cm³]
    ParameterMassAdmittance = 59,                 ///< Mass Admittance [Ω⁻¹/g]
    ParameterSurfaceAreaAdmittance = 60,          ///< Surface Area Admittance [Ω⁻¹/cm²]
    ParameterVolumeAdmittance = 61,               ///< Volume Admittance [Ω⁻¹/cm³]
    ParameterCapacityTimePowerAlphaMinusOne = 62, ///< Capacity Time Power alpha-1 [F.s^(α - 1)]
    ParameterResistanceTime = 63,                 ///< Resistance Time [Ω/s]
    ParameterTemperatureTime = 64,                ///< Temperature Time [°C/s]
    ParameterMassDqDu = 65,                       ///< Mass dQ_dU [C/V/g]
    ParameterSurfaceDqDu = 66,                    ///< Surface dQ_dU [C/V/cm²]
    ParameterVolumeDqDu = 67,                     ///< Volume dQ_dU [C/V/cm³]
};

} // namespace vx::datastorage
