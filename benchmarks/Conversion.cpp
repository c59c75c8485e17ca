// Reading a printed unit against one hash look-up of the text, and converting floats with a known factor
// against the plain loop.
#include "Support.h"

#include <datastorage/units/Converter.h>

#include <QtCore/QHash>

#include <benchmark/benchmark.h>

namespace vx::bench {

namespace {

using datastorage::Converter;
using datastorage::UsualUnit;

constexpr std::size_t SAMPLES = 1'000'000;
constexpr float FACTOR = 0.001F;

void parseLibrary(benchmark::State& state)
{
    const QString text = QStringLiteral("mA.h/g");
    for (auto _ : state)
        benchmark::DoNotOptimize(Converter::getUsualUnitFromString(text));
    countItems(state, 1);
}
BENCHMARK(parseLibrary)->Name("ParseUnit/library")->UseRealTime();

void parseLimit(benchmark::State& state)
{
    QHash<QString, int> units;
    for (const QString& text : Converter::getAvailableUnitsAsString())
        units.insert(text, static_cast<int>(units.size()));
    const QString text = QStringLiteral("mA.h/g");
    units.insert(text, 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(units.constFind(text));
    countItems(state, 1);
}
BENCHMARK(parseLimit)->Name("ParseUnit/limit")->UseRealTime();

/// The single call with a factor that is known, as a loop over samples uses it.
void convertOneLibrary(benchmark::State& state)
{
    std::vector<float> samples = measuredFloats(SAMPLES);
    const UsualUnit unit = Converter::getUsualUnitFromString(QStringLiteral("mV"));
    for (auto _ : state) {
        for (float& sample : samples)
            sample =
                Converter::convertFromMainUnitToSubUnit(datastorage::ParameterVoltage, unit, sample, FACTOR);
        benchmark::ClobberMemory();
    }
    countItems(state, SAMPLES);
}
BENCHMARK(convertOneLibrary)->Name("Convert/single/library")->UseRealTime();

void convertBlockLibrary(benchmark::State& state)
{
    std::vector<float> samples = measuredFloats(SAMPLES);
    for (auto _ : state) {
        Converter::convertSamples(samples, FACTOR);
        benchmark::ClobberMemory();
    }
    countItems(state, SAMPLES);
}
BENCHMARK(convertBlockLibrary)->Name("Convert/block/library")->UseRealTime();

void convertLimit(benchmark::State& state)
{
    std::vector<float> samples = measuredFloats(SAMPLES);
    float factor = FACTOR;
    benchmark::DoNotOptimize(factor);
    for (auto _ : state) {
        for (float& sample : samples)
            sample *= factor;
        benchmark::ClobberMemory();
    }
    countItems(state, SAMPLES);
}
BENCHMARK(convertLimit)->Name("Convert/single/limit")->UseRealTime();
BENCHMARK(convertLimit)->Name("Convert/block/limit")->UseRealTime();

} // namespace

} // namespace vx::bench
