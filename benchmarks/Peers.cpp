// What other stores take for writing a new file with an array of a million samples, and for opening,
// loading and closing it, and what a library for units takes for reading a unit and converting samples. The
// page sets them beside the limits of the same jobs.
#include "PeerStores.h"
#include "Support.h"

#include <benchmark/benchmark.h>

#include <udunits2.h>

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

void parseUnitPeer(benchmark::State& state)
{
    ut_set_error_message_handler(ut_ignore);
    ut_system* const system = ut_read_xml(nullptr);
    for (auto _ : state) {
        ut_unit* const unit = ut_parse(system, "mA.h/g", UT_UTF8);
        if (unit == nullptr)
            state.SkipWithError("the unit was not read");
        ut_free(unit);
    }
    ut_free_system(system);
}
BENCHMARK(parseUnitPeer)->Name("ParseUnit/UDUNITS-2")->UseRealTime();

void convertPeer(benchmark::State& state)
{
    ut_set_error_message_handler(ut_ignore);
    ut_system* const system = ut_read_xml(nullptr);
    ut_unit* const volt = ut_parse(system, "V", UT_UTF8);
    ut_unit* const millivolt = ut_parse(system, "mV", UT_UTF8);
    cv_converter* const there = ut_get_converter(volt, millivolt);
    cv_converter* const back = ut_get_converter(millivolt, volt);
    std::vector<float> samples = measuredFloats(SAMPLES);
    for (auto _ : state) {
        cv_convert_floats(there, samples.data(), samples.size(), samples.data());
        benchmark::ClobberMemory();
        cv_convert_floats(back, samples.data(), samples.size(), samples.data());
        benchmark::ClobberMemory();
    }
    cv_free(back);
    cv_free(there);
    ut_free(millivolt);
    ut_free(volt);
    ut_free_system(system);
}
BENCHMARK(convertPeer)->Name("Convert/block/UDUNITS-2")->UseRealTime();

const bool registered = [] {
    const std::pair<const char*, PeerStore*> stores[] = {{"HDF5", &hdf5Store()},
                                                         {"LMDB", &lmdbStore()},
                                                         {"RocksDB", &rocksdbStore()},
                                                         {"SQLite", &sqliteStore()}};
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
