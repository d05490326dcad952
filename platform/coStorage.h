#pragma once

#include <cstddef>

#include "maths/maths_api.h"

/// Returns a block of `bytes` bytes that starts with the contents of `block`, which it replaces (a null `block` has
/// none); contents past the old size are not initialised. Returns null when `bytes` is 0.
///
/// The storage of every array of the library comes from here and goes back through `coReleaseStorage`. A block begins
/// at a multiple of the alignment of std::max_align_t. A block that has grown can have up to twice the room that was
/// asked for, and then grows into it without being moved. Failure: throws std::bad_alloc, and `block` stays as it was.
MATHS_API void * coResizeStorage(void * block, std::size_t bytes);

/// Gives a block back; a null `block` is ignored.
MATHS_API void coReleaseStorage(void * block) noexcept;

/// Throws std::bad_alloc, for callers that are compiled without exceptions too.
[[noreturn]] MATHS_API void coOutOfStorage();

/// For tests: the request after `successes` more successful ones, and every one after that, throws std::bad_alloc;
/// a negative number, the state at the start, lets every request through. Holds for all threads.
MATHS_API void coFailStorageAfter(long successes) noexcept;
