#include "importer/host/Interruption.h"

#include <csignal>

namespace importer::host {

namespace {

constexpr int signals[] = {
    SIGINT,   SIGTERM,
#if defined(SIGBREAK)
    SIGBREAK, // Ctrl-Break in a Windows console
#endif
#if defined(SIGHUP)
    SIGHUP,
#endif
#if defined(SIGPIPE)
    SIGPIPE, // the reader of standard output has ended; the write then fails with an error
#endif
};

volatile std::sig_atomic_t interrupted = 0;

extern "C" void setInterrupted(int) {
    interrupted = 1;
}

} // namespace

void catchInterruptions() {
    for (const int signal : signals)
        if (std::signal(signal, setInterrupted) == SIG_IGN)
            std::signal(signal, SIG_IGN);
}

void checkInterruption() {
    if (interrupted != 0)
        throw ImportError("interrupted");
}

} // namespace importer::host
