#pragma once

#include <tools/Mutex.h>

#include <QtCore/QHash>
#include <QtCore/qnamespace.h>

#include <deque>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

class QRunnable;

namespace vx::datastorage {

class DataArrayInfoStreamed;

/// The cache's running tasks, one per array, and the hand-over of what has to be done after them.
///
/// What follows a task (its completion) belongs to the main thread: it is run by the thread that waits
/// for the task, or else queued until the main thread calls runPending(). Completions run without the
/// table's lock, so they may use the table again.
///
/// Threads: any. No lock is held while foreign code runs.
class TaskTable
{
public:
    using Array = const DataArrayInfoStreamed*;
    using Completion = std::function<void()>;

    /// `wake` asks the main thread to call runPending(); it may be null. It is called with the table's
    /// lock held, so that no task is still in it when stop() has returned, and must not use the table.
    /// `takeBack` takes a task back that is about to begin.
    explicit TaskTable(std::function<void()> wake = {},
                       std::function<bool(QRunnable*)> takeBack = takeFromIdlePool)
        : m_wake(std::move(wake)), m_takeBack(std::move(takeBack))
    {}

    /// Takes a task back from the global thread pool while a thread of it is about to begin the task. Returns
    /// whether it was so. A task that waits for others keeps its place behind them.
    static bool takeFromIdlePool(QRunnable* runnable);

    /// Enters a task of `array`. Returns false, with nothing changed, when one runs already.
    bool begin(Array array);
    /// As begin() for a thread that merely wants samples: it stands back, too, while somebody waits in
    /// await() for `array`. Many such threads could otherwise keep the array from ever being idle.
    bool beginUnlessAwaited(Array array);
    enum class RunsOn
    {
        PoolThread,
        /// It does the same on any thread: one that waits for it runs it itself if it can be taken back.
        /// Otherwise a small task takes less time than its thread and the one that waits take to wake up.
        AnyThread
    };
    /// Says which object, given to the global thread pool next, will run the task that was entered last for
    /// `array`.
    void setRunnable(Array array, QRunnable* runnable, RunsOn where = RunsOn::PoolThread);
    /// As begin() for a write. When a task runs already, remembers that `array` is to be written once that is
    /// over.
    bool beginWrite(Array array);

    enum class Outcome
    {
        Done,
        Error
    };
    /// The task of `array` is over. Returns true when its completion was queued and the main thread
    /// woken; false when a waiting thread takes it.
    bool finish(Array array, std::function<void(bool writeRequested)> completion,
                Outcome outcome = Outcome::Done);
    /// Queues the report of an error of `array`, a completion that belongs to no task, and wakes the main
    /// thread. Does nothing when many errors of `array` are queued already.
    void post(Array array, Completion report);

    /// Runs the completions that are queued now, first in, first out. Returns whether there were any.
    bool runPending();
    /// Runs what is queued (on another than the main thread only what belongs to `array`), waits until
    /// `array` has no running task, without time limit, and runs its completion. On return the array
    /// has no running task and no completion of one that has not run. Reports that are posted meanwhile
    /// stay queued: readers of a broken array may post them faster than they are run.
    void await(Array array);
    /// Waits until beginUnlessAwaited() has a chance; completions are left to others.
    void awaitIdle(Array array);
    /// Waits while many errors of `array` are queued, at most so long: a thread that caused more of them
    /// could keep the main thread, which runs them, from ever catching up. Returns whether they are few.
    bool awaitFewErrors(Array array, unsigned long milliseconds);

    bool isRunning(Array array) const;
    /// Whether a task of `array` runs, or what follows one has not been done yet.
    bool isBusy(Array array) const;
    /// Whether this thread is inside a completion of `array` and the array has not been forgotten
    /// meanwhile: what the completion calls may destroy the array.
    bool isCompleting(Array array) const;
    /// Tasks that have not finished.
    qsizetype runningCount() const;

    /// Forgets the running tasks; their completions will be queued.
    void forgetRunning();
    /// Drops the completions of `array`, which is gone; one that is running learns it from
    /// isCompleting().
    void forget(Array array);
    /// Takes back from the thread pool what has not started and waits for the rest, for a bounded time.
    void stop();

private:
    struct Record
    {
        bool isAwaited = false; ///< a thread waits in await() for this task
        bool isFinished = false;
        bool writeRequested = false;
        Completion completion; ///< handed over to the waiting thread
        QRunnable* runnable = nullptr;
        RunsOn where = RunsOn::PoolThread;
    };
    struct Queued
    {
        Array array;
        Completion completion;
        bool isReport;  ///< belongs to no task
        bool isError;   ///< counts among those of the array
        quint64 number; ///< in the order of queueing
    };
    /// Which queued completions to run.
    struct Wanted
    {
        Array array = nullptr;     ///< those of this array; null for any
        quint64 reportsBefore = 0; ///< reports only if their number is below this one
    };
    struct Executing
    {
        Array array;
        Qt::HANDLE thread;
    };

    bool mustStandBack(Array array) const VX_REQUIRES(m_mutex);
    bool enter(Array array) VX_REQUIRES(m_mutex);
    bool runQueued(const Wanted& wanted) VX_REQUIRES(m_mutex);
    bool runQueuedNow() VX_REQUIRES(m_mutex);
    void awaitTask(const Wanted& wanted) VX_REQUIRES(m_mutex);
    bool runHere(Record& record) VX_REQUIRES(m_mutex);
    void execute(Array array, const Completion& completion) VX_REQUIRES(m_mutex);
    bool isExecutingElsewhere(Array array) const VX_REQUIRES(m_mutex);

    bool hasManyErrors(Array array) const VX_REQUIRES(m_mutex);
    void queue(Queued queued) VX_REQUIRES(m_mutex);
    void countError(const Queued& queued, int change) VX_REQUIRES(m_mutex);

    const std::function<void()> m_wake; ///< constant after construction
    const std::function<bool(QRunnable*)> m_takeBack;
    mutable nel::tools::Mutex m_mutex;
    nel::tools::WaitCondition m_changed; ///< a task or a completion is over
    QHash<Array, std::shared_ptr<Record>> m_running VX_GUARDED_BY(m_mutex);
    QHash<Array, int> m_awaited VX_GUARDED_BY(m_mutex); ///< threads in await()
    std::deque<Queued> m_queued VX_GUARDED_BY(m_mutex);
    quint64 m_nextNumber VX_GUARDED_BY(m_mutex) = 0;   ///< of what is queued next
    QHash<Array, int> m_errors VX_GUARDED_BY(m_mutex); ///< of those that are queued
    std::vector<Executing> m_executing VX_GUARDED_BY(m_mutex);
};

} // namespace vx::datastorage
