#include <datastorage/arrays/StreamedEnvelope_p.h>

#include <algorithm>
#include <new>

namespace vx::datastorage {

namespace {

/// Samples that are summed up under one lock, and that are read from the file at a time.
constexpr qint64 stepSamples = 65536;
constexpr qint64 chunkSamples = 262144;

qint64 blockDown(qint64 index)
{
    return index / ENVELOPE_LEAF * ENVELOPE_LEAF;
}

qint64 blockUp(qint64 index)
{
    return blockDown(index + ENVELOPE_LEAF - 1);
}

std::span<const DataTypeBase> part(std::span<const DataTypeBase> samples, qint64 first, qint64 last)
{
    return samples.subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(last - first));
}

} // namespace

std::span<DataTypeBase> SampleRoom::take(qint64 wanted) noexcept
{
    const auto count = static_cast<std::size_t>(wanted);
    if (count > m_few.size() && count > m_size) {
        m_many.reset(new (std::nothrow) DataTypeBase[count]);
        m_size = m_many ? count : 0;
    }
    if (count <= m_size)
        return {m_many.get(), count};
    return std::span(m_few).first(std::min(count, m_few.size()));
}

StreamedEnvelope::Draft::Draft(const EnvelopeEdges& places)
    : ranges(static_cast<std::size_t>(places.columns())), isLost(ranges.size(), false)
{
    edges.reserve(ranges.size() + 1);
    for (qint64 i = 0; i <= places.columns(); ++i)
        edges.push_back(places[i]);
}

std::size_t StreamedEnvelope::Draft::columnAt(qint64 index) const
{
    return static_cast<std::size_t>(std::upper_bound(edges.begin(), edges.end(), index) - edges.begin()) - 1;
}

void StreamedEnvelope::Draft::needSamples(qint64 first, qint64 last)
{
    if (first >= last)
        return;
    if (!needed.empty() && needed.back().second == first)
        needed.back().second = last;
    else
        needed.emplace_back(first, last);
}

StreamedEnvelope::StreamedEnvelope(const DataArrayInfo& info, const DataArrayStreamed& array)
    : m_info(info),
      m_array(array),
      m_envelope(StreamedArrayAccess::state(array).envelope),
      m_kind(sampleKindOf(info.getDataType()))
{}

// What is summed up

bool StreamedEnvelope::extend(const DataArrayStreamed& array)
{
    const auto [held, extent] = StreamedArrayAccess::holdWithEnvelope(array);
    return extendFrom(held, extent.generation, StreamedArrayAccess::state(array).envelope);
}

bool StreamedEnvelope::extendFrom(const StreamedArrayAccess::HeldBlock& held, quint64 generation,
                                  ArrayEnvelope& envelope)
{
    const std::span<const DataTypeBase> samples(held.block.samples(), static_cast<std::size_t>(held.loaded));
    for (ArrayEnvelope::Extent extent = envelope.extent(); extent.generation == generation;) {
        const qint64 at = extent.size - held.first;
        if (at < 0 || at >= held.loaded)
            return true;
        const ArrayEnvelope::Appended appended = envelope.append(
            generation, extent.size, part(samples, at, std::min(at + stepSamples, held.loaded)));
        if (appended.isRefused)
            return false;
        extent = appended.extent;
    }
    return true;
}

bool StreamedEnvelope::isReady() const
{
    const qint64 end = StreamedArrayAccess::realSize(m_array); // first: samples are added meanwhile
    const StreamedArrayAccess::HeldBlock held = StreamedArrayAccess::hold(m_array);
    const qint64 size = m_envelope.extentAs(m_kind).size;
    return size >= end || (held.first <= size && held.first + held.loaded >= end);
}

QString StreamedEnvelope::build(CacheManagerAccess::Caller caller, qint64 last)
{
    SampleRoom room;
    for (;;) {
        m_envelope.setKind(m_kind);
        const bool isExtended = extend(m_array);
        const ArrayEnvelope::Extent extent = m_envelope.extent();
        // Who adds meanwhile could not be caught up with.
        const qint64 left = std::min(last, StreamedArrayAccess::realSize(m_array)) - extent.size;
        if (left <= 0)
            return QString();
        if (!isExtended)
            return refusal();
        const std::span<DataTypeBase> chunk = room.take(std::min(left, chunkSamples));
        const FileRead read = copyAbsent(extent.size, chunk, caller);
        if (!read.error.isEmpty())
            return read.error;
        if (m_envelope
                .append(extent.generation, extent.size, chunk.first(static_cast<std::size_t>(read.count)))
                .isRefused)
            return refusal();
    }
}

/// The error for memory that was refused; none when what is not summed up is in memory.
QString StreamedEnvelope::refusal() const
{
    return isReady() ? QString() : QStringLiteral("There is no memory for the envelope");
}

