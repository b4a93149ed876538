#include <Velmor/Platform.h>

#include "os/os.h"

namespace Velmor {

HANDLE ProcessOperations::InvalidHandle() {
    return os::invalidHandle();
}

HANDLE ProcessOperations::createProcess(const WideString& application, const WideString& commandLine, bool inheritHandles) {
    WideString writableCommandLine = commandLine;
    const HANDLE process = os::createProcess(application.c_str(), writableCommandLine.data(), inheritHandles);
    return process != nullptr ? process : InvalidHandle();
}

bool ProcessOperations::hasEnded(HANDLE process, unsigned* exitCode) {
    unsigned code = 0;
    // Frozen: an invalid handle is reported as running.
    if (!os::getExitCodeProcess(process, &code) || code == os::stillActive)
        return false;
    *exitCode = code;
    return true;
}

void ProcessOperations::terminateProcess(HANDLE process, unsigned exitCode) {
    os::terminateProcess(process, exitCode);
}

void ProcessOperations::closeProcess(HANDLE process) {
    os::closeHandle(process);
}

} // namespace Velmor
