#pragma once

/// @file
/// How the library's symbols cross its boundary.
///
/// `VELMOR_API` marks what a program that uses the library may link to; everything else stays hidden. The library's own
/// build defines `VELMOR_BUILDING`; `VELMOR_STATIC` (the suites of internal modules) removes the import decoration.

#if defined(_WIN32)
    #if defined(VELMOR_BUILDING)
        #define VELMOR_API __declspec(dllexport)
    #elif defined(VELMOR_STATIC)
        #define VELMOR_API
    #else
        #define VELMOR_API __declspec(dllimport)
    #endif
#else
    #define VELMOR_API __attribute__((visibility("default")))
#endif
