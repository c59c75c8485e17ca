#include <datastorage/cache/CacheManager_p.h>

#include <datastorage/arrays/DataArrayStreamed_p.h>
#include <datastorage/cache/CacheFileHeader_p.h>
#include <datastorage/cache/CacheFileReader_p.h>
#include <datastorage/cache/CacheLog_p.h>
#include <datastorage/cache/CacheManager.h>
#include <datastorage/cache/CacheReadManager.h>
#include <datastorage/cache/CacheTaskEnvelope_p.h>
#include <datastorage/cache/CacheTaskRead.h>
#include <datastorage/cache/CacheTaskWrite.h>
#include <datastorage/cache/PoolThreadPause_p.h>

#include <tools/TaskHandOff_p.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QFile>
#include <QtCore/QSet>
#include <QtCore/QThread>
#include <QtCore/QThreadPool>

#include <type_traits>
#include <utility>

namespace vx::datastorage {

using State = CacheRegistry::State;

namespace {

/// See CompletionRunner. What is left is run in the next turn.
constexpr int mostRunsPerTurn = 16;

/// A thread that reads an array whose errors nobody takes note of tries again this often.
constexpr unsigned long errorPatienceMilliseconds = 1000;

} // namespace

std::atomic<Qt::HANDLE> CacheThread::s_thread{nullptr};

// Completions

CompletionRunner::CompletionRunner(TaskTable& tasks) : m_tasks(tasks)
{
    const QCoreApplication* application = QCoreApplication::instance();
    if (!application || application->thread() == QThread::currentThread())
        CacheThread::claim();
    else
        moveToThread(application->thread());
}

void CompletionRunner::wake()
{
    // Without an application the completions wait for the next awaitTaskFinished(). The event carries
    // nothing, so nothing is shared through Qt. One event per completion, also where another one is on its
    // way: an application object that goes away takes those with it, and an event loop inside the handling
    // of another event need not see what was posted before it began.
    if (QCoreApplication::instance())
        QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

void CompletionRunner::customEvent(QEvent* /*event*/)
{
    const bool isSameTurn = m_loop && m_loop == QAbstractEventDispatcher::instance();
    if (!isSameTurn || m_runsInTurn < mostRunsPerTurn)
        run();
}

/// The next turn of the event loop has begun.
void CompletionRunner::timerEvent(QTimerEvent* /*event*/)
{
    killTimer(m_timer);
    m_loop = nullptr;
    run();
}

void CompletionRunner::run()
{
    CacheThread::claim();
    if (!m_tasks.runPending())
        return;
    QAbstractEventDispatcher* const loop = QAbstractEventDispatcher::instance();
    if (loop && m_loop != loop) {
        m_loop = loop;
        m_timer = startTimer(0);
        m_runsInTurn = 0;
    }
    ++m_runsInTurn;
}

CacheManagerPrivate::CacheManagerPrivate(CacheManager& owner)
    : manager(owner), tasks([this] { runner.wake(); }), runner(tasks), background(*this)
{
    // What Qt keeps of its pool ends in the reverse order of its making: it has to outlive this object,
    // which asks for the pool when it goes.
    QThreadPool::globalInstance();
    background.moveToThread(runner.thread());
}

// Filing

void CacheManagerPrivate::insert(State state, const QString& key, DataArrayInfoStreamed* info)
{
    registry.insert(state, key, info);
    const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info);
    if (array && state == State::Cached)
        MemoryMeter::instance().addRegistrations(StreamedArrayAccess::state(*array).account, 1);
}

qsizetype CacheManagerPrivate::remove(State state, const QString& key, DataArrayInfoStreamed* info)
{
    const qsizetype times = registry.remove(state, key, info);
    const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info);
    if (array && state == State::Cached)
        MemoryMeter::instance().addRegistrations(StreamedArrayAccess::state(*array).account,
                                                 -static_cast<int>(times));
    return times;
}

void CacheManagerPrivate::move(State from, State to, const QString& key, DataArrayInfoStreamed* info)
{
    // Filed anew before it is taken out, the array keeps its file.
    insert(to, key, info);
    remove(from, key, info);
}

