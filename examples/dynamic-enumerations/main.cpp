// An array of states whose names come from the configuration file, not from the program.
#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/CacheManager.h>
#include <datastorage/config/ConfigDataArrayManager.h>
#include <datastorage/config/DynamicEnumHandler.h>
#include <datastorage/units/Converter.h>

#include <QtCore/QCoreApplication>

#include <cstdio>

using namespace vx::datastorage;

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Converter::init();
    CacheManager::instance().checkDefaultCacheDirectory();

    ConfigDataArrayManager configuration;
    QString error;
    if (!configuration.readDataConfiguration(CONFIGURATION, 1, error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    // Declared in "Enum" of the file; null when there is none of that name.
    const DynamicEnum* step = nel::tools::Singleton<DynamicEnumHandler>::instance().getEnum("Step");
    const ConfigDataArray* declared = configuration.getConfigDataArrayFromNameAndCategory("Step", "Cell");
    if (step == nullptr || declared == nullptr)
        return 1;

    DataArrayInfoStreamed steps(declared->getName(), declared->getPhysicalParameter(), declared->getType(),
                                declared->getUnit());
    steps.createDataArray();
    steps.startAddingData();
    for (const char* label : {"Charge", "Rest", "Discharge", "Pause"}) {
        bool found = false;
        const int value = step->getValue(label, found);
        if (found)
            steps.addSampleInt(value);
        else
            std::printf("%s is none of the %d labels\n", label, step->getValuesCount());
    }
    steps.endAddingData("run-7");

    for (int i = 0; i < steps.getSize(); ++i)
        std::printf("sample %d: %s (%d)\n", i, qPrintable(step->getKey(steps.getSampleInt(i))),
                    steps.getSampleInt(i));
    configuration.deleteAllAndClear();
}
