#include "Support.h"

#include <datastorage/cache/CacheManager.h>
#include <datastorage/units/Converter.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string_view>

namespace vx::bench {

// One per file: registers the cases that exist only when big ones are wanted.
void registerBigDirectSamples();
void registerBigEnvelopes();
void registerBigWrites();

} // namespace vx::bench

/// Runs the benchmarks. Takes the options of Google Benchmark, and --big for the cases with 10^8
/// samples.
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    int kept = 1;
    for (int i = 1; i < argc; ++i) {
        if (std::string_view(argv[i]) == "--big")
            vx::bench::setWantsBigCases(true);
        else
            argv[kept++] = argv[i];
    }
    argc = kept;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;

    QTemporaryDir directory;
    auto& cache = vx::datastorage::CacheManager::instance();
    cache.setDefaultCachePath(directory.path(), true);
    if (!directory.isValid() || !cache.checkDefaultCacheDirectory()) {
        std::fputs("no directory for cache files\n", stderr);
        return 1;
    }
    vx::datastorage::Converter::init();
    if (vx::bench::wantsBigCases()) {
        vx::bench::registerBigDirectSamples();
        vx::bench::registerBigEnvelopes();
        vx::bench::registerBigWrites();
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    cache.removeCacheDirectory();
    return 0;
}
