#pragma once

#include "plot/Chart.h"
#include "plot/PlotOptions.h"

#include <QtCore/QByteArray>

namespace vx::cli {

/// Draws a chart as the bytes of a file. Empty with `error` set when that fails.
using ChartDrawer = QByteArray (*)(const Chart& chart, PictureFormat format, QString& error);

/// Tells "vxdata plot" what draws its charts; called before a command runs. The commands themselves know no
/// chart library.
void setChartDrawer(ChartDrawer drawer);

/// What draws charts; null in a program without a chart library.
ChartDrawer chartDrawer();

} // namespace vx::cli
