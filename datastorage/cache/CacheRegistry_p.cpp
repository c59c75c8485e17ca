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

bool CacheRegistry::insert(State state, const QString& key, DataArrayInfoStreamed* info)
{
    const QString name = info->getName();
    const Locker lock(m_mutex);
    const bool isNew = !m_entries.contains(info);
    Entry& entry = m_entries[info];
    Map& entries = map(state);
    places(state, entry).push_back(entries.emplace_hint(entries.lower_bound(key), key, info));
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
    const auto entry = m_entries.find(info);
    if (entry == m_entries.end())
        return 0;
    Map& entries = map(state);
    const std::size_t removed = std::erase_if(places(state, *entry), [&](Map::iterator place) {
        if (place->first != key)
            return false;
        entries.erase(place);
        return true;
    });
    const std::size_t left = entry->cached.size() + entry->updating.size();
    if (left == 0) {
        m_owners.remove(entry->file);
        m_entries.erase(entry);
    } else if (left == 1 && removed > 0) {
        entry->key = (entry->cached.empty() ? entry->updating : entry->cached).front()->first;
    }
    return static_cast<qsizetype>(removed);
}

void CacheRegistry::removeEvery(Array info)
{
    const Locker lock(m_mutex);
    const Entry entry = m_entries.take(info);
    for (const State state : {State::Cached, State::Updating})
        for (const Map::iterator place : places(state, entry))
            map(state).erase(place);
    m_owners.remove(entry.file);
}

QString CacheRegistry::key(State state, Array info) const
{
    const Locker lock(m_mutex);
    const auto entry = m_entries.find(info);
    if (entry == m_entries.end() || places(state, *entry).empty())
        return QString();
    const Places& filed = places(state, *entry);
    return (*std::min_element(filed.begin(), filed.end(),
                              [](Map::iterator a, Map::iterator b) { return a->first < b->first; }))
        ->first;
}

int CacheRegistry::registrations(Array info) const
{
    const Locker lock(m_mutex);
    const auto entry = m_entries.find(info);
    return entry == m_entries.end() ? 0 : static_cast<int>(entry->cached.size());
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
                       [&](const Map::value_type& entry) { return entry.second->getName() == name; });
}

QList<std::pair<QString, DataArrayInfoStreamed*>> CacheRegistry::cachedArrays() const
{
    const Locker lock(m_mutex);
    QList<std::pair<QString, DataArrayInfoStreamed*>> arrays;
    arrays.reserve(static_cast<qsizetype>(m_cached.size()));
    for (const auto& [key, info] : m_cached)
        arrays.emplace_back(key, info);
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

QString CacheRegistry::fileOfFiled(Array info) const
{
    const Locker lock(m_mutex);
    const auto entry = m_entries.find(info);
    return entry == m_entries.end() ? QString() : entry->file;
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
