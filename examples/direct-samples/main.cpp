// Looks up single samples in the cache file, without bringing the array into memory.
#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/CacheManager.h>
#include <datastorage/cache/CacheReadManager.h>

#include <QtCore/QCoreApplication>

#include <cmath>
#include <cstdio>

using namespace vx::datastorage;

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    CacheManager& cache = CacheManager::instance();
    cache.checkDefaultCacheDirectory();

    DataArrayInfoStreamed temperature("Temperature", ParameterTemperature, Float,
                                      UsualUnit(UnitDegreeCelsius));
    temperature.createDataArray();
    temperature.startAddingData();
    for (int i = 0; i < 1000000; ++i)
        temperature.addSampleFloat(20.0F + 0.00001F * static_cast<float>(i));
    temperature.endAddingData("run-7");
    cache.awaitTaskFinished(&temperature); // the file is complete
    temperature.removeFromMemory();        // as the cache does when memory is needed

    // The first look-up maps the file, the others are a read from memory.
    for (const qint64 index : {0, 500000, 999999})
        std::printf("sample %lld: %.3f\n", index,
                    static_cast<double>(cache.getSampleDirect(&temperature, index).floatValue));
    std::printf("behind the end: %s\n",
                std::isnan(cache.getSampleDirect(&temperature, 1000000).floatValue) ? "NaN" : "a number");
    std::printf("in memory: %d samples\n", temperature.getSizeLoadedInMemory());

    // The same for any cache file, filed or not, by its name.
    CacheReadManager& reader = CacheReadManager::instance();
    const int id = reader.getFreeId();
    if (reader.initialize(id, cache.getFullFilename("run-7", &temperature)))
        std::printf("by name: %.3f\n", static_cast<double>(reader.getSampleDirect(id, 250000).floatValue));
    reader.close(id);
}
