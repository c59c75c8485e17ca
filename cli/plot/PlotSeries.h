#pragma once

#include "InputError.h"
#include "plot/PlotOptions.h"
#include "plot/SampleSource.h"
#include "report/MeasuredTable.h"

#include <memory>
#include <vector>

namespace vx::cli {

/// A quantity on an axis.
struct PlotQuantity
{
    datastorage::PhysicalParameter parameter = datastorage::PhysicalParameter();
    QString parameterName; ///< for people
    QString name;          ///< of the array
    QString unit;          ///< in which it is drawn
};

/// What becomes a curve: an array against another one of the same table.
struct PlotSeries
{
    QString file; ///< for the legend
    PlotQuantity x;
    PlotQuantity y;
    std::shared_ptr<const SampleSource> xSource;
    std::shared_ptr<const SampleSource> ySource;
    std::shared_ptr<const SampleSource> frequency; ///< in Hz; null when the table has none
};

/// Finds the arrays that the options name in every table. Arrays that share an axis share the unit: that of
/// the first of them.
///
/// With --nyquist, an array whose name does not begin with "-" is turned upside down and gets one.
///
/// @param tables  outlive the series
/// @return false with `error` set when a table lacks an array
bool selectSeries(const std::vector<MeasuredTable>& tables, const PlotOptions& options,
                  std::vector<PlotSeries>& series, InputError& error);

} // namespace vx::cli
