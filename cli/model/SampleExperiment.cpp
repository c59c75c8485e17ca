#include "model/SampleExperiment.h"

namespace vx::cli {
namespace {

constexpr double LOWER_VOLTAGE = 3.0;
constexpr double UPPER_VOLTAGE = 4.2;
constexpr double DISCHARGE_RATE = 1.0 / 3.0; // of the capacity, per hour
constexpr double CHARGE_RATE = 1.0 / 4.0;
constexpr double END_RATE = 1.0 / 20.0;
constexpr double REST_SECONDS = 5400.0;
constexpr double INITIAL_SOC = 0.94; // at rest just below the upper voltage
constexpr double SECONDS_PER_HOUR = 3600.0;

enum ExperimentStep
{
    Discharge = 1,
    RestAfterDischarge = 2,
    ConstantCurrent = 3,
    ConstantVoltage = 4,
    RestAfterCharge = 5
};

} // namespace

SampleExperiment::SampleExperiment(const CellParameters& parameters, int cycles)
    : m_cell(parameters, INITIAL_SOC, STEP),
      m_capacityAmpereHours(parameters.capacity / SECONDS_PER_HOUR),
      m_cycles(cycles)
{}

bool SampleExperiment::next(ExperimentRow& row)
{
    if (m_row > 0 && stepIsOver()) {
        m_rowsInStep = 0;
        m_step = m_step == RestAfterCharge ? Discharge : m_step + 1;
        m_cycle += static_cast<int>(m_step == Discharge);
    }
    if (m_cycle > m_cycles) {
        return false;
    }
    advance();
    row.time = static_cast<double>(m_row) * STEP;
    row.voltage = m_cell.voltage();
    row.current = m_cell.current();
    m_charge += row.current * STEP;
    m_energy += row.current * row.voltage * STEP;
    row.charge = m_charge / SECONDS_PER_HOUR;
    row.energy = m_energy / SECONDS_PER_HOUR;
    row.temperature = m_cell.temperature();
    row.cycle = m_cycle;
    row.step = m_step;
    ++m_row;
    ++m_rowsInStep;
    return true;
}

void SampleExperiment::advance()
{
    switch (m_step) {
    case Discharge:
        m_cell.stepCurrent(-DISCHARGE_RATE * m_capacityAmpereHours);
        break;
    case ConstantCurrent:
        m_cell.stepCurrent(CHARGE_RATE * m_capacityAmpereHours);
        break;
    case ConstantVoltage:
        m_cell.stepVoltage(UPPER_VOLTAGE);
        break;
    default:
        m_cell.stepCurrent(0.0);
        break;
    }
}

bool SampleExperiment::stepIsOver() const
{
    switch (m_step) {
    case Discharge:
        return m_cell.voltage() <= LOWER_VOLTAGE;
    case ConstantCurrent:
        return m_cell.voltage() >= UPPER_VOLTAGE;
    case ConstantVoltage:
        return m_cell.current() <= END_RATE * m_capacityAmpereHours;
    default:
        return static_cast<double>(m_rowsInStep) * STEP >= REST_SECONDS;
    }
}

} // namespace vx::cli
