// main() of every suite: runs one scenario if the command line names it, otherwise the tests.

#include "support/ScenarioProcess.h"

#include <gmock/gmock.h>

#include <string_view>

#if defined(_WIN32)
    #include <windows.h>
#endif

#if defined(_WIN32)
// A crash ends the program with the exception code, without a dialog box and without output of a post-mortem debugger.
static LONG WINAPI endWithExceptionCode(EXCEPTION_POINTERS*) {
    return EXCEPTION_EXECUTE_HANDLER;
}
#endif

int main(int argc, char** argv) {
#if defined(_WIN32)
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetUnhandledExceptionFilter(&endWithExceptionCode);
#endif
    constexpr std::string_view prefix = velmor_tests::scenarioArgument;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument.substr(0, prefix.size()) == prefix)
            return velmor_tests::runScenarioHere(std::string(argument.substr(prefix.size())));
    }
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
