#include <datastorage/arrays/SampleBlock_p.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

namespace vx::datastorage::SampleBlock {

namespace {

/// Stands in front of the samples; as wide as the heap's own alignment, which the samples keep.
struct alignas(16) Header
{
    std::atomic<int> users;
};
static_assert(sizeof(Header) == 16);

Header* headerOf(DataTypeBase* block)
{
    return reinterpret_cast<Header*>(block) - 1;
}

std::size_t bytesFor(qint64 count)
{
    return sizeof(Header) + static_cast<std::size_t>(count) * sizeof(DataTypeBase);
}

DataTypeBase* withHeader(void* memory)
{
    return reinterpret_cast<DataTypeBase*>(new (memory) Header{1} + 1);
}

} // namespace

DataTypeBase* allocate(qint64 count)
{
    if (count < 0 || count > maximumSamples)
        return nullptr;
    void* memory = std::malloc(bytesFor(count));
    return memory ? withHeader(memory) : nullptr;
}

DataTypeBase* resize(DataTypeBase* block, qint64 used, qint64 count)
{
    if (!block || isShared(block)) {
        DataTypeBase* copy = allocate(count);
        if (copy && block) {
            std::memcpy(copy, block, static_cast<std::size_t>(std::min(used, count)) * sizeof(DataTypeBase));
            release(block);
        }
        return copy;
    }
    if (count < 0 || count > maximumSamples)
        return nullptr;
    void* memory = std::realloc(static_cast<void*>(headerOf(block)), bytesFor(count));
    return memory ? withHeader(memory) : nullptr;
}

bool isShared(DataTypeBase* block)
{
    return block && headerOf(block)->users.load(std::memory_order_acquire) > 1;
}

void addUser(DataTypeBase* block)
{
    headerOf(block)->users.fetch_add(1, std::memory_order_relaxed);
}

void release(DataTypeBase* block)
{
    if (block && headerOf(block)->users.fetch_sub(1, std::memory_order_acq_rel) == 1)
        std::free(static_cast<void*>(headerOf(block)));
}

} // namespace vx::datastorage::SampleBlock
