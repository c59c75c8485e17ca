#pragma once

#include <datastorage/arrays/DataArrayStreamed.h>

#include <support/OpenArrays.h>

#include <QtCore/QBuffer>
#include <QtCore/QByteArray>
#include <QtCore/QtEndian>

#include <cstdint>
#include <vector>

/// The operations of a streamed array that only its descriptor may call, opened for tests.
struct OpenStreamedArray : vx::datastorage::DataArrayStreamed
{
    using DataArrayStreamed::addSample;
    using DataArrayStreamed::addSampleFloat;
    using DataArrayStreamed::addSampleInt;
    using DataArrayStreamed::capacity;
    using DataArrayStreamed::clear;
    using DataArrayStreamed::getSample;
    using DataArrayStreamed::getSampleFloat;
    using DataArrayStreamed::getSampleFloatWhileReading;
    using DataArrayStreamed::getSampleInt;
    using DataArrayStreamed::getSampleIntWhileReading;
    using DataArrayStreamed::getSampleWhileReading;
    using DataArrayStreamed::getSize;
    using DataArrayStreamed::reserve;
    using DataArrayStreamed::resize;

    void addInts(const std::vector<std::int32_t>& samples)
    {
        for (const std::int32_t sample : samples) {
            addSampleInt(sample);
        }
    }
};

/// `value` as 8 little-endian bytes, the form of the count of a body.
inline QByteArray countBytes(qint64 value)
{
    QByteArray bytes(8, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

/// Samples as a body holds them: 4 little-endian bytes each.
inline QByteArray sampleBytes(const std::vector<std::int32_t>& samples)
{
    QByteArray bytes;
    bytes.reserve(static_cast<qsizetype>(samples.size()) * 4);
    for (const std::int32_t sample : samples) {
        char raw[4];
        qToLittleEndian(sample, raw);
        bytes.append(raw, 4);
    }
    return bytes;
}

/// A whole body: the count and the samples.
inline QByteArray bodyBytes(const std::vector<std::int32_t>& samples)
{
    return countBytes(static_cast<qint64>(samples.size())) + sampleBytes(samples);
}

/// The numbers first, first + 1, ...
inline std::vector<std::int32_t> sequence(int count, std::int32_t first = 0)
{
    std::vector<std::int32_t> samples;
    samples.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        samples.push_back(first + i);
    }
    return samples;
}

/// A device over bytes in memory, open for reading and writing.
class BytesDevice : public QBuffer
{
public:
    explicit BytesDevice(const QByteArray& bytes = {}, qint64 position = 0)
    {
        setData(bytes);
        open(QIODevice::ReadWrite | QIODevice::Unbuffered);
        QBuffer::seek(position);
    }
};
