// Loading an array of a million samples, whose file is in the page cache, into a block that has been
// used before, against one read(2) of the same bytes.
#include "Support.h"

#include <QtCore/QFile>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

namespace vx::bench {

namespace {

constexpr std::size_t SAMPLES = 1'000'000;
constexpr qint64 BODY = 8;

void loadLibrary(benchmark::State& state)
{
    FiledArrays arrays(1, SAMPLES);
    QFile file(QFile::decodeName(arrays.path(0).c_str()));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        state.SkipWithError("the cache file is not there");
    for (auto _ : state) {
        if (!file.seek(BODY) || !arrays[0].readFromDiskStream(file))
            state.SkipWithError("the array was not loaded");
    }
    if (arrays[0].getSizeLoadedInMemory() != static_cast<int>(SAMPLES))
        state.SkipWithError("samples are missing");
    countBytes(state, SAMPLES * sizeof(float));
}
BENCHMARK(loadLibrary)->Name("LoadArray/library")->UseRealTime();

void loadLimit(benchmark::State& state)
{
    FiledArrays arrays(1, SAMPLES);
    std::vector<float> block(SAMPLES, 1.0F);
    const auto bytes = static_cast<ssize_t>(SAMPLES * sizeof(float));
    const int descriptor = ::open(arrays.path(0).c_str(), O_RDONLY | O_CLOEXEC);
    for (auto _ : state) {
        ::lseek(descriptor, 2 * BODY, SEEK_SET);
        if (::read(descriptor, block.data(), static_cast<std::size_t>(bytes)) != bytes)
            state.SkipWithError("the file was not read");
        benchmark::ClobberMemory();
    }
    ::close(descriptor);
    countBytes(state, SAMPLES * sizeof(float));
}
BENCHMARK(loadLimit)->Name("LoadArray/limit")->UseRealTime();

} // namespace

} // namespace vx::bench
