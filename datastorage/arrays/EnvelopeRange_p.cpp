#include <datastorage/arrays/EnvelopeRange_p.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <type_traits>

namespace vx::datastorage {

namespace {

constexpr qint32 lowestKey = std::numeric_limits<qint32>::min();
constexpr qint32 highestKey = std::numeric_limits<qint32>::max();

/// Samples whose missing ones every lane can count.
constexpr std::size_t mostAtOnce = 1 << 20;

// Vectors of four samples. Compilers turn loops over arrays into such code only sometimes.
#if defined(__GNUC__)

using Floats = float __attribute__((vector_size(16)));
using Ints = qint32 __attribute__((vector_size(16)));
constexpr std::size_t lanes = 4;

/// NaN alone is not equal to itself.
Ints isMissing(Floats values)
{
    return values != values; // NOLINT(misc-redundant-expression)
}

Ints isMissing(Ints values)
{
    return values == MISSING_INT;
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
    return value == MISSING_INT ? -1 : 0;
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
    void include(const Lanes& other)
    {
        minimum = other.minimum < minimum ? other.minimum : minimum;
        maximum = other.maximum > maximum ? other.maximum : maximum;
        missing += other.missing;
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
        const Ints low = values ^ (gone & (lowestKey ^ MISSING_INT));
        minimum = values < minimum ? values : minimum; // of missing ones, too; see rangeOfPart()
        maximum = low > maximum ? low : maximum;
        missing += gone;
    }
    void include(const Lanes& other)
    {
        minimum = other.minimum < minimum ? other.minimum : minimum;
        maximum = other.maximum > maximum ? other.maximum : maximum;
        missing += other.missing;
    }
};

/// Brings the figures of all lanes into the first one, without a way through memory, where what was stored
/// as a vector would be waited for when it is read in parts.
template <typename Vector>
Lanes<Vector> folded(Lanes<Vector> figures)
{
    if constexpr (lanes > 1) {
        figures.include({__builtin_shufflevector(figures.minimum, figures.minimum, 2, 3, 0, 1),
                         __builtin_shufflevector(figures.maximum, figures.maximum, 2, 3, 0, 1),
                         __builtin_shufflevector(figures.missing, figures.missing, 2, 3, 0, 1)});
        figures.include({__builtin_shufflevector(figures.minimum, figures.minimum, 1, 0, 3, 2),
                         __builtin_shufflevector(figures.maximum, figures.maximum, 1, 0, 3, 2),
                         __builtin_shufflevector(figures.missing, figures.missing, 1, 0, 3, 2)});
    }
    return figures;
}

qint32 firstKey(Floats values)
{
    float value = 0;
    std::memcpy(&value, &values, sizeof value);
    return keyOfFloat(value);
}

qint32 firstKey(Ints values)
{
    qint32 value = 0;
    std::memcpy(&value, &values, sizeof value);
    return value;
}

template <typename Vector>
EnvelopeRange rangeOf(const Lanes<Vector>& figures)
{
    const Lanes<Vector> all = folded(figures);
    const EnvelopeRange range{firstKey(all.minimum), firstKey(all.maximum), -qint64{firstKey(all.missing)}};
    // With all missing the figures are those that they were started with.
    return range.minimum <= range.maximum ? range : EnvelopeRange{.missing = range.missing};
}

EnvelopeRange rangeOf(DataTypeBase sample, SampleKind kind)
{
    const bool isFloat = kind == SampleKind::Float;
    if (isFloat ? std::isnan(sample.floatValue) : sample.intValue == MISSING_INT)
        return {highestKey, lowestKey, 1};
    const qint32 key = isFloat ? keyOfFloat(sample.floatValue) : sample.intValue;
    return {key, key, 0};
}

/// The range of samples, looked at one by one.
EnvelopeRange rangeOfEach(std::span<const DataTypeBase> samples, SampleKind kind)
{
    EnvelopeRange range;
    for (const DataTypeBase sample : samples)
        range.include(rangeOf(sample, kind));
    return range;
}

/// The range of at most mostAtOnce samples, which are copied to `to` if `copies`.
template <typename Vector, bool copies>
EnvelopeRange rangeOfPart(std::span<const DataTypeBase> samples, SampleKind kind, DataTypeBase* to)
{
    constexpr std::size_t vectors = 2; // independent, so that a step seldom waits for the one before
    constexpr std::size_t group = lanes * vectors;
    std::array<Lanes<Vector>, vectors> figures;
    std::size_t at = 0;
    for (; at + group <= samples.size(); at += group) {
        for (std::size_t i = 0; i < vectors; ++i) {
            Vector values;
            std::memcpy(&values, samples.data() + at + i * lanes, sizeof values);
            if constexpr (copies)
                std::memcpy(static_cast<void*>(to + at + i * lanes), &values, sizeof values);
            figures[i].include(values);
        }
    }
    for (std::size_t i = 1; i < vectors; ++i)
        figures[0].include(figures[i]);
    EnvelopeRange range = rangeOf(figures[0]);
    // A missing int is larger than nearly all others. Where it is the smallest, those that are not missing,
    // if any, are larger still: to find the smallest of them in every pass would make all passes longer.
    if (kind == SampleKind::Int && range.minimum == MISSING_INT && range.missing > 0)
        range = rangeOfEach(samples.first(at), kind);
    if constexpr (copies)
        std::copy(samples.begin() + static_cast<std::ptrdiff_t>(at), samples.end(), to + at);
    range.include(rangeOfEach(samples.subspan(at), kind));
    return range;
}

/// The range of at most mostAtOnce samples; `to` is null when they are not to be copied.
EnvelopeRange rangeOf(std::span<const DataTypeBase> samples, SampleKind kind, DataTypeBase* to)
{
    if (kind == SampleKind::Float)
        return to ? rangeOfPart<Floats, true>(samples, kind, to)
                  : rangeOfPart<Floats, false>(samples, kind, to);
    return to ? rangeOfPart<Ints, true>(samples, kind, to) : rangeOfPart<Ints, false>(samples, kind, to);
}

EnvelopeRange rangeOfParts(std::span<const DataTypeBase> samples, SampleKind kind, DataTypeBase* to)
{
    EnvelopeRange range = rangeOf(samples.first(std::min(mostAtOnce, samples.size())), kind, to);
    for (std::size_t at = mostAtOnce; at < samples.size(); at += mostAtOnce) {
        const auto part = samples.subspan(at, std::min(mostAtOnce, samples.size() - at));
        range.include(rangeOf(part, kind, to ? to + at : to));
    }
    return range;
}

} // namespace

EnvelopeRange envelopeOf(std::span<const DataTypeBase> samples, SampleKind kind)
{
    return rangeOfParts(samples, kind, nullptr);
}

EnvelopeRange copyWithEnvelope(std::span<const DataTypeBase> samples, SampleKind kind, DataTypeBase* to)
{
    return rangeOfParts(samples, kind, to);
}

} // namespace vx::datastorage
