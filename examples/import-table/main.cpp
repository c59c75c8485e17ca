// Reads a table of measurements into one array per column: "Current [mA]" becomes an array in ampere.
#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/CacheManager.h>
#include <datastorage/units/Converter.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

using namespace vx::datastorage;

// An array for the heading "NAME [UNIT]". It holds the main unit; `factor` leads there from UNIT.
static std::unique_ptr<DataArrayInfoStreamed> makeArray(const QString& heading, float& factor)
{
    const QString name = heading.section('[', 0, 0).trimmed();
    const UsualUnit unit = Converter::getUsualUnitFromString(heading.section('[', 1).section(']', 0, 0));
    const PhysicalParameter parameter = Converter::getPhysicalParameterFromUnits(unit);
    factor = Converter::getConversionFactorFromSubUnitToMainUnit(parameter, unit);
    const UsualUnit mainUnit = Converter::getMainUnit(parameter);
    auto array = std::make_unique<DataArrayInfoStreamed>(name, parameter, Float, mainUnit);
    array->createDataArray();
    array->startAddingData();
    return array;
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Converter::init();
    CacheManager::instance().checkDefaultCacheDirectory();
    QFile file(TABLE);
    if (!file.open(QIODevice::ReadOnly))
        return 1;
    std::vector<std::unique_ptr<DataArrayInfoStreamed>> arrays;
    std::vector<float> factors;
    for (const QString& heading : QString::fromUtf8(file.readLine()).trimmed().split(','))
        arrays.push_back(makeArray(heading, factors.emplace_back()));
    while (!file.atEnd()) {
        const QStringList cells = QString::fromUtf8(file.readLine()).trimmed().split(',');
        for (size_t i = 0; i < arrays.size(); ++i) {
            bool isNumber = false;
            const float value = cells.value(static_cast<qsizetype>(i)).toFloat(&isNumber);
            // A missing cell is a NaN: it keeps its row and leaves minimum and maximum alone.
            arrays[i]->addSampleFloat(isNumber ? value * factors[i] : std::nanf(""));
        }
    }
    for (const auto& array : arrays) {
        array->endAddingData(file.fileName());
        std::printf("%s: %lld samples, %g to %g %s\n", qPrintable(array->getName()), array->getSize(),
                    static_cast<double>(array->getMin()), static_cast<double>(array->getMax()),
                    qPrintable(UsualUnit::castUsualUnitAsString(array->getDataUnit())));
    }
}
