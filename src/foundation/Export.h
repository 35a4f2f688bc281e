#pragma once

/// Marks what the library exports; everything else is hidden.
#if defined(_WIN32)
#define QSML_EXPORT  // exported by the module definition that CMake writes
#else
#define QSML_EXPORT __attribute__((visibility("default")))
#endif

/// Clang's thread-safety analysis: says which mutex guards a field. Other compilers ignore it.
#if defined(__clang__)
#define QSML_GUARDED_BY(mutex) __attribute__((guarded_by(mutex)))
#define QSML_REQUIRES(...) __attribute__((requires_capability(__VA_ARGS__)))
#else
#define QSML_GUARDED_BY(mutex)
#define QSML_REQUIRES(...)
#endif
