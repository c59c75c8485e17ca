#pragma once

#include <QtCore/QIODevice>

#include <algorithm>
#include <functional>
#include <map>
#include <vector>

/// Stands before a random-access device and counts its reads and writes; the n-th of them, counted from
/// 0, can be failed, shortened or met by a hook, which may also hold it.
///
/// Unbuffered: every read and write of the caller arrives here as one call, with its own size.
///
/// Threads: used by one thread at a time; hooks run on the thread that reads or writes.
class FaultyDevice : public QIODevice
{
public:
    /// `inner` must outlive this object and be open.
    explicit FaultyDevice(QIODevice& inner) : m_inner(inner)
    {
        open(inner.openMode() | QIODevice::Unbuffered);
        QIODevice::seek(inner.pos());
    }

    /// The n-th read delivers at most `bytes`; fewer than 0 makes it fail.
    void limitRead(int n, qint64 bytes) { m_readLimits[n] = bytes; }
    void failRead(int n) { limitRead(n, -1); }

    /// The n-th write takes at most `bytes`; fewer than 0 makes it fail.
    void limitWrite(int n, qint64 bytes) { m_writeLimits[n] = bytes; }
    void failWrite(int n) { limitWrite(n, -1); }

    /// Called before the n-th read or write is carried out.
    void onRead(std::function<void(int n)> hook) { m_readHook = std::move(hook); }
    void onWrite(std::function<void(int n)> hook) { m_writeHook = std::move(hook); }

    /// The sizes asked for so far, in bytes, in order.
    const std::vector<qint64>& reads() const { return m_reads; }
    const std::vector<qint64>& writes() const { return m_writes; }

    bool isSequential() const override { return false; }
    qint64 size() const override { return m_inner.size(); }
    bool seek(qint64 position) override { return QIODevice::seek(position) && m_inner.seek(position); }

protected:
    qint64 readData(char* data, qint64 bytes) override
    {
        const int n = static_cast<int>(m_reads.size());
        m_reads.push_back(bytes);
        if (m_readHook) {
            m_readHook(n);
        }
        const qint64 allowed = limited(m_readLimits, n, bytes);
        return allowed < 0 ? -1 : m_inner.read(data, allowed);
    }

    qint64 writeData(const char* data, qint64 bytes) override
    {
        const int n = static_cast<int>(m_writes.size());
        m_writes.push_back(bytes);
        if (m_writeHook) {
            m_writeHook(n);
        }
        const qint64 allowed = limited(m_writeLimits, n, bytes);
        return allowed < 0 ? -1 : m_inner.write(data, allowed);
    }

private:
    static qint64 limited(const std::map<int, qint64>& limits, int n, qint64 bytes)
    {
        const auto limit = limits.find(n);
        return limit == limits.end() ? bytes : std::min(bytes, limit->second);
    }

    QIODevice& m_inner;
    std::map<int, qint64> m_readLimits;
    std::map<int, qint64> m_writeLimits;
    std::function<void(int)> m_readHook;
    std::function<void(int)> m_writeHook;
    std::vector<qint64> m_reads;
    std::vector<qint64> m_writes;
};
