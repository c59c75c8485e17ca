#pragma once

#include <datastorage/arrays/DataType.h>

#include <QtCore/qglobal.h>

#include <algorithm>
#include <bit>
#include <limits>
#include <span>

namespace vx::datastorage {

/// The int that marks a missing sample.
inline constexpr qint32 MISSING_INT = 0x7FC00000;

/// How an envelope takes samples.
enum class SampleKind
{
    Float, ///< NaN marks a missing sample
    Int    ///< MISSING_INT, 2143289344, marks a missing sample
};

inline SampleKind sampleKindOf(DataType type)
{
    return type == DataType::Float ? SampleKind::Float : SampleKind::Int;
}

/// Smallest and largest of some samples, and how many were missing.
///
/// The values are kept as ints that have the order of the samples: an int as it is, a float with the
/// bits behind the sign turned round when it is negative. So everything above single samples is the
/// same for both kinds. When all samples are missing, the minimum is above the maximum.
struct EnvelopeRange
{
    qint32 minimum = std::numeric_limits<qint32>::max();
    qint32 maximum = std::numeric_limits<qint32>::min();
    qint64 missing = 0;

    void include(const EnvelopeRange& other)
    {
        minimum = std::min(minimum, other.minimum);
        maximum = std::max(maximum, other.maximum);
        missing += other.missing;
    }

    bool operator==(const EnvelopeRange&) const = default;
};

/// The range of `samples`, in one pass.
EnvelopeRange envelopeOf(std::span<const DataTypeBase> samples, SampleKind kind);

/// As envelopeOf(), and copies the samples to `to`, which has room for them and does not overlap them, in
/// the same pass.
EnvelopeRange copyWithEnvelope(std::span<const DataTypeBase> samples, SampleKind kind, DataTypeBase* to);

/// The float whose place in the order of floats is `key`, and the other way round. NaN has no place.
inline float floatOfKey(qint32 key)
{
    return std::bit_cast<float>(key ^ ((key >> 31) & std::numeric_limits<qint32>::max()));
}
inline qint32 keyOfFloat(float value)
{
    const auto bits = std::bit_cast<qint32>(value);
    return bits ^ ((bits >> 31) & std::numeric_limits<qint32>::max());
}

} // namespace vx::datastorage
