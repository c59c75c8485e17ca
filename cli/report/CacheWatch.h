#pragma once

#include <datastorage/arrays/DataArrayInfoStreamed.h>

#include <QtCore/QMetaObject>
#include <QtCore/QString>

namespace vx::cli {

/// What the cache did and holds.
struct CacheFigures
{
    qint64 budget = 0; ///< bytes
    qint64 held = 0;   ///< bytes of samples in memory
    qint64 files = 0;
    qint64 reloads = 0;   ///< arrays that were brought back from their files
    qint64 evictions = 0; ///< arrays that were dropped from memory for the budget
};

/// Observes the cache manager while it lives: collects the errors of its background work.
class CacheWatch
{
public:
    CacheWatch();
    CacheWatch(const CacheWatch&) = delete;
    CacheWatch& operator=(const CacheWatch&) = delete;
    ~CacheWatch();

    /// The first error since the last call, on one line; empty when there was none.
    QString takeError();

    /// Waits until `array` has no task left. False when a task failed; takeError() then says why.
    bool await(const datastorage::DataArrayInfoStreamed& array);

    /// What the cache holds now and has done since the program began.
    static CacheFigures figures();

private:
    QMetaObject::Connection m_connection;
    QString m_error;
};

} // namespace vx::cli
