#include <datastorage/cache/SystemMemory_p.h>

#include <mach/mach.h>

// The rest of the functions is in SystemMemory_unix.cpp.
namespace vx::datastorage::platform {

std::optional<std::uint64_t> availablePhysicalMemory()
{
    const mach_port_t host = mach_host_self();
    vm_size_t pageBytes = 0;
    vm_statistics64_data_t pages{};
    mach_msg_type_number_t count = HOST_VM_INFO64_COUNT;
    const bool known = host_page_size(host, &pageBytes) == KERN_SUCCESS &&
                       host_statistics64(host, HOST_VM_INFO64, reinterpret_cast<host_info64_t>(&pages),
                                         &count) == KERN_SUCCESS;
    mach_port_deallocate(mach_task_self(), host);
    if (!known)
        return std::nullopt;
    // Inactive pages are given to whoever asks, like free ones; speculative ones are counted in free_count.
    return (std::uint64_t{pages.free_count} + pages.inactive_count) * pageBytes;
}

} // namespace vx::datastorage::platform
