#pragma once

#include "plot/SampleSource.h"
#include "plot/Ticks.h"

#include <cstddef>
#include <vector>

namespace vx::cli {

/// A point of a curve; where one of the values is NaN the curve is interrupted.
struct CurvePoint
{
    double x = 0;
    double y = 0;

    bool isGap() const;
};

/// Samples from `first` to below `last`.
struct IndexRange
{
    qint64 first = 0;
    qint64 last = 0;

    qint64 count() const { return last - first; }
};

/// Whether no sample is missing and, as far as an envelope of about a thousand columns shows, none is
/// below an earlier one: so a clock that was set back within one column does not count.
bool isRising(const SampleSource& x);

/// The samples of a rising array that lie in `range`, by bisection, with one more on either side, so that
/// a curve reaches the edges of the picture. False when a sample cannot be read.
bool indexRange(const SampleSource& x, const ValueRange& range, IndexRange& indexes);

/// How much of a curve is drawn, and how fine.
struct TraceOptions
{
    IndexRange indexes;
    ValueRange shown; ///< of x
    int columns = 1;  ///< pixels between the ends of what is shown
    /// From this number on, a curve that runs to and fro is thinned instead of being refined.
    std::size_t points = 1000000;
};

/// Turns samples into the points of a curve.
///
/// Up to two samples per pixel are points of their own. More are drawn from the envelope, in columns of
/// about as many samples each, one per pixel: each is a line from its first sample over its minimum and
/// its maximum to its last sample. A column whose x covers more than two pixels is divided further, down
/// to its samples; so it matters neither whether x is sampled evenly nor whether it rises. A column in which
/// every sample is missing is a gap; a sample between gaps becomes a line of half a pixel.
///
/// @return false when a sample cannot be read
bool traceCurve(const SampleSource& x, const SampleSource& y, const TraceOptions& options,
                std::vector<CurvePoint>& points);

} // namespace vx::cli
