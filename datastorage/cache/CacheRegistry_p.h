#pragma once

#include <tools/Mutex.h>

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QString>

#include <map>
#include <vector>

namespace vx::datastorage {

class DataArrayInfoStreamed;

/// Which arrays the cache knows, under which keys, and which file each of them has.
///
/// An array is filed under its key as cached (its file is current) or as updating (its content is
/// being changed), normally once. Its file is chosen when it is first filed and stays its own until it
/// is filed nowhere any more: no two arrays ever share a file.
///
/// Threads: any; has its own lock. Arrays are not touched, except for their names when they are filed.
class CacheRegistry
{
public:
    enum class State
    {
        Cached,
        Updating
    };
    using Array = const DataArrayInfoStreamed*;

    /// The directory of the files of arrays that are filed from now on; ends in '/'.
    void setDirectory(const QString& directory);

    /// Files `info` under `key`. Returns whether the array was filed nowhere before.
    bool insert(State state, const QString& key, DataArrayInfoStreamed* info);
    /// Takes every entry (key, info) out and returns how many there were.
    qsizetype remove(State state, const QString& key, Array info);
    /// Takes every entry of `info` out.
    void removeEvery(Array info);
    /// The first key, in ascending order, under which `info` is filed; a null text when there is none.
    QString key(State state, Array info) const;
    /// How often `info` is filed as cached, whatever its keys.
    int registrations(Array info) const;
    bool isKnown(Array info) const;
    /// Whether an array of that name is cached under `key`.
    bool contains(const QString& key, const QString& name) const;
    /// The cached arrays with their keys, in ascending order of keys.
    QList<std::pair<QString, DataArrayInfoStreamed*>> cachedArrays() const;
    /// Every filed array once, cached or updating.
    QList<DataArrayInfoStreamed*> arrays() const;

    /// The file that an array called `name` under `key` has or would get.
    QString fileName(const QString& key, const QString& name) const;
    /// The file of `info`; the one it would get under a null key when it is not filed.
    QString fileOf(Array info) const;
    /// The file of `info`; a null text when it is not filed, as for a moment while its key changes.
    QString fileOfFiled(Array info) const;
    /// Makes `file` the file of `info`, which must be known.
    void setFile(Array info, const QString& key, const QString& file);

private:
    using Map = std::multimap<QString, DataArrayInfoStreamed*>;
    /// Where an array stands in a map: many arrays may have one key, and none is searched for among them.
    using Places = std::vector<Map::iterator>;

    struct Entry
    {
        Places cached;   ///< in m_cached
        Places updating; ///< in m_updating
        QString key;     ///< under which the array is filed, if only once
        QString name;
        QString file;
    };

    Map& map(State state) VX_REQUIRES(m_mutex) { return state == State::Cached ? m_cached : m_updating; }
    template <typename AnyEntry>
    static auto& places(State state, AnyEntry& entry)
    {
        return state == State::Cached ? entry.cached : entry.updating;
    }
    QString composeFile(const QString& key, const QString& name) const VX_REQUIRES(m_mutex);
    QString freeFile(const QString& key, const QString& name) const VX_REQUIRES(m_mutex);

    mutable nel::tools::Mutex m_mutex;
    QString m_directory VX_GUARDED_BY(m_mutex);
    Map m_cached VX_GUARDED_BY(m_mutex);
    Map m_updating VX_GUARDED_BY(m_mutex);
    QHash<Array, Entry> m_entries VX_GUARDED_BY(m_mutex);
    QHash<QString, Array> m_owners VX_GUARDED_BY(m_mutex); ///< by file
};

} // namespace vx::datastorage
