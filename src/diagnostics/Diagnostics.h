#pragma once

#include "os/os.h"

#include <atomic>

// The library's developer's aid: silent, and without any effect, unless a debugger is attached to the process.

namespace Velmor::diagnostics {

/// The level that every call passes to `reportDiagnostic`.
inline constexpr int diagnosticLevel = 4;

/// Prints a message on the debugger channel and on standard output.
///
/// The message is formatted into 8191 characters at most and, on its way to standard output, formatted a second time as a
/// format without arguments: a percent sign that reached the text is interpreted again. In that second pass every conversion
/// reads a zero, `%n` writes nowhere, and the output is bounded.
/// @param level  accepted and ignored; every call site passes 4.
/// @param format as for `printf`, with its arguments behind it. No newline is added.
#if defined(__GNUC__)
    #if defined(__MINGW32__)
__attribute__((format(gnu_printf, 2, 3)))
    #else
__attribute__((format(printf, 2, 3)))
    #endif
#endif
void reportDiagnostic(int level, const char* format, ...);

/// Stops in an attached debugger; returns at once if there is none.
void breakIntoDebugger();

/// The one-shot flag of a call site that reports a condition at most once per process. One static object per site:
///
///     static ReportOnce once;
///     once([&] { reportDiagnostic(diagnosticLevel, "Error writing to file, %d\n", code); });
///
/// The report is made, and what it converts is converted, only under a debugger; the flag is set at the first occurrence in
/// any case. Threads that race may at worst report twice.
class ReportOnce {
public:
    /// The first time: breaks into an attached debugger, without a message.
    void operator()() {
        (*this)([] {});
    }

    /// The first time: makes the report, then breaks into the debugger, if one is attached.
    template <class Report>
    void operator()(Report&& report) {
        if (happened_.load(std::memory_order_relaxed))
            return;
        if (os::isDebuggerPresent()) {
            report();
            breakIntoDebugger();
        }
        happened_.store(true, std::memory_order_relaxed);
    }

private:
    std::atomic<bool> happened_{false};
};

} // namespace Velmor::diagnostics