bool CacheManagerPrivate::refile(DataArrayInfoStreamed* info, const QString& newKey)
{
    const QString oldFile = registry.fileOf(info);
    if (remove(State::Cached, registry.key(State::Cached, info), info) != 1)
        return false;
    insert(State::Cached, newKey, info);
    closeStream(info);
    const QString newFile = registry.fileOf(info);
    const bool isRenamed = QFile::rename(oldFile, newFile);
    if (!isRenamed && QFile::exists(oldFile))
        registry.setFile(info, newKey, oldFile);
    // Last: who has looked for the file under a name that it did not have yet looks again.
    if (const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info))
        StreamedArrayAccess::state(*array).moves.fetch_add(1);
    return isRenamed;
}

void CacheManagerPrivate::removeFile(DataArrayInfoStreamed* info, const QString& file)
{
    closeStream(info);
    const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info);
    if (array)
        StreamedArrayAccess::setSamplesOnDisk(*array, 0); // first: nobody looks for what is about to go
    const bool isRemoved = QFile::remove(file);
    // A file that cannot be removed, or that has gone away with its directory, may be there later.
    if (array)
        StreamedArrayAccess::state(*array).fileIsPartial = !isRemoved;
}

void CacheManagerPrivate::removeStaleFile(DataArrayInfoStreamed* info)
{
    // An array that has all its samples in memory needs nothing from a file that lies there: a crashed
    // process with the same id, or an array that was taken out before, has left it.
    const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info);
    if (array && StreamedArrayAccess::isWholeInMemory(*array))
        StreamedArrayAccess::state(*array).fileIsPartial = !QFile::remove(registry.fileOf(info));
}

void CacheManagerPrivate::closeStream(DataArrayInfoStreamed* info)
{
    if (const qint64 id = info->getStreamId(); id != -1) {
        CacheReadManager::instance().close(static_cast<int>(id));
        info->setStreamId(-1);
    }
}

// Memory

bool CacheManagerPrivate::mayBeEvicted(DataArrayInfoStreamed* info) const
{
    const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info);
    return array && info != held.load() && registry.registrations(info) > 0 && !tasks.isRunning(info) &&
           StreamedArrayAccess::mayBeEvicted(*array);
}

void CacheManagerPrivate::updateCache()
{
    // Each array once, however many entries it has: they would be looked at again after every load.
    QSet<DataArrayInfoStreamed*> kept;
    QSet<DataArrayInfoStreamed*> lost;
    while (MemoryMeter::instance().usedBytes() > budgetBytes.load()) {
        DataArrayInfoStreamed* oldest = queue.popOldest();
        if (!oldest)
            break;
        if (!mayBeEvicted(oldest)) {
            kept.insert(oldest);
            continue;
        }
        if (!isInFile(oldest)) {
            kept.insert(oldest);
            lost.insert(oldest);
            continue;
        }
        if (oldest->getSizeLoadedInMemory() > 0) {
            counters.countEviction();
            qCDebug(cacheLog) << "evicted" << oldest->getName()
                              << "samples:" << oldest->getSizeLoadedInMemory();
        }
        oldest->removeFromMemory();
    }
    for (DataArrayInfoStreamed* info : std::as_const(kept))
        queue.putBack(info);
    // Written again, once: what fails counts as not written, and is not looked at here any more.
    for (DataArrayInfoStreamed* info : std::as_const(lost)) {
        qCDebug(cacheLog) << "the file is gone of" << info->getName();
        if (StreamedArrayAccess::forgetFile(*StreamedArrayAccess::arrayOf(*info)))
            manager.writeDataArrayToDisk(info);
    }
}

bool CacheManagerPrivate::isInFile(DataArrayInfoStreamed* info) const
{
    const qint64 end = StreamedArrayAccess::endOfBlock(*StreamedArrayAccess::arrayOf(*info));
    return end == 0 || samplesByLength(registry.fileOf(info)) >= end;
}

