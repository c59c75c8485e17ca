#pragma once

#include <datastorage/arrays/StreamedEnvelope_p.h>

#include <QtCore/QRunnable>

#include <functional>

namespace vx::datastorage {

/// Sums up the samples of a streamed array for its envelope.
///
/// Ownership: does not own the array, which must live until the task is over. Deleted by the pool.
class CacheTaskEnvelope : public QRunnable
{
public:
    /// `finish` gets what went wrong, if anything did, on the pool's thread; the array is not touched
    /// after that.
    CacheTaskEnvelope(const StreamedEnvelope& envelope, std::function<void(const QString&)> finish);

    void run() override;

private:
    StreamedEnvelope m_envelope;
    std::function<void(const QString&)> m_finish;
};

} // namespace vx::datastorage
