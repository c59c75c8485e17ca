#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/CacheManager.h>
#include <datastorage/units/Converter.h>

#include <QtCore/QCoreApplication>

#include <cstdio>

using namespace vx::datastorage;

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Converter::init();
    CacheManager::instance().checkDefaultCacheDirectory();
    CacheManager::instance().setCacheSizeInBytes(1 << 20); // 1 MiB of samples in memory, all arrays together

    DataArrayInfoStreamed current("Current", ParameterElectricCurrent, Float, UsualUnit(UnitAmpere));
    current.createDataArray();
    current.startAddingData();
    for (int i = 0; i < 1000000; ++i)
        current.addSampleFloat(0.001F * static_cast<float>(i % 2000));
    current.endAddingData("run-7.csv"); // now in its cache file; memory is given back when others need it

    const auto milliampere = [](float ampere) {
        return static_cast<double>(Converter::convertFromMainUnitToSubUnit(
            ParameterElectricCurrent, UsualUnit(UnitMilliampere), ampere, -1.0F));
    };
    std::printf("%s: %d samples, %g to %g mA, sample 123456 is %g mA\n", qPrintable(current.getName()),
                static_cast<int>(current.getSize()), milliampere(current.getMin()),
                milliampere(current.getMax()), milliampere(current.getSampleFloat(123456)));
}
