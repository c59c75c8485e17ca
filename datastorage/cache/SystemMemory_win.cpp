#include <datastorage/cache/SystemMemory_p.h>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace vx::datastorage::platform {

std::optional<std::uint64_t> availablePhysicalMemory()
{
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof(status);
    if (!GlobalMemoryStatusEx(&status))
        return std::nullopt;
    return status.ullAvailPhys;
}

std::uint32_t lastSystemError()
{
    return GetLastError();
}

bool reserveFileSpace(int /*fd*/, std::int64_t /*offset*/, std::int64_t /*bytes*/)
{
    return false;
}

long long currentProcessId()
{
    return GetCurrentProcessId();
}

bool isProcessAlive(long long pid)
{
    if (pid <= 0 || pid > MAXDWORD)
        return false;
    HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(pid));
    // A process of another user exists, though it cannot be opened.
    if (process == nullptr)
        return GetLastError() == ERROR_ACCESS_DENIED;
    // Somebody may still hold a handle of a process that has ended; then the process is signalled.
    const bool runs = WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
    CloseHandle(process);
    return runs;
}

} // namespace vx::datastorage::platform
