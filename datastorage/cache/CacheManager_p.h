#pragma once

#include <datastorage/arrays/DataType.h>
#include <datastorage/cache/BackgroundLoads_p.h>
#include <datastorage/cache/CacheCounters_p.h>
#include <datastorage/cache/CacheDirectory_p.h>
#include <datastorage/cache/CacheManagerAccess_p.h>
#include <datastorage/cache/CacheRegistry_p.h>
#include <datastorage/cache/EvictionQueue_p.h>
#include <datastorage/cache/TaskTable_p.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QObject>
#include <QtCore/QPointer>

#include <atomic>
#include <functional>
#include <span>

namespace vx::datastorage {

class CacheManager;
class DataArrayInfoStreamed;
class DataArrayStreamed;

/// Runs the queued completions on the main thread: lives there, and is called through its event loop, but
/// only so often in one turn of it. Each completion posts an event and each event runs all completions:
/// where those lead to new ones, as with readers of a broken array whose errors are cleared as they come,
/// every turn would otherwise take many times as long as the one before.
class CompletionRunner : public QObject
{
    Q_OBJECT

public:
    explicit CompletionRunner(TaskTable& tasks);

    /// Asks the main thread's event loop to run the queued completions. Any thread.
    void wake();

protected:
    void customEvent(QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    void run();

    TaskTable& m_tasks;
    QPointer<QAbstractEventDispatcher> m_loop; ///< whose next turn a timer tells of; it may go away
    int m_timer = 0;
    int m_runsInTurn = 0;
};

/// The parts of the cache manager and the steps that its operations share.
///
/// Invariants: an array loses its block only through evict steps on the main thread, and only while it
/// is filed as cached, has no running task and no unwritten samples, and is not held; a file is
/// deleted only when all samples in it are in memory or nobody wants them any more.
class CacheManagerPrivate
{
public:
    explicit CacheManagerPrivate(CacheManager& manager);

    // Filing
    void insert(CacheRegistry::State state, const QString& key, DataArrayInfoStreamed* info);
    qsizetype remove(CacheRegistry::State state, const QString& key, DataArrayInfoStreamed* info);
    /// Moves every entry (key, info) to the other state.
    void move(CacheRegistry::State from, CacheRegistry::State to, const QString& key,
              DataArrayInfoStreamed* info);
    /// Files `info`, which is cached once, under `newKey` and renames its file. Returns whether both went
    /// well; the array keeps a file that could not be renamed.
    bool refile(DataArrayInfoStreamed* info, const QString& newKey);
    /// Deletes `file`, that of `info`; its samples are then nowhere but in memory.
    static void removeFile(DataArrayInfoStreamed* info, const QString& file);
    /// Deletes a file that is in the way of the first write of `info` and belongs to nobody.
    void removeStaleFile(DataArrayInfoStreamed* info);
    /// Ends the memory mapping of the file of `info`.
    static void closeStream(DataArrayInfoStreamed* info);

    // Memory
    void updateCache();
    bool mayBeEvicted(DataArrayInfoStreamed* info) const;
    /// Whether the file of `info` is still there and has what is in memory. Somebody may have deleted it.
    bool isInFile(DataArrayInfoStreamed* info) const;

    // Tasks
    /// Writes the samples of `info` that no file holds, or no file any more, and waits. Returns whether none
    /// is left.
    bool flush(DataArrayInfoStreamed* info);
    /// Starts a load of `info` unless one runs, and lets the main thread do what follows. Any thread.
    void requestLoad(DataArrayInfoStreamed* info);
    /// Loads `info` on this thread, the main one, and does what a read task does. A hand-over to the thread
    /// pool and back costs more than reading a small file (Residency: three quarters of 10^3 samples).
    void loadHere(DataArrayInfoStreamed* info);
    /// Hands a task over to the thread pool; without a pool (at the end of the process) runs it here.
    template <typename Task>
    void start(DataArrayInfoStreamed* info, Task* task);
    /// The task of `info` is over; `completion` runs on the main thread.
    void finish(DataArrayInfoStreamed* info, std::function<void()> completion,
                TaskTable::Outcome outcome = TaskTable::Outcome::Done);
    /// Writes what a write request during the task has left unwritten.
    void writeIfRequested(DataArrayInfoStreamed* info, bool requested);
    /// Reports that the file of `info` holds fewer samples than the array, whose content it was found with.
    /// Returns false, without a report, when the content is another by now. Any thread.
    bool reportShortFile(DataArrayInfoStreamed* info, quint64 content);
    /// Marks `info` and tells the listeners on the main thread why its file cannot be read. As above.
    bool reportReadError(DataArrayInfoStreamed* info, const QString& error, quint64 content);
    /// Copies samples from `fileName` once its header and its count have been looked at.
    static CacheManagerAccess::FileRead readSamples(const QString& fileName, qint64 first,
                                                    std::span<DataTypeBase> out);
    /// How things stood before the file of an array was read.
    struct BeforeRead
    {
        quint64 generation; ///< of its loads
        quint64 content;
        quint64 moves;
        QString fileName; ///< null when it is not filed, as for a moment while its key changes
    };
    /// What isLost() and isWorthAnotherLook() need to know. The file may be taken out of use after its
    /// samples have come into memory, from where they may be gone again.
    BeforeRead beforeRead(DataArrayInfoStreamed* info) const;
    /// Whether samples of `info` that its file did not have may be had now.
    bool isWorthAnotherLook(DataArrayInfoStreamed* info, qint64 first, const BeforeRead& before,
                            CacheManagerAccess::Caller caller);

    /// Whether the sample at `index` of `info`, which the file did not give, is nowhere else either. A
    /// sample that the file should have is then reported.
    bool isLost(DataArrayInfoStreamed* info, qint64 index, const BeforeRead& before);
    /// Copies samples straight from the file of `info`; returns how many.
    qint64 readFromFile(DataArrayInfoStreamed* info, qint64 first, std::span<DataTypeBase> out) const;
    enum class Bringing
    {
        Started,   ///< a load is under way, or was
        LookAgain, ///< the sample has come into memory meanwhile
        Hopeless   ///< no load can bring it
    };
    /// Brings the sample at `index` of `info` into memory, as far as starting that goes.
    Bringing startBringing(DataArrayInfoStreamed* info, qint64 index);
    /// Starts a task that sums up the samples of `info`. Returns false when the array has a task.
    bool startSummingUp(DataArrayInfoStreamed* info);
    /// As startBringing(), on the main thread and without waiting for anything.
    bool startBringingSoon(DataArrayInfoStreamed* info);
    /// Whether samples of `info` that are not in memory are to be read from the file one by one, because
    /// the block holds other samples.
    bool isReadFromFile(DataArrayInfoStreamed* info, const DataArrayStreamed& array) const;

    CacheManager& manager;
    CacheRegistry registry;
    EvictionQueue queue;
    TaskTable tasks;
    CacheDirectory directory;
    CompletionRunner runner;
    CacheCounters counters;
    BackgroundLoads background;
    std::atomic<const DataArrayInfoStreamed*> held{nullptr}; ///< not to be evicted while its content changes
    QString cachePath;
    bool isPerProcess = false; ///< cachePath is the directory of this process alone
    std::atomic<qint64> budgetBytes{0};
};

} // namespace vx::datastorage
