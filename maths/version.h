#pragma once

/// The version, here and nowhere else: the build reads it from this file. A new major version may break callers, and
/// until 1.0.0 a new minor one too, as the name of the shared library shows: libmaths.so.0.1, then libmaths.so.1.
#define MATHS_VERSION_MAJOR 0
#define MATHS_VERSION_MINOR 1
#define MATHS_VERSION_PATCH 0

#define MATHS_VERSION_TEXT_OF(x) #x
#define MATHS_VERSION_JOIN(major, minor, patch) \
    MATHS_VERSION_TEXT_OF(major) "." MATHS_VERSION_TEXT_OF(minor) "." MATHS_VERSION_TEXT_OF(patch)

/// "major.minor.patch"
#define MATHS_VERSION_STRING MATHS_VERSION_JOIN(MATHS_VERSION_MAJOR, MATHS_VERSION_MINOR, MATHS_VERSION_PATCH)