// Tasks

template <typename Task>
void CacheManagerPrivate::start(DataArrayInfoStreamed* info, Task* task)
{
    task->setAutoDelete(true);
    // What a read leaves in memory depends on whether the main thread reads.
    constexpr bool isWrite = std::is_same_v<Task, CacheTaskWrite>;
    tasks.setRunnable(info, task, isWrite ? TaskTable::RunsOn::AnyThread : TaskTable::RunsOn::PoolThread);
    nel::tools::releaseTask(task);
    if (QThreadPool* pool = QThreadPool::globalInstance()) {
        pool->start(task, 0);
        return;
    }
    const std::unique_ptr<Task> owned(task);
    task->run();
}

void CacheManager::startReadTask(DataArrayInfoStreamed* info)
{
    auto* task = new CacheTaskRead;
    task->setDataArrayInfoToRead(d->registry.fileOf(info), info);
    connect(task, &CacheTaskRead::signal_readFinished, this, &CacheManager::onReadTaskFinished,
            Qt::DirectConnection);
    connect(task, &CacheTaskRead::signal_readError, this, &CacheManager::onReadTaskError,
            Qt::DirectConnection);
    if (const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info))
        StreamedArrayAccess::startLoad(*array);
    d->start(info, task);
}

void CacheManagerPrivate::loadHere(DataArrayInfoStreamed* info)
{
    do
        manager.awaitTaskFinished(info);
    while (!tasks.begin(info)); // another thread was faster
    const DataArrayStreamed& array = *StreamedArrayAccess::arrayOf(*info);
    // The task that was waited for has brought the array; a load could only lose samples.
    if (StreamedArrayAccess::isNothingToLoad(array)) {
        finish(info, [] {});
        return;
    }
    StreamedArrayAccess::startLoad(array);
    const QString error = CacheTaskRead::load(registry.fileOf(info), info);
    if (error.isEmpty()) {
        manager.onReadTaskFinished(info);
        return;
    }
    info->setReadWriteError(true);
    manager.onReadTaskError(info, error);
}

bool CacheManagerPrivate::startSummingUp(DataArrayInfoStreamed* info)
{
    if (!tasks.begin(info))
        return false;
    const StreamedEnvelope envelope(*info, *StreamedArrayAccess::arrayOf(*info));
    start(info, new CacheTaskEnvelope(envelope, [this, info](const QString& error) {
              finish(info, [this, info, error] {
                  if (!error.isEmpty())
                      background.fail(info, error);
                  background.update();
              });
          }));
    return true;
}

void CacheManager::startWriteTask(DataArrayInfoStreamed* info, bool append)
{
    CacheManagerPrivate::closeStream(info);
    DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info);
    if (array)
        StreamedArrayAccess::collectLate(*array);
    // A block that holds only the end of the array can do nothing but append.
    const bool holdsEnd = array && StreamedArrayAccess::firstIndex(*array) > 0;
    auto* task = new CacheTaskWrite;
    task->setAppendMode(append || holdsEnd);
    task->setDataArrayInfoToWrite(d->registry.fileOf(info), info);
    connect(task, &CacheTaskWrite::signal_writeFinished, this, &CacheManager::onWriteTaskFinished,
            Qt::DirectConnection);
    connect(task, &CacheTaskWrite::signal_writeError, this, &CacheManager::onWriteTaskError,
            Qt::DirectConnection);
    d->start(info, task);
}

void CacheManager::onWriteTaskFinished(DataArrayInfoStreamed* dataArrayInfo)
{
    d->counters.countWrite();
    d->finish(dataArrayInfo, [this, dataArrayInfo] {
        qCDebug(cacheLog) << "written" << dataArrayInfo->getName() << "samples:" << dataArrayInfo->getSize();
        CacheManagerPrivate::closeStream(dataArrayInfo);
        if (isCached(dataArrayInfo) && !dataArrayInfo->isUseBatchMode())
            pushToPriorityQueue(dataArrayInfo);
        if (!dataArrayInfo->isUseBatchMode())
            return;
        if (DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*dataArrayInfo))
            StreamedArrayAccess::dropWritten(*array);
        dataArrayInfo->setUseBatchMode(false);
    });
}

