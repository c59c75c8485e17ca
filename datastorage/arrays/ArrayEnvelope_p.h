#pragma once

#include <datastorage/arrays/SampleEnvelope_p.h>

#include <tools/Mutex.h>

#include <atomic>

namespace vx::datastorage {

/// The envelope that a streamed array keeps of its samples, wherever they are.
///
/// Samples are only ever added behind those that are summed up; when the array's content changes in
/// any other way the envelope starts over, as another generation. Whoever brings samples says of which
/// generation they are, so that samples of old content change nothing.
///
/// Threads: any; has its own lock, under which nothing else is called. It may be taken while the array's
/// memory lock is held.
class ArrayEnvelope
{
public:
    /// What is summed up at one moment.
    struct Extent
    {
        quint64 generation; ///< changes when the envelope starts over
        qint64 size;        ///< samples from index 0
    };
    struct Appended
    {
        Extent extent;
        bool isRefused; ///< there was no memory for all of the samples
    };

    /// Starts over: the content of the array has changed.
    void drop();
    /// Starts over when the samples were taken in another way until now.
    void setKind(SampleKind kind);

    Extent extent() const;
    /// As setKind() followed by extent().
    Extent extentAs(SampleKind kind);
    /// Sums up those of `samples`, the first of which has the index `first`, that follow. Does nothing
    /// when they are of another generation or leave a gap. Returns what is then summed up; when memory is
    /// refused, less than was brought.
    Appended append(quint64 generation, qint64 first, std::span<const DataTypeBase> samples);

    /// Copies `samples`, which are added to the content as those from `first` on, to `to`; sums them up in
    /// the same pass if they follow what is summed up and are of the envelope's kind. Returns their range.
    EnvelopeRange appendCopied(SampleKind kind, qint64 first, std::span<const DataTypeBase> samples,
                               DataTypeBase* to);
    /// As append(), for samples of the present content, but takes a limited number of them: called with all
    /// samples of a block whenever some were added, it keeps up, and closes a gap that memory once refused
    /// has left over several calls.
    void follow(qint64 first, std::span<const DataTypeBase> samples);

    /// Calls `ask(envelope)` unless the generation is another one; returns whether it did.
    template <typename Question>
    bool ask(quint64 generation, Question question) const
    {
        const nel::tools::Locker lock(m_mutex);
        if (m_generation != generation)
            return false;
        question(m_envelope);
        return true;
    }

    /// Bytes that the envelope takes.
    qint64 bytes() const;

    /// Bytes that were read from the array's cache file for envelopes.
    std::atomic<qint64> bytesRead{0};

private:
    void startOver(SampleKind kind) VX_REQUIRES(m_mutex);

    mutable nel::tools::Mutex m_mutex;
    SampleEnvelope m_envelope VX_GUARDED_BY(m_mutex);
    quint64 m_generation VX_GUARDED_BY(m_mutex) = 0;
};

} // namespace vx::datastorage
