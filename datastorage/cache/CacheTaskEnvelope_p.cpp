#include <datastorage/cache/CacheTaskEnvelope_p.h>

#include <tools/TaskHandOff_p.h>

#include <limits>
#include <utility>

namespace vx::datastorage {

CacheTaskEnvelope::CacheTaskEnvelope(const StreamedEnvelope& envelope,
                                     std::function<void(const QString&)> finish)
    : m_envelope(envelope), m_finish(std::move(finish))
{}

void CacheTaskEnvelope::run()
{
    nel::tools::acquireTask(this);
    m_finish(m_envelope.build(CacheManagerAccess::Caller::Task, std::numeric_limits<qint64>::max()));
}

} // namespace vx::datastorage
