// The debugger is a WaitForDebugEvent loop.

#include "support/ScenarioProcess.h"
#include "support/Utf16.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cwctype>
#include <thread>

namespace velmor_tests {
namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "%s failed: %lu\n", what, GetLastError());
    std::abort();
}

/// Owns a handle and closes it.
class Owned {
public:
    Owned() = default;
    explicit Owned(HANDLE handle) : handle_(handle) {}
    ~Owned() { close(); }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;

    HANDLE get() const { return handle_; }
    HANDLE* receive() { return &handle_; }
    void close() {
        if (handle_ != nullptr)
            CloseHandle(handle_);
        handle_ = nullptr;
    }

private:
    HANDLE handle_ = nullptr;
};

/// The scenario inherits the writing end.
struct Pipe {
    Owned reading;
    Owned writing;

    Pipe() {
        if (!CreatePipe(reading.receive(), writing.receive(), nullptr, 1 << 16) ||
            !SetHandleInformation(writing.get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT))
            fail("CreatePipe");
    }
};

/// Collects the content of a pipe until it closes, or until the process has ended and the pipe is empty: a process that the
/// scenario has started may keep the other end open.
void collect(HANDLE pipe, HANDLE ended, std::string& text) {
    std::vector<char> block(1 << 16);
    for (;;) {
        const bool hasEnded = WaitForSingleObject(ended, 0) == WAIT_OBJECT_0;
        DWORD available = 0;
        if (!PeekNamedPipe(pipe, nullptr, 0, nullptr, &available, nullptr))
            return;
        if (available == 0) {
            if (hasEnded)
                return;
            WaitForSingleObject(ended, 1);
            continue;
        }
        DWORD got = 0;
        if (!ReadFile(pipe, block.data(), std::min<DWORD>(available, 1 << 16), &got, nullptr))
            return;
        text.append(block.data(), got);
    }
}

bool startsWithIgnoringCase(const std::wstring& text, const std::wstring& prefix) {
    return text.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), text.begin(), [](wchar_t a, wchar_t b) {
               return std::towupper(static_cast<std::wint_t>(a)) == std::towupper(static_cast<std::wint_t>(b));
           });
}

/// The environment block of this process, with the given variables added or replaced.
std::wstring makeEnvironment(const std::vector<std::string>& variables) {
    std::wstring block;
    wchar_t* const all = GetEnvironmentStringsW();
    for (const wchar_t* entry = all; *entry != L'\0'; entry += std::wcslen(entry) + 1) {
        const auto replaces = [&](const std::string& variable) {
            return startsWithIgnoringCase(entry, wide(variablePrefix(variable)));
        };
        if (std::none_of(variables.begin(), variables.end(), replaces))
            block.append(entry).push_back(L'\0');
    }
    FreeEnvironmentStringsW(all);
    for (const std::string& variable : variables)
        block.append(wide(variable)).push_back(L'\0');
    block.push_back(L'\0');
    return block;
}

/// Reads the text of a report from the memory of the scenario.
std::string readReport(HANDLE process, const OUTPUT_DEBUG_STRING_INFO& info) {
    const std::size_t unit = info.fUnicode ? sizeof(wchar_t) : 1;
    std::string bytes(info.nDebugStringLength * unit, '\0');
    SIZE_T got = 0;
    ReadProcessMemory(process, info.lpDebugStringData, bytes.data(), bytes.size(), &got);
    bytes.resize(got);
    if (!info.fUnicode)
        return bytes.substr(0, bytes.find('\0'));
    std::wstring text(bytes.size() / unit, L'\0');
    std::copy_n(bytes.data(), text.size() * unit, reinterpret_cast<char*>(text.data()));
    return narrow(text.substr(0, text.find(L'\0')));
}

/// The state of the debugger between two events.
struct Debugger {
    HANDLE process;
    bool sawLoaderBreak = false;
    bool crashed = false;
};

