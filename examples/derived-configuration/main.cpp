// A data configuration with members of the application's own: the axis and the colour of each array.
#include <datastorage/config/ConfigDataArrayManager.h>
#include <datastorage/units/Converter.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>

#include <cstdio>

using namespace vx::datastorage;

// What the library keeps of an array, and more.
class PlotArray : public ConfigDataArray
{
public:
    QString color = "#000000";
};

class PlotConfiguration : public ConfigDataArrayManager
{
protected:
    // Called for every array that is read; the manager deletes it.
    ConfigDataArray* createConfigDataArray() override { return new PlotArray; }

    ConfigDataArray* readVariable(const QString& category, const QJsonValue& value, QString& error) override
    {
        auto* array = static_cast<PlotArray*>(ConfigDataArrayManager::readVariable(category, value, error));
        if (array == nullptr)
            return nullptr;
        const QJsonObject object = value.toObject();
        array->setDefaultX(object["Axis"].toString() == "X");
        array->setDefaultY1(object["Axis"].toString() == "Y1");
        array->color = object["Color"].toString(array->color);
        if (array->color.contains(QRegularExpression("^#[0-9a-f]{6}$")))
            return array;
        error = "Color unknown :" + array->color; // in the manner of the library's own messages
        delete array;
        return nullptr;
    }
};

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Converter::init();
    PlotConfiguration configuration;
    QString error;
    if (!configuration.readDataConfiguration(CONFIGURATION, 1, error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    for (const ConfigDataArray* array : configuration.getConfigDataArrayFromCategory("Cell")) {
        const char* axis = array->isDefaultX() ? "x axis" : array->isDefaultY1() ? "left axis" : "not shown";
        std::printf("%s: %s, %s\n", qPrintable(array->getName()), axis,
                    qPrintable(static_cast<const PlotArray*>(array)->color));
    }
    configuration.deleteAllAndClear();
}
