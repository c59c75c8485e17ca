#include <datastorage/arrays/SampleRange_p.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace vx::datastorage {

namespace {

constexpr int missingInt = 0x7FC00000;
/// Independent running ranges per pass, so that the compiler keeps them in vector registers.
constexpr std::size_t lanes = 16;

struct Lanes
{
    std::array<float, lanes> minimum;
    std::array<float, lanes> maximum;
};

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

template <typename Sample>
SampleRange rangeOfSamples(std::span<const Sample> samples)
{
    SampleRange range;
    Lanes partial;
    partial.minimum.fill(range.minimum);
    partial.maximum.fill(range.maximum);
    std::size_t at = 0;
    for (; at + lanes <= samples.size(); at += lanes)
        for (std::size_t lane = 0; lane < lanes; ++lane)
            include(partial.minimum[lane], partial.maximum[lane], valueOf(samples[at + lane]));
    for (; at < samples.size(); ++at)
        include(range.minimum, range.maximum, valueOf(samples[at]));
    for (std::size_t lane = 0; lane < lanes; ++lane) {
        range.minimum = std::min(range.minimum, partial.minimum[lane]);
        range.maximum = std::max(range.maximum, partial.maximum[lane]);
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
    return rangeOfSamples(samples);
}

SampleRange rangeOf(std::span<const int> samples)
{
    return rangeOfSamples(samples);
}

} // namespace vx::datastorage
