#pragma once

#include <QtCore/qglobal.h>

#include <limits>

namespace vx::datastorage {

/// One column of a plot: the smallest and the largest of a run of samples, and how many are missing.
///
/// Got from DataArrayInfo::envelope(). A double holds every float and every int exactly. Comparison is
/// by `<`: infinities take part, -0 and +0 are equal (which of them comes back is not defined).
struct EnvelopeColumn
{
    qint64 first = 0;   ///< index in the array of the column's first sample
    qint64 count = 0;   ///< samples of the column, missing ones included; 0 when they cannot be had
    qint64 missing = 0; ///< of these, missing: NaN, or the int 2143289344
    double minimum = std::numeric_limits<double>::quiet_NaN(); ///< NaN when no sample is there
    double maximum = std::numeric_limits<double>::quiet_NaN(); ///< as above
};

} // namespace vx::datastorage
