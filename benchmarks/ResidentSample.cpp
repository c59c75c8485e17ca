// Single samples of an array of 10^4 in memory, in order and at random, against a raw pointer. Every
// sample is used by itself: a sum would be kept in memory between the calls, and measure that.
#include "Support.h"

#include <benchmark/benchmark.h>

namespace vx::bench {

namespace {

constexpr std::size_t SAMPLES = 10'000;

std::unique_ptr<datastorage::DataArrayInfoStreamed> residentArray()
{
    auto array = makeStreamedArray();
    array->addSamples(std::span<const float>(measuredFloats(SAMPLES)));
    return array;
}

void inOrderLibrary(benchmark::State& state)
{
    const auto owner = residentArray();
    const datastorage::DataArrayInfo* array = owner.get();
    benchmark::DoNotOptimize(array);
    for (auto _ : state) {
        for (qint64 i = 0; i < static_cast<qint64>(SAMPLES); ++i)
            use(array->getSampleFloat(i));
    }
    countItems(state, SAMPLES);
}
BENCHMARK(inOrderLibrary)->Name("ResidentSample/ascending/library")->UseRealTime();

void inOrderLimit(benchmark::State& state)
{
    const std::vector<float> array = measuredFloats(SAMPLES);
    const float* samples = array.data();
    for (auto _ : state) {
        for (qint64 i = 0; i < static_cast<qint64>(SAMPLES); ++i)
            use(samples[i]);
    }
    countItems(state, SAMPLES);
}
BENCHMARK(inOrderLimit)->Name("ResidentSample/ascending/limit")->UseRealTime();

void atRandomLibrary(benchmark::State& state)
{
    const auto owner = residentArray();
    const datastorage::DataArrayInfo* array = owner.get();
    benchmark::DoNotOptimize(array);
    RandomPositions at(SAMPLES);
    for (auto _ : state) {
        for (std::size_t i = 0; i < SAMPLES; ++i)
            use(array->getSampleFloat(at.next()));
    }
    countItems(state, SAMPLES);
}
BENCHMARK(atRandomLibrary)->Name("ResidentSample/random/library")->UseRealTime();

void atRandomLimit(benchmark::State& state)
{
    const std::vector<float> array = measuredFloats(SAMPLES);
    const float* samples = array.data();
    RandomPositions at(SAMPLES);
    for (auto _ : state) {
        for (std::size_t i = 0; i < SAMPLES; ++i)
            use(samples[at.next()]);
    }
    countItems(state, SAMPLES);
}
BENCHMARK(atRandomLimit)->Name("ResidentSample/random/limit")->UseRealTime();

} // namespace

} // namespace vx::bench
