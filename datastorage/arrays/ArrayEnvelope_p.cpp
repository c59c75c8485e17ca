#include <datastorage/arrays/ArrayEnvelope_p.h>

#include <algorithm>

namespace vx::datastorage {

namespace {

/// Samples that follow() takes at most.
constexpr std::size_t mostToFollow = 131072;

} // namespace

void ArrayEnvelope::startOver(SampleKind kind)
{
    m_envelope = SampleEnvelope(kind);
    ++m_generation;
}

void ArrayEnvelope::drop()
{
    const nel::tools::Locker lock(m_mutex);
    startOver(m_envelope.kind());
}

void ArrayEnvelope::setKind(SampleKind kind)
{
    extentAs(kind);
}

ArrayEnvelope::Extent ArrayEnvelope::extent() const
{
    const nel::tools::Locker lock(m_mutex);
    return {m_generation, m_envelope.size()};
}

ArrayEnvelope::Extent ArrayEnvelope::extentAs(SampleKind kind)
{
    const nel::tools::Locker lock(m_mutex);
    if (m_envelope.kind() != kind)
        startOver(kind);
    return {m_generation, m_envelope.size()};
}

ArrayEnvelope::Appended ArrayEnvelope::append(quint64 generation, qint64 first,
                                              std::span<const DataTypeBase> samples)
{
    const nel::tools::Locker lock(m_mutex);
    const qint64 known = m_envelope.size() - first;
    const bool isNew =
        m_generation == generation && known >= 0 && known < static_cast<qint64>(samples.size());
    const bool isRefused = isNew && !m_envelope.append(samples.subspan(static_cast<std::size_t>(known)));
    return {{m_generation, m_envelope.size()}, isRefused};
}

EnvelopeRange ArrayEnvelope::appendCopied(SampleKind kind, qint64 first,
                                          std::span<const DataTypeBase> samples, DataTypeBase* to)
{
    const nel::tools::Locker lock(m_mutex);
    const bool isNext = m_envelope.kind() == kind && m_envelope.size() == first;
    return isNext ? m_envelope.appendCopied(samples, to) : copyWithEnvelope(samples, kind, to);
}

void ArrayEnvelope::follow(qint64 first, std::span<const DataTypeBase> samples)
{
    const nel::tools::Locker lock(m_mutex);
    const qint64 known = m_envelope.size() - first;
    if (known < 0 || known >= static_cast<qint64>(samples.size()))
        return;
    const auto next = samples.subspan(static_cast<std::size_t>(known));
    m_envelope.append(next.first(std::min(next.size(), mostToFollow)));
}

qint64 ArrayEnvelope::bytes() const
{
    const nel::tools::Locker lock(m_mutex);
    return m_envelope.bytes();
}

} // namespace vx::datastorage
