// Clang's thread-safety annotations; nothing with other compilers.
#pragma once

#if defined(__clang__)
#define VRAX_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define VRAX_THREAD_ANNOTATION(x)
#endif

#define CAPABILITY(x) VRAX_THREAD_ANNOTATION(capability(x))
#define SCOPED_CAPABILITY VRAX_THREAD_ANNOTATION(scoped_lockable)
#define GUARDED_BY(x) VRAX_THREAD_ANNOTATION(guarded_by(x))
#define ACQUIRED_BEFORE(...) VRAX_THREAD_ANNOTATION(acquired_before(__VA_ARGS__))
#define REQUIRES(...) VRAX_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define ACQUIRE(...) VRAX_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) VRAX_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define TRY_ACQUIRE(...) VRAX_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define EXCLUDES(...) VRAX_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS VRAX_THREAD_ANNOTATION(no_thread_safety_analysis)
