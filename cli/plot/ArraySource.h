#pragma once

#include "plot/SampleSource.h"

#include <datastorage/arrays/DataArrayInfoStreamed.h>

namespace vx::cli {

/// The samples of an array that is filed in the cache, times a factor. Samples that are not in memory are
/// looked up in the cache file; the array is not loaded for them.
class ArraySource : public SampleSource
{
public:
    /// @param array   outlives the source
    /// @param factor  from the samples to the values that are drawn; below 0 to turn them upside down
    ArraySource(datastorage::DataArrayInfoStreamed& array, double factor) : m_array(array), m_factor(factor)
    {}

    qint64 size() const override { return m_array.getSize(); }
    bool read(qint64 first, std::span<double> values) const override;
    std::vector<SampleColumn> envelope(qint64 first, qint64 last, int columns) const override;

private:
    datastorage::DataArrayInfoStreamed& m_array;
    double m_factor;
};

} // namespace vx::cli