void CacheManager::onWriteTaskError(DataArrayInfoStreamed* dataArrayInfo, const QString& error)
{
    d->counters.countError();
    if (const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*dataArrayInfo))
        StreamedArrayAccess::state(*array).writeHasFailed = true;
    const auto report = [this, dataArrayInfo, error] {
        dataArrayInfo->setReadWriteError(true);
        qCDebug(cacheLog) << error;
        Q_EMIT signal_cacheError(error);
        if (d->tasks.isCompleting(dataArrayInfo)) // a listener may have destroyed the array
            dataArrayInfo->setUseBatchMode(false);
    };
    d->finish(dataArrayInfo, report, TaskTable::Outcome::Error);
}

void CacheManager::onReadTaskFinished(DataArrayInfoStreamed* dataArrayInfo)
{
    qint64 nanoseconds = 0;
    if (const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*dataArrayInfo)) {
        nanoseconds = StreamedArrayAccess::finishLoad(*array);
        d->counters.countLoad(nanoseconds);
    }
    d->finish(dataArrayInfo, [this, dataArrayInfo, nanoseconds] {
        qCDebug(cacheLog) << "loaded" << dataArrayInfo->getName()
                          << "samples:" << dataArrayInfo->getSizeLoadedInMemory()
                          << "milliseconds:" << static_cast<double>(nanoseconds) * 1e-6;
        d->background.update();
        if (!isCached(dataArrayInfo))
            return;
        pushToPriorityQueue(dataArrayInfo);
        updateCache();
    });
}

void CacheManager::onReadTaskError(DataArrayInfoStreamed* dataArrayInfo, const QString& error)
{
    if (const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*dataArrayInfo))
        StreamedArrayAccess::finishLoad(*array);
    d->counters.countError();
    const auto report = [this, dataArrayInfo, error] {
        dataArrayInfo->setReadWriteError(true);
        d->background.fail(dataArrayInfo, error);
        qCDebug(cacheLog) << error;
        Q_EMIT signal_cacheError(error);
    };
    d->finish(dataArrayInfo, report, TaskTable::Outcome::Error);
}

void CacheManagerPrivate::finish(DataArrayInfoStreamed* info, std::function<void()> completion,
                                 TaskTable::Outcome outcome)
{
    const auto follow = [this, info, completion = std::move(completion)](bool writeRequested) {
        completion();
        if (!tasks.isCompleting(info)) // a listener has destroyed the array
            return;
        if (DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info))
            StreamedArrayAccess::completeBlock(*array);
        writeIfRequested(info, writeRequested);
    };
    tasks.finish(info, follow, outcome);
}

void CacheManagerPrivate::writeIfRequested(DataArrayInfoStreamed* info, bool requested)
{
    const DataArrayStreamed* array = requested ? StreamedArrayAccess::arrayOf(*info) : nullptr;
    if (array && registry.registrations(info) > 0 && StreamedArrayAccess::hasUnwrittenSamples(*array))
        manager.writeDataArrayToDisk(info);
}

bool CacheManagerPrivate::flush(DataArrayInfoStreamed* info)
{
    const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info);
    if (!array)
        return true;
    if (!StreamedArrayAccess::hasUnwrittenSamples(*array)) {
        if (isInFile(info))
            return true;
        if (!StreamedArrayAccess::forgetFile(*array))
            return false;
    }
    manager.writeDataArrayToDisk(info);
    manager.awaitTaskFinished(info);
    return !StreamedArrayAccess::hasUnwrittenSamples(*array);
}

