#pragma once

/// @file
/// The export and import declarations of the library.
///
/// `VELMOR_API` marks the symbols that a program can link to; all other symbols are hidden. The build of the library defines
/// `VELMOR_BUILDING`. Programs that link the internal static library (the tests of internal modules) define `VELMOR_STATIC`.

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
