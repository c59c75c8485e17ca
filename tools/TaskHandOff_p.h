#pragma once

#include <tools/Mutex.h>

#if defined(VX_THREAD_SANITIZER)
#include <sanitizer/tsan_interface.h>
#endif

/// Tells the thread sanitizer that a task handed to a Qt thread pool sees what the starting thread
/// wrote before: the hand-over happens inside Qt, where the sanitizer cannot look. Nothing in other
/// builds.
namespace nel::tools {

/// Called by the starting thread before the pool gets the task.
inline void releaseTask([[maybe_unused]] void* task)
{
#if defined(VX_THREAD_SANITIZER)
    __tsan_release(task);
#endif
}

/// Called first in the task's run().
inline void acquireTask([[maybe_unused]] void* task)
{
#if defined(VX_THREAD_SANITIZER)
    __tsan_acquire(task);
#endif
}

} // namespace nel::tools
