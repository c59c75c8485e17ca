#pragma once

#include "model/CellModel.h"

namespace vx::cli {

/// One row of a cycling experiment.
struct ExperimentRow
{
    double time = 0;        ///< s, from 0
    double voltage = 0;     ///< V
    double current = 0;     ///< A, positive on charge
    double charge = 0;      ///< A.h, moved since the start, charge minus discharge
    double energy = 0;      ///< W.h, moved since the start, charge minus discharge
    double temperature = 0; ///< °C
    int cycle = 1;          ///< from 1
    int step = 1;           ///< 1 discharge, 2 rest, 3 constant current, 4 constant voltage, 5 rest
};

/// Cycles a full cell: discharge at a third of the capacity per hour down to 3.0 V, rest, charge at a
/// quarter per hour up to 4.2 V, hold 4.2 V until a twentieth, rest; one row every 0.1 s. The same rows
/// come out every time.
class SampleExperiment
{
public:
    static constexpr double STEP = 0.1; ///< s between two rows

    /// @param cycles  number of cycles after which the experiment ends
    SampleExperiment(const CellParameters& parameters, int cycles);

    /// The next row; false when the experiment is over.
    bool next(ExperimentRow& row);

private:
    bool stepIsOver() const;
    void advance();

    CellModel m_cell;
    double m_capacityAmpereHours;
    int m_cycles;
    int m_cycle = 1;
    int m_step = 1;
    long long m_rowsInStep = 0;
    long long m_row = 0;
    double m_charge = 0; // A.s
    double m_energy = 0; // W.s
};

} // namespace vx::cli
