#pragma once

#include <datastorage/cache/BackgroundResult.h>

#include <QtCore/QFuture>
#include <QtCore/QObject>
#include <QtCore/QPromise>

#include <functional>
#include <list>
#include <memory>

namespace vx::datastorage {

class CacheManagerPrivate;
class DataArrayInfoStreamed;

/// Brings arrays into memory and prepares their envelopes for callers that must not wait.
///
/// A request joins the load of its array that runs, or starts one as soon as the array has no running
/// task. While there are requests, a timer on the main thread looks every 10 ms how far they are, which
/// publishes the progress and ends the cancelled ones; a load that somebody else may wait for goes on.
///
/// Threads: main thread only.
class BackgroundLoads : public QObject
{
    Q_OBJECT

public:
    explicit BackgroundLoads(CacheManagerPrivate& cache);
    ~BackgroundLoads() override;

    QFuture<LoadResult> load(DataArrayInfoStreamed* info);
    QFuture<ReadResult> read(DataArrayInfoStreamed* info, qint64 first, qint64 count);
    QFuture<EnvelopeResult> prepareEnvelope(DataArrayInfoStreamed* info);

    /// The load of `info` has failed with `error`.
    void fail(DataArrayInfoStreamed* info, const QString& error);
    /// `info` is being destroyed.
    void forget(DataArrayInfoStreamed* info);

    /// Looks at every request.
    void update();

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    enum class Wanted
    {
        Samples,
        Envelope
    };
    /// One request; type-free, so that all share the waiting.
    struct Request
    {
        Wanted wanted;
        DataArrayInfoStreamed* info;
        qint64 first; ///< samples that are wanted, from here on
        qint64 count;
        std::function<bool()> isCanceled;
        std::function<void(int)> setProgress;
        std::function<void(const QString&)> finish; ///< with the error, if there is one
        QString error;
        bool hasAsked = false; ///< what is wanted was started or joined
    };

    template <typename Result>
    QFuture<Result> enter(Wanted wanted, DataArrayInfoStreamed* info, qint64 first, qint64 count,
                          std::function<Result(const QString&)> result);
    /// Moves a request on; returns whether it is over.
    bool advance(Request& request);
    bool isReady(const Request& request) const;
    qint64 progressOf(const Request& request) const;
    /// Starts what brings `request` on. Returns false when nothing can.
    bool ask(Request& request);

    CacheManagerPrivate& m_cache;
    std::list<Request> m_requests;
    int m_timer = 0; ///< 0 while there are no requests
};

} // namespace vx::datastorage
