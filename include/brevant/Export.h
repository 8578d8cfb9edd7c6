// Marks what libbrevant.so exports; everything else in it stays hidden.
#pragma once

// On Windows the library is a COM server (Brevant.dll) and its C++ classes are
// linked statically, so there is nothing to mark there.
#if defined(_WIN32)
#define BREVANT_EXPORT
#else
#define BREVANT_EXPORT __attribute__((visibility("default")))
#endif
