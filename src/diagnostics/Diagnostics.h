#pragma once

#include "os/os.h"

#include <atomic>

// Diagnostics for developers. They have no effect unless a debugger is attached to the process.

namespace Velmor::diagnostics {

/// The level that every call passes to `reportDiagnostic`.
inline constexpr int diagnosticLevel = 4;

/// Prints a message to the debugger channel and to standard output, if a debugger is attached.
///
/// The message is formatted and truncated to 8191 characters. No newline is added.
/// The text for standard output is formatted a second time, as a format without arguments, so a percent sign in it is
/// interpreted again. In this second pass every conversion prints a zero, `%n` writes nothing, and the output is also
/// limited to 8191 characters.
///
/// Threads: may be called from any thread; concurrent messages may interleave on standard output.
/// @param level  ignored.
/// @param format as for `printf`, followed by its arguments.
#if defined(__GNUC__)
    #if defined(__MINGW32__)
__attribute__((format(gnu_printf, 2, 3)))
    #else
__attribute__((format(printf, 2, 3)))
    #endif
#endif
void reportDiagnostic(int level, const char* format, ...);

/// Stops in the attached debugger. Returns at once if there is none.
void breakIntoDebugger();

/// The flag of a call site that reports a condition at most once per process. Each call site has one static object:
///
///     static ReportOnce once;
///     once([&] { reportDiagnostic(diagnosticLevel, "Error writing to file, %d\n", code); });
///
/// The first call sets the flag, also without a debugger. The report is made, and its arguments are converted, only if
/// a debugger is attached.
///
/// Threads: may be called from any thread; concurrent first calls may each make the report.
class ReportOnce {
public:
    /// On the first call, breaks into an attached debugger, without a message.
    void operator()() {
        (*this)([] {});
    }

    /// On the first call, makes the report and breaks into the debugger, if one is attached.
    template <class Report>
    void operator()(Report&& report) {
        if (hasReported_.load(std::memory_order_relaxed))
            return;
        if (os::isDebuggerPresent()) {
            report();
            breakIntoDebugger();
        }
        hasReported_.store(true, std::memory_order_relaxed);
    }

private:
    std::atomic<bool> hasReported_{false};
};

} // namespace Velmor::diagnostics
