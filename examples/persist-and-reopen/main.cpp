// Saves an array in a directory of the application's own and opens it again.
#include <archive/ArchiveContext.h>
#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/CacheManager.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTemporaryDir>

#include <cstdio>
#include <vector>

using namespace vx::datastorage;

// The description goes into a JSON file, the samples are a copy of the cache file beside it.
static bool save(const DataArrayInfoStreamed& array, const QString& key, const QString& directory)
{
    vx::archive::ArchiveContext context; // the application's own, or the stand-in
    QJsonObject description;
    array.write(description, 1, context); // waits until everything is on disk
    QFile file(directory + "/array.json");
    return file.open(QIODevice::WriteOnly) && file.write(QJsonDocument(description).toJson()) > 0 &&
           QFile::copy(CacheManager::instance().getFullFilename(key, &array), directory + "/array.bmd");
}

static bool reopen(DataArrayInfoStreamed& array, const QString& key, const QString& directory)
{
    QFile file(directory + "/array.json");
    file.open(QIODevice::ReadOnly);
    const QJsonObject description = QJsonDocument::fromJson(file.readAll()).object();
    array.createDataArray();
    array.setName(description["name"].toString()); // part of the name of the cache file
    if (!QFile::copy(directory + "/array.bmd", CacheManager::instance().getFullFilename(key, &array)))
        return false;
    vx::archive::ArchiveContext context;
    context.dataSourcePath = key;
    return array.read(description, 1, context); // no sample is loaded yet
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    CacheManager::instance().checkDefaultCacheDirectory();
    const QTemporaryDir project; // stands for the application's own directory
    {
        DataArrayInfoStreamed charge("Charge", ParameterElectricCharge, Float, UsualUnit(UnitCoulomb));
        charge.createDataArray();
        charge.startAddingData();
        charge.addSamples(std::vector<float>(5000, 2.5F));
        charge.endAddingData("run-7");
        if (!save(charge, "run-7", project.path()))
            return 1;
    } // with the array, its cache file goes
    DataArrayInfoStreamed again;
    reopen(again, "run-7", project.path());
    std::printf("%lld samples, %d in memory\n", again.getSize(), again.getSizeLoadedInMemory());
    std::printf("the last sample is %g C\n", static_cast<double>(again.getSampleFloat(4999)));
}
