#include <datastorage/arrays/SampleEnvelope_p.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <new>
#include <type_traits>

namespace vx::datastorage {

namespace {

constexpr qint32 missingInt = 0x7FC00000;
constexpr qint32 lowestKey = std::numeric_limits<qint32>::min();
constexpr qint32 highestKey = std::numeric_limits<qint32>::max();

/// The int that has the place of a float in their order, from the float's bits, and back. NaN has none.
qint32 turned(qint32 bits)
{
    return bits ^ ((bits >> 31) & highestKey);
}

// Vectors of four samples. Compilers turn loops over arrays into such code only sometimes.
#if defined(__GNUC__)

using Floats = float __attribute__((vector_size(16)));
using Ints = qint32 __attribute__((vector_size(16)));
constexpr std::size_t lanes = 4;

/// NaN has more than the bits of infinity behind the sign.
Ints isMissing(Floats values)
{
    constexpr qint32 infinityBits = 0x7F800000;
    return (std::bit_cast<Ints>(values) & highestKey) > infinityBits;
}

Ints isMissing(Ints values)
{
    return values == missingInt;
}

#else

using Floats = float;
using Ints = qint32;
constexpr std::size_t lanes = 1;

Ints isMissing(Floats value)
{
    return std::isnan(value) ? -1 : 0;
}

Ints isMissing(Ints value)
{
    return value == missingInt ? -1 : 0;
}

#endif

/// Running figures in each lane.
template <typename Values>
struct Lanes;

template <>
struct Lanes<Floats>
{
    Floats minimum = Floats{} + std::numeric_limits<float>::infinity();
    Floats maximum = Floats{} - std::numeric_limits<float>::infinity();
    Ints missing{}; ///< negative

    void include(Floats values)
    {
        minimum = values < minimum ? values : minimum; // false for NaN, which never enters
        maximum = values > maximum ? values : maximum;
        missing += isMissing(values);
    }
};

template <>
struct Lanes<Ints>
{
    Ints minimum = Ints{} + highestKey;
    Ints maximum = Ints{} + lowestKey;
    Ints missing{}; ///< negative

    void include(Ints values)
    {
        const Ints gone = isMissing(values);
        // Ones alone are -1 and leave the largest int beside the sign, or the sign alone.
        const Ints high = (values & ~gone) | (gone & highestKey);
        const Ints low = (values & ~gone) | (gone & lowestKey);
        minimum = high < minimum ? high : minimum;
        maximum = low > maximum ? low : maximum;
        missing += gone;
    }
};

template <typename Vector>
qint32 laneBits(const Vector& values, std::size_t index)
{
    qint32 bits = 0;
    std::memcpy(&bits, reinterpret_cast<const char*>(&values) + index * sizeof bits, sizeof bits);
    return bits;
}

template <typename Vector>
EnvelopeRange rangeOf(const Lanes<Vector>& figures, std::size_t count)
{
    constexpr bool isFloat = std::is_same_v<Vector, Floats>;
    EnvelopeRange range;
    for (std::size_t i = 0; i < lanes; ++i) {
        const auto missing = -qint64{laneBits(figures.missing, i)};
        range.missing += missing;
        if (missing == static_cast<qint64>(count))
            continue;
        const qint32 minimum = laneBits(figures.minimum, i);
        const qint32 maximum = laneBits(figures.maximum, i);
        range.minimum = std::min(range.minimum, isFloat ? turned(minimum) : minimum);
        range.maximum = std::max(range.maximum, isFloat ? turned(maximum) : maximum);
    }
    return range;
}

EnvelopeRange rangeOf(DataTypeBase sample, SampleKind kind)
{
    const bool isFloat = kind == SampleKind::Float;
    if (isFloat ? std::isnan(sample.floatValue) : sample.intValue == missingInt)
        return {highestKey, lowestKey, 1};
    const qint32 key = isFloat ? turned(std::bit_cast<qint32>(sample.floatValue)) : sample.intValue;
    return {key, key, 0};
}

/// The range of at most ENVELOPE_LEAF samples, whose number fits every lane.
template <typename Vector>
EnvelopeRange rangeOfLeaf(std::span<const DataTypeBase> samples, SampleKind kind)
{
    constexpr std::size_t vectors = 4; // independent, so that no step waits for the one before
    constexpr std::size_t group = lanes * vectors;
    std::array<Lanes<Vector>, vectors> figures;
    std::size_t at = 0;
    for (; at + group <= samples.size(); at += group) {
        for (std::size_t i = 0; i < vectors; ++i) {
            Vector values;
            std::memcpy(&values, samples.data() + at + i * lanes, sizeof values);
            figures[i].include(values);
        }
    }
    EnvelopeRange range;
    if (at > 0)
        for (const Lanes<Vector>& each : figures)
            range.include(rangeOf(each, at / group));
    for (; at < samples.size(); ++at)
        range.include(rangeOf(samples[at], kind));
    return range;
}

} // namespace

EnvelopeRange envelopeOf(std::span<const DataTypeBase> samples, SampleKind kind)
{
    constexpr auto leaf = static_cast<std::size_t>(ENVELOPE_LEAF);
    EnvelopeRange range;
    while (!samples.empty()) {
        const auto part = samples.first(std::min(leaf, samples.size()));
        range.include(kind == SampleKind::Float ? rangeOfLeaf<Floats>(part, kind)
                                                : rangeOfLeaf<Ints>(part, kind));
        samples = samples.subspan(part.size());
    }
    return range;
}

EnvelopeColumn envelopeColumn(const EnvelopeRange& range, SampleKind kind, qint64 first, qint64 count)
{
    EnvelopeColumn column{first, count, range.missing};
    if (range.missing == count)
        return column;
    const auto asValue = [kind](qint32 key) {
        return kind == SampleKind::Float ? static_cast<double>(std::bit_cast<float>(turned(key)))
                                         : static_cast<double>(key);
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
        const auto room = static_cast<std::size_t>(ENVELOPE_LEAF - m_size % ENVELOPE_LEAF);
        const auto part = samples.first(std::min(room, samples.size()));
        if (part.size() == room && !makeRoomForLeaf())
            return false;
        m_last.include(envelopeOf(part, m_kind));
        m_size += static_cast<qint64>(part.size());
        if (part.size() == room) {
            addLeaf(m_last);
            m_last = EnvelopeRange();
        }
        samples = samples.subspan(part.size());
    }
    return true;
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
