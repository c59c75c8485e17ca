#pragma once

#include "plot/Chart.h"
#include "plot/PlotOptions.h"

#include <QtCore/QByteArray>
#include <QtCore/QCoreApplication>

#include <memory>

namespace vx::cli {

/// The application object that drawing needs. Unless a platform is chosen in QT_QPA_PLATFORM, it works
/// without a display.
std::unique_ptr<QCoreApplication> makeChartApplication(int& argc, char** argv);

/// Draws a chart as the bytes of a file. Empty with `error` set when that fails.
QByteArray renderChart(const Chart& chart, PictureFormat format, QString& error);

} // namespace vx::cli
