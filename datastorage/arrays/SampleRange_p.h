#pragma once

#include <datastorage/arrays/DataType.h>

#include <limits>
#include <span>

namespace vx::datastorage {

/// Smallest and largest of some samples, missing ones left out. Without any sample the minimum is the
/// largest finite float and the maximum its negation.
struct SampleRange
{
    float minimum = std::numeric_limits<float>::max();
    float maximum = -std::numeric_limits<float>::max();
};

/// The range of floats; NaN marks a missing sample.
SampleRange rangeOf(std::span<const float> samples);
/// The range of ints as floats; 2143289344 marks a missing sample.
SampleRange rangeOf(std::span<const int> samples);

/// As rangeOf(), and copies the samples to `to`, which has room for them and does not overlap them, in
/// the same pass.
SampleRange copyWithRange(std::span<const float> samples, DataTypeBase* to);
SampleRange copyWithRange(std::span<const int> samples, DataTypeBase* to);

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

} // namespace vx::datastorage
