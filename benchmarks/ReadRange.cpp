// Copying 65,536 samples out of an array in memory, against memcpy. Successive ranges of a larger array,
// so that both sides find their source equally warm.
#include "Support.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace vx::bench {

namespace {

constexpr std::size_t RANGE = 65536;
constexpr std::size_t RANGES = 16;

void readRangeLibrary(benchmark::State& state)
{
    const auto owner = makeStreamedArray();
    owner->addSamples(std::span<const float>(measuredFloats(RANGE * RANGES)));
    const datastorage::DataArrayInfo* array = owner.get();
    std::vector<float> out(RANGE, 1.0F);
    for (auto _ : state) {
        for (std::size_t i = 0; i < RANGES; ++i) {
            if (array->readSamples(static_cast<qint64>(i * RANGE), std::span<float>(out)) != qint64{RANGE})
                state.SkipWithError("samples are missing");
            benchmark::ClobberMemory();
        }
    }
    countBytes(state, RANGES * RANGE * sizeof(float));
}
BENCHMARK(readRangeLibrary)->Name("ReadRange/library")->UseRealTime();

void readRangeLimit(benchmark::State& state)
{
    const std::vector<float> array = measuredFloats(RANGE * RANGES);
    std::vector<float> out(RANGE, 1.0F);
    for (auto _ : state) {
        for (std::size_t i = 0; i < RANGES; ++i) {
            std::memcpy(out.data(), array.data() + i * RANGE, RANGE * sizeof(float));
            benchmark::ClobberMemory();
        }
    }
    countBytes(state, RANGES * RANGE * sizeof(float));
}
BENCHMARK(readRangeLimit)->Name("ReadRange/limit")->UseRealTime();

} // namespace

} // namespace vx::bench
