#include <support/RefusedNew.h>

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

#if defined(__SANITIZE_THREAD__)
#define CAN_REFUSE_NEW 0
#elif defined(__has_feature)
#define CAN_REFUSE_NEW (!__has_feature(thread_sanitizer))
#else
#define CAN_REFUSE_NEW 1
#endif

namespace {

constexpr std::size_t none = std::numeric_limits<std::size_t>::max();

std::atomic<std::size_t> refusedFrom{none};
std::atomic<int> refused{0};
thread_local int callsLeft = 0;

#if CAN_REFUSE_NEW

void* take(std::size_t bytes) noexcept
{
    const bool isRefused = bytes >= refusedFrom.load() || (callsLeft > 0 && --callsLeft == 0);
    if (isRefused) {
        ++refused;
        return nullptr;
    }
    return std::malloc(bytes > 0 ? bytes : 1);
}

void* takeOrThrow(std::size_t bytes)
{
    if (void* memory = take(bytes))
        return memory;
    throw std::bad_alloc();
}

#endif

} // namespace

RefusedNew::RefusedNew(std::size_t bytes, int number)
{
    refused = 0;
    callsLeft = number;
    refusedFrom = bytes > 0 ? bytes : none;
}

RefusedNew::~RefusedNew()
{
    refusedFrom = none;
    callsLeft = 0;
}

int RefusedNew::count() const
{
    return refused.load();
}

bool RefusedNew::isPossible()
{
    return CAN_REFUSE_NEW != 0;
}

#if CAN_REFUSE_NEW

void* operator new(std::size_t bytes)
{
    return takeOrThrow(bytes);
}

void* operator new[](std::size_t bytes)
{
    return takeOrThrow(bytes);
}

void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept
{
    return take(bytes);
}

void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept
{
    return take(bytes);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, const std::nothrow_t&) noexcept
{
    std::free(memory);
}

#endif
