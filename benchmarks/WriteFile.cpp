// Writing a new cache file in the background and waiting for it, against creating a file, one write(2)
// of the same bytes and closing it. Every file gets samples that were just added. Neither that nor
// removing the file again is timed.
#include "Support.h"

#include <datastorage/cache/CacheManager.h>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

namespace vx::bench {

namespace {

constexpr std::size_t HEADER_BYTES = 16;

std::vector<float> samplesOfFile(std::size_t count)
{
    return measuredFloats(count + HEADER_BYTES / sizeof(float));
}

bool writeFile(const ScratchFile& file, const std::vector<float>& samples)
{
    const auto bytes = static_cast<ssize_t>(samples.size() * sizeof(float));
    const int descriptor = ::open(file.path().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const bool isWritten = ::write(descriptor, samples.data(), static_cast<std::size_t>(bytes)) == bytes;
    return ::close(descriptor) == 0 && isWritten;
}

/// Writes and removes a file. Without it the file that is timed next may take pages that a virtual machine
/// has to be given first, which takes several times as long as the rest: free pages go back to its host
/// after a second or two.
void warmPages(const std::vector<float>& samples)
{
    const ScratchFile file;
    writeFile(file, samples);
}

void writeLibrary(benchmark::State& state, std::size_t count)
{
    auto& cache = datastorage::CacheManager::instance();
    cache.setCacheSizeInBytes(std::int64_t{1} << 40);
    const auto array = makeStreamedArray();
    const std::vector<float> samples = samplesOfFile(count);
    for (auto _ : state) {
        array->clear();
        array->addSamples(std::span(samples).first(count));
        warmPages(samples);
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
    const std::vector<float> samples = samplesOfFile(count);
    for (auto _ : state) {
        warmPages(samples);
        const ScratchFile file;
        bool ok = false;
        state.SetIterationTime(secondsOf([&] { ok = writeFile(file, samples); }));
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
        ->Iterations(1);
    benchmark::RegisterBenchmark("WriteFile/1e8/limit", writeLimit, count)->UseManualTime()->Iterations(1);
}

} // namespace vx::bench
