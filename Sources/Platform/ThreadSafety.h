#pragma once

// clang's thread-safety analysis, an error in clang builds and nothing elsewhere.
#if defined(__clang__)
#define TESSARIN_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define TESSARIN_THREAD_ATTRIBUTE(x)
#endif

#define CAPABILITY(name) TESSARIN_THREAD_ATTRIBUTE(capability(name))
#define GUARDED_BY(guard) TESSARIN_THREAD_ATTRIBUTE(guarded_by(guard))
#define REQUIRES(guard) TESSARIN_THREAD_ATTRIBUTE(requires_capability(guard))
#define ASSERT_CAPABILITY(guard) TESSARIN_THREAD_ATTRIBUTE(assert_capability(guard))
#define EXCLUDES(guard) TESSARIN_THREAD_ATTRIBUTE(locks_excluded(guard))
