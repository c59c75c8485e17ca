#include <datastorage/cache/CacheRegistry_p.h>

#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/CacheFileName_p.h>

#include <algorithm>

namespace vx::datastorage {

using nel::tools::Locker;

void CacheRegistry::setDirectory(const QString& directory)
{
    const Locker lock(m_mutex);
    m_directory = directory;
}

QString CacheRegistry::directory() const
{
    const Locker lock(m_mutex);
    return m_directory;
}

bool CacheRegistry::insert(State state, const QString& key, DataArrayInfoStreamed* info)
{
    const QString name = info->getName();
    const Locker lock(m_mutex);
    map(state).insert(key, info);
    const bool isNew = !m_entries.contains(info);
    Entry& entry = m_entries[info];
    ++count(state, entry);
    if (isNew) {
        entry.key = key;
        entry.name = name;
        entry.file = freeFile(key, name);
        m_owners.insert(entry.file, info);
    }
    return isNew;
}

qsizetype CacheRegistry::remove(State state, const QString& key, Array info)
{
    const Locker lock(m_mutex);
    const qsizetype removed = map(state).remove(key, const_cast<DataArrayInfoStreamed*>(info));
    release(info, state, removed);
    return removed;
}

void CacheRegistry::removeEvery(Array info)
{
    const Locker lock(m_mutex);
    const auto isOfArray = [info](const Map::iterator& entry) { return entry.value() == info; };
    for (const State state : {State::Cached, State::Updating})
        if (count(state, m_entries[info]) > 0)
            erase_if(map(state), isOfArray);
    m_owners.remove(m_entries.take(info).file);
}

void CacheRegistry::clearCached()
{
    const Locker lock(m_mutex);
    const Map cached = std::exchange(m_cached, {});
    for (const DataArrayInfoStreamed* info : cached)
        release(info, State::Cached, 1);
}

/// Notes that `times` entries of the array are gone; with the last one the array is forgotten.
void CacheRegistry::release(Array info, State state, qsizetype times)
{
    const auto entry = m_entries.find(info);
    if (entry == m_entries.end() || times == 0)
        return;
    count(state, *entry) -= static_cast<int>(times);
    if (entry->cached + entry->updating == 0) {
        m_owners.remove(entry->file);
        m_entries.erase(entry);
    } else if (entry->cached + entry->updating == 1) {
        const Map& entries = entry->cached == 1 ? m_cached : m_updating;
        entry->key = entries.key(const_cast<DataArrayInfoStreamed*>(info), QString());
    }
}

QString CacheRegistry::key(State state, Array info) const
{
    const Locker lock(m_mutex);
    const auto entry = m_entries.find(info);
    if (entry == m_entries.end())
        return QString();
    const int times = state == State::Cached ? entry->cached : entry->updating;
    if (times == 0)
        return QString();
    if (entry->cached + entry->updating == 1)
        return entry->key;
    const Map& entries = state == State::Cached ? m_cached : m_updating;
    return entries.key(const_cast<DataArrayInfoStreamed*>(info), QString());
}

int CacheRegistry::registrations(Array info) const
{
    const Locker lock(m_mutex);
    const auto entry = m_entries.find(info);
    return entry == m_entries.end() ? 0 : entry->cached;
}

bool CacheRegistry::isKnown(Array info) const
{
    const Locker lock(m_mutex);
    return m_entries.contains(info);
}

bool CacheRegistry::contains(const QString& key, const QString& name) const
{
    const Locker lock(m_mutex);
    const auto [first, last] = m_cached.equal_range(key);
    return std::any_of(first, last,
                       [&](const DataArrayInfoStreamed* info) { return info->getName() == name; });
}

QList<std::pair<QString, DataArrayInfoStreamed*>> CacheRegistry::cachedArrays() const
{
    const Locker lock(m_mutex);
    QList<std::pair<QString, DataArrayInfoStreamed*>> arrays;
    arrays.reserve(m_cached.size());
    for (auto entry = m_cached.cbegin(); entry != m_cached.cend(); ++entry)
        arrays.emplace_back(entry.key(), entry.value());
    return arrays;
}

QList<DataArrayInfoStreamed*> CacheRegistry::arrays() const
{
    const Locker lock(m_mutex);
    QList<DataArrayInfoStreamed*> arrays;
    arrays.reserve(m_entries.size());
    for (auto entry = m_entries.cbegin(); entry != m_entries.cend(); ++entry)
        arrays.append(const_cast<DataArrayInfoStreamed*>(entry.key()));
    return arrays;
}

QString CacheRegistry::fileName(const QString& key, const QString& name) const
{
    const Locker lock(m_mutex);
    return composeFile(key, name);
}

/// The file for (key, name): the transformed text, unless an array of another key or name has a file
/// of that name.
QString CacheRegistry::composeFile(const QString& key, const QString& name) const
{
    const QString transformed = transformedCacheFileName(key, name);
    QString file = m_directory + fittingFileName(transformed);
    for (int attempt = 0;; ++attempt) {
        const auto owner = m_owners.find(file);
        if (owner == m_owners.end())
            return file;
        const Entry entry = m_entries.value(*owner);
        if (entry.key == key && entry.name == name)
            return file;
        file = m_directory + distinctFileName(transformed, key, name, attempt);
    }
}

/// The file for a new array (key, name), which nobody has, also when another array has the same key
/// and name.
QString CacheRegistry::freeFile(const QString& key, const QString& name) const
{
    QString file = composeFile(key, name);
    const QString transformed = transformedCacheFileName(key, name);
    for (int attempt = 0; m_owners.contains(file); ++attempt)
        file = m_directory + distinctFileName(transformed, key, name, attempt);
    return file;
}

QString CacheRegistry::fileOf(Array info) const
{
    const QString name = info->getName();
    const Locker lock(m_mutex);
    const auto entry = m_entries.find(info);
    return entry == m_entries.end() ? composeFile(QString(), name) : entry->file;
}

void CacheRegistry::setFile(Array info, const QString& key, const QString& file)
{
    const QString name = info->getName();
    const Locker lock(m_mutex);
    Entry& entry = m_entries[info];
    m_owners.remove(entry.file);
    entry.key = key;
    entry.name = name;
    entry.file = file;
    m_owners.insert(file, info);
}

} // namespace vx::datastorage
