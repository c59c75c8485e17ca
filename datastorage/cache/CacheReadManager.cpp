#include <datastorage/cache/CacheReadManager.h>

#include <datastorage/cache/MappedCacheFile_p.h>
#include <datastorage/cache/MappedFaultGuard_p.h>
#include <datastorage/cache/MappedSampleTable_p.h>
#include <datastorage/cache/RegularFile_p.h>

#include <memory>
#include <queue>
#include <vector>

namespace vx::datastorage {

struct CacheReadManager::State
{
    std::vector<std::unique_ptr<MappedCacheFile>> files; ///< indexed by id
    std::queue<int> freeIds;                             ///< oldest first; may hold an id twice
};

CacheReadManager::CacheReadManager() : m_state(new State) {}

CacheReadManager::~CacheReadManager()
{
    closeAll();
    MappedFaultGuard::remove();
}

CacheReadManager& CacheReadManager::instance()
{
    static CacheReadManager manager;
    return manager;
}

int CacheReadManager::getFreeId()
{
    std::queue<int>& freeIds = m_state->freeIds;
    if (!freeIds.empty()) {
        const int id = freeIds.front();
        freeIds.pop();
        return id;
    }
    const int id = static_cast<int>(m_state->files.size());
    m_state->files.push_back(std::make_unique<MappedCacheFile>());
    return id;
}

bool CacheReadManager::initialize(int id, const QString& path)
{
    if (!isKnown(id))
        return false;
    unmap(id);
    MappedCacheFile& file = *m_state->files[static_cast<std::size_t>(id)];
    if (!MappedSampleTable::reserve(id) || !file.open(path))
        return false;
    MappedFaultGuard::install();
    MappedSampleTable::publish(id, file.samples(), file.sampleCount(), file.fileDescriptor());
    return true;
}

void CacheReadManager::close(int id)
{
    if (!isKnown(id))
        return;
    unmap(id);
    m_state->freeIds.push(id);
}

void CacheReadManager::releaseId(int id)
{
    if (!isKnown(id))
        return;
    close(id);
    m_state->freeIds.push(id);
}

void CacheReadManager::closeAll()
{
    for (std::size_t id = 0; id < m_state->files.size(); ++id)
        unmap(static_cast<int>(id));
    m_state->files.clear();
    m_state->freeIds = {};
}

bool CacheReadManager::isValid(const QString& path) const
{
    QFile file;
    return openRegularFile(file, path);
}

bool CacheReadManager::isKnown(int id) const
{
    return id >= 0 && static_cast<std::size_t>(id) < m_state->files.size();
}

void CacheReadManager::unmap(int id)
{
    MappedSampleTable::withdraw(id); // first, so that nobody finds memory that is gone
    m_state->files[static_cast<std::size_t>(id)]->close();
}

} // namespace vx::datastorage
