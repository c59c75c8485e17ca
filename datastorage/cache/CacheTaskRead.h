#pragma once

#include <datastorage/Export.h>
#include <datastorage/arrays/DataArrayInfoStreamed.h>

#include <QtCore/QObject>
#include <QtCore/QRunnable>
#include <QtCore/QString>

namespace vx::datastorage {

class CacheManagerPrivate;

/// Loads the samples of one array from its cache file, on a thread of the global thread pool.
///
/// Each run emits exactly one of the two signals, on the thread that runs the task, as the last thing
/// it does with the array. An error also marks the array (setReadWriteError(true)).
///
/// Ownership: does not own the array, which must live until the signal has been handled. Deleted by
/// the pool after its run.
class VXDATASTORAGE_EXPORT CacheTaskRead : public QObject, public QRunnable
{
    Q_OBJECT

public:
    CacheTaskRead();
    ~CacheTaskRead() override;

    /// Sets what to read, before the task is started: the full name of the cache file and the array.
    void setDataArrayInfoToRead(const QString& fileName, DataArrayInfoStreamed* info);

    /// Loads the array on the thread of the pool, and emits exactly one of the two signals there.
    void run() override;

Q_SIGNALS:
    /// The array has been loaded, or could not be and is marked in error.
    void signal_readFinished(DataArrayInfoStreamed* dataArray);
    void signal_readError(DataArrayInfoStreamed* dataArray, const QString& error);

private:
    friend class CacheManagerPrivate;

    static QString load(const QString& fileName, DataArrayInfoStreamed* info);

    QString m_fileName;
    DataArrayInfoStreamed* m_info = nullptr;
};

} // namespace vx::datastorage
