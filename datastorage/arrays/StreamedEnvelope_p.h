#pragma once

#include <datastorage/arrays/DataArrayStreamed_p.h>
#include <datastorage/arrays/Envelope.h>
#include <datastorage/cache/CacheManagerAccess_p.h>

#include <array>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace vx::datastorage {

/// Room for samples that are read from a file: for as many as are wanted or, when the memory is refused,
/// for a few, of which there is always room.
class SampleRoom
{
public:
    /// Room for at most `wanted` samples, at least one; what was in it before is gone.
    std::span<DataTypeBase> take(qint64 wanted) noexcept;

private:
    std::array<DataTypeBase, 1024> m_few;
    std::unique_ptr<DataTypeBase[]> m_many;
    std::size_t m_size = 0; ///< of m_many
};

/// Answers DataArrayInfo::envelope() for a streamed array: the inner part of wide columns comes from the
/// array's envelope, everything else from the samples, which are looked at where they are: in memory or,
/// without loading the array, in its cache file.
///
/// Threads: any. No lock is held while samples are looked at or read.
class StreamedEnvelope
{
public:
    StreamedEnvelope(const DataArrayInfo& info, const DataArrayStreamed& array);

    /// Needs memory for the columns alone, and throws when that is refused.
    std::vector<EnvelopeColumn> columns(qint64 first, qint64 last, int columns);
    /// Whether all samples are summed up but for some in memory.
    bool isReady() const;
    /// Sums up the samples up to `last` - 1 that are not yet, from memory or from the cache file in pieces
    /// of 1 MiB. Returns why that is not possible, if it is not.
    QString build(CacheManagerAccess::Caller caller, qint64 last);

    /// Sums up what is in memory and not yet summed up. Returns false when there was no memory for all of it.
    static bool extend(const DataArrayStreamed& array);

private:
    using Range = std::pair<qint64, qint64>;
    using FileRead = CacheManagerAccess::FileRead;

    /// Columns that are being put together.
    struct Draft
    {
        explicit Draft(const EnvelopeEdges& edges);

        /// The first column that ends behind `index`.
        std::size_t columnAt(qint64 index) const;
        /// Remembers that the samples of column `column` from `first` to `last` - 1 are to be looked at.
        void needSamples(qint64 first, qint64 last);

        std::vector<qint64> edges;
        std::vector<EnvelopeRange> ranges;
        std::vector<bool> isLost;
        std::vector<Range> needed;
    };
    /// Some samples where they are: in the array's block, which is held, or in a copy.
    struct Piece
    {
        std::optional<SampleBlockUser> block;
        std::span<const DataTypeBase> samples;
    };

    static bool extendFrom(const StreamedArrayAccess::HeldBlock& held, quint64 generation,
                           ArrayEnvelope& envelope);
    QString refusal() const;
    bool takeBlocks(Draft& draft, quint64 generation) const;
    void lookAtSamples(Draft& draft);
    Piece fetch(qint64 first, qint64 last, SampleRoom& room);
    FileRead copyAbsent(qint64 first, std::span<DataTypeBase> out, CacheManagerAccess::Caller caller);
    qint64 nextInMemory(qint64 first, qint64 last) const;
    std::vector<EnvelopeColumn> result(const Draft& draft) const;

    const DataArrayInfo& m_info;
    const DataArrayStreamed& m_array;
    ArrayEnvelope& m_envelope;
    SampleKind m_kind;
};

} // namespace vx::datastorage
