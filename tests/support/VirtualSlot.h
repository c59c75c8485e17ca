#pragma once

#include <cstddef>
#include <cstring>

/// Where virtual operations stand in the table of a class, read from pointers to them: under the
/// Itanium C++ ABI on x86-64 such a pointer holds one plus the byte offset of its slot.
#if defined(__x86_64__) && defined(__GXX_ABI_VERSION)
#define VX_TEST_VIRTUAL_SLOTS 1
#endif

/// The slot of a virtual operation, -1 for one that is not virtual. The destructor is slot 0 (it fills
/// two entries of the table, which count as one here).
template <typename Operation>
int virtualSlot(Operation operation)
{
    std::ptrdiff_t word = 0;
    std::memcpy(&word, &operation, sizeof word);
    if ((word & 1) == 0) {
        return -1;
    }
    const auto entry = (word - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
    return static_cast<int>(entry) - 1;
}