/// Handles an event.
/// @return the status for ContinueDebugEvent.
DWORD handle(const DEBUG_EVENT& event, Debugger& debugger, ScenarioRun& run) {
    switch (event.dwDebugEventCode) {
    case CREATE_PROCESS_DEBUG_EVENT:
        Owned(event.u.CreateProcessInfo.hFile).close();
        break;
    case LOAD_DLL_DEBUG_EVENT:
        Owned(event.u.LoadDll.hFile).close();
        break;
    case OUTPUT_DEBUG_STRING_EVENT:
        run.reports.push_back(readReport(debugger.process, event.u.DebugString));
        break;
    case EXCEPTION_DEBUG_EVENT:
        if (event.u.Exception.ExceptionRecord.ExceptionCode != EXCEPTION_BREAKPOINT) {
            debugger.crashed = debugger.crashed || event.u.Exception.dwFirstChance == 0;
            return DBG_EXCEPTION_NOT_HANDLED;
        }
        if (debugger.sawLoaderBreak)
            countBreak(run);
        debugger.sawLoaderBreak = true;
        break;
    default:
        break;
    }
    return DBG_CONTINUE;
}

DWORD millisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<DWORD>(std::clamp<long long>(left.count(), 0, 0x7FFFFFFF));
}

/// Runs the debugger until the scenario ends.
/// @return false if the scenario did not end in time.
bool debug(Debugger& debugger, Clock::time_point deadline, ScenarioRun& run) {
    for (;;) {
        DEBUG_EVENT event{};
        if (!WaitForDebugEvent(&event, millisecondsUntil(deadline)))
            return false;
        const DWORD status = handle(event, debugger, run);
        ContinueDebugEvent(event.dwProcessId, event.dwThreadId, status);
        if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT)
            return true;
    }
}

PROCESS_INFORMATION start(const std::string& scenario, const std::vector<std::string>& environment, bool underDebugger,
                          HANDLE output, HANDLE error) {
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    const Owned input(CreateFileW(L"NUL", GENERIC_READ, 0, &inheritable, OPEN_EXISTING, 0, nullptr));
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input.get();
    startup.hStdOutput = output;
    startup.hStdError = error;
    const std::wstring program = wide(programPath());
    std::wstring commandLine = L"\"" + program + L"\" " + wide(scenarioArgument + scenario);
    std::wstring block = makeEnvironment(environment);
    const DWORD flags = CREATE_UNICODE_ENVIRONMENT | (underDebugger ? DEBUG_ONLY_THIS_PROCESS : 0);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE, flags, block.data(), nullptr, &startup,
                        &process))
        fail("CreateProcessW");
    return process;
}

} // namespace

std::string programPath() {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return narrow(path);
}

ScenarioRun runScenarioProcess(const std::string& scenario, const std::vector<std::string>& environment, bool underDebugger,
                               std::chrono::seconds limit) {
    ScenarioRun run;
    const Clock::time_point deadline = Clock::now() + limit;
    Pipe output;
    Pipe error;
    const PROCESS_INFORMATION created =
        start(scenario, environment, underDebugger, output.writing.get(), error.writing.get());
    const Owned process(created.hProcess);
    const Owned thread(created.hThread);
    output.writing.close();
    error.writing.close();
    std::thread outputCollector([&] { collect(output.reading.get(), process.get(), run.output); });
    std::thread errorCollector([&] { collect(error.reading.get(), process.get(), run.error); });

    Debugger debugger{process.get()};
    const bool inTime = underDebugger ? debug(debugger, deadline, run)
                                      : WaitForSingleObject(process.get(), millisecondsUntil(deadline)) == WAIT_OBJECT_0;
    if (!inTime) {
        TerminateProcess(process.get(), WAIT_TIMEOUT);
        if (underDebugger)
            debug(debugger, Clock::now() + std::chrono::seconds(10), run);
    }
    WaitForSingleObject(process.get(), 10000);
    outputCollector.join();
    errorCollector.join();
    if (!inTime)
        run.error += limitReached;

    DWORD exitCode = 0;
    GetExitCodeProcess(process.get(), &exitCode);
    run.exitCode = exitCode;
    // Without a debugger the code alone shows an exception: its highest bit is set.
    run.exited = inTime && !debugger.crashed && exitCode < 0x80000000;
    return run;
}

} // namespace velmor_tests
