#include <datastorage/cache/SystemMemory_p.h>

#include <cerrno>
#include <csignal>
#include <limits>

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#if defined(__linux__)
#include <charconv>
#include <fstream>
#include <string>
#endif

namespace vx::datastorage::platform {

#if defined(__linux__)

std::optional<std::uint64_t> parseAvailableMemory(std::string_view memoryInformation)
{
    constexpr std::string_view label = "MemAvailable:";
    constexpr std::uint64_t bytesPerUnit = 1024;
    const std::size_t labelStart = memoryInformation.find(label);
    if (labelStart == std::string_view::npos)
        return std::nullopt;
    std::string_view rest = memoryInformation.substr(labelStart + label.size());
    const std::size_t numberStart = rest.find_first_not_of(" \t");
    if (numberStart == std::string_view::npos)
        return std::nullopt;
    rest.remove_prefix(numberStart);

    std::uint64_t units = 0;
    const std::from_chars_result parsed = std::from_chars(rest.data(), rest.data() + rest.size(), units);
    if (parsed.ec != std::errc() || units > std::numeric_limits<std::uint64_t>::max() / bytesPerUnit)
        return std::nullopt;
    return units * bytesPerUnit;
}

std::optional<std::uint64_t> availablePhysicalMemory()
{
    std::ifstream file("/proc/meminfo");
    for (std::string line; std::getline(file, line);)
        if (const std::optional<std::uint64_t> bytes = parseAvailableMemory(line))
            return bytes;
    return std::nullopt;
}

bool reserveFileSpace(int fd, std::int64_t offset, std::int64_t bytes)
{
    int result = 0;
    do {
        result = fallocate(fd, FALLOC_FL_KEEP_SIZE, offset, bytes);
    } while (result == -1 && errno == EINTR);
    return result == 0;
}

#else

#if !defined(__APPLE__) // which has a source file of its own for this
std::optional<std::uint64_t> availablePhysicalMemory()
{
#if defined(_SC_AVPHYS_PAGES)
    const long pages = sysconf(_SC_AVPHYS_PAGES);
    const long pageBytes = sysconf(_SC_PAGESIZE);
    if (pages > 0 && pageBytes > 0)
        return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageBytes);
#endif
    return std::nullopt;
}
#endif

bool reserveFileSpace(int /*fd*/, std::int64_t /*offset*/, std::int64_t /*bytes*/)
{
    return false;
}

#endif

std::uint32_t lastSystemError()
{
    return static_cast<std::uint32_t>(errno);
}

long long currentProcessId()
{
    return ::getpid();
}

bool isProcessAlive(long long pid)
{
    if (pid <= 0 || pid > std::numeric_limits<pid_t>::max())
        return false;
    // Signal 0 is not sent, only checked. A process of another user exists, though it refuses.
    return ::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM;
}

} // namespace vx::datastorage::platform
