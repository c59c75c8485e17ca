// Whether a window would freeze: an array of 10^8 samples is restored, its envelope is prepared and its
// samples are loaded in the background, while the event loop draws the envelope again and again and a
// timer fires every millisecond. Prints the longest time between two turns of the event loop, beside
// what the statistics of the cache and the system say about memory.
//
//     event_loop_probe [SAMPLES]
#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/CacheManager.h>
#include <datastorage/units/Converter.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QFutureWatcher>
#include <QtCore/QJsonObject>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTimer>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>
#include <vector>

using namespace vx::datastorage;

namespace {

constexpr int COLUMNS = 2000;
constexpr int DRAW_MILLISECONDS = 16;
constexpr qint64 BLOCK = 1'000'000;
const QString KEY = QStringLiteral("/data/run.dat");

std::unique_ptr<DataArrayInfoStreamed> makeArray(const QString& name)
{
    auto array = std::make_unique<DataArrayInfoStreamed>(name, ParameterVoltage, Float, UsualUnit(UnitVolt));
    array->createDataArray();
    return array;
}

void fill(DataArrayInfoStreamed& array, qint64 samples)
{
    std::vector<float> block(static_cast<std::size_t>(BLOCK));
    for (std::size_t i = 0; i < block.size(); ++i)
        block[i] = 3.7F + 0.4F * std::sin(static_cast<float>(i) * 1e-4F);
    array.startAddingData();
    for (qint64 done = 0; done < samples; done += BLOCK) {
        const qint64 count = std::min(BLOCK, samples - done);
        array.addSamples(std::span<const float>(block).first(static_cast<std::size_t>(count)));
    }
    array.endAddingData(KEY);
    CacheManager::instance().awaitTaskFinished(&array);
}

/// Another descriptor of the same samples, that knows nothing of them but their number and their file.
bool restore(DataArrayInfoStreamed& array, DataArrayInfoStreamed& restored)
{
    CacheManager& cache = CacheManager::instance();
    QJsonObject object;
    vx::archive::ArchiveContext context;
    context.dataSourcePath = KEY;
    array.write(object, 0, context);
    object.insert(QLatin1String("name"), restored.getName());
    return QFile::copy(cache.getFullFilename(KEY, &array), cache.getFullFilename(KEY, &restored)) &&
           restored.read(object, 0, context);
}

/// Bytes of the process that are in memory, 0 where the system does not tell.
qint64 processBytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).simplified().split(' ').first().toLongLong() * 1024;
    return 0;
}

/// What the event loop goes through while `future` is not finished.
class Probe
{
public:
    template <typename Result>
    void watch(const char* what, DataArrayInfoStreamed& array, const QFuture<Result>& future)
    {
        QTimer tick;
        QTimer draw;
        QElapsedTimer sinceTurn;
        qint64 longest = 0;
        qint64 drawn = 0;
        QObject::connect(&tick, &QTimer::timeout, [&] { longest = std::max(longest, sinceTurn.restart()); });
        QObject::connect(&draw, &QTimer::timeout, [&] {
            if (array.isEnvelopeReady())
                drawn += array.envelope(1, array.getSize() - 1, COLUMNS).empty() ? 0 : 1;
        });
        tick.setTimerType(Qt::PreciseTimer);
        QElapsedTimer total;
        total.start();
        sinceTurn.start();
        tick.start(1);
        draw.start(DRAW_MILLISECONDS);
        while (!future.isFinished())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        longest = std::max(longest, sinceTurn.elapsed());
        std::printf("%-22s %6lld ms, longest gap %3lld ms, envelopes drawn %lld\n", what, total.elapsed(),
                    longest, drawn);
    }
};

void printMemory(const char* when, qint64 before)
{
    const CacheStatistics statistics = CacheManager::instance().statistics();
    const double counted = static_cast<double>(statistics.sampleBytes + statistics.envelopeBytes);
    const auto grown = static_cast<double>(processBytes() - before);
    std::printf("%-22s samples %.1f MB, envelopes %.2f MB, process grown by %.1f MB (%+.1f %%)\n", when,
                static_cast<double>(statistics.sampleBytes) / 1e6,
                static_cast<double>(statistics.envelopeBytes) / 1e6, grown / 1e6,
                100.0 * (counted - grown) / grown);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const qint64 samples = argc > 1 ? std::atoll(argv[1]) : 100'000'000;
    const QTemporaryDir directory;
    CacheManager& cache = CacheManager::instance();
    cache.setDefaultCachePath(directory.path(), true);
    if (!directory.isValid() || !cache.checkDefaultCacheDirectory()) {
        std::fputs("no directory for cache files\n", stderr);
        return 1;
    }
    cache.setCacheSizeInBytes(qint64{1} << 40);
    Converter::init();

    const auto source = makeArray(QStringLiteral("source"));
    const auto array = makeArray(QStringLiteral("restored"));
    const qint64 before = processBytes();
    fill(*source, samples);
    printMemory("filled", before);
    source->removeFromMemory();
    if (!restore(*source, *array)) {
        std::fputs("the array cannot be restored\n", stderr);
        return 1;
    }

    Probe probe;
    probe.watch("envelope prepared", *array, cache.prepareEnvelope(array.get()));
    probe.watch("loaded", *array, cache.loadInBackground(array.get()));
    array->removeFromMemory();
    probe.watch("loaded once more", *array, cache.loadInBackground(array.get()));
    printMemory("loaded", before);
    return 0;
}
