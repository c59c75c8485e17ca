// Single samples straight from a mapped cache file, at random and in order, against a pointer into a
// mapping of the same file. The mapping is made, and its pages are touched, before.
#include "Support.h"

#include <datastorage/cache/CacheManager.h>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace vx::bench {

namespace {

constexpr std::size_t LOOKUPS = 1'000'000;
constexpr std::size_t OFFSET = 16;

enum class Order
{
    Random,
    Ascending
};

void directLibrary(benchmark::State& state, Order order, std::size_t count)
{
    FiledArrays arrays(1, count);
    auto& cache = datastorage::CacheManager::instance();
    datastorage::DataArrayInfoStreamed* array = &arrays[0];
    RandomPositions at(count);
    for (qint64 i = 0; i < static_cast<qint64>(count); i += 1024)
        use(cache.getSampleDirect(array, i).floatValue);
    for (auto _ : state) {
        if (order == Order::Random) {
            for (std::size_t i = 0; i < LOOKUPS; ++i)
                use(cache.getSampleDirect(array, at.next()).floatValue);
        } else {
            for (qint64 i = 0; i < static_cast<qint64>(LOOKUPS); ++i)
                use(cache.getSampleDirect(array, i).floatValue);
        }
    }
    countItems(state, LOOKUPS);
}

void directLimit(benchmark::State& state, Order order, std::size_t count)
{
    FiledArrays arrays(1, count);
    const std::size_t bytes = OFFSET + count * sizeof(float);
    const int descriptor = ::open(arrays.path(0).c_str(), O_RDONLY | O_CLOEXEC);
    void* mapping = ::mmap(nullptr, bytes, PROT_READ, MAP_SHARED, descriptor, 0);
    ::close(descriptor);
    if (mapping == MAP_FAILED) {
        state.SkipWithError("the file was not mapped");
        return;
    }
    const float* samples = static_cast<const float*>(mapping) + OFFSET / sizeof(float);
    RandomPositions at(count);
    for (std::size_t i = 0; i < count; i += 1024)
        use(samples[i]);
    for (auto _ : state) {
        if (order == Order::Random) {
            for (std::size_t i = 0; i < LOOKUPS; ++i)
                use(samples[at.next()]);
        } else {
            for (qint64 i = 0; i < static_cast<qint64>(LOOKUPS); ++i)
                use(samples[i]);
        }
    }
    ::munmap(mapping, bytes);
    countItems(state, LOOKUPS);
}

void registerCases(const std::string& size, std::size_t count)
{
    const std::string name = "DirectSample/" + size;
    for (const Order order : {Order::Random, Order::Ascending}) {
        const std::string job = name + (order == Order::Random ? "/random" : "/ascending");
        benchmark::RegisterBenchmark((job + "/library").c_str(), directLibrary, order, count)
            ->UseRealTime()
            ->Iterations(20);
        benchmark::RegisterBenchmark((job + "/limit").c_str(), directLimit, order, count)
            ->UseRealTime()
            ->Iterations(20);
    }
}

const bool smallCases = [] {
    registerCases("1e6", 1'000'000);
    return true;
}();

} // namespace

void registerBigDirectSamples()
{
    registerCases("1e8", 100'000'000);
}

} // namespace vx::bench
