// One thread measures, another one plots what is there already.
#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/CacheManager.h>

#include <QtCore/QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <thread>
#include <vector>

using namespace vx::datastorage;

constexpr qint64 SAMPLES = 2000000;

// A plot that follows the measurement. Samples are added at the end and stay as they are, so each round
// reads only what is new.
static void plot(const DataArrayInfoStreamed& voltage, float& lowest, float& highest)
{
    std::vector<float> fresh(50000);
    qint64 shown = 0;
    while (shown < SAMPLES) {
        const qint64 count = voltage.readSamples(shown, fresh); // any thread
        if (count == 0)
            std::this_thread::yield(); // a real plot waits for its next frame here
        for (qint64 i = 0; i < count; ++i) {
            lowest = std::min(lowest, fresh[static_cast<size_t>(i)]);
            highest = std::max(highest, fresh[static_cast<size_t>(i)]);
        }
        shown += count;
    }
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    CacheManager::instance().checkDefaultCacheDirectory();

    DataArrayInfoStreamed voltage("Voltage", ParameterVoltage, Float, UsualUnit(UnitVolt));
    voltage.createDataArray();
    voltage.startAddingData();

    float lowest = std::numeric_limits<float>::max();
    float highest = std::numeric_limits<float>::lowest();
    std::thread plotter(plot, std::cref(voltage), std::ref(lowest), std::ref(highest));

    std::vector<float> block(1000); // as an instrument delivers them
    for (qint64 i = 0; i < SAMPLES; i += 1000) {
        for (int k = 0; k < 1000; ++k)
            block[static_cast<size_t>(k)] = 3.0F + 0.0000005F * static_cast<float>(i + k);
        voltage.addSamples(block); // the main thread
    }
    plotter.join();
    voltage.endAddingData("channel 1");

    std::printf("measured %lld samples, the plot shows %.3f V to %.3f V\n", voltage.getSize(),
                static_cast<double>(lowest), static_cast<double>(highest));
}
