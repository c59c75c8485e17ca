#pragma once

#include <datastorage/arrays/DataType.h>

#include <QtCore/QList>
#include <QtCore/QString>

namespace vx::datastorage {

/// How a background load of an array ended.
struct LoadResult
{
    bool isLoaded = false; ///< all samples of the array are in memory
    qint64 samples = 0;    ///< samples in memory
    QString error;         ///< what went wrong; the cache's own text for a failed read
};

/// What a background read of a range brought.
struct ReadResult
{
    qint64 first = 0;            ///< index in the array of the first sample
    QList<DataTypeBase> samples; ///< as many as could be had, at most those that were asked for
    QString error;               ///< why there are fewer; empty when there are not
};

/// How the preparation of an envelope ended.
struct EnvelopeResult
{
    bool isReady = false; ///< all samples are summed up
    QString error;        ///< what went wrong; the cache's own text for a failed read
};

} // namespace vx::datastorage
