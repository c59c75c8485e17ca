#include "FaultPlan.h"

#include <QtCore/QFile>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && defined(__GLIBC__)
#define CAN_REFUSE_MEMORY 1
#else
#define CAN_REFUSE_MEMORY 0
#endif

namespace {

constexpr std::size_t maximumPath = 4096;
constexpr int trackedDescriptors = 4096;

std::atomic<int> plannedCall{-1};
std::atomic<int> callsLeft{0};
std::atomic<bool> failed{false};
thread_local bool isPaused = false;
std::array<char, maximumPath> directory{};
std::array<std::atomic<bool>, trackedDescriptors> isTracked{};

/// Counts a call; true when it is the one that fails.
bool fails(Call call)
{
    if (plannedCall.load() != static_cast<int>(call) || isPaused || callsLeft.fetch_sub(1) != 1)
        return false;
    failed.store(true);
    return true;
}

bool isBelow(const char* path)
{
    const std::size_t length = std::strlen(directory.data());
    return plannedCall.load() >= 0 && path && length > 0 && std::strncmp(path, directory.data(), length) == 0;
}

bool isBelow(int descriptor)
{
    return descriptor >= 0 && descriptor < trackedDescriptors &&
           isTracked[static_cast<std::size_t>(descriptor)].load();
}

int track(int descriptor, bool isOurs)
{
    if (descriptor >= 0 && descriptor < trackedDescriptors)
        isTracked[static_cast<std::size_t>(descriptor)].store(isOurs);
    return descriptor;
}

int refuse(int code)
{
    errno = code;
    return -1;
}

template <typename Function>
Function* next(const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

FaultPlan::FaultPlan(Call call, int number, const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    std::strncpy(directory.data(), name.constData(), maximumPath - 1);
    failed.store(false);
    callsLeft.store(number);
    plannedCall.store(static_cast<int>(call));
}

FaultPlan::~FaultPlan()
{
    plannedCall.store(-1);
}

FaultPlan::Pause::Pause()
{
    isPaused = true;
}

FaultPlan::Pause::~Pause()
{
    isPaused = false;
}

bool FaultPlan::hasFailed() const
{
    return failed.load();
}

bool FaultPlan::canRefuseMemory()
{
    return CAN_REFUSE_MEMORY != 0;
}

// The C library's functions, by their own names. NOLINTBEGIN

extern "C" {

int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    static auto* const real = next<int(const char*, int, ...)>("open");
    const bool isOurs = isBelow(path);
    if (isOurs && fails(Call::Open))
        return refuse(EMFILE);
    return track(real(path, flags, mode), isOurs);
}

int open64(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    static auto* const real = next<int(const char*, int, ...)>("open64");
    const bool isOurs = isBelow(path);
    if (isOurs && fails(Call::Open))
        return refuse(EMFILE);
    return track(real(path, flags, mode), isOurs);
}

int close(int descriptor)
{
    static auto* const real = next<int(int)>("close");
    track(descriptor, false);
    return real(descriptor);
}

ssize_t read(int descriptor, void* data, size_t bytes)
{
    static auto* const real = next<ssize_t(int, void*, size_t)>("read");
    if (isBelow(descriptor) && fails(Call::Read))
        return refuse(EIO);
    return real(descriptor, data, bytes);
}

ssize_t pread(int descriptor, void* data, size_t bytes, off_t offset)
{
    static auto* const real = next<ssize_t(int, void*, size_t, off_t)>("pread");
    if (isBelow(descriptor) && fails(Call::Read))
        return refuse(EIO);
    return real(descriptor, data, bytes, offset);
}

ssize_t pread64(int descriptor, void* data, size_t bytes, off64_t offset)
{
    static auto* const real = next<ssize_t(int, void*, size_t, off64_t)>("pread64");
    if (isBelow(descriptor) && fails(Call::Read))
        return refuse(EIO);
    return real(descriptor, data, bytes, offset);
}

ssize_t write(int descriptor, const void* data, size_t bytes)
{
    static auto* const real = next<ssize_t(int, const void*, size_t)>("write");
    if (isBelow(descriptor) && fails(Call::Write))
        return refuse(ENOSPC);
    if (isBelow(descriptor) && bytes > 1 && fails(Call::WriteShort)) {
        callsLeft.store(1); // and the next one, for the rest
        return real(descriptor, data, bytes / 2);
    }
    if (isBelow(descriptor) && failed.load() && fails(Call::WriteShort))
        return refuse(ENOSPC);
    return real(descriptor, data, bytes);
}

void* mmap64(void* address, size_t bytes, int protection, int flags, int descriptor, off64_t offset)
{
    static auto* const real = next<void*(void*, size_t, int, int, int, off64_t)>("mmap64");
    if (isBelow(descriptor) && fails(Call::Map)) {
        errno = ENOMEM;
        return MAP_FAILED;
    }
    return real(address, bytes, protection, flags, descriptor, offset);
}

int rename(const char* from, const char* to)
{
    static auto* const real = next<int(const char*, const char*)>("rename");
    return isBelow(from) && fails(Call::Rename) ? refuse(EIO) : real(from, to);
}

int renameat2(int fromDirectory, const char* from, int toDirectory, const char* to, unsigned int flags)
{
    static auto* const real = next<int(int, const char*, int, const char*, unsigned int)>("renameat2");
    return isBelow(from) && fails(Call::Rename) ? refuse(EIO)
                                                : real(fromDirectory, from, toDirectory, to, flags);
}

int unlink(const char* path)
{
    static auto* const real = next<int(const char*)>("unlink");
    return isBelow(path) && fails(Call::Remove) ? refuse(EBUSY) : real(path);
}

#if CAN_REFUSE_MEMORY

void* __libc_malloc(size_t bytes);
void* __libc_realloc(void* block, size_t bytes);

void* malloc(size_t bytes)
{
    if (bytes >= FaultPlan::LARGE_BLOCK && fails(Call::Allocate)) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_malloc(bytes);
}

void* realloc(void* block, size_t bytes)
{
    if (bytes >= FaultPlan::LARGE_BLOCK && fails(Call::Allocate)) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_realloc(block, bytes);
}

#endif

} // extern "C"

// NOLINTEND
