#pragma once

#include <datastorage/arrays/DataArrayInfoStreamed.h>

namespace vx::cli {

/// What the samples of one array amount to, in the main unit of its parameter. Values that do not exist,
/// because there is no sample or the sample is missing, are NaN.
struct ArrayStatistics
{
    qint64 samples = 0; ///< missing ones included
    qint64 missing = 0;
    double minimum = 0;
    double maximum = 0;
    double mean = 0;  ///< of the samples that are not missing
    double first = 0; ///< the first sample, NaN when that one is missing
    double last = 0;
};

/// Reads every sample of an array back and computes its statistics; an array that is not in memory is
/// loaded by the cache. False when not all of it could be read.
bool readStatistics(datastorage::DataArrayInfoStreamed& array, ArrayStatistics& statistics);

} // namespace vx::cli
