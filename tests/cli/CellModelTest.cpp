#include "model/CellModel.h"
#include "model/SampleExperiment.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace {

using vx::cli::CellModel;
using vx::cli::CellParameters;
using vx::cli::ExperimentRow;
using vx::cli::SampleExperiment;

TEST(OpenCircuitVoltage, RisesWithTheStateOfCharge)
{
    for (int percent = 0; percent < 100; ++percent) {
        SCOPED_TRACE(percent);
        EXPECT_LT(vx::cli::openCircuitVoltage(percent / 100.0),
                  vx::cli::openCircuitVoltage((percent + 1) / 100.0));
        EXPECT_GT(vx::cli::openCircuitVoltageSlope(percent / 100.0), 0.0);
    }
}

TEST(CellModel, StaysAtItsOpenCircuitVoltageAtRest)
{
    CellModel cell(CellParameters(), 0.5, 0.1);
    for (int i = 0; i < 1000; ++i) {
        cell.stepCurrent(0);
    }
    EXPECT_EQ(cell.voltage(), vx::cli::openCircuitVoltage(0.5));
    EXPECT_EQ(cell.temperature(), CellParameters().ambientTemperature);
}

TEST(CellModel, ShowsItsResistancesUnderALongCurrent)
{
    CellParameters parameters;
    parameters.capacity *= 1e9; // the state of charge stands still
    parameters.activation = 0;  // and so do the resistances
    CellModel cell(parameters, 0.5, 0.1);
    const double current = 2;
    cell.stepCurrent(current);
    const double atOnce = cell.voltage() - vx::cli::openCircuitVoltage(0.5);
    EXPECT_GT(atOnce, current * parameters.seriesResistance);
    EXPECT_LT(atOnce, current * (parameters.seriesResistance + parameters.fastResistance));
    for (int i = 0; i < 100000; ++i) {
        cell.stepCurrent(current);
    }
    const double all = parameters.seriesResistance + parameters.fastResistance + parameters.slowResistance;
    EXPECT_NEAR(cell.voltage() - vx::cli::openCircuitVoltage(0.5), current * all, 1e-9);
    EXPECT_NEAR(cell.temperature() - parameters.ambientTemperature,
                current * current * all * parameters.thermalResistance, 1e-6);
}

TEST(CellModel, RelaxesWithItsTimeConstants)
{
    CellParameters parameters;
    parameters.capacity *= 1e9;
    parameters.activation = 0;
    parameters.slowResistance = 1e-12;
    CellModel cell(parameters, 0.5, 0.01);
    for (int i = 0; i < 10000; ++i) {
        cell.stepCurrent(1);
    }
    cell.stepCurrent(0);
    const double before = cell.voltage() - vx::cli::openCircuitVoltage(0.5);
    const double timeConstant = parameters.fastResistance * parameters.fastCapacitance;
    const int steps = static_cast<int>(std::lround(timeConstant / 0.01));
    for (int i = 0; i < steps; ++i) {
        cell.stepCurrent(0);
    }
    const double after = cell.voltage() - vx::cli::openCircuitVoltage(0.5);
    EXPECT_NEAR(after / before, std::exp(-steps * 0.01 / timeConstant), 1e-6);
}

TEST(CellModel, HoldsAVoltage)
{
    CellModel cell(CellParameters(), 0.9, 0.1);
    for (int i = 0; i < 100; ++i) {
        cell.stepVoltage(4.2);
        EXPECT_NEAR(cell.voltage(), 4.2, 1e-6);
    }
    EXPECT_GT(cell.current(), 0);
}

TEST(CellImpedance, ComesFromTheSameResistances)
{
    const CellParameters parameters;
    EXPECT_NEAR(vx::cli::impedance(parameters, 1e6, 0.5).real(), parameters.seriesResistance, 1e-9);
    const double allResistances =
        parameters.seriesResistance + parameters.fastResistance + parameters.slowResistance;
    const std::complex<double> slow = vx::cli::impedance(parameters, 1e-7, 0.5);
    EXPECT_NEAR(slow.real(), allResistances, 1e-6);
    const double capacity = parameters.capacity / vx::cli::openCircuitVoltageSlope(0.5);
    EXPECT_NEAR(slow.imag() * (2 * std::numbers::pi * 1e-7 * capacity), -1.0, 1e-3);
}

TEST(CellImpedance, HasTheTopOfTheFastArcAtItsTimeConstant)
{
    CellParameters parameters;
    parameters.slowResistance = 0;
    parameters.capacity *= 1e9;
    const double timeConstant = parameters.fastResistance * parameters.fastCapacitance;
    const double frequency = 1.0 / (2 * std::numbers::pi * timeConstant);
    const std::complex<double> top = vx::cli::impedance(parameters, frequency, 0.5);
    EXPECT_NEAR(-top.imag(), parameters.fastResistance / 2, 1e-9);
    EXPECT_NEAR(top.real(), parameters.seriesResistance + parameters.fastResistance / 2, 1e-9);
}

TEST(SampleExperiment, CyclesWithinItsLimitsAndBooksItsCharge)
{
    SampleExperiment experiment(CellParameters(), 1);
    ExperimentRow row;
    ExperimentRow last;
    double charge = 0;
    double energy = 0;
    int lastStep = 1;
    long long rows = 0;
    while (experiment.next(row)) {
        ASSERT_GE(row.voltage, 2.99) << row.time;
        ASSERT_LE(row.voltage, 4.21) << row.time;
        ASSERT_EQ(row.cycle, 1);
        ASSERT_TRUE(row.step == lastStep || row.step == lastStep + 1);
        ASSERT_EQ(row.time, static_cast<double>(rows) * SampleExperiment::STEP);
        lastStep = row.step;
        charge += row.current * SampleExperiment::STEP / 3600;
        energy += row.current * row.voltage * SampleExperiment::STEP / 3600;
        last = row;
        ++rows;
    }
    EXPECT_EQ(lastStep, 5);
    EXPECT_NEAR(last.charge, charge, 1e-6);
    EXPECT_NEAR(last.energy, energy, 1e-6);
    EXPECT_GT(rows, 1000000 / 3);
}

} // namespace
