#pragma once

#include "plot/Chart.h"
#include "plot/PlotOptions.h"
#include "plot/PlotSeries.h"

#include <vector>

namespace vx::cli {

/// Decides what a picture of the series shows: ranges, ticks, texts, colours and the points of the curves.
///
/// The first quantity is measured on the left axis, a second one on the right axis; series of equal
/// physical parameter share an axis. A Nyquist plot has one y axis, and a unit is as long on it as on the
/// x axis.
///
/// @return false with `error` set when there is nothing to draw, too much for two axes, or a sample cannot
///         be read
bool buildChart(const std::vector<PlotSeries>& series, const PlotOptions& options, Chart& chart,
                QString& error);

} // namespace vx::cli
