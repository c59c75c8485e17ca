#pragma once

#include "report/ArrayStatistics.h"
#include "report/CacheWatch.h"
#include "report/MeasuredTable.h"

#include <QtCore/QJsonObject>

#include <vector>

namespace vx::cli {

class Console;

/// A table with the statistics of its arrays, one per column.
struct ReportedTable
{
    const MeasuredTable* table = nullptr;
    std::vector<ArrayStatistics> statistics;
};

/// The report as one JSON object: files with their arrays in the order of the columns, and what the cache
/// did. Values are in display units; null stands where there is none.
QJsonObject reportJson(const std::vector<ReportedTable>& tables, const CacheFigures& cache);

/// The report for people: one table per file and a summary of the run.
/// @param seconds  how long the run took
QString reportText(const std::vector<ReportedTable>& tables, const CacheFigures& cache, double seconds,
                   const Console& console);

} // namespace vx::cli
