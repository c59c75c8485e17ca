#include <datastorage/arrays/SampleRange_p.h>

#include <algorithm>
#include <type_traits>

namespace vx::datastorage {

namespace {

/// `keys` of `samples` as floats. Both zeros compare equal, so only the order of the samples says which of
/// them the range keeps: the first one.
template <typename Sample>
SampleRange asFloats(const EnvelopeRange& keys, std::span<const Sample> samples)
{
    SampleRange range;
    if (keys.minimum > keys.maximum)
        return range; // nothing but missing samples
    if constexpr (std::is_same_v<Sample, int>) {
        range.include({static_cast<float>(keys.minimum), static_cast<float>(keys.maximum)});
    } else {
        range.include({floatOfKey(keys.minimum), floatOfKey(keys.maximum)});
        if (range.minimum == 0.0F)
            range.minimum = *std::find(samples.begin(), samples.end(), 0.0F);
        if (range.maximum == 0.0F)
            range.maximum = *std::find(samples.begin(), samples.end(), 0.0F);
    }
    return range;
}

} // namespace

SampleRange sampleRange(const EnvelopeRange& keys, std::span<const float> samples)
{
    return asFloats(keys, samples);
}

SampleRange sampleRange(const EnvelopeRange& keys, std::span<const int> samples)
{
    return asFloats(keys, samples);
}

} // namespace vx::datastorage
