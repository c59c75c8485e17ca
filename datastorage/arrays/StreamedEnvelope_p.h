#pragma once

#include <datastorage/arrays/DataArrayStreamed_p.h>
#include <datastorage/arrays/Envelope.h>
#include <datastorage/cache/CacheManagerAccess_p.h>

#include <optional>
#include <utility>
#include <vector>

namespace vx::datastorage {

/// Answers DataArrayInfo::envelope() for a streamed array: the inner part of wide columns comes from the
/// array's envelope, everything else from the samples, which are looked at where they are: in memory or,
/// without loading the array, in its cache file.
///
/// Threads: any. No lock is held while samples are looked at or read.
class StreamedEnvelope
{
public:
    StreamedEnvelope(const DataArrayInfo& info, const DataArrayStreamed& array);

    std::vector<EnvelopeColumn> columns(qint64 first, qint64 last, int columns);
    /// Whether all samples are summed up but for some in memory.
    bool isReady() const;
    /// Sums up the samples up to `last` - 1 that are not yet, from memory or from the cache file in pieces
    /// of 1 MiB. Returns why that is not possible, if it is not.
    QString build(CacheManagerAccess::Caller caller, qint64 last);

    /// Sums up what is in memory and not yet summed up.
    static void extend(const DataArrayStreamed& array);

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
        std::vector<DataTypeBase> copy;
        std::span<const DataTypeBase> samples;
    };

    static void extendFrom(const StreamedArrayAccess::HeldBlock& held, quint64 generation,
                           ArrayEnvelope& envelope);
    bool takeBlocks(Draft& draft, quint64 generation) const;
    void lookAtSamples(Draft& draft);
    Piece fetch(qint64 first, qint64 last);
    FileRead copyAbsent(qint64 first, std::span<DataTypeBase> out, CacheManagerAccess::Caller caller);
    qint64 nextInMemory(qint64 first, qint64 last) const;
    std::vector<EnvelopeColumn> result(const Draft& draft) const;

    const DataArrayInfo& m_info;
    const DataArrayStreamed& m_array;
    ArrayEnvelope& m_envelope;
    SampleKind m_kind;
};

} // namespace vx::datastorage
