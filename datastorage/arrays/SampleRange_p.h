#pragma once

#include <datastorage/arrays/EnvelopeRange_p.h>

#include <limits>
#include <span>
#include <type_traits>

namespace vx::datastorage {

/// Smallest and largest of some samples, missing ones left out. Without any sample the minimum is the
/// largest finite float and the maximum its negation.
struct SampleRange
{
    float minimum = std::numeric_limits<float>::max();
    float maximum = -std::numeric_limits<float>::max();

    /// Adds the range of samples that follow. Of two zeros the first one stays.
    void include(const SampleRange& next)
    {
        minimum = next.minimum < minimum ? next.minimum : minimum;
        maximum = next.maximum > maximum ? next.maximum : maximum;
    }
};

static_assert(sizeof(DataTypeBase) == sizeof(float));
static_assert(alignof(DataTypeBase) == alignof(float));

/// The same memory as raw samples: the union's members are its first bytes.
template <typename Sample>
inline std::span<const DataTypeBase> asRawSamples(std::span<const Sample> samples)
{
    return {reinterpret_cast<const DataTypeBase*>(samples.data()), samples.size()};
}
template <typename Sample>
inline std::span<DataTypeBase> asRawSamples(std::span<Sample> samples)
{
    return {reinterpret_cast<DataTypeBase*>(samples.data()), samples.size()};
}

/// The kind that a span of samples is of, whatever the array that takes them.
template <typename Sample>
inline constexpr SampleKind kindOfSamples =
    std::is_same_v<Sample, float> ? SampleKind::Float : SampleKind::Int;

/// The range of `samples`, whose envelope is `keys`.
SampleRange sampleRange(const EnvelopeRange& keys, std::span<const float> samples);
SampleRange sampleRange(const EnvelopeRange& keys, std::span<const int> samples);

/// The range of floats, where NaN marks a missing sample, or of ints as floats, where 2143289344 does.
template <typename Sample>
SampleRange rangeOf(std::span<const Sample> samples)
{
    return sampleRange(envelopeOf(asRawSamples(samples), kindOfSamples<Sample>), samples);
}

/// As rangeOf(), and copies the samples to `to`, which has room for them and does not overlap them, in
/// the same pass.
template <typename Sample>
SampleRange copyWithRange(std::span<const Sample> samples, DataTypeBase* to)
{
    return sampleRange(copyWithEnvelope(asRawSamples(samples), kindOfSamples<Sample>, to), samples);
}

} // namespace vx::datastorage
