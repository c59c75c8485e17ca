#include <datastorage/arrays/SampleEnvelope_p.h>

#include <limits>
#include <new>

namespace vx::datastorage {

EnvelopeColumn envelopeColumn(const EnvelopeRange& range, SampleKind kind, qint64 first, qint64 count)
{
    EnvelopeColumn column{first, count, range.missing};
    if (range.missing == count)
        return column;
    const auto asValue = [kind](qint32 key) {
        return kind == SampleKind::Float ? static_cast<double>(floatOfKey(key)) : static_cast<double>(key);
    };
    column.minimum = asValue(range.minimum);
    column.maximum = asValue(range.maximum);
    return column;
}

namespace {

constexpr std::size_t fanOut = 16;

template <typename Element>
qint64 bytesOf(const std::vector<Element>& elements)
{
    return static_cast<qint64>(elements.capacity()) * static_cast<qint64>(sizeof(Element));
}

/// Grows as push_back() would, where that is needed for one more element.
template <typename Element>
bool makeRoom(std::vector<Element>& elements) noexcept
{
    if (elements.size() < elements.capacity())
        return true;
    try {
        elements.reserve(std::max<std::size_t>(2 * elements.capacity(), 1));
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

} // namespace

bool SampleEnvelope::append(std::span<const DataTypeBase> samples) noexcept
{
    while (!samples.empty()) {
        const auto part = samples.first(std::min(roomInLeaf(), samples.size()));
        if (!makeRoomFor(part.size()))
            return false;
        include(envelopeOf(part, m_kind), part.size());
        samples = samples.subspan(part.size());
    }
    return true;
}

EnvelopeRange SampleEnvelope::appendCopied(std::span<const DataTypeBase> samples, DataTypeBase* to) noexcept
{
    EnvelopeRange all;
    while (!samples.empty()) {
        const auto part = samples.first(std::min(roomInLeaf(), samples.size()));
        if (!makeRoomFor(part.size())) {
            all.include(copyWithEnvelope(samples, m_kind, to));
            return all;
        }
        const EnvelopeRange range = copyWithEnvelope(part, m_kind, to);
        all.include(range);
        include(range, part.size());
        samples = samples.subspan(part.size());
        to += part.size();
    }
    return all;
}

/// Takes the memory that is needed to sum up so many samples, at most those of the last leaf.
bool SampleEnvelope::makeRoomFor(std::size_t samples) noexcept
{
    return samples < roomInLeaf() || makeRoomForLeaf();
}

/// Adds the range of samples for which there is room.
void SampleEnvelope::include(const EnvelopeRange& range, std::size_t samples) noexcept
{
    m_last.include(range);
    m_size += static_cast<qint64>(samples);
    if (m_size % ENVELOPE_LEAF == 0) {
        addLeaf(m_last);
        m_last = EnvelopeRange();
    }
}

/// Takes the memory for one more leaf, and for the blocks above that it completes.
bool SampleEnvelope::makeRoomForLeaf() noexcept
{
    if (!makeRoom(m_minimum) || !makeRoom(m_maximum) || !makeRoom(m_missing))
        return false;
    std::size_t blocks = m_minimum.size() + 1;
    for (std::size_t level = 0; blocks % fanOut == 0; ++level) {
        if (level == m_levels.size()) {
            if (!makeRoom(m_levels))
                return false;
            m_levels.emplace_back();
        }
        if (!makeRoom(m_levels[level]))
            return false;
        blocks = m_levels[level].size() + 1;
    }
    return true;
}

/// Adds a leaf, for which there is room.
void SampleEnvelope::addLeaf(const EnvelopeRange& leaf) noexcept
{
    static_assert(ENVELOPE_LEAF <= std::numeric_limits<quint16>::max());
    m_minimum.push_back(leaf.minimum);
    m_maximum.push_back(leaf.maximum);
    m_missing.push_back(static_cast<quint16>(leaf.missing));
    std::size_t blocks = m_minimum.size();
    for (std::size_t level = 0; blocks % fanOut == 0; ++level) {
        EnvelopeRange above;
        for (std::size_t i = blocks - fanOut; i < blocks; ++i)
            above.include(block(level, i));
        m_levels[level].push_back(above);
        blocks = m_levels[level].size();
    }
}

EnvelopeRange SampleEnvelope::range(qint64 first, qint64 last) const
{
    EnvelopeRange range;
    if (last % ENVELOPE_LEAF != 0)
        range.include(m_last);
    auto begin = static_cast<std::size_t>(first / ENVELOPE_LEAF);
    auto end = static_cast<std::size_t>(last / ENVELOPE_LEAF);
    for (std::size_t level = 0; begin < end; ++level) {
        while (begin < end && begin % fanOut != 0)
            range.include(block(level, begin++));
        while (begin < end && end % fanOut != 0)
            range.include(block(level, --end));
        begin /= fanOut;
        end /= fanOut;
    }
    return range;
}

qint64 SampleEnvelope::bytes() const
{
    qint64 bytes = bytesOf(m_minimum) + bytesOf(m_maximum) + bytesOf(m_missing) + bytesOf(m_levels);
    for (const Level& level : m_levels)
        bytes += bytesOf(level);
    return bytes;
}

} // namespace vx::datastorage
