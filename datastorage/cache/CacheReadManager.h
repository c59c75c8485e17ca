#pragma once

#include <datastorage/Export.h>
#include <datastorage/arrays/DataType.h>
#include <datastorage/cache/MappedSamples.h>

#include <QtCore/QString>

namespace vx::datastorage {

/// Reads single samples straight from cache files through memory maps, without loading arrays.
///
/// A mapping is known by a small number, its id: getFreeId() hands one out, initialize() maps a file
/// under it, close() ends the mapping and gives the id back. Ids are dense from 0 on; ids that were
/// given back are handed out again, oldest first. Each mapping keeps its file open.
///
/// The file on disk is not trusted: it is checked before it is mapped, and a file that somebody cuts
/// short while it is mapped costs the samples that are gone, not the process. (For that, the first
/// mapping installs a SIGBUS handler on systems with that signal, which passes foreign signals on.)
///
/// Threads: main thread. getSampleDirect() may also run on any thread, several at once and while other
/// ids are opened and closed, but not while its own id is initialized or closed.
class VXDATASTORAGE_EXPORT CacheReadManager
{
public:
    CacheReadManager(const CacheReadManager&) = delete;
    CacheReadManager& operator=(const CacheReadManager&) = delete;

    /// The one object, made on the first call (from any thread) and alive until the library is
    /// unloaded, when it closes everything.
    static CacheReadManager& instance();

    /// An id to use with initialize(), 0 or more: the one that was given back first, else the next
    /// new one.
    int getFreeId();

    /// Maps the samples of the cache file `path` under `id`, in place of what was mapped there. False,
    /// with nothing mapped under `id`, when
    /// - the id was never handed out;
    /// - `path` cannot be opened for reading, or is no regular file (a pipe does not block the call);
    /// - the file does not start with the magic 0xF83E9FCC and exactly version 2 (which is stricter than
    ///   loading the array), or ends within these or the sample count;
    /// - the count is negative or more than the file holds.
    /// A file with no samples can be mapped. Bytes behind the last sample are ignored.
    bool initialize(int id, const QString& path);

    /// The 32 bits of sample `index`, 0 to count - 1, of the file mapped under `id`, as it was mapped.
    /// The quiet NaN 0x7FC00000 (as an int 2143289344) for any other index, for an id without a mapping
    /// or out of range, and for samples that the file no longer holds; of those, samples in the last
    /// page that the file still has may read as zero bits until one behind that page is asked for.
    /// One look-up and one test: no lock, no system call.
    DataTypeBase getSampleDirect(int id, qint64 index) { return MappedSamples::read(id, index); }

    /// Ends the mapping of `id`, if there is one, closes its file and queues the id to be handed out
    /// again. An id that was handed out is queued by every call; an unknown one is ignored.
    void close(int id);

    /// As close(), and queues the id a second time: it will be handed out twice. Who only wants to give
    /// an id back calls close().
    void releaseId(int id);

    /// Ends all mappings and forgets all ids; the next one is 0.
    void closeAll();

    /// Whether `path` is a regular file that can be opened for reading now. Its content is not looked
    /// at.
    bool isValid(const QString& path) const;

private:
    struct State;

    CacheReadManager();
    ~CacheReadManager();

    bool isKnown(int id) const;
    void unmap(int id);

    /// Outlives this object: arrays that are destroyed later still find an empty manager.
    State* m_state;
};

} // namespace vx::datastorage
