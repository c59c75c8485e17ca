// Writing a new cache file in the background and waiting for it, against creating a file, one write(2)
// of the same bytes and closing it. Removing the file again is not timed.
#include "Support.h"

#include <datastorage/cache/CacheManager.h>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

namespace vx::bench {

namespace {

constexpr std::size_t HEADER_BYTES = 16;

void writeLibrary(benchmark::State& state, std::size_t count)
{
    auto& cache = datastorage::CacheManager::instance();
    cache.setCacheSizeInBytes(std::int64_t{1} << 40);
    const auto array = makeStreamedArray();
    array->addSamples(std::span<const float>(measuredFloats(count)));
    for (auto _ : state) {
        state.SetIterationTime(secondsOf([&] {
            array->endAddingData(QStringLiteral("/data/run.dat"));
            cache.awaitTaskFinished(array.get());
        }));
        cache.removeDataArrayInfoFromCache(array.get());
    }
    countBytes(state, count * sizeof(float));
}

void writeLimit(benchmark::State& state, std::size_t count)
{
    const std::vector<float> samples = measuredFloats(count + HEADER_BYTES / sizeof(float));
    const auto bytes = static_cast<ssize_t>(samples.size() * sizeof(float));
    for (auto _ : state) {
        const ScratchFile file;
        bool ok = false;
        state.SetIterationTime(secondsOf([&] {
            const int descriptor =
                ::open(file.path().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
            ok = ::write(descriptor, samples.data(), static_cast<std::size_t>(bytes)) == bytes;
            ok = ::close(descriptor) == 0 && ok;
        }));
        if (!ok)
            state.SkipWithError("the file could not be written");
    }
    countBytes(state, count * sizeof(float));
}

void writeMillionLibrary(benchmark::State& state)
{
    writeLibrary(state, 1'000'000);
}
BENCHMARK(writeMillionLibrary)->Name("WriteFile/1e6/library")->UseManualTime();

void writeMillionLimit(benchmark::State& state)
{
    writeLimit(state, 1'000'000);
}
BENCHMARK(writeMillionLimit)->Name("WriteFile/1e6/limit")->UseManualTime();

} // namespace

void registerBigWrites()
{
    constexpr std::size_t count = 100'000'000;
    benchmark::RegisterBenchmark("WriteFile/1e8/library", writeLibrary, count)
        ->UseManualTime()
        ->Iterations(2);
    benchmark::RegisterBenchmark("WriteFile/1e8/limit", writeLimit, count)->UseManualTime()->Iterations(2);
}

} // namespace vx::bench
