// A process that fills, evicts and appends is killed at a random moment; then a process with the same id
// uses the same directory: it must see no sample of the dead one and leave no file.
//
//   crash KILLS [SEED]

#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/CacheManager.h>

#include <support/Random.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <cstdio>
#include <memory>
#include <random>
#include <vector>

using namespace vx::datastorage;

namespace {

constexpr int arrayCount = 6;
constexpr int patienceMilliseconds = 60000;
constexpr quint32 mostMarks = 400;
const QString key = QStringLiteral("C:/data/run.dat");

using Arrays = std::vector<std::unique_ptr<DataArrayInfoStreamed>>;

CacheManager& cache()
{
    return CacheManager::instance();
}

Arrays makeArrays()
{
    Arrays arrays;
    for (int number = 0; number < arrayCount; ++number) {
        arrays.push_back(std::make_unique<DataArrayInfoStreamed>(QStringLiteral("array %1").arg(number),
                                                                 ParameterVoltage, Int, UsualUnit()));
        arrays.back()->createDataArray();
    }
    return arrays;
}

void add(DataArrayInfoStreamed& info, quint32 count, int offset)
{
    for (quint32 added = 0; added < count; ++added)
        info.addSampleInt(offset + static_cast<int>(info.getSize()));
}

/// One step of the process that will be killed.
void useOne(DataArrayInfoStreamed& info, Random& random)
{
    constexpr int oldSamples = 1000000;
    const quint32 count = random.upTo(3000);
    switch (cache().isCached(&info) ? random.upTo(4) : 0) {
    case 0:
        info.startAddingData();
        add(info, count, oldSamples);
        info.endAddingData(key);
        break;
    case 1:
        cache().prepareAppendDataArray(&info);
        add(info, count, oldSamples);
        cache().appendDataArray(&info, key);
        break;
    case 2:
        info.clear();
        break;
    case 3:
        cache().setCacheSizeInBytes(qint64{1} << random.upTo(16));
        break;
    default:
        if (info.getSize() > 0)
            info.getSample(random.upTo(static_cast<quint32>(info.getSize() - 1)));
    }
}

/// The process that will be killed: works until then and says after each step that it is there.
[[noreturn]] void live(const QString& directory, quint32 seed)
{
    cache().setDefaultCachePath(directory, true);
    if (!cache().checkDefaultCacheDirectory())
        std::_Exit(1);
    Random random(seed);
    const Arrays arrays = makeArrays();
    for (;;) {
        useOne(*arrays[random.upTo(arrayCount - 1)], random);
        QCoreApplication::processEvents();
        std::fputc('.', stdout);
        std::fflush(stdout);
    }
}

bool fail(const QString& text)
{
    std::fprintf(stderr, "FAILED: %s\n", qPrintable(text));
    return false;
}

/// Starts a process in `directory`, kills it after a random number of steps and lets its directory look
/// as if it had had the id of this process. Returns whether that went well.
bool leaveBehind(const QString& directory, Random& random)
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(),
                  {QStringLiteral("--child"), directory, QString::number(random.next())});
    QByteArray marks;
    const auto enough = qsizetype{1} + random.upTo(mostMarks);
    while (marks.size() < enough) {
        if (!process.waitForReadyRead(patienceMilliseconds))
            return fail(QStringLiteral("the process does not work"));
        marks += process.readAll();
    }
    const QString dead = QString::number(process.processId());
    process.kill();
    if (!process.waitForFinished(patienceMilliseconds))
        return fail(QStringLiteral("the process cannot be killed"));
    const QDir parent(directory);
    const QString self = QString::number(QCoreApplication::applicationPid());
    if (!QDir().rename(parent.filePath(dead), parent.filePath(self)) ||
        !QFile::rename(parent.filePath(dead + QLatin1String(".lock")),
                       parent.filePath(self + QLatin1String(".lock"))))
        return fail(QStringLiteral("the process has left no directory and lock"));
    return true;
}

/// Whether `info` has exactly the samples from 0 on.
bool holdsNewSamples(const DataArrayInfoStreamed& info, qint64 size)
{
    if (info.getSize() != size || info.isInError())
        return fail(info.getName() + QStringLiteral(" has another size or an error"));
    std::vector<int> samples(static_cast<std::size_t>(size));
    if (info.readSamples(0, std::span<int>(samples)) != size)
        return fail(info.getName() + QStringLiteral(" is incomplete"));
    for (std::size_t index = 0; index < samples.size(); ++index)
        if (samples[index] != static_cast<int>(index))
            return fail(QStringLiteral("a sample of the dead process: %1").arg(samples[index]));
    return true;
}

/// Works in the directory that was left behind.
bool startAgain(const QString& directory, Random& random)
{
    cache().setDefaultCachePath(directory, true);
    cache().setCacheSizeInBytes(1);
    if (!cache().checkDefaultCacheDirectory())
        return fail(QStringLiteral("the directory cannot be used"));
    const QDir own(cache().getDefaultCachePath());
    if (!own.isEmpty())
        return fail(QStringLiteral("left over: ") + own.entryList(QDir::Files).join(QLatin1String(", ")));
    bool good = true;
    {
        const Arrays arrays = makeArrays();
        for (const auto& info : arrays) {
            info->startAddingData();
            add(*info, random.upTo(2000), 0);
            info->endAddingData(key);
        }
        for (const auto& info : arrays) {
            cache().awaitTaskFinished(info.get());
            info->removeFromMemory();
            good = holdsNewSamples(*info, info->getSize()) && good;
        }
    }
    if (!own.isEmpty())
        good = fail(QStringLiteral("a file is left over"));
    return cache().removeCacheDirectory() && QDir(directory).isEmpty() && good;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("--child"))
        live(arguments.value(2), arguments.value(3).toUInt());
    const int kills = arguments.value(1).toInt();
    const quint32 seed = argc > 2 ? arguments.value(2).toUInt() : std::random_device()();
    std::printf("seed %u, %d kills\n", seed, kills);
    Random random(seed);
    int good = 0;
    for (int kill = 0; kill < kills; ++kill) {
        const QTemporaryDir directory;
        if (leaveBehind(directory.path(), random) && startAgain(directory.path(), random))
            ++good;
    }
    std::printf("%d of %d starts found nothing of the dead process\n", good, kills);
    return kills > 0 && good == kills ? 0 : 1;
}
