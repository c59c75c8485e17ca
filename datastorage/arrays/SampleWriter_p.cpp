#include <datastorage/arrays/SampleWriter_p.h>

#include <QtCore/QIODevice>
#include <QtCore/QtEndian>

#include <algorithm>

namespace vx::datastorage {

namespace {

constexpr qint64 countBytes = 8;
constexpr qint64 bytesPerSample = 4;

/// Whether an array can have so many samples. The file is not trusted: its count enters computations.
bool isPossible(qint64 count)
{
    return count >= 0 && count <= SampleBlock::maximumSamples;
}

} // namespace

SampleWriter::SampleWriter(DataArrayStreamed& array)
    : m_array(array), m_held(StreamedArrayAccess::hold(array))
{
    StreamedArrayAccess::state(array).endOfWrite = m_held.first + m_held.count;
}

bool SampleWriter::writeCount(QIODevice& device, qint64 count) const
{
    const qint64 littleEndian = qToLittleEndian(count);
    return device.write(reinterpret_cast<const char*>(&littleEndian), countBytes) == countBytes;
}

bool SampleWriter::writeSamples(QIODevice& device, qint64 first, qint64 count) const
{
    static_assert(Q_BYTE_ORDER == Q_LITTLE_ENDIAN, "samples are written as they lie in memory");
    const qint64 bytes = count * bytesPerSample;
    const DataTypeBase* samples = m_held.block.samples();
    return device.write(reinterpret_cast<const char*>(samples ? samples + first : nullptr), bytes) == bytes;
}

bool SampleWriter::writeWhole(QIODevice& device)
{
    const bool countWritten = writeCount(device, m_held.count);
    const bool samplesWritten = writeSamples(device, 0, m_held.count);
    return countWritten && samplesWritten;
}

SampleWriter::Body SampleWriter::readBody(QIODevice& device) const
{
    Body body{device.pos(), 0};
    qint64 stored = 0;
    if (device.read(reinterpret_cast<char*>(&stored), countBytes) == countBytes)
        body.count = qFromLittleEndian(stored);
    StreamedArrayState& state = StreamedArrayAccess::state(m_array);
    if (const qint64 trusted = state.trustedCount.load(); trusted >= 0)
        body.count = std::min(body.count, trusted);
    state.countBeforeWrite = body.count;
    return body;
}

bool SampleWriter::update(QIODevice& device)
{
    const Body body = readBody(device);
    device.seek(body.position);
    if (m_array.m_useBatchMode.load())
        return isPossible(body.count) && append(device, body, body.count + m_held.count, 0);
    if (body.count < 0 || m_held.count < body.count)
        return writeWhole(device);
    return append(device, body, m_held.count, body.count);
}

bool SampleWriter::appendMissing(QIODevice& device)
{
    const Body body = readBody(device);
    device.seek(body.position);
    const qint64 end = m_held.first + m_held.count;
    if (!isPossible(body.count))
        return false;
    if (body.count >= end) {
        StreamedArrayAccess::state(m_array).endOfWrite = body.count;
        return true;
    }
    if (body.count < m_held.first)
        return false; // samples between the body and the block are nowhere
    return append(device, body, end, body.count - m_held.first);
}

/// Writes the new count and continues the body with the block's samples from `firstInBlock` on. When
/// that fails, the old count is put back, so that the file says what it holds.
bool SampleWriter::append(QIODevice& device, Body body, qint64 newCount, qint64 firstInBlock)
{
    bool ok = writeCount(device, newCount);
    const qint64 end = body.position + countBytes + body.count * bytesPerSample;
    // Old bytes may lie behind the body, but a device that ends before it has lost samples.
    ok = device.size() >= end && ok;
    device.seek(std::min(end, device.size()));
    const qint64 added = m_held.count - firstInBlock;
    if (added > 0)
        ok = writeSamples(device, firstInBlock, added) && ok;
    if (ok)
        return true;
    StreamedArrayAccess::state(m_array).trustedCount = body.count;
    if (device.seek(body.position))
        writeCount(device, body.count);
    return false;
}

} // namespace vx::datastorage
