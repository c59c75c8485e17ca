// The envelope of an array whose samples are on disk, in 2,000 columns, against one pass over the
// extremes of blocks of 256 samples and 64 KiB read from the file. And the first envelope of a million
// samples that were just added, against a vectorised minimum and maximum of them.
#include "Support.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <fcntl.h>
#include <limits>
#include <unistd.h>

namespace vx::bench {

namespace {

constexpr int COLUMNS = 2000;
constexpr std::size_t BLOCK = 256;
constexpr std::size_t READ_BYTES = 65536;
constexpr std::size_t SAMPLES = 1'000'000;

void envelopeLibrary(benchmark::State& state, std::size_t count)
{
    FiledArrays arrays(1, count);
    const auto last = static_cast<qint64>(count) - 1; // edges inside blocks
    for (auto _ : state) {
        auto columns = arrays[0].envelope(1, last, COLUMNS);
        if (columns.size() != std::size_t{COLUMNS} || columns.front().count == 0)
            state.SkipWithError("there is no envelope");
        benchmark::DoNotOptimize(columns);
    }
    if (arrays[0].getSizeLoadedInMemory() != 0)
        state.SkipWithError("the array was loaded");
    countItems(state, COLUMNS);
}

struct Extremes
{
    float minimum = std::numeric_limits<float>::max();
    float maximum = -std::numeric_limits<float>::max();
};

void envelopeLimit(benchmark::State& state, std::size_t count)
{
    const FiledArrays arrays(1, count);
    const std::vector<float> samples = measuredFloats(count / BLOCK);
    std::vector<Extremes> blocks;
    for (const float sample : samples)
        blocks.push_back({sample, sample + 0.1F});
    std::vector<char> bytes(READ_BYTES);
    for (auto _ : state) {
        const int descriptor = ::open(arrays.path(0).c_str(), O_RDONLY | O_CLOEXEC);
        const ssize_t got = ::read(descriptor, bytes.data(), READ_BYTES);
        benchmark::DoNotOptimize(got);
        ::close(descriptor);
        std::vector<Extremes> columns(COLUMNS);
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const std::size_t end = blocks.size() * (i + 1) / columns.size();
            for (std::size_t at = blocks.size() * i / columns.size(); at < end; ++at) {
                columns[i].minimum = std::min(columns[i].minimum, blocks[at].minimum);
                columns[i].maximum = std::max(columns[i].maximum, blocks[at].maximum);
            }
        }
        benchmark::DoNotOptimize(columns);
    }
    countItems(state, COLUMNS);
}

void registerCases(const std::string& size, std::size_t count)
{
    const std::string job = "Envelope/" + size;
    benchmark::RegisterBenchmark((job + "/library").c_str(), envelopeLibrary, count)
        ->UseRealTime()
        ->Iterations(50);
    benchmark::RegisterBenchmark((job + "/limit").c_str(), envelopeLimit, count)
        ->UseRealTime()
        ->Iterations(50);
}

const bool smallCases = [] {
    registerCases("1e6", SAMPLES);
    return true;
}();

void sumUpLibrary(benchmark::State& state)
{
    const std::vector<float> samples = measuredFloats(SAMPLES);
    const auto array = makeStreamedArray();
    for (auto _ : state) {
        state.PauseTiming();
        array->clear();
        array->addSamples(std::span<const float>(samples));
        state.ResumeTiming();
        auto columns = array->envelope(0, static_cast<qint64>(SAMPLES), COLUMNS);
        benchmark::DoNotOptimize(columns);
    }
    countBytes(state, SAMPLES * sizeof(float));
}
BENCHMARK(sumUpLibrary)->Name("EnvelopeSum/library")->UseRealTime();

void sumUpLimit(benchmark::State& state)
{
    constexpr std::size_t lanes = 32; // as many running values as fill a few vector registers
    const std::vector<float> samples = measuredFloats(SAMPLES);
    for (auto _ : state) {
        std::vector<float> minimum(lanes, std::numeric_limits<float>::max());
        std::vector<float> maximum(lanes, -std::numeric_limits<float>::max());
        for (std::size_t at = 0; at + lanes <= samples.size(); at += lanes) {
            for (std::size_t lane = 0; lane < lanes; ++lane) {
                const float sample = samples[at + lane];
                minimum[lane] = sample < minimum[lane] ? sample : minimum[lane];
                maximum[lane] = sample > maximum[lane] ? sample : maximum[lane];
            }
        }
        benchmark::DoNotOptimize(minimum.data());
        benchmark::DoNotOptimize(maximum.data());
        benchmark::ClobberMemory();
    }
    countBytes(state, SAMPLES * sizeof(float));
}
BENCHMARK(sumUpLimit)->Name("EnvelopeSum/limit")->UseRealTime();

} // namespace

void registerBigEnvelopes()
{
    registerCases("1e8", 100'000'000);
}

} // namespace vx::bench
