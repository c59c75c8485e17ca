#include <datastorage/arrays/SampleRange_p.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <type_traits>

namespace vx::datastorage {

namespace {

constexpr int missingInt = 0x7FC00000;

void include(float& minimum, float& maximum, float value)
{
    minimum = value < minimum ? value : minimum; // false for NaN, which never enters
    maximum = value > maximum ? value : maximum;
}

float valueOf(float sample)
{
    return sample;
}

float valueOf(int sample)
{
    return sample == missingInt ? std::numeric_limits<float>::quiet_NaN() : static_cast<float>(sample);
}

/// The first zero among the samples. Both zeros compare equal, so only the order of the samples says
/// which of them the range keeps.
template <typename Sample>
float firstZero(std::span<const Sample> samples)
{
    return valueOf(*std::find(samples.begin(), samples.end(), Sample(0)));
}

// Vectors of four samples. Compilers turn loops over arrays into such code only sometimes: written out
// it takes a quarter of the time (AddBlock, g++ 12).
#if defined(__GNUC__)

using Floats = float __attribute__((vector_size(16)));
using Ints = int __attribute__((vector_size(16)));

Floats valuesOf(Floats samples)
{
    return samples;
}

Floats valuesOf(Ints samples)
{
    // All bits of a lane set make a NaN.
    const Ints missing = samples == missingInt;
    return reinterpret_cast<Floats>(reinterpret_cast<Ints>(__builtin_convertvector(samples, Floats)) |
                                    missing);
}

void include(Floats& minimum, Floats& maximum, Floats values)
{
    minimum = values < minimum ? values : minimum;
    maximum = values > maximum ? values : maximum;
}

template <typename Sample>
using Vector = std::conditional_t<std::is_same_v<Sample, float>, Floats, Ints>;
constexpr std::size_t lanes = 4;

#else

template <typename Sample>
using Vector = Sample;
using Floats = float;
constexpr std::size_t lanes = 1;

Floats valuesOf(float sample)
{
    return valueOf(sample);
}

Floats valuesOf(int sample)
{
    return valueOf(sample);
}

#endif

/// Independent running ranges, so that no step waits for the one before.
constexpr std::size_t vectors = 4;

float lane(const Floats& values, std::size_t index)
{
    float value = 0;
    std::memcpy(&value, reinterpret_cast<const char*>(&values) + index * sizeof value, sizeof value);
    return value;
}

Floats everyLane(float value)
{
    return Floats{} + value;
}

/// Takes whole groups of vectors from the front; returns how many samples those were.
template <bool copies, typename Sample>
std::size_t includeVectors(SampleRange& range, std::span<const Sample> samples, DataTypeBase* to)
{
    constexpr std::size_t group = lanes * vectors;
    std::array<Floats, vectors> minimum;
    std::array<Floats, vectors> maximum;
    minimum.fill(everyLane(range.minimum));
    maximum.fill(everyLane(range.maximum));
    std::size_t at = 0;
    for (; at + group <= samples.size(); at += group) {
        for (std::size_t i = 0; i < vectors; ++i) {
            Vector<Sample> vector;
            std::memcpy(&vector, samples.data() + at + i * lanes, sizeof vector);
            if constexpr (copies)
                std::memcpy(static_cast<void*>(to + at + i * lanes), &vector, sizeof vector);
            include(minimum[i], maximum[i], valuesOf(vector));
        }
    }
    for (std::size_t i = 0; i < vectors; ++i) {
        for (std::size_t index = 0; index < lanes; ++index) {
            range.minimum = std::min(range.minimum, lane(minimum[i], index));
            range.maximum = std::max(range.maximum, lane(maximum[i], index));
        }
    }
    return at;
}

template <bool copies, typename Sample>
SampleRange rangeOfSamples(std::span<const Sample> samples, DataTypeBase* to)
{
    SampleRange range;
    std::size_t at = includeVectors<copies>(range, samples, to);
    for (; at < samples.size(); ++at) {
        include(range.minimum, range.maximum, valueOf(samples[at]));
        if constexpr (copies)
            std::memcpy(static_cast<void*>(to + at), &samples[at], sizeof samples[at]);
    }
    if (range.minimum == 0.0F)
        range.minimum = firstZero(samples);
    if (range.maximum == 0.0F)
        range.maximum = firstZero(samples);
    return range;
}

} // namespace

SampleRange rangeOf(std::span<const float> samples)
{
    return rangeOfSamples<false>(samples, nullptr);
}

SampleRange rangeOf(std::span<const int> samples)
{
    return rangeOfSamples<false>(samples, nullptr);
}

SampleRange copyWithRange(std::span<const float> samples, DataTypeBase* to)
{
    return rangeOfSamples<true>(samples, to);
}

SampleRange copyWithRange(std::span<const int> samples, DataTypeBase* to)
{
    return rangeOfSamples<true>(samples, to);
}

} // namespace vx::datastorage
