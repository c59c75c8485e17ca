// The library's messages, and the names in a configuration, in the user's language.
#include <datastorage/config/ConfigDataArrayManager.h>
#include <datastorage/units/Converter.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QLocale>
#include <QtCore/QTranslator>

#include <cstdio>

using namespace vx::datastorage;

static void readAndSay(const QString& fileName)
{
    ConfigDataArrayManager configuration;
    QString error;
    if (!configuration.readDataConfiguration(fileName, 1, error))
        std::printf("%s\n", error.toUtf8().constData());
    for (const ConfigDataArray* array : configuration.getConfigDataArrayList())
        std::printf("%s\n", array->getName().toUtf8().constData());
    configuration.deleteAllAndClear();
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Converter::init();

    const QLocale locale(QLocale::German); // an application takes QLocale(), that of the user
    QTranslator messages;                  // comes with the library
    if (messages.load(locale, "vxdatastorage", "_", TRANSLATIONS))
        QCoreApplication::installTranslator(&messages);
    QTranslator names; // made by the application, from what "vxdata translations" wrote
    if (names.load(locale, "configuration", "_", CONFIGURATION_DIR))
        QCoreApplication::installTranslator(&names);

    readAndSay(CONFIGURATION_DIR "/configuration.json");
    readAndSay(CONFIGURATION_DIR "/no-such-file.json");
}
