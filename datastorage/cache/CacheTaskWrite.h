#pragma once

#include <datastorage/Export.h>
#include <datastorage/arrays/DataArrayInfoStreamed.h>

#include <QtCore/QIODevice>
#include <QtCore/QObject>
#include <QtCore/QRunnable>
#include <QtCore/QString>

class QFile;

namespace vx::datastorage {

/// Writes the samples of one array to its cache file, on a thread of the global thread pool, or on the thread
/// that waits for it if it comes before an idle pool.
///
/// A current file (version 2) is brought up to date: its count is rewritten and what is new is
/// appended. A missing, empty or outdated one is written whole. The samples stay in memory; a write
/// that failed can be repeated and then really writes.
///
/// Each run emits one of the two signals on the thread that runs the task, as the last thing it does
/// with the array (two, when an outdated file can neither be deleted nor written).
///
/// Ownership: does not own the array, which must live until the signal has been handled. Deleted by
/// the pool after its run.
class VXDATASTORAGE_EXPORT CacheTaskWrite : public QObject, public QRunnable
{
    Q_OBJECT

public:
    CacheTaskWrite();
    ~CacheTaskWrite() override;

    /// Sets what to write, before the task is started: the full name of the cache file and the array.
    void setDataArrayInfoToWrite(const QString& fileName, DataArrayInfoStreamed* info);
    /// Whether the samples in memory are new ones, to be appended to those in the file. The array's
    /// batch mode follows.
    void setAppendMode(bool append);

    /// Writes or continues the file on the calling thread, and emits its signals there.
    void run() override;

Q_SIGNALS:
    /// The samples are in the file, or could not be written.
    void signal_writeFinished(DataArrayInfoStreamed* dataArray);
    void signal_writeError(DataArrayInfoStreamed* dataArray, const QString& error);

protected:
    /// Flushes and closes `file`, into which the samples were written with the result `ok`, and emits
    /// the signal.
    void finishWrite(QFile& file, bool ok);
    /// The file's error text in parentheses, followed by the system's error code when there is one.
    QString getDetailedError(QFile& file) const;

private:
    enum class Existing
    {
        None,
        Updated,
        Replace,
        GiveUp
    };
    Existing updateExisting();
    void writeWhole(QIODevice::OpenMode mode);
    bool isOutdated(QFile& file) const;
    bool mayReplaceFile() const;
    void failToWrite(QFile& file);
    void confirm(bool ok);

    QString m_fileName;
    DataArrayInfoStreamed* m_info = nullptr;
    bool m_append = false;
    bool m_isWhole = false; ///< the file is being written whole
};

} // namespace vx::datastorage
