// Adding samples one by one through the streamed descriptor, into a block that has been used before,
// against a vector's push_back with two compares.
#include "Support.h"

#include <benchmark/benchmark.h>

#include <limits>

namespace vx::bench {

namespace {

constexpr std::size_t SAMPLES = 1'000'000;

void addOneLibrary(benchmark::State& state)
{
    const std::vector<float> samples = measuredFloats(SAMPLES);
    const auto owner = makeStreamedArray();
    datastorage::DataArrayInfo* array = owner.get();
    array->addSamples(std::span<const float>(samples)); // takes the block, and touches it
    for (auto _ : state) {
        state.PauseTiming();
        array->clear();
        benchmark::DoNotOptimize(array);
        state.ResumeTiming();
        for (const float sample : samples)
            array->addSampleFloat(sample);
        benchmark::ClobberMemory();
    }
    countItems(state, SAMPLES);
}
BENCHMARK(addOneLibrary)->Name("AddSample/library")->UseRealTime();

void addOneLimit(benchmark::State& state)
{
    const std::vector<float> samples = measuredFloats(SAMPLES);
    std::vector<float> array(samples);
    for (auto _ : state) {
        state.PauseTiming();
        array.clear();
        state.ResumeTiming();
        float minimum = std::numeric_limits<float>::max();
        float maximum = -std::numeric_limits<float>::max();
        for (const float sample : samples) {
            if (minimum > sample)
                minimum = sample;
            if (sample > maximum)
                maximum = sample;
            array.push_back(sample);
        }
        benchmark::DoNotOptimize(minimum);
        benchmark::DoNotOptimize(maximum);
        benchmark::ClobberMemory();
    }
    countItems(state, SAMPLES);
}
BENCHMARK(addOneLimit)->Name("AddSample/limit")->UseRealTime();

} // namespace

} // namespace vx::bench
