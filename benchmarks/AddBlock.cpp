// Adding blocks of 65,536 samples against memcpy and a vectorised minimum and maximum of each.
#include "Support.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <type_traits>

namespace vx::bench {

namespace {

constexpr std::size_t BLOCK = 65536;
constexpr std::size_t BLOCKS = 16;

std::vector<int> measuredInts(std::size_t count)
{
    std::vector<int> samples;
    for (const float sample : measuredFloats(count))
        samples.push_back(static_cast<int>(sample * 1e6F));
    return samples;
}

std::vector<float> samplesOf(float /*tag*/)
{
    return measuredFloats(BLOCK);
}

std::vector<int> samplesOf(int /*tag*/)
{
    return measuredInts(BLOCK);
}

template <typename Sample>
constexpr datastorage::DataType typeOf =
    std::is_same_v<Sample, float> ? datastorage::Float : datastorage::Int;

template <typename Sample>
void addBlockLibrary(benchmark::State& state)
{
    const std::vector<Sample> samples = samplesOf(Sample());
    const auto owner = makeStreamedArray(QStringLiteral("U"), typeOf<Sample>);
    datastorage::DataArrayInfo* array = owner.get();
    for (std::size_t i = 0; i < BLOCKS; ++i)
        array->addSamples(std::span<const Sample>(samples));
    for (auto _ : state) {
        state.PauseTiming();
        array->clear();
        state.ResumeTiming();
        for (std::size_t i = 0; i < BLOCKS; ++i)
            array->addSamples(std::span<const Sample>(samples));
        benchmark::ClobberMemory();
    }
    countBytes(state, BLOCKS * BLOCK * sizeof(Sample));
}
BENCHMARK(addBlockLibrary<float>)->Name("AddBlock/Float/library")->UseRealTime();
BENCHMARK(addBlockLibrary<int>)->Name("AddBlock/Int/library")->UseRealTime();

/// As many running values as fill a few vector registers.
template <typename Sample>
struct Extremes
{
    static constexpr std::size_t LANES = 32;
    std::array<Sample, LANES> minimum;
    std::array<Sample, LANES> maximum;

    explicit Extremes(Sample first)
    {
        minimum.fill(first);
        maximum.fill(first);
    }
    void include(const std::vector<Sample>& samples)
    {
        for (std::size_t at = 0; at + LANES <= samples.size(); at += LANES) {
            for (std::size_t lane = 0; lane < LANES; ++lane) {
                const Sample sample = samples[at + lane];
                minimum[lane] = sample < minimum[lane] ? sample : minimum[lane];
                maximum[lane] = sample > maximum[lane] ? sample : maximum[lane];
            }
        }
    }
};

template <typename Sample>
void addBlockLimit(benchmark::State& state)
{
    const std::vector<Sample> samples = samplesOf(Sample());
    std::vector<Sample> array(BLOCKS * BLOCK, Sample(1));
    for (auto _ : state) {
        Extremes<Sample> extremes(samples.front());
        for (std::size_t i = 0; i < BLOCKS; ++i) {
            extremes.include(samples);
            std::memcpy(array.data() + i * BLOCK, samples.data(), BLOCK * sizeof(Sample));
            benchmark::ClobberMemory();
        }
        benchmark::DoNotOptimize(*std::min_element(extremes.minimum.begin(), extremes.minimum.end()));
        benchmark::DoNotOptimize(*std::max_element(extremes.maximum.begin(), extremes.maximum.end()));
    }
    countBytes(state, BLOCKS * BLOCK * sizeof(Sample));
}
BENCHMARK(addBlockLimit<float>)->Name("AddBlock/Float/limit")->UseRealTime();
BENCHMARK(addBlockLimit<int>)->Name("AddBlock/Int/limit")->UseRealTime();

} // namespace

} // namespace vx::bench
