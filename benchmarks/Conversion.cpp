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

/// The factors of volt to millivolt and back. Each iteration goes there and back: with one factor alone the
/// samples were subnormal after a dozen passes, of which each takes 70 times as long, and then zeros. The
/// factors come from the library, so that the compiler does not know them; DoNotOptimize() is no substitute,
/// gcc 12 loses the value of a float that is given to it.
struct Factors
{
    float toMillivolt =
        Converter::getConversionFactorFromMainUnitToSubUnit(datastorage::ParameterVoltage, millivolt());
    float toVolt =
        Converter::getConversionFactorFromSubUnitToMainUnit(datastorage::ParameterVoltage, millivolt());

    static UsualUnit millivolt() { return UsualUnit(datastorage::UnitMillivolt); }
};

/// The single call with a factor that is known, as a loop over samples uses it.
void convertOneLibrary(benchmark::State& state)
{
    std::vector<float> samples = measuredFloats(SAMPLES);
    const UsualUnit unit = Factors::millivolt();
    const Factors factors;
    for (auto _ : state) {
        for (float& sample : samples)
            sample = Converter::convertFromMainUnitToSubUnit(datastorage::ParameterVoltage, unit, sample,
                                                             factors.toMillivolt);
        benchmark::ClobberMemory();
        for (float& sample : samples)
            sample = Converter::convertFromSubUnitToMainUnit(datastorage::ParameterVoltage, unit, sample,
                                                             factors.toVolt);
        benchmark::ClobberMemory();
    }
    countItems(state, 2 * SAMPLES);
}
BENCHMARK(convertOneLibrary)->Name("Convert/single/library")->UseRealTime();

void convertBlockLibrary(benchmark::State& state)
{
    std::vector<float> samples = measuredFloats(SAMPLES);
    const Factors factors;
    for (auto _ : state) {
        Converter::convertSamples(samples, factors.toMillivolt);
        benchmark::ClobberMemory();
        Converter::convertSamples(samples, factors.toVolt);
        benchmark::ClobberMemory();
    }
    countItems(state, 2 * SAMPLES);
}
BENCHMARK(convertBlockLibrary)->Name("Convert/block/library")->UseRealTime();

void convertLimit(benchmark::State& state)
{
    std::vector<float> samples = measuredFloats(SAMPLES);
    const Factors factors;
    for (auto _ : state) {
        for (float& sample : samples)
            sample *= factors.toMillivolt;
        benchmark::ClobberMemory();
        for (float& sample : samples)
            sample *= factors.toVolt;
        benchmark::ClobberMemory();
    }
    countItems(state, 2 * SAMPLES);
}
BENCHMARK(convertLimit)->Name("Convert/single/limit")->UseRealTime();
BENCHMARK(convertLimit)->Name("Convert/block/limit")->UseRealTime();

} // namespace

} // namespace vx::bench
