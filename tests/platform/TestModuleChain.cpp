// Three modules for the suite of DynamicLibrary, each needing the next one: dependent, dependency, foundation.

#include "TestModule.h"

#if defined(_WIN32)
    #define VELMOR_TEST_IMPORT extern "C" __declspec(dllimport)
#else
    #define VELMOR_TEST_IMPORT extern "C"
#endif

#if defined(VELMOR_TEST_DEPENDENT)

VELMOR_TEST_IMPORT int velmorDependencyAnswer();

VELMOR_TEST_MODULE int velmorDependentAnswer() {
    return velmorDependencyAnswer() + 1;
}

#elif defined(VELMOR_TEST_DEPENDENCY)

VELMOR_TEST_IMPORT int velmorFoundationAnswer();

VELMOR_TEST_MODULE int velmorDependencyAnswer() {
    return velmorFoundationAnswer() + 10;
}

#else

VELMOR_TEST_MODULE int velmorFoundationAnswer() {
    return 100;
}

#endif
