#include "report/ArrayStatistics.h"

#include "report/Samples.h"

#include <datastorage/arrays/PinnedSamples.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
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

/// Running figures, side by side in several lanes that do not wait for each other.
template <typename Sample>
struct Lanes
{
    static constexpr std::size_t COUNT = 8;
    using Limits = std::numeric_limits<Sample>;
    static constexpr Sample LARGEST = Limits::has_infinity ? Limits::infinity() : Limits::max();
    static constexpr Sample SMALLEST = Limits::has_infinity ? -Limits::infinity() : Limits::lowest();

    std::array<Sample, COUNT> minimum;
    std::array<Sample, COUNT> maximum;
    std::array<double, COUNT> sum{};
    std::array<double, COUNT> missing{};

    Lanes()
    {
        minimum.fill(LARGEST);
        maximum.fill(SMALLEST);
    }

    void add(std::size_t lane, Sample sample)
    {
        const bool isGone = isMissing(sample);
        const Sample low = isGone ? LARGEST : sample;
        const Sample high = isGone ? SMALLEST : sample;
        minimum[lane] = low < minimum[lane] ? low : minimum[lane];
        maximum[lane] = high > maximum[lane] ? high : maximum[lane];
        sum[lane] += isGone ? 0.0 : static_cast<double>(sample);
        missing[lane] += isGone ? 1.0 : 0.0;
    }
};

template <typename Sample>
ArrayStatistics statisticsOf(std::span<const Sample> samples)
{
    constexpr std::size_t LANES = Lanes<Sample>::COUNT;
    Lanes<Sample> lanes;
    std::size_t at = 0;
    for (; at + LANES <= samples.size(); at += LANES) {
        for (std::size_t lane = 0; lane < LANES; ++lane) {
            lanes.add(lane, samples[at + lane]);
        }
    }
    for (; at < samples.size(); ++at) {
        lanes.add(0, samples[at]);
    }
    ArrayStatistics statistics;
    statistics.samples = static_cast<qint64>(samples.size());
    statistics.missing =
        static_cast<qint64>(std::accumulate(lanes.missing.begin(), lanes.missing.end(), 0.0));
    const qint64 present = statistics.samples - statistics.missing;
    const double sum = std::accumulate(lanes.sum.begin(), lanes.sum.end(), 0.0);
    const auto valueIfAny = [present](Sample sample) {
        return present > 0 ? static_cast<double>(sample) : NO_VALUE;
    };
    statistics.minimum = valueIfAny(*std::min_element(lanes.minimum.begin(), lanes.minimum.end()));
    statistics.maximum = valueIfAny(*std::max_element(lanes.maximum.begin(), lanes.maximum.end()));
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
