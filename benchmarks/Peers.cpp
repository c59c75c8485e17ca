// What other stores take for writing a new file with an array of a million samples, and for opening,
// loading and closing it. The page sets them beside the limits of WriteFile and Residency.
#include "PeerStores.h"
#include "Support.h"

#include <benchmark/benchmark.h>

namespace vx::bench {

namespace {

constexpr std::size_t SAMPLES = 1'000'000;

void writePeer(benchmark::State& state, PeerStore* store)
{
    const std::vector<float> samples = measuredFloats(SAMPLES);
    for (auto _ : state) {
        const ScratchFile file;
        bool ok = false;
        state.SetIterationTime(secondsOf([&] { ok = store->write(file.path(), samples); }));
        if (!ok)
            state.SkipWithError("the store did not write");
    }
    countBytes(state, SAMPLES * sizeof(float));
}

void loadPeer(benchmark::State& state, PeerStore* store)
{
    const ScratchFile file;
    std::vector<float> samples = measuredFloats(SAMPLES);
    if (!store->write(file.path(), samples))
        state.SkipWithError("the store did not write");
    const std::vector<float> expected = samples;
    std::fill(samples.begin(), samples.end(), 0.0F);
    for (auto _ : state) {
        if (!store->read(file.path(), samples))
            state.SkipWithError("the store did not read");
    }
    if (samples != expected)
        state.SkipWithError("other samples came back");
    countBytes(state, SAMPLES * sizeof(float));
}

const bool registered = [] {
    const std::pair<const char*, PeerStore*> stores[] = {
        {"HDF5", &hdf5Store()}, {"LMDB", &lmdbStore()}, {"SQLite", &sqliteStore()}};
    for (const auto& [name, store] : stores) {
        benchmark::RegisterBenchmark((std::string("WriteFile/1e6/") + name).c_str(), writePeer, store)
            ->UseManualTime();
        benchmark::RegisterBenchmark((std::string("LoadArray/") + name).c_str(), loadPeer, store)
            ->UseRealTime();
    }
    return true;
}();

} // namespace

} // namespace vx::bench
