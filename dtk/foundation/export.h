/// @file
#pragma once

/// Marks what libdtk.so exports; everything else in it has hidden visibility.
#define DTK_EXPORT __attribute__((visibility("default")))

/// For a member function that is defined in its class: exported, like the others, as well as inlined. Only the library
/// itself, where CMake defines dtk_EXPORTS, has to keep a copy that nobody calls.
#ifdef dtk_EXPORTS
#define DTK_EXPORT_INLINE DTK_EXPORT __attribute__((used))
#else
#define DTK_EXPORT_INLINE DTK_EXPORT
#endif
