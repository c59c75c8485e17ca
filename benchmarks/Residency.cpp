// Making random arrays resident under a budget of a tenth of their bytes, against opening, read(2) and
// closing the same files into a tenth as many blocks, the least recently used one given up by hand.
#include "Support.h"

#include <datastorage/cache/CacheManager.h>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <list>
#include <unistd.h>
#include <unordered_map>

namespace vx::bench {

namespace {

constexpr std::size_t BUDGET_SHARE = 10;
constexpr std::size_t SAMPLES_OFFSET = 16;

void makeResidentLibrary(benchmark::State& state, std::size_t count, std::size_t samplesEach)
{
    FiledArrays arrays(count, samplesEach);
    datastorage::CacheManager::instance().setCacheSizeInBytes(arrays.totalBytes() / qint64{BUDGET_SHARE});
    const std::vector<qint64> order = randomPositions(1 << 16, static_cast<qint64>(count));
    std::size_t step = 0;
    float sum = 0;
    const auto touchNext = [&] {
        sum += arrays[static_cast<std::size_t>(order[step++ % order.size()])].getSampleFloat(0);
    };
    for (std::size_t i = 0; i < 2 * count / BUDGET_SHARE; ++i)
        touchNext();
    for (auto _ : state)
        touchNext();
    drainEvents();
    benchmark::DoNotOptimize(sum);
    countItems(state, 1);
}

/// Blocks of samples, least recently used first.
class ManualCache
{
public:
    ManualCache(std::vector<std::string> paths, std::size_t samplesEach)
        : m_paths(std::move(paths)), m_samplesEach(samplesEach)
    {
        for (std::size_t i = 0; i < m_paths.size() / BUDGET_SHARE; ++i)
            m_blocks.push_back({m_paths.size(), std::vector<float>(samplesEach, 1.0F)});
    }

    float firstSample(std::size_t array)
    {
        const auto known = m_byArray.find(array);
        if (known != m_byArray.end()) {
            m_blocks.splice(m_blocks.end(), m_blocks, known->second);
            return known->second->samples.front();
        }
        m_blocks.splice(m_blocks.end(), m_blocks, m_blocks.begin());
        Block& block = m_blocks.back();
        m_byArray.erase(block.array);
        block.array = array;
        m_byArray.emplace(array, std::prev(m_blocks.end()));
        load(block);
        return block.samples.front();
    }

private:
    struct Block
    {
        std::size_t array;
        std::vector<float> samples;
    };

    void load(Block& block)
    {
        const int descriptor = ::open(m_paths[block.array].c_str(), O_RDONLY | O_CLOEXEC);
        ::lseek(descriptor, SAMPLES_OFFSET, SEEK_SET);
        const ssize_t got = ::read(descriptor, block.samples.data(), m_samplesEach * sizeof(float));
        benchmark::DoNotOptimize(got);
        ::close(descriptor);
    }

    std::vector<std::string> m_paths;
    std::size_t m_samplesEach;
    std::list<Block> m_blocks;
    std::unordered_map<std::size_t, std::list<Block>::iterator> m_byArray;
};

void makeResidentLimit(benchmark::State& state, std::size_t count, std::size_t samplesEach)
{
    const FiledArrays arrays(count, samplesEach);
    std::vector<std::string> paths;
    for (std::size_t i = 0; i < count; ++i)
        paths.push_back(arrays.path(i));
    ManualCache cache(paths, samplesEach);
    const std::vector<qint64> order = randomPositions(1 << 16, static_cast<qint64>(count));
    std::size_t step = 0;
    float sum = 0;
    const auto touchNext = [&] {
        sum += cache.firstSample(static_cast<std::size_t>(order[step++ % order.size()]));
    };
    for (std::size_t i = 0; i < 2 * count / BUDGET_SHARE; ++i)
        touchNext();
    for (auto _ : state)
        touchNext();
    benchmark::DoNotOptimize(sum);
    countItems(state, 1);
}

void registerCases(const std::string& job, std::size_t count, std::size_t samplesEach, int accesses)
{
    benchmark::RegisterBenchmark((job + "/library").c_str(), makeResidentLibrary, count, samplesEach)
        ->UseRealTime()
        ->Iterations(accesses);
    benchmark::RegisterBenchmark((job + "/limit").c_str(), makeResidentLimit, count, samplesEach)
        ->UseRealTime()
        ->Iterations(accesses);
}

const bool registered = [] {
    registerCases("Residency/100x1e6", 100, 1'000'000, 300);
    registerCases("Residency/100x1e3", 100, 1'000, 20'000);
    registerCases("Residency/1000x1e3", 1'000, 1'000, 20'000);
    registerCases("Residency/10000x1e3", 10'000, 1'000, 20'000);
    return true;
}();

} // namespace

} // namespace vx::bench