// Questions

std::vector<EnvelopeColumn> StreamedEnvelope::columns(qint64 first, qint64 last, int columns)
{
    const EnvelopeEdges edges(first, last, columns);
    for (;;) {
        if (edges.isSnapped() && last - first > chunkSamples)
            build(CacheManagerAccess::Caller::Reader, last);
        Draft draft(edges);
        const quint64 generation = m_envelope.extentAs(m_kind).generation;
        if (!takeBlocks(draft, generation))
            continue;
        lookAtSamples(draft);
        // If the content has changed, the samples are not those that the blocks were made from.
        if (m_envelope.extent().generation == generation)
            return result(draft);
    }
}

/// Fills the columns as far as whole blocks go. Returns false when the content has changed.
bool StreamedEnvelope::takeBlocks(Draft& draft, quint64 generation) const
{
    return m_envelope.ask(generation, [&draft](const SampleEnvelope& envelope) {
        for (std::size_t i = 0; i < draft.ranges.size(); ++i) {
            const qint64 first = draft.edges[i];
            const qint64 last = draft.edges[i + 1];
            const qint64 end = std::min(last, envelope.size());
            const qint64 begin = blockUp(first);
            const qint64 blocksEnd = end == envelope.size() ? end : blockDown(end);
            if (begin >= blocksEnd) {
                draft.needSamples(first, last);
                continue;
            }
            draft.ranges[i] = envelope.range(begin, blocksEnd);
            draft.needSamples(first, begin);
            draft.needSamples(blocksEnd, last);
        }
    });
}

/// Adds the samples that no block has brought.
void StreamedEnvelope::lookAtSamples(Draft& draft)
{
    SampleRoom room;
    for (const auto& [first, last] : draft.needed) {
        for (qint64 at = first; at < last;) {
            const Piece piece = fetch(at, last, room);
            const auto count = static_cast<qint64>(piece.samples.size());
            const qint64 begin = at;
            const qint64 end = count > 0 ? at + count : nextInMemory(at, last);
            for (std::size_t column = draft.columnAt(at); at < end; ++column) {
                const qint64 next = std::min(end, draft.edges[column + 1]);
                if (count == 0)
                    draft.isLost[column] = true;
                else
                    draft.ranges[column].include(
                        envelopeOf(part(piece.samples, at - begin, next - begin), m_kind));
                at = next;
            }
        }
    }
}

/// The samples from `first` on, at most to `last` - 1; none when they cannot be had. `room` is for a copy.
StreamedEnvelope::Piece StreamedEnvelope::fetch(qint64 first, qint64 last, SampleRoom& room)
{
    Piece piece;
    for (;;) {
        StreamedArrayAccess::HeldBlock held = StreamedArrayAccess::hold(m_array);
        const qint64 at = first - held.first;
        if (at >= 0 && at < held.loaded) {
            piece.samples = {held.block.samples() + at,
                             static_cast<std::size_t>(std::min(last - first, held.loaded - at))};
            piece.block.emplace(std::move(held.block));
            return piece;
        }
        const std::span<DataTypeBase> copy = room.take(std::min(last - first, chunkSamples));
        const FileRead read = copyAbsent(first, copy, CacheManagerAccess::Caller::Reader);
        if (read.count > 0 || !read.error.isEmpty()) {
            piece.samples = copy.first(static_cast<std::size_t>(read.count));
            return piece;
        }
    }
}

/// Copies samples that are not in the array's block.
StreamedEnvelope::FileRead StreamedEnvelope::copyAbsent(qint64 first, std::span<DataTypeBase> out,
                                                        CacheManagerAccess::Caller caller)
{
    if (const qint64 late = StreamedArrayAccess::copyLate(m_array, first, out); late > 0)
        return {late, 0, QString()};
    FileRead read = CacheManagerAccess::readFile(m_info, first, out, caller);
    m_envelope.bytesRead.fetch_add(read.bytes);
    return read;
}

/// Where samples are in memory next, at most `last`; behind `first`.
qint64 StreamedEnvelope::nextInMemory(qint64 first, qint64 last) const
{
    const qint64 next = StreamedArrayAccess::hold(m_array).first;
    return next > first && next < last ? next : last;
}

std::vector<EnvelopeColumn> StreamedEnvelope::result(const Draft& draft) const
{
    std::vector<EnvelopeColumn> columns;
    columns.reserve(draft.ranges.size());
    for (std::size_t i = 0; i < draft.ranges.size(); ++i) {
        const qint64 first = draft.edges[i];
        if (draft.isLost[i])
            columns.push_back({.first = first});
        else
            columns.push_back(envelopeColumn(draft.ranges[i], m_kind, first, draft.edges[i + 1] - first));
    }
    return columns;
}

} // namespace vx::datastorage
