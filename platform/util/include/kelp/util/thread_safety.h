#pragma once

// Clang checks these with -Wthread-safety; other compilers do not know them.
#if defined(__clang__)
#define KELP_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define KELP_THREAD_SAFETY(attribute)
#endif

/// The member may be used only while the mutex is held.
#define KELP_GUARDED_BY(mutex) KELP_THREAD_SAFETY(guarded_by(mutex))
/// What the member points to may be used only while the mutex is held.
#define KELP_PT_GUARDED_BY(mutex) KELP_THREAD_SAFETY(pt_guarded_by(mutex))
/// The caller holds the mutex, before and after the call.
#define KELP_REQUIRES(...) KELP_THREAD_SAFETY(requires_capability(__VA_ARGS__))
/// The caller does not hold the mutex.
#define KELP_EXCLUDES(...) KELP_THREAD_SAFETY(locks_excluded(__VA_ARGS__))
/// The function locks the mutex and returns with it held.
#define KELP_ACQUIRE(...) KELP_THREAD_SAFETY(acquire_capability(__VA_ARGS__))
/// The function locks the mutex for reading, together with others, and returns with it held.
#define KELP_ACQUIRE_SHARED(...) KELP_THREAD_SAFETY(acquire_shared_capability(__VA_ARGS__))
/// The function unlocks the mutex.
#define KELP_RELEASE(...) KELP_THREAD_SAFETY(release_capability(__VA_ARGS__))
/// The function unlocks the mutex, which was locked for reading.
#define KELP_RELEASE_SHARED(...) KELP_THREAD_SAFETY(release_shared_capability(__VA_ARGS__))
/// The function locks the mutex if it returns its first argument.
#define KELP_TRY_ACQUIRE(...) KELP_THREAD_SAFETY(try_acquire_capability(__VA_ARGS__))
/// The function returns a reference to the mutex.
#define KELP_RETURNS_MUTEX(mutex) KELP_THREAD_SAFETY(lock_returned(mutex))
/// The function is not checked; a comment says why it is right.
#define KELP_NOT_CHECKED KELP_THREAD_SAFETY(no_thread_safety_analysis)
