#include "model/CellModel.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vx::cli {
namespace {

constexpr double KELVIN = 273.15;

} // namespace

// A layered oxide against graphite: a steep foot below 10 %, a plateau with two gentle waves and a rising
// upper half. The coefficients are chosen for that shape, from 2.64 V when empty to 4.26 V when full, so that
// the usual limits of 3.0 V and 4.2 V lie inside.
double openCircuitVoltage(double soc)
{
    const double foot = -0.75 * std::exp(-24.0 * soc);
    const double waves = 0.035 * std::tanh((soc - 0.22) / 0.06) + 0.03 * std::tanh((soc - 0.58) / 0.08);
    const double rise = 0.50 * soc + 0.18 * soc * soc * soc;
    return 3.515 + foot + waves + rise - 0.06 * (1.0 - soc);
}

double openCircuitVoltageSlope(double soc)
{
    constexpr double STEP = 1e-4;
    const double low = std::max(0.0, soc - STEP);
    const double high = std::min(1.0, soc + STEP);
    return (openCircuitVoltage(high) - openCircuitVoltage(low)) / (high - low);
}

CellModel::CellModel(const CellParameters& parameters, double soc, double step)
    : m_parameters(parameters), m_step(step), m_soc(soc), m_temperature(parameters.ambientTemperature)
{}

/// Resistances fall as the cell gets warmer.
double CellModel::resistanceFactor() const
{
    const double reference = m_parameters.referenceTemperature + KELVIN;
    return std::exp(m_parameters.activation * (1.0 / (m_temperature + KELVIN) - 1.0 / reference));
}

double CellModel::voltage() const
{
    return openCircuitVoltage(m_soc) + m_fastVoltage + m_slowVoltage +
           m_current * m_parameters.seriesResistance * resistanceFactor();
}

/// How far a resistor-capacitor pair gets within a step towards its final voltage, 0 to 1.
double CellModel::relaxedPart(double resistance, double capacitance) const
{
    return -std::expm1(-m_step / (resistance * resistanceFactor() * capacitance));
}

// The current whose voltage drops, as they are at the end of the step, add up to the voltage.
void CellModel::stepVoltage(double voltage)
{
    const double factor = resistanceFactor();
    const double fast = relaxedPart(m_parameters.fastResistance, m_parameters.fastCapacitance);
    const double slow = relaxedPart(m_parameters.slowResistance, m_parameters.slowCapacitance);
    const double left =
        voltage - openCircuitVoltage(m_soc) - m_fastVoltage * (1.0 - fast) - m_slowVoltage * (1.0 - slow);
    const double resistance = m_parameters.seriesResistance + m_parameters.fastResistance * fast +
                              m_parameters.slowResistance * slow;
    const double charging = m_step / m_parameters.capacity * openCircuitVoltageSlope(m_soc);
    stepCurrent(left / (resistance * factor + charging));
}

// Within a step the current is constant, for which a resistor-capacitor pair has an exact solution.
void CellModel::stepCurrent(double current)
{
    const double factor = resistanceFactor();
    const double fast = relaxedPart(m_parameters.fastResistance, m_parameters.fastCapacitance);
    const double slow = relaxedPart(m_parameters.slowResistance, m_parameters.slowCapacitance);
    m_fastVoltage += (current * m_parameters.fastResistance * factor - m_fastVoltage) * fast;
    m_slowVoltage += (current * m_parameters.slowResistance * factor - m_slowVoltage) * slow;
    m_current = current;
    m_soc = std::clamp(m_soc + current * m_step / m_parameters.capacity, 0.0, 1.0);

    // Heat comes from the resistors; what the capacitors take up is given back later.
    const double heat = (current * current * m_parameters.seriesResistance +
                         m_fastVoltage * m_fastVoltage / (m_parameters.fastResistance * factor * factor) +
                         m_slowVoltage * m_slowVoltage / (m_parameters.slowResistance * factor * factor)) *
                        factor;
    const double loss = (m_temperature - m_parameters.ambientTemperature) / m_parameters.thermalResistance;
    m_temperature += (heat - loss) * m_step / m_parameters.heatCapacity;
}

std::complex<double> impedance(const CellParameters& parameters, double frequency, double soc)
{
    const std::complex<double> jOmega(0.0, 2.0 * std::numbers::pi * frequency);
    const auto pair = [&jOmega](double resistance, double capacitance) {
        return resistance / (1.0 + jOmega * resistance * capacitance);
    };
    const double differentialCapacity = parameters.capacity / openCircuitVoltageSlope(soc);
    return parameters.seriesResistance + pair(parameters.fastResistance, parameters.fastCapacitance) +
           pair(parameters.slowResistance, parameters.slowCapacitance) +
           1.0 / (jOmega * differentialCapacity);
}

} // namespace vx::cli
