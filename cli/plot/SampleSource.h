#pragma once

#include <QtCore/qglobal.h>

#include <span>
#include <vector>

namespace vx::cli {

/// What the samples of a range amount to.
struct SampleColumn
{
    qint64 first = 0; ///< index of the first sample
    qint64 count = 0; ///< 0 when they cannot be had
    qint64 missing = 0;
    double minimum = 0; ///< of the samples that are there; NaN when all are missing
    double maximum = 0;
};

/// The samples of one array as values, in the unit in which they are drawn; a missing one is NaN.
class SampleSource
{
public:
    SampleSource() = default;
    SampleSource(const SampleSource&) = delete;
    SampleSource& operator=(const SampleSource&) = delete;
    virtual ~SampleSource() = default;

    virtual qint64 size() const = 0;

    /// Reads the samples from `first` on; false when one of them cannot be had.
    virtual bool read(qint64 first, std::span<double> values) const = 0;

    /// Divides the samples from `first` to below `last` into at most `columns` columns of about as many
    /// samples, in order. Sources of the same size divide the same range in the same way.
    virtual std::vector<SampleColumn> envelope(qint64 first, qint64 last, int columns) const = 0;
};

} // namespace vx::cli
