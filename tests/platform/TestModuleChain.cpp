// Three modules for the suite of DynamicLibrary. Each depends on the next one: dependent, dependency, foundation.

#include "TestModule.h"

#if defined(_WIN32)
    #define VELMOR_TEST_IMPORT extern "C" __declspec(dllimport)
#else
    #define VELMOR_TEST_IMPORT extern "C"
#endif

#if defined(VELMOR_TEST_DEPENDENT)

VELMOR_TEST_IMPORT int velmorDependencyValue();

VELMOR_TEST_MODULE int velmorDependentValue() {
    return velmorDependencyValue() + 1;
}

#elif defined(VELMOR_TEST_DEPENDENCY)

VELMOR_TEST_IMPORT int velmorFoundationValue();

VELMOR_TEST_MODULE int velmorDependencyValue() {
    return velmorFoundationValue() + 10;
}

#else

VELMOR_TEST_MODULE int velmorFoundationValue() {
    return 100;
}

#endif
