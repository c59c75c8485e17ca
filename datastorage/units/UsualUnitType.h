#pragma once

#include <cstdint>

namespace vx::datastorage {

/// An elementary unit, the building block of a UsualUnit.
///
/// The numbers are stored in documents and never change; gaps stay gaps, and not every decade is in
/// order of size (millihertz is 62, megahertz 63). Behind each enumerator: its symbol. Numbers above
/// UnitNone are real units.
enum UsualUnitType : std::int32_t
{
    UnitUnknown = 0,                    ///< no known unit; the answer of every look-up that finds nothing
    UnitNone = 1,                       ///< explicitly no unit
    UnitGram = 2,                       ///< g
    UnitMilligram = 3,                  ///< mg
    UnitKilogram = 4,                   ///< kg
    UnitMicrogram = 5,                  ///< µg
    UnitNanometer = 10,                 ///< nm
    UnitMicrometer = 11,                ///< µm
    UnitMillimeter = 12,                ///< mm
    UnitCentimeter = 13,                ///< cm
    UnitMeter = 14,                     ///< m
    UnitDecimeter = 15,                 ///< dm
    UnitSecond = 20,                    ///< s
    UnitMillisecond = 21,               ///< ms
    UnitMinute = 22,                    ///< min
    UnitHour = 23,                      ///< h
    UnitDay = 24,                       ///< day
    UnitMicrosecond = 25,               ///< µs
    UnitNanosecond = 26,                ///< ns
    UnitDegreeCelsius = 30,             ///< °C
    UnitAmpere = 40,                    ///< A
    UnitMilliampere = 41,               ///< mA
    UnitMicroampere = 42,               ///< µA
    UnitNanoampere = 43,                ///< nA
    UnitPicoampere = 44,                ///< pA
    UnitFemtoampere = 45,               ///< fA
    UnitMole = 50,                      ///< mol
    UnitHertz = 60,                     ///< Hz
    UnitKilohertz = 61,                 ///< kHz
    UnitMillihertz = 62,                ///< mHz
    UnitMegahertz = 63,                 ///< MHz
    UnitMicrohertz = 64,                ///< µHz
    UnitVolt = 70,                      ///< V
    UnitMillivolt = 71,                 ///< mV
    UnitMicrovolt = 72,                 ///< µV
    UnitCoulomb = 80,                   ///< C
    UnitKilocoulomb = 81,               ///< kC
    UnitMillicoulomb = 82,              ///< mC
    UnitMicrocoulomb = 83,              ///< µC
    UnitNanocoulomb = 89,               ///< nC
    UnitFarad = 90,                     ///< F
    UnitNanowatt = 100,                 ///< nW
    UnitMicrowatt = 101,                ///< µW
    UnitMilliwatt = 102,                ///< mW
    UnitWatt = 103,                     ///< W
    UnitNanojoule = 110,                ///< nJ
    UnitMicrojoule = 111,               ///< µJ
    UnitMillijoule = 112,               ///< mJ
    UnitJoule = 113,                    ///< J
    UnitKilojoule = 114,                ///< kJ
    UnitMegajoule = 122,                ///< MJ
    UnitOhm = 130,                      ///< Ω
    UnitMicroohm = 131,                 ///< µΩ
    UnitMilliohm = 132,                 ///< mΩ
    UnitKiloohm = 133,                  ///< kΩ
    UnitMegaohm = 134,                  ///< MΩ
    UnitReciprocalOhm = 135,            ///< Ω⁻¹
    UnitSquareMeter = 140,              ///< m²
    UnitSquareCentimeter = 141,         ///< cm²
    UnitSquareMillimeter = 142,         ///< mm²
    UnitCubicMeter = 143,               ///< m³
    UnitCubicCentimeter = 144,          ///< cm³
    UnitCubicMillimeter = 145,          ///< mm³
    UnitLiter = 146,                    ///< L
    UnitMilliliter = 147,               ///< mL
    UnitDimensionless = 150,            ///< -
    UnitPercent = 151,                  ///< %
    UnitDegree = 160,                   ///< deg
    UnitRadian = 161,                   ///< rad
    UnitHenry = 170,                    ///< H
    UnitSquareRootSecond = 180,         ///< s^1/2
    UnitSecondPowerAlphaMinusOne = 190, ///< s^(α - 1)
    UnitSquareDecimeter = 1043,         ///< dm²
    UnitSquareMicrometer = 1044,        ///< µm²
    UnitSquareNanometer = 1045,         ///< nm²
    UnitPicocoulomb = 1090,             ///< pC
};

/// How a unit is joined to the next one inside a UsualUnit. The numbers are stored in documents.
enum UsualUnitOperator : std::int32_t
{
    OperatorNone = 0,     ///< the composite ends here; printed as nothing
    OperatorMultiply = 1, ///< "MULTIPLY" or "."; printed as "."
    OperatorDivide = 2,   ///< "DIVIDE" or "/"; printed as "/"
};

/// The flat numbering of units in older documents, in which a compound such as ampere-hour was one
/// number.
///
/// It is only read, never written; UsualUnit::convertFromOldType() turns it into a composite. A number
/// of an elementary unit is the same in UsualUnitType; behind the others: the composite. 119 and 124
/// name the unit number 104, which has no symbol.
enum UsualUnitTypeOld : std::int32_t
{
    OldUnitUnknown = 0,                         ///< no known unit
    OldUnitNone = 1,                            ///< explicitly no unit
    OldUnitGram = 2,                            ///< g
    OldUnitMilligram = 3,                       ///< mg
    OldUnitKilogram = 4,                        ///< kg
    OldUnitMicrogram = 5,                       ///< µg
    OldUnitNanometer = 10,                      ///< nm
    OldUnitMicrometer = 11,                     ///< µm
    OldUnitMillimeter = 12,                     ///< mm
    OldUnitCentimeter = 13,                     ///< cm
    OldUnitMeter = 14,                          ///< m
    OldUnitDecimeter = 15,                      ///< dm
    OldUnitSecond = 20,                         ///< s
    OldUnitMillisecond = 21,                    ///< ms
    OldUnitMinute = 22,                         ///< min
    OldUnitHour = 23,                           ///< h
    OldUnitDay = 24,                            ///< day
    OldUnitMicrosecond = 25,                    ///< µs
    OldUnitNanosecond = 26,                     ///< ns
    OldUnitDegreeCelsius = 30,                  ///< °C
    OldUnitAmpere = 40,                         ///< A
    OldUnitMilliampere = 41,                    ///< mA
    OldUnitMicroampere = 42,                    ///< µA
    OldUnitNanoampere = 43,                     ///< nA
    OldUnitPicoampere = 44,                     ///< pA
    OldUnitFemtoampere = 45,                    ///< fA
    OldUnitMole = 50,                           ///< mol
    OldUnitHertz = 60,                          ///< Hz
    OldUnitKilohertz = 61,                      ///< kHz
    OldUnitMillihertz = 62,                     ///< mHz
    OldUnitMegahertz = 63,                      ///< MHz
    OldUnitMicrohertz = 64,                     ///< µHz
    OldUnitVolt = 70,                           ///< V
    OldUnitMillivolt = 71,                      ///< mV
    OldUnitMicrovolt = 72,                      ///< µV
    OldUnitCoulomb = 80,                        ///< C
    OldUnitKilocoulomb = 81,                    ///< kC
    OldUnitMillicoulomb = 82,                   ///< mC
    OldUnitMicrocoulomb = 83,                   ///< µC
    OldUnitMicroampereSecond = 84,              ///< µA.s
    OldUnitMilliampereSecond = 85,              ///< mA.s
    OldUnitAmpereSecond = 86,                   ///< A.s
    OldUnitMilliampereHour = 87,                ///< mA.h
    OldUnitAmpereHour = 88,                     ///< A.h
    OldUnitNanocoulomb = 89,                    ///< nC
    OldUnitFarad = 90,                          ///< F
    OldUnitNanowatt = 100,                      ///< nW
    OldUnitMicrowatt = 101,                     ///< µW
    OldUnitMilliwatt = 102,                     ///< mW
    OldUnitWatt = 103,                          ///< W
    OldUnitNanojoule = 110,                     ///< nJ
    OldUnitMicrojoule = 111,                    ///< µJ
    OldUnitMillijoule = 112,                    ///< mJ
    OldUnitJoule = 113,                         ///< J
    OldUnitKilojoule = 114,                     ///< kJ
    OldUnitNanowattSecond = 115,                ///< nW.s
    OldUnitMicrowattSecond = 116,               ///< µW.s
    OldUnitMilliwattSecond = 117,               ///< mW.s
    OldUnitWattSecond = 118,                    ///< W.s
    OldUnitNumber104Second = 119,               ///< (unit 104).s
    OldUnitMilliwattHour = 120,                 ///< mW.h
    OldUnitWattHour = 121,                      ///< W.h
    OldUnitMegajoule = 122,                     ///< MJ
    OldUnitMicrowattHour = 123,                 ///< µW.h
    OldUnitNumber104Hour = 124,                 ///< (unit 104).h
    OldUnitOhm = 130,                           ///< Ω
    OldUnitMicroohm = 131,                      ///< µΩ
    OldUnitMilliohm = 132,                      ///< mΩ
    OldUnitKiloohm = 133,                       ///< kΩ
    OldUnitMegaohm = 134,                       ///< MΩ
    OldUnitReciprocalOhm = 135,                 ///< Ω⁻¹
    OldUnitSquareMeter = 140,                   ///< m²
    OldUnitSquareCentimeter = 141,              ///< cm²
    OldUnitSquareMillimeter = 142,              ///< mm²
    OldUnitCubicMeter = 143,                    ///< m³
    OldUnitCubicCentimeter = 144,               ///< cm³
    OldUnitCubicMillimeter = 145,               ///< mm³
    OldUnitLiter = 146,                         ///< L
    OldUnitMilliliter = 147,                    ///< mL
    OldUnitDimensionless = 150,                 ///< -
    OldUnitPercent = 151,                       ///< %
    OldUnitDegree = 160,                        ///< deg
    OldUnitRadian = 161,                        ///< rad
    OldUnitHenry = 170,                         ///< H
    OldUnitHenrySecondPowerAlphaMinusOne = 171, ///< H.s^(α - 1)
    OldUnitFaradSecondPowerAlphaMinusOne = 180, ///< F.s^(α - 1)
    OldUnitOhmPerSecond = 190,                  ///< Ω/s
    OldUnitSquareCentimeterPerSecond = 191,     ///< cm²/s
    OldUnitGramPerMole = 200,                   ///< g/mol
    OldUnitAmpereHourPerSquareMeter = 210,      ///< A.h/m²
    OldUnitMilliampereHourPerSquareMeter = 211, ///< mA.h/m²
    OldUnitAmpereHourPerGram = 220,             ///< A.h/g
    OldUnitMilliampereHourPerGram = 221,        ///< mA.h/g
    OldUnitAmperePerSecond = 240,               ///< A/s
    OldUnitMilliamperePerSecond = 241,          ///< mA/s
    OldUnitMicroamperePerSecond = 242,          ///< µA/s
    OldUnitMilliamperePerHour = 243,            ///< mA/h
    OldUnitAmperePerMinute = 244,               ///< A/min
    OldUnitVoltPerSecond = 250,                 ///< V/s
    OldUnitMillivoltPerSecond = 251,            ///< mV/s
    OldUnitMicrovoltPerSecond = 252,            ///< µV/s
    OldUnitVoltPerHour = 253,                   ///< V/h
    OldUnitMillivoltPerMinute = 254,            ///< mV/min
    OldUnitMillivoltPerHour = 255,              ///< mV/h
    OldUnitMicrovoltPerHour = 256,              ///< µV/h
    OldUnitWattPerKilogram = 300,               ///< W/kg
    OldUnitWattPerGram = 301,                   ///< W/g
    OldUnitWattPerCubicCentimeter = 310,        ///< W/cm³
    OldUnitJoulePerKilogram = 320,              ///< J/kg
    OldUnitJoulePerGram = 321,                  ///< J/g
    OldUnitWattHourPerKilogram = 323,           ///< W.h/kg
    OldUnitWattHourPerGram = 324,               ///< W.h/g
    OldUnitJoulePerCubicCentimeter = 330,       ///< J/cm³
    OldUnitWattHourPerCubicCentimeter = 331,    ///< W.h/cm³
    OldUnitAmpereHourPerVolt = 340,             ///< A.h/V
    OldUnitSquareDecimeter = 1043,              ///< dm²
    OldUnitSquareMicrometer = 1044,             ///< µm²
    OldUnitSquareNanometer = 1045,              ///< nm²
    OldUnitPicocoulomb = 1090,                  ///< pC
    OldUnitFemtoampereHour = 1091,              ///< fA.h
    OldUnitPicoampereHour = 1092,               ///< pA.h
    OldUnitNanoampereHour = 1093,               ///< nA.h
    OldUnitMicroampereHour = 1094,              ///< µA.h
};

} // namespace vx::datastorage
