#include "plot/ArraySource.h"

#include "report/Samples.h"

#include <datastorage/cache/CacheManager.h>

#include <cmath>
#include <limits>

namespace vx::cli {

using datastorage::CacheManager;
using datastorage::DataTypeBase;

bool ArraySource::read(qint64 first, std::span<double> values) const
{
    const bool isFloat = m_array.getDataType() == datastorage::Float;
    const bool isLoaded = m_array.getSizeLoadedInMemory() == m_array.getSize();
    qint64 index = first;
    for (double& value : values) {
        const DataTypeBase sample =
            isLoaded ? m_array.getSample(index) : CacheManager::instance().getSampleDirect(&m_array, index);
        if (isFloat) {
            value = static_cast<double>(sample.floatValue) * m_factor;
        } else {
            const bool isMissing = sample.intValue == MISSING_INT;
            value = isMissing ? std::numeric_limits<double>::quiet_NaN() : sample.intValue * m_factor;
        }
        ++index;
    }
    return !m_array.isInError();
}

std::vector<SampleColumn> ArraySource::envelope(qint64 first, qint64 last, int columns) const
{
    std::vector<SampleColumn> result;
    for (const datastorage::EnvelopeColumn& column : m_array.envelope(first, last, columns)) {
        const double low = column.minimum * m_factor;
        const double high = column.maximum * m_factor;
        result.push_back({column.first, column.count, column.missing, m_factor < 0 ? high : low,
                          m_factor < 0 ? low : high});
    }
    return result;
}

} // namespace vx::cli
