#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// What the cache asks of the operating system itself, without Qt: memory, error codes, disk space
/// and processes. One source file per system implements it.
///
/// Threads: every function may be called from any thread.
namespace vx::datastorage::platform {

/// Physical memory in bytes that programs can still take without the system swapping, now; nothing
/// when the system does not tell.
std::optional<std::uint64_t> availablePhysicalMemory();

/// The calling thread's code of its last failed system call: errno, on Windows GetLastError(). 0 when
/// there was none.
std::uint32_t lastSystemError();

/// Reserves disk space for `bytes` bytes from `offset` on in the open file `fd`; the file's size does
/// not change. False when nothing was reserved: the file system or the operating system cannot (Linux
/// only), or there is not enough space. Writing needs no reservation, so the result may be ignored.
bool reserveFileSpace(int fd, std::int64_t offset, std::int64_t bytes);

/// The id of the calling process; a forked child gets its own at once.
long long currentProcessId();

/// Whether a process with this id runs now, whoever owns it. Ids are reused: a process with the id of
/// an earlier one is not that one.
bool isProcessAlive(long long pid);

#if defined(__linux__)
/// Bytes in the line "MemAvailable:" of a text in the format of /proc/meminfo, which counts in units
/// of 1024 bytes; nothing without that line or without a number in it.
std::optional<std::uint64_t> parseAvailableMemory(std::string_view memoryInformation);
#endif

} // namespace vx::datastorage::platform
