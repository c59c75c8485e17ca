#pragma once

// Lock rules that clang checks at compile time (-Wthread-safety); empty under other compilers.

#if defined(__clang__)
#define VX_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define VX_THREAD_ANNOTATION(x)
#endif

/// The type is a lock.
#define VX_CAPABILITY(name) VX_THREAD_ANNOTATION(capability(name))
/// The type holds a lock from its construction to its destruction.
#define VX_SCOPED_CAPABILITY VX_THREAD_ANNOTATION(scoped_lockable)
/// The data member may be touched only while `x` is held.
#define VX_GUARDED_BY(x) VX_THREAD_ANNOTATION(guarded_by(x))
/// The function must be called with the locks held.
#define VX_REQUIRES(...) VX_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
/// The function must be called without the locks.
#define VX_EXCLUDES(...) VX_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
/// The function takes the locks and returns with them held.
#define VX_ACQUIRE(...) VX_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
/// The function gives the locks back.
#define VX_RELEASE(...) VX_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
/// The checker does not look into the function; the reason stands beside it.
#define VX_NO_THREAD_SAFETY_ANALYSIS VX_THREAD_ANNOTATION(no_thread_safety_analysis)
