#include <datastorage/cache/MappedFaultGuard_p.h>

#include <datastorage/cache/CacheFileHeader_p.h>
#include <datastorage/cache/MappedSampleTable_p.h>

#if defined(Q_OS_UNIX)

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <optional>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

// Everything below installed() runs inside the signal handler: system calls and atomic loads and stores.
namespace vx::datastorage {

namespace {

constexpr quint64 SAMPLES_OFFSET = CACHE_FILE_SAMPLES_OFFSET;

struct sigaction s_previous;
std::size_t s_pageBytes = 0;
bool s_installed = false;

void fillWithMissingSamples(void* page)
{
    auto* const samples = static_cast<std::int32_t*>(page);
    std::fill_n(samples, s_pageBytes / sizeof(std::int32_t), MISSING_SAMPLE_BITS);
}

/// Puts a page of missing samples in place of the one at `address`.
bool replacePage(std::uintptr_t address)
{
    void* const page = reinterpret_cast<void*>(address - address % s_pageBytes);
#if defined(__linux__)
    // Filled elsewhere and moved there as a whole: no other thread ever sees it empty.
    void* const filled =
        ::mmap(nullptr, s_pageBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (filled == MAP_FAILED)
        return false;
    fillWithMissingSamples(filled);
    ::mprotect(filled, s_pageBytes, PROT_READ);
    return ::mremap(filled, s_pageBytes, s_pageBytes, MREMAP_MAYMOVE | MREMAP_FIXED, page) != MAP_FAILED;
#else
    void* const fresh =
        ::mmap(page, s_pageBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
    if (fresh == MAP_FAILED)
        return false;
    fillWithMissingSamples(fresh);
    return true;
#endif
}

/// The samples that the file of a mapping holds now; nothing when that cannot be found out.
std::optional<quint64> samplesInFile(int fileDescriptor)
{
    struct stat status
    {};
    if (::fstat(fileDescriptor, &status) != 0)
        return std::nullopt;
    const auto bytes = static_cast<quint64>(status.st_size);
    return bytes < SAMPLES_OFFSET ? 0 : (bytes - SAMPLES_OFFSET) / sizeof(DataTypeBase);
}

/// Whether `address` lies in the row's mapping, which then loses the samples that are gone. A row that
/// changes meanwhile is not the one that is being read, and is left alone.
bool shrinkIfHit(MappedSamples::Row& row, std::uintptr_t address)
{
    const quint32 changes = row.changes.load();
    const auto first = reinterpret_cast<std::uintptr_t>(row.samples.load());
    const quint64 bytes = row.mappedBytes.load();
    const int fileDescriptor = row.fileDescriptor.load();
    if (changes % 2 != 0 || row.changes.load() != changes || address < first || address - first >= bytes)
        return false;
    const std::optional<quint64> left = samplesInFile(fileDescriptor);
    quint64 count = row.count.load();
    while (left && *left < count && !row.count.compare_exchange_weak(count, *left)) {
    }
    return true;
}

/// What happens to a signal that has nothing to do with mapped samples.
void passOn(int signal, siginfo_t* information, void* context)
{
    if ((s_previous.sa_flags & SA_SIGINFO) != 0) {
        s_previous.sa_sigaction(signal, information, context);
        return;
    }
    if (s_previous.sa_handler == SIG_IGN && information->si_code <= 0)
        return; // sent by a program; one raised by an access cannot be ignored
    if (s_previous.sa_handler != SIG_DFL && s_previous.sa_handler != SIG_IGN) {
        s_previous.sa_handler(signal);
        return;
    }
    // Delivered again, with its usual effect, when this handler returns.
    ::signal(signal, SIG_DFL);
    ::raise(signal);
}

void handleBusError(int signal, siginfo_t* information, void* context)
{
    const int errorBefore = errno;
    const auto address = reinterpret_cast<std::uintptr_t>(information->si_addr);
    const bool accessFailed = information->si_code > 0 && information->si_code != SI_USER;
    const bool replaced =
        accessFailed &&
        MappedSampleTable::findIf([address](MappedSamples::Row& row) { return shrinkIfHit(row, address); }) &&
        replacePage(address);
    errno = errorBefore;
    if (!replaced)
        passOn(signal, information, context);
}

} // namespace

void MappedFaultGuard::install()
{
    if (s_installed)
        return;
    s_pageBytes = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    // Known before the new handler can need it.
    if (::sigaction(SIGBUS, nullptr, &s_previous) != 0)
        return;
    struct sigaction action
    {};
    action.sa_sigaction = handleBusError;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    s_installed = ::sigaction(SIGBUS, &action, nullptr) == 0;
}

void MappedFaultGuard::remove()
{
    struct sigaction current
    {};
    if (!s_installed || ::sigaction(SIGBUS, nullptr, &current) != 0)
        return;
    if ((current.sa_flags & SA_SIGINFO) == 0 || current.sa_sigaction != handleBusError)
        return;
    s_installed = ::sigaction(SIGBUS, &s_previous, nullptr) != 0;
}

} // namespace vx::datastorage

#else

namespace vx::datastorage {

void MappedFaultGuard::install() {}

void MappedFaultGuard::remove() {}

} // namespace vx::datastorage

#endif
