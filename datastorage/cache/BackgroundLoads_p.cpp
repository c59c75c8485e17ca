#include <datastorage/cache/BackgroundLoads_p.h>

#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/arrays/DataArrayStreamed_p.h>
#include <datastorage/cache/CacheManager_p.h>

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

namespace vx::datastorage {

namespace {

/// Short enough for a cancelled request to end well within 50 ms, long enough to cost nothing.
constexpr int updateMilliseconds = 10;

int asProgress(qint64 samples)
{
    return static_cast<int>(std::min<qint64>(samples, std::numeric_limits<int>::max()));
}

QString noSamples()
{
    return QStringLiteral("The samples cannot be brought into memory");
}

} // namespace

BackgroundLoads::BackgroundLoads(CacheManagerPrivate& cache) : m_cache(cache) {}

BackgroundLoads::~BackgroundLoads()
{
    for (const Request& request : m_requests)
        request.finish(QStringLiteral("The cache is gone"));
}

template <typename Result>
QFuture<Result> BackgroundLoads::enter(Wanted wanted, DataArrayInfoStreamed* info, qint64 first, qint64 count,
                                       std::function<Result(const QString&)> result)
{
    const auto promise = std::make_shared<QPromise<Result>>();
    promise->setProgressRange(0, asProgress(first + count));
    promise->start();
    QFuture<Result> future = promise->future();
    m_requests.push_back({wanted, info, first, count, [promise] { return promise->isCanceled(); },
                          [promise](int samples) { promise->setProgressValue(samples); },
                          [promise, result = std::move(result)](const QString& error) {
                              promise->addResult(result(error));
                              promise->finish();
                          },
                          QString()});
    update();
    if (!m_requests.empty() && m_timer == 0)
        m_timer = startTimer(updateMilliseconds);
    return future;
}

QFuture<LoadResult> BackgroundLoads::load(DataArrayInfoStreamed* info)
{
    const auto result = [info](const QString& error) {
        const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info);
        const qint64 samples = array ? StreamedArrayAccess::loadedSize(*array) : 0;
        return LoadResult{error.isEmpty(), samples, error};
    };
    return enter<LoadResult>(Wanted::Samples, info, 0, info->getSize(), result);
}

QFuture<ReadResult> BackgroundLoads::read(DataArrayInfoStreamed* info, qint64 first, qint64 count)
{
    const qint64 available = std::clamp<qint64>(info->getSize() - first, 0, count);
    const qint64 wanted = first < 0 ? 0 : available;
    const auto result = [info, first, wanted](const QString& error) {
        ReadResult read{first, {}, error};
        try {
            read.samples.resize(wanted);
        } catch (const std::bad_alloc&) {
            read.error = noSamples();
            return read;
        }
        const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info);
        const std::span<DataTypeBase> out(read.samples.data(), static_cast<std::size_t>(wanted));
        read.samples.resize(array ? StreamedArrayAccess::copyResident(*array, first, out) : 0);
        return read;
    };
    return enter<ReadResult>(Wanted::Samples, info, std::max<qint64>(first, 0), wanted, result);
}

QFuture<EnvelopeResult> BackgroundLoads::prepareEnvelope(DataArrayInfoStreamed* info)
{
    const auto result = [](const QString& error) { return EnvelopeResult{error.isEmpty(), error}; };
    return enter<EnvelopeResult>(Wanted::Envelope, info, 0, info->getSize(), result);
}

bool BackgroundLoads::isReady(const Request& request) const
{
    const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*request.info);
    if (request.count == 0)
        return true;
    if (request.wanted == Wanted::Envelope)
        return array && request.info->isEnvelopeReady();
    const qint64 begin = array ? StreamedArrayAccess::firstIndex(*array) : 0;
    const qint64 end = array ? begin + StreamedArrayAccess::loadedSize(*array) : 0;
    return begin <= request.first && request.first + request.count <= end;
}

qint64 BackgroundLoads::progressOf(const Request& request) const
{
    const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*request.info);
    if (!array)
        return 0;
    return request.wanted == Wanted::Envelope ? StreamedArrayAccess::state(*array).envelope.extent().size
                                              : StreamedArrayAccess::loadedSize(*array);
}

bool BackgroundLoads::ask(Request& request)
{
    const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*request.info);
    if (request.hasAsked || !array)
        return false;
    if (request.wanted == Wanted::Envelope) {
        request.hasAsked = m_cache.startSummingUp(request.info);
        return true;
    }
    request.hasAsked = true;
    return !m_cache.isReadFromFile(request.info, *array) && m_cache.startBringingSoon(request.info);
}

bool BackgroundLoads::advance(Request& request)
{
    DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*request.info);
    if (array)
        StreamedArrayAccess::completeBlock(*array);
    if (isReady(request) || request.isCanceled() || !request.error.isEmpty())
        return true;
    request.setProgress(asProgress(progressOf(request)));
    const bool isLoading = array && StreamedArrayAccess::state(*array).pendingLoads.load() > 0;
    // What went wrong in a task is known when its completion has run.
    if (isLoading || m_cache.tasks.isBusy(request.info)) {
        request.hasAsked = request.hasAsked || isLoading;
        return false;
    }
    if (ask(request))
        return false;
    request.error = noSamples();
    return true;
}

void BackgroundLoads::update()
{
    // What a finished request calls may make new requests or destroy arrays: it is taken out first.
    for (auto request = m_requests.begin(); request != m_requests.end();) {
        if (!advance(*request)) {
            ++request;
            continue;
        }
        const Request over = std::move(*request);
        m_requests.erase(request);
        over.finish(over.error);
        request = m_requests.begin();
    }
    if (m_requests.empty() && m_timer != 0)
        killTimer(std::exchange(m_timer, 0));
}

void BackgroundLoads::timerEvent(QTimerEvent* /*event*/)
{
    update();
}

void BackgroundLoads::fail(DataArrayInfoStreamed* info, const QString& error)
{
    for (Request& request : m_requests)
        if (request.info == info && request.hasAsked)
            request.error = error;
    update();
}

void BackgroundLoads::forget(DataArrayInfoStreamed* info)
{
    for (Request& request : m_requests)
        if (request.info == info)
            request.error = QStringLiteral("The array is gone");
    update();
}

} // namespace vx::datastorage
