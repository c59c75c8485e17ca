#pragma once

#include "InputError.h"
#include "report/MeasuredTable.h"

#include <vector>

namespace vx::cli {

/// Writes tables into a directory: "report.json" with the descriptors, and a copy of the cache file of each
/// array. The directory is made when it is missing. False with `error` set when something cannot be
/// written.
bool saveTables(const std::vector<MeasuredTable>& tables, const QString& directory, InputError& error);

/// Restores the tables of a directory that saveTables() wrote: copies the files to where the cache expects
/// them and files the arrays under their former keys, with nothing in memory. False with `error` set when
/// the directory holds no such tables or files that do not fit them.
bool openTables(std::vector<MeasuredTable>& tables, const QString& directory, InputError& error);

} // namespace vx::cli
