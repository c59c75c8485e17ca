#include <datastorage/cache/TaskTable_p.h>

#include <datastorage/cache/CacheThread_p.h>

#include <QtCore/QDeadlineTimer>
#include <QtCore/QElapsedTimer>
#include <QtCore/QRunnable>
#include <QtCore/QThread>
#include <QtCore/QThreadPool>

#include <algorithm>
#include <memory>
#include <utility>

namespace vx::datastorage {

using nel::tools::Locker;

namespace {

/// How long a process that ends waits for a task that is reading or writing.
constexpr qint64 stopMilliseconds = 10000;
/// Queued errors of one array that are many.
constexpr int manyErrors = 16;

} // namespace

bool TaskTable::begin(Array array)
{
    const Locker lock(m_mutex);
    return enter(array);
}

bool TaskTable::beginUnlessAwaited(Array array)
{
    const Locker lock(m_mutex);
    return !mustStandBack(array) && enter(array);
}

bool TaskTable::hasManyErrors(Array array) const
{
    return m_errors.value(array) >= manyErrors;
}

/// Whether somebody waits for `array`; not so for a completion that this thread runs while it waits.
bool TaskTable::mustStandBack(Array array) const
{
    const Qt::HANDLE thread = QThread::currentThreadId();
    return m_awaited.contains(array) &&
           std::none_of(m_executing.begin(), m_executing.end(),
                        [&](const Executing& executing) { return executing.thread == thread; });
}

bool TaskTable::enter(Array array)
{
    if (m_running.contains(array))
        return false;
    m_running.insert(array, std::make_shared<Record>());
    return true;
}

void TaskTable::setRunnable(Array array, QRunnable* runnable, RunsOn where)
{
    const Locker lock(m_mutex);
    if (const std::shared_ptr<Record> record = m_running.value(array)) {
        record->runnable = runnable;
        record->where = where;
    }
}

bool TaskTable::beginWrite(Array array)
{
    const Locker lock(m_mutex);
    if (enter(array))
        return true;
    if (const std::shared_ptr<Record> record = m_running.value(array))
        record->writeRequested = true;
    return false;
}

bool TaskTable::finish(Array array, std::function<void(bool)> completion, Outcome outcome)
{
    const Locker lock(m_mutex);
    const std::shared_ptr<Record> record = m_running.take(array);
    const bool writeRequested = record && record->writeRequested;
    Completion bound = [completion = std::move(completion), writeRequested] { completion(writeRequested); };
    m_changed.wakeAll();
    if (record)
        record->isFinished = true;
    if (record && record->isAwaited) {
        record->completion = std::move(bound);
        return false;
    }
    queue({array, std::move(bound), false, outcome == Outcome::Error, 0});
    return true;
}

void TaskTable::queue(Queued queued)
{
    queued.number = m_nextNumber++;
    countError(queued, 1);
    m_queued.push_back(std::move(queued));
    if (m_wake)
        m_wake();
}

void TaskTable::post(Array array, Completion report)
{
    const Locker lock(m_mutex);
    if (!hasManyErrors(array))
        queue({array, std::move(report), true, true, 0});
}

void TaskTable::countError(const Queued& queued, int change)
{
    if (queued.isError && (m_errors[queued.array] += change) == 0)
        m_errors.remove(queued.array);
}

bool TaskTable::runPending()
{
    const Locker lock(m_mutex);
    return runQueuedNow();
}

/// Runs as many completions as are queued now: others may be queued as fast as these are run.
bool TaskTable::runQueuedNow()
{
    const bool hasAny = !m_queued.empty();
    const Wanted any{.reportsBefore = m_nextNumber};
    for (std::size_t left = m_queued.size(); left > 0 && runQueued(any); --left) {
    }
    return hasAny;
}

/// Runs the first completion that is wanted. Returns whether there was one.
bool TaskTable::runQueued(const Wanted& wanted)
{
    const auto next = std::find_if(m_queued.begin(), m_queued.end(), [&wanted](const Queued& queued) {
        return (!wanted.array || queued.array == wanted.array) &&
               (!queued.isReport || queued.number < wanted.reportsBefore);
    });
    if (next == m_queued.end())
        return false;
    const Queued queued = std::move(*next);
    m_queued.erase(next);
    countError(queued, -1);
    execute(queued.array, queued.completion);
    return true;
}

/// Runs a completion without the lock, visibly for whoever waits for its end.
void TaskTable::execute(Array array, const Completion& completion)
{
    m_executing.push_back({array, QThread::currentThreadId()});
    m_mutex.unlock();
    completion();
    m_mutex.lock();
    const Qt::HANDLE thread = QThread::currentThreadId();
    const auto mine = std::find_if(m_executing.rbegin(), m_executing.rend(),
                                   [&](const Executing& executing) { return executing.thread == thread; });
    m_executing.erase(std::next(mine).base());
    m_changed.wakeAll();
}

/// Whether another thread runs a completion of `array`. One of this thread does not count: its own
/// listeners may wait for the array without waiting for themselves.
bool TaskTable::isExecutingElsewhere(Array array) const
{
    const Qt::HANDLE thread = QThread::currentThreadId();
    return std::any_of(m_executing.begin(), m_executing.end(), [&](const Executing& executing) {
        return executing.array == array && executing.thread != thread;
    });
}

void TaskTable::await(Array array)
{
    // Draining and looking the array up happen under one hold of the lock: a task that finishes in
    // between cannot leave its completion behind.
    const Locker lock(m_mutex);
    ++m_awaited[array];
    const Wanted wanted{array, m_nextNumber};
    if (CacheThread::isCurrent())
        runQueuedNow();
    awaitTask(wanted);
    if (--m_awaited[array] == 0)
        m_awaited.remove(array);
    m_changed.wakeAll();
}

/// Waits until the array has no running task and runs what is queued for it.
void TaskTable::awaitTask(const Wanted& wanted)
{
    const Array array = wanted.array;
    while (runQueued(wanted)) {
    }
    for (;;) {
        if (const std::shared_ptr<Record> record = m_running.value(array)) {
            record->isAwaited = true;
            while (!record->isFinished && !runHere(*record))
                m_changed.wait(m_mutex);
            if (const Completion completion = std::exchange(record->completion, {}))
                execute(array, completion);
        } else if (isExecutingElsewhere(array)) {
            m_changed.wait(m_mutex);
        } else if (!runQueued(wanted)) {
            return;
        }
    }
}

bool TaskTable::takeFromIdlePool(QRunnable* runnable)
{
    QThreadPool* pool = QThreadPool::globalInstance();
    return pool && pool->activeThreadCount() < pool->maxThreadCount() && pool->tryTake(runnable);
}

/// Takes a task back, if that is possible, and runs it without the lock. Returns whether it did.
bool TaskTable::runHere(Record& record)
{
    if (record.where != RunsOn::AnyThread || !record.runnable || !m_takeBack(record.runnable))
        return false;
    const std::unique_ptr<QRunnable> task(std::exchange(record.runnable, nullptr));
    m_mutex.unlock();
    task->run();
    m_mutex.lock();
    return true;
}

void TaskTable::awaitIdle(Array array)
{
    const Locker lock(m_mutex);
    while (m_running.contains(array) || mustStandBack(array))
        m_changed.wait(m_mutex);
}

bool TaskTable::awaitFewErrors(Array array, unsigned long milliseconds)
{
    const Locker lock(m_mutex);
    const QDeadlineTimer end(static_cast<qint64>(milliseconds));
    while (hasManyErrors(array) && !end.hasExpired())
        m_changed.waitFor(m_mutex, static_cast<unsigned long>(end.remainingTime()));
    return !hasManyErrors(array);
}

bool TaskTable::isCompleting(Array array) const
{
    const Locker lock(m_mutex);
    const Qt::HANDLE thread = QThread::currentThreadId();
    return std::any_of(m_executing.begin(), m_executing.end(), [&](const Executing& executing) {
        return executing.array == array && executing.thread == thread;
    });
}

bool TaskTable::isRunning(Array array) const
{
    const Locker lock(m_mutex);
    return m_running.contains(array);
}

bool TaskTable::isBusy(Array array) const
{
    const Locker lock(m_mutex);
    return m_running.contains(array) || isExecutingElsewhere(array) ||
           std::any_of(m_queued.begin(), m_queued.end(),
                       [array](const Queued& queued) { return queued.array == array; });
}

qsizetype TaskTable::runningCount() const
{
    const Locker lock(m_mutex);
    return m_running.size();
}

void TaskTable::forgetRunning()
{
    const Locker lock(m_mutex);
    for (const std::shared_ptr<Record>& record : std::as_const(m_running))
        record->isFinished = true;
    m_running.clear();
    m_changed.wakeAll();
}

void TaskTable::forget(Array array)
{
    const Locker lock(m_mutex);
    std::erase_if(m_queued, [array](const Queued& queued) { return queued.array == array; });
    m_errors.remove(array);
    for (Executing& executing : m_executing)
        if (executing.array == array)
            executing.array = nullptr;
}

void TaskTable::stop()
{
    const Locker lock(m_mutex);
    QThreadPool* pool = QThreadPool::globalInstance();
    for (auto entry = m_running.begin(); entry != m_running.end();) {
        QRunnable* runnable = entry.value()->runnable;
        if (!pool || !runnable || !pool->tryTake(runnable)) {
            ++entry;
            continue;
        }
        delete runnable;
        entry = m_running.erase(entry);
    }
    QElapsedTimer timer;
    timer.start();
    while (!m_running.isEmpty() && timer.elapsed() < stopMilliseconds)
        m_changed.waitFor(m_mutex, static_cast<unsigned long>(stopMilliseconds - timer.elapsed()));
}

} // namespace vx::datastorage
