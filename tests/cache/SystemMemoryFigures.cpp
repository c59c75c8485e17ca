#include <datastorage/cache/SystemMemory_p.h>

#include <cstdio>
#include <optional>

/// Prints what the system answers, without Qt, so that it can be built for another system alone. Fails
/// when an answer cannot be true.
int main()
{
    namespace platform = vx::datastorage::platform;
    const std::optional<std::uint64_t> memory = platform::availablePhysicalMemory();
    const long long self = platform::currentProcessId();
    const bool selfLives = platform::isProcessAlive(self);
    std::printf("available memory: %.0f MiB\n", static_cast<double>(memory.value_or(0)) / (1024.0 * 1024.0));
    std::printf("last system error: 0x%lx\n", static_cast<unsigned long>(platform::lastSystemError()));
    std::printf("process %lld is alive: %s\n", self, selfLives ? "yes" : "no");
    const bool possible = memory.value_or(0) > 0 && selfLives && !platform::isProcessAlive(0);
    return possible ? 0 : 1;
}
