// What an application does when a cache file cannot be read: it says so, mends it and asks again.
#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/CacheManager.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtCore/QFile>
#include <QtCore/QFutureWatcher>

#include <cstdio>

using namespace vx::datastorage;

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    CacheManager& cache = CacheManager::instance();
    cache.checkDefaultCacheDirectory();

    DataArrayInfoStreamed current("Current", ParameterElectricCurrent, Float, UsualUnit(UnitAmpere));
    current.createDataArray();
    current.startAddingData();
    for (int i = 0; i < 1000; ++i)
        current.addSampleFloat(static_cast<float>(i));
    current.endAddingData("run-7");
    cache.awaitTaskFinished(&current);
    current.removeFromMemory(); // as the cache does when memory is needed

    const QString file = cache.getFullFilename("run-7", &current);
    const QString elsewhere = file + ".away";

    // Somebody who asks for a sample of an array in error waits until the mark is cleared, with the
    // events of the thread flowing. So the handler mends what is wrong, or gives up, and clears it.
    int attempts = 0;
    QObject::connect(&cache, &CacheManager::signal_cacheError, &application, [&](const QString& error) {
        std::printf("error: %s\n", qPrintable(QString(error).replace(file, "FILE").simplified()));
        if (++attempts == 1)
            QFile::rename(elsewhere, file); // here: bring the file back; then try again
        current.setReadWriteError(false);
    });

    QFile::rename(file, elsewhere);
    std::printf("first try: %s\n", qPrintable(QString::number(current.getSampleFloat(7))));
    std::printf("second try: %s\n", qPrintable(QString::number(current.getSampleFloat(7))));

    // Without waiting: a load in the background whose result carries the text.
    current.removeFromMemory();
    QFile::rename(file, elsewhere);
    QEventLoop events; // an application has its own
    QFutureWatcher<LoadResult> load;
    QObject::connect(&load, &QFutureWatcher<LoadResult>::finished, &events, &QEventLoop::quit);
    load.setFuture(cache.loadInBackground(&current));
    events.exec();
    std::printf("in the background: %s\n", load.result().isLoaded ? "loaded" : "failed");
}
