#include <datastorage/cache/EvictionQueue_p.h>

#include <datastorage/arrays/DataArrayInfoStreamed.h>

#include <algorithm>
#include <utility>

namespace vx::datastorage {

namespace {

bool isNewer(const DataArrayInfoStreamed* a, const DataArrayInfoStreamed* b)
{
    return a->getLastTimeStreamed() > b->getLastTimeStreamed();
}

} // namespace

void EvictionQueue::push(DataArrayInfoStreamed* info)
{
    const nel::tools::Locker lock(m_mutex);
    info->setLastTimeStreamed(m_clock);
    m_heap.push_back(info);
    siftUp(m_heap.size() - 1);
    ++m_clock;
}

DataArrayInfoStreamed* EvictionQueue::popOldest()
{
    const nel::tools::Locker lock(m_mutex);
    if (m_heap.size() < 2)
        return nullptr;
    DataArrayInfoStreamed* oldest = m_heap.front();
    m_heap.front() = m_heap.back();
    m_heap.pop_back();
    siftDown(0);
    return oldest;
}

void EvictionQueue::putBack(DataArrayInfoStreamed* info)
{
    const nel::tools::Locker lock(m_mutex);
    m_heap.push_back(info);
    siftUp(m_heap.size() - 1);
}

void EvictionQueue::remove(const DataArrayInfoStreamed* info)
{
    const nel::tools::Locker lock(m_mutex);
    const auto entry = std::find(m_heap.begin(), m_heap.end(), info);
    if (entry == m_heap.end())
        return;
    m_heap.erase(entry);
    rebuild();
}

void EvictionQueue::removeEvery(const DataArrayInfoStreamed* info)
{
    const nel::tools::Locker lock(m_mutex);
    if (std::erase(m_heap, info) > 0)
        rebuild();
}

void EvictionQueue::clear()
{
    const nel::tools::Locker lock(m_mutex);
    m_heap.clear();
}

void EvictionQueue::rebuild()
{
    std::make_heap(m_heap.begin(), m_heap.end(), isNewer);
}

/// Moves the entry up while its parent is strictly newer.
void EvictionQueue::siftUp(std::size_t at)
{
    while (at > 0) {
        const std::size_t parent = (at - 1) / 2;
        if (!isNewer(m_heap[parent], m_heap[at]))
            return;
        std::swap(m_heap[parent], m_heap[at]);
        at = parent;
    }
}

/// Moves the entry down, towards the smaller child, while that is strictly older.
void EvictionQueue::siftDown(std::size_t at)
{
    for (;;) {
        std::size_t child = 2 * at + 1;
        if (child >= m_heap.size())
            return;
        if (child + 1 < m_heap.size() && isNewer(m_heap[child], m_heap[child + 1]))
            ++child;
        if (!isNewer(m_heap[at], m_heap[child]))
            return;
        std::swap(m_heap[at], m_heap[child]);
        at = child;
    }
}

} // namespace vx::datastorage
