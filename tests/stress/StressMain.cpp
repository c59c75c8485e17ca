// Uses arrays and cache from all sides at once and checks every sample that comes back.
//
//   stress SECONDS [SEED [READERS]]
//
// The main thread fills, appends, updates, clears, renames, damages, destroys and re-creates arrays
// under a budget that changes from 1 byte up; 8 other threads, or READERS, read. A sample is a function of
// array, generation and index, so that every wrong one is noticed. Prints what was done; the result is 1
// when anything was wrong.

#include "StressProducer.h"

#include <datastorage/cache/CacheManager.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QTemporaryDir>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

namespace {

constexpr int defaultReaders = 8;
/// Seconds. The end takes its time under a sanitizer; what takes longer hangs.
constexpr qint64 longestEnd = 240;
/// Samples that an array usually gets at once; the last one is handed out while it is being loaded.
constexpr qint64 usualSizes[] = {3, 100, 400, 1023, 1024, 5000, 5000, 20000, 60000, 120000, 1400000};

class Readers
{
public:
    Readers(std::deque<StressSlot>& arrays, StressReport& report, quint32 seed, int count)
    {
        for (int number = 0; number < count; ++number)
            m_threads.emplace_back([this, &arrays, &report, seed, number] {
                StressReader(arrays, report, seed + 100 + static_cast<quint32>(number)).run(m_isOver);
                ++m_finished;
            });
    }

    /// Waits for the readers; one that waits for an error to be cleared needs the producer for that.
    void end(StressProducer& producer)
    {
        m_isOver.store(true);
        while (m_finished.load() < m_threads.size())
            producer.pump();
        for (std::thread& thread : m_threads)
            thread.join();
    }

private:
    std::atomic<bool> m_isOver{false};
    std::atomic<std::size_t> m_finished{0};
    std::vector<std::thread> m_threads;
};

/// Ends a run that hangs, with what the main thread did last.
class Watchdog
{
public:
    Watchdog(StressReport& report, std::chrono::seconds limit)
        : m_thread([this, &report, limit] {
              std::unique_lock lock(m_mutex);
              if (m_end.wait_for(lock, limit, [this] { return m_isOver; }))
                  return;
              report.fail(QStringLiteral("no end after %1 s").arg(limit.count()));
              std::fflush(nullptr);
              std::_Exit(1);
          })
    {}

    ~Watchdog()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_isOver = true;
        }
        m_end.notify_all();
        m_thread.join();
    }

    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

private:
    std::mutex m_mutex;
    std::condition_variable m_end;
    bool m_isOver = false;
    std::thread m_thread; ///< last, as it uses the others
};

void run(qint64 seconds, quint32 seed, int readerCount, StressReport& report)
{
    const Watchdog watchdog(report, std::chrono::seconds(seconds * 2 + longestEnd));
    std::deque<StressSlot> arrays;
    int number = 0;
    for (const qint64 size : usualSizes) {
        arrays.emplace_back(number, number % 2 == 1, size);
        ++number;
    }
    StressProducer producer(arrays, report, seed);
    Readers readers(arrays, report, seed, readerCount);
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < seconds * 1000 && !report.hasFailed())
        producer.step();
    readers.end(producer);
    producer.finish();
}

void checkDirectory(StressReport& report)
{
    const QString path = vx::datastorage::CacheManager::instance().getDefaultCachePath();
    const QStringList left = QDir(path).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    if (!left.isEmpty())
        report.fail(QStringLiteral("files left over: ") + left.join(QLatin1String(", ")));
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const qint64 seconds = arguments.value(1).toLongLong();
    const quint32 seed = argc > 2 ? arguments.value(2).toUInt() : std::random_device()();
    const int readers = argc > 3 ? arguments.value(3).toInt() : defaultReaders;
    if (seconds < 1 || readers < 0) {
        std::fprintf(stderr, "usage: stress SECONDS [SEED [READERS]]\n");
        return 2;
    }
    std::printf("seed %u, %d readers, %lld s\n", seed, readers, seconds);
    std::fflush(stdout);
    const QTemporaryDir directory;
    auto& cache = vx::datastorage::CacheManager::instance();
    cache.setDefaultCachePath(directory.path(), true);
    StressReport report;
    if (!cache.checkDefaultCacheDirectory())
        report.fail(QStringLiteral("no cache directory"));
    run(seconds, seed, readers, report);
    checkDirectory(report);
    cache.removeCacheDirectory();
    report.print();
    return report.hasFailed() ? 1 : 0;
}
