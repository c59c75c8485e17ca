#pragma once

#include <complex>

namespace vx::cli {

/// The parameters of a lithium-ion cell as an equivalent circuit: a voltage source that depends on the
/// state of charge, a series resistance and two resistor-capacitor pairs, with one thermal mass.
struct CellParameters
{
    double capacity = 5.0 * 3600.0;     ///< C, between empty and full
    double seriesResistance = 0.018;    ///< Ω, at the reference temperature
    double fastResistance = 0.012;      ///< Ω, charge transfer
    double fastCapacitance = 40.0;      ///< F, double layer: a time constant of 0.5 s
    double slowResistance = 0.015;      ///< Ω, diffusion
    double slowCapacitance = 40000.0;   ///< F: a time constant of 600 s
    double activation = 2400.0;         ///< K, of all resistances (Arrhenius)
    double referenceTemperature = 25.0; ///< °C
    double ambientTemperature = 25.0;   ///< °C
    double heatCapacity = 75.0;         ///< J/K
    double thermalResistance = 6.0;     ///< K/W, from the cell to the ambient
};

/// Open-circuit voltage in V.
/// @param soc  state of charge from 0 (empty) to 1 (full)
double openCircuitVoltage(double soc);

/// Slope of the open-circuit voltage in V per unit of the state of charge.
double openCircuitVoltageSlope(double soc);

/// A cell that is stepped through time. Currents are positive on charge.
class CellModel
{
public:
    /// A cell at rest and at ambient temperature.
    /// @param step  length of a time step in s
    CellModel(const CellParameters& parameters, double soc, double step);

    /// One time step at a constant current, in A.
    void stepCurrent(double current);

    /// One time step at a constant terminal voltage, in V.
    void stepVoltage(double voltage);

    double voltage() const;                      ///< V, at the terminals, under the current of the last step
    double current() const { return m_current; } ///< A, of the last step
    double temperature() const { return m_temperature; } ///< °C
    double soc() const { return m_soc; }                 ///< 0 to 1

private:
    double resistanceFactor() const;
    double relaxedPart(double resistance, double capacitance) const;

    CellParameters m_parameters;
    double m_step;
    double m_soc;
    double m_current = 0;
    double m_fastVoltage = 0;
    double m_slowVoltage = 0;
    double m_temperature;
};

/// The small-signal impedance of the cell at rest, in Ω: the same resistances and capacitances as in time,
/// in series with the differential capacity of the open-circuit voltage.
/// @param frequency  Hz, above 0
/// @param soc        state of charge from 0 to 1
std::complex<double> impedance(const CellParameters& parameters, double frequency, double soc);

} // namespace vx::cli
