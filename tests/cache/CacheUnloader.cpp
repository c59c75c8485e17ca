// Ends in the way that its first argument names, with its cache in the directory "files" below its second
// argument. Exit code 0: everything before the end went as it should.

#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/CacheManager.h>
#include <datastorage/units/PhysicalParameter.h>
#include <datastorage/units/UsualUnit.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QThreadPool>

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using namespace vx::datastorage;

namespace {

const QString KEY = "C:/data/run1.dat";
constexpr int MANY = 300000;

/// An array that outlives main().
std::optional<DataArrayInfoStreamed>& staticArray()
{
    static std::optional<DataArrayInfoStreamed> array;
    return array;
}

/// Never destroys the array.
void keepToTheEnd(std::unique_ptr<DataArrayInfoStreamed> array)
{
    static auto* const kept = new std::vector<std::unique_ptr<DataArrayInfoStreamed>>;
    kept->push_back(std::move(array));
}

CacheManager& cache()
{
    return CacheManager::instance();
}

void check(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "%s does not hold\n", what);
        std::exit(1);
    }
}

void useDirectory(const QString& directory)
{
    check(QDir().mkpath(directory + "/was-there"), "directory");
    cache().setDefaultCachePath(directory + "/files", false);
    check(cache().checkDefaultCacheDirectory(), "checkDefaultCacheDirectory");
}

std::unique_ptr<DataArrayInfoStreamed> makeArray(const QString& name, int count)
{
    auto array =
        std::make_unique<DataArrayInfoStreamed>(name, static_cast<PhysicalParameter>(9), Int, UsualUnit());
    array->createDataArray();
    for (int i = 0; i < count; ++i) {
        array->addSampleInt(i);
    }
    return array;
}

void fillEvictAndRead(DataArrayInfoStreamed& array, int count)
{
    array.endAddingData(KEY);
    cache().awaitTaskFinished(&array);
    array.removeFromMemory();
    check(array.getSample(count - 1).intValue == count - 1, "sample read back");
    cache().awaitTaskFinished(&array);
}

void withoutApplication()
{
    const auto array = makeArray("A", 1000);
    fillEvictAndRead(*array, 1000);
}

void withoutApplicationAndError()
{
    QStringList errors;
    QObject::connect(&cache(), &CacheManager::signal_cacheError,
                     [&](const QString& error) { errors << error; });
    const auto array = makeArray("A", 0);
    const auto other = makeArray("B", 0);
    cache().loadDataArrayInfoToCache(KEY, array.get());
    cache().readDataArrayFromDisk(array.get());
    check(QThreadPool::globalInstance()->waitForDone(10000), "end of the task");
    check(errors.isEmpty(), "completion that waits");
    cache().awaitTaskFinished(other.get());
    check(errors.size() == 1, "completion in the next await");
    QObject::disconnect(&cache(), nullptr, nullptr, nullptr);
}

void afterApplication(int argc, char** argv)
{
    std::unique_ptr<DataArrayInfoStreamed> array;
    std::unique_ptr<DataArrayInfoStreamed> other;
    {
        const QCoreApplication application(argc, argv);
        array = makeArray("A", 1000);
        fillEvictAndRead(*array, 1000);
        other = makeArray("B", MANY);
        other->endAddingData(KEY); // runs while the application goes
    }
    cache().awaitTaskFinished(other.get());
    array->removeFromMemory();
    check(array->getSample(999).intValue == 999, "sample without the application");
}

void withStaticArray(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    staticArray().emplace("A", static_cast<PhysicalParameter>(9), Int, UsualUnit());
    staticArray()->createDataArray();
    for (int i = 0; i < MANY; ++i) {
        staticArray()->addSampleInt(i);
    }
    staticArray()->endAddingData(KEY);
}

void withQueuedTasks(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QThreadPool::globalInstance()->setMaxThreadCount(1);
    for (int i = 0; i < 20; ++i) {
        auto array = makeArray(QString::number(i), MANY / 10);
        array->endAddingData(KEY);
        keepToTheEnd(std::move(array));
    }
}

void withPendingCompletions(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    auto array = makeArray("A", 1000);
    array->endAddingData(KEY);
    auto failing = makeArray("B", 0);
    cache().loadDataArrayInfoToCache(KEY, failing.get());
    cache().readDataArrayFromDisk(failing.get());
    check(QThreadPool::globalInstance()->waitForDone(10000), "end of the tasks");
    keepToTheEnd(std::move(array));
    keepToTheEnd(std::move(failing));
}

void withOpenBrackets(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const auto filled = makeArray("A", 1000);
    fillEvictAndRead(*filled, 1000);
    filled->startAddingData();
    filled->addSampleInt(1);
    const auto appended = makeArray("B", 1000);
    fillEvictAndRead(*appended, 1000);
    cache().prepareAppendDataArray(appended.get());
    appended->addSampleInt(1);
}

void inASecondApplication(int argc, char** argv)
{
    for (int i = 0; i < 2; ++i) {
        const QCoreApplication application(argc, argv);
        const auto array = makeArray("A", 1000);
        fillEvictAndRead(*array, 1000);
        array->removeFromMemory();
        cache().readDataArrayFromDisk(array.get());
        check(QThreadPool::globalInstance()->waitForDone(10000), "end of the task");
        const quint64 before = array->getLastTimeStreamed();
        QCoreApplication::processEvents();
        check(array->getLastTimeStreamed() > before, "completion in the event loop");
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        return 2;
    }
    const std::string ending = argv[1];
    staticArray(); // made before the cache manager, destroyed after it
    useDirectory(QString::fromLocal8Bit(argv[2]));
    if (ending == "without-application") {
        withoutApplication();
    } else if (ending == "without-application-and-error") {
        withoutApplicationAndError();
    } else if (ending == "after-application") {
        afterApplication(argc, argv);
    } else if (ending == "with-static-array") {
        withStaticArray(argc, argv);
    } else if (ending == "with-queued-tasks") {
        withQueuedTasks(argc, argv);
    } else if (ending == "with-pending-completions") {
        withPendingCompletions(argc, argv);
    } else if (ending == "with-open-brackets") {
        withOpenBrackets(argc, argv);
    } else if (ending == "in-a-second-application") {
        inASecondApplication(argc, argv);
    } else {
        return 2;
    }
    return 0;
}
