#include "report/ArrayStatistics.h"

#include "report/Samples.h"

#include <datastorage/arrays/PinnedSamples.h>

#include <cmath>
#include <limits>
#include <span>

namespace vx::cli {
namespace {

constexpr double NO_VALUE = std::numeric_limits<double>::quiet_NaN();

bool isMissing(float sample)
{
    return std::isnan(sample);
}

bool isMissing(int sample)
{
    return sample == MISSING_INT;
}

template <typename Sample>
double valueOf(Sample sample)
{
    return isMissing(sample) ? NO_VALUE : static_cast<double>(sample);
}

template <typename Sample>
ArrayStatistics statisticsOf(std::span<const Sample> samples)
{
    ArrayStatistics statistics;
    statistics.samples = static_cast<qint64>(samples.size());
    Sample minimum{};
    Sample maximum{};
    double sum = 0;
    qint64 present = 0;
    for (const Sample sample : samples) {
        if (isMissing(sample)) {
            continue;
        }
        minimum = present == 0 || sample < minimum ? sample : minimum;
        maximum = present == 0 || sample > maximum ? sample : maximum;
        sum += static_cast<double>(sample);
        ++present;
    }
    statistics.missing = statistics.samples - present;
    statistics.minimum = present > 0 ? static_cast<double>(minimum) : NO_VALUE;
    statistics.maximum = present > 0 ? static_cast<double>(maximum) : NO_VALUE;
    statistics.mean = present > 0 ? sum / static_cast<double>(present) : NO_VALUE;
    statistics.first = samples.empty() ? NO_VALUE : valueOf(samples.front());
    statistics.last = samples.empty() ? NO_VALUE : valueOf(samples.back());
    return statistics;
}

} // namespace

bool readStatistics(datastorage::DataArrayInfoStreamed& array, ArrayStatistics& statistics)
{
    // The view keeps the array in memory, whatever the budget, until its last sample has been read.
    const datastorage::PinnedSamples view = array.pin(0, array.getSize());
    if (view.count() != array.getSize()) {
        return false;
    }
    statistics =
        array.getDataType() == datastorage::Float ? statisticsOf(view.floats()) : statisticsOf(view.ints());
    return true;
}

} // namespace vx::cli