void CacheManagerPrivate::requestLoad(DataArrayInfoStreamed* info)
{
    const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info);
    if (!CacheThread::isCurrent())
        tasks.awaitFewErrors(info, errorPatienceMilliseconds);
    while (!tasks.beginUnlessAwaited(info)) {
        if (StreamedArrayAccess::state(*array).pendingLoads.load() > 0)
            return;
        tasks.awaitIdle(info);
    }
    // What another thread has brought meanwhile need not be in the file any more, and new samples in the
    // block would stand in the way of a load.
    if (StreamedArrayAccess::isNothingToLoad(*array) || isReadFromFile(info, *array))
        finish(info, [] {});
    else
        manager.startReadTask(info);
}

bool CacheManagerPrivate::reportShortFile(DataArrayInfoStreamed* info, quint64 content)
{
    return reportReadError(info, cacheFileReadError(registry.fileOf(info)), content);
}

bool CacheManagerPrivate::reportReadError(DataArrayInfoStreamed* info, const QString& error, quint64 content)
{
    qCDebug(cacheLog) << error;
    if (CacheThread::isCurrent()) {
        info->setReadWriteError(true);
        counters.countError();
        Q_EMIT manager.signal_cacheError(error);
        return true;
    }
    // The main thread may have cleared the array, and filled it anew, since the file was found short: then
    // what is in it now has no error.
    return StreamedArrayAccess::actOnContent(*StreamedArrayAccess::arrayOf(*info), content, [&] {
        info->setReadWriteError(true);
        counters.countError();
        tasks.post(info, [this, error] { Q_EMIT manager.signal_cacheError(error); });
    });
}

bool CacheManagerPrivate::isLost(DataArrayInfoStreamed* info, qint64 index, const BeforeRead& before)
{
    const DataArrayStreamed& array = *StreamedArrayAccess::arrayOf(*info);
    if (!isReadFromFile(info, array) || StreamedArrayAccess::loadGeneration(array) != before.generation)
        return false;
    if (index >= StreamedArrayAccess::state(array).samplesOnDisk.load() || array.isInError())
        return true;
    return !isWorthAnotherLook(info, index, before, CacheManagerAccess::Caller::Reader) &&
           reportShortFile(info, before.content);
}

CacheManagerAccess::FileRead CacheManagerPrivate::readSamples(const QString& fileName, qint64 first,
                                                              std::span<DataTypeBase> out)
{
    CacheFileReader file;
    CacheManagerAccess::FileRead read{0, CACHE_FILE_SAMPLES_OFFSET, openCacheFile(file, fileName)};
    if (!read.error.isEmpty())
        return read;
    read.count = file.readSamples(first, file.sampleCount(), out);
    read.bytes += read.count * static_cast<qint64>(sizeof(DataTypeBase));
    if (read.count == 0)
        read.error = cacheFileReadError(fileName);
    return read;
}

CacheManagerPrivate::BeforeRead CacheManagerPrivate::beforeRead(DataArrayInfoStreamed* info) const
{
    const DataArrayStreamed& array = *StreamedArrayAccess::arrayOf(*info);
    return {StreamedArrayAccess::loadGeneration(array), StreamedArrayAccess::contentGeneration(array),
            StreamedArrayAccess::state(array).moves.load(), registry.fileOfFiled(info)};
}

bool CacheManagerPrivate::isWorthAnotherLook(DataArrayInfoStreamed* info, qint64 first,
                                             const BeforeRead& before, CacheManagerAccess::Caller caller)
{
    const DataArrayStreamed& array = *StreamedArrayAccess::arrayOf(*info);
    DataTypeBase sample;
    if (StreamedArrayAccess::resident(array, first, sample) ||
        StreamedArrayAccess::copyLate(array, first, {&sample, 1}) > 0 ||
        StreamedArrayAccess::loadGeneration(array) != before.generation)
        return true;
    // The file may be about to be renamed. The main thread does that itself.
    const bool mayBeMoving = caller == CacheManagerAccess::Caller::Reader && !CacheThread::isCurrent();
    if (mayBeMoving && tasks.isRunning(info)) {
        const PoolThreadPause pause;
        tasks.awaitIdle(info);
        return true;
    }
    return StreamedArrayAccess::state(array).moves.load() != before.moves ||
           registry.fileOfFiled(info) != before.fileName;
}

} // namespace vx::datastorage
