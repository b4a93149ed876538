#pragma once

// Marks the exported symbols of the test modules.

#if defined(_WIN32)
    #define VELMOR_TEST_MODULE extern "C" __declspec(dllexport)
#else
    #define VELMOR_TEST_MODULE extern "C" __attribute__((visibility("default")))
#endif
