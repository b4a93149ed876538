#pragma once

// Starts the child program of the suites with a script, and reads its report. The steps of a script:
//
//     describe             argument=..., folder=..., process=id; Linux: session=, nice=; Windows: class=, console=yes|no
//     descriptors          (Linux) standard=NUMBER TARGET for 0 to 2, handle=NUMBER TARGET for the others
//     variable NAME        variable='VALUE' or variable=missing
//     is-file HANDLE       is-file=yes|no
//     read HANDLE SIZE     read=TEXT or read=failed, without the library
//     write HANDLE TEXT    write=done|failed, without the library
//     open PATH            open=done|refused, with the library; the file stays open until the end
//     create PATH          create=done|refused, in the same way
//     temporary            temporary=done|refused, in the same way
//     ready                publishes the report so far
//     wait                 waits until the parent lets the child proceed
//     exit CODE            ends with this exit code

#include <Velmor/Platform.h>

#include "Tools.h"

#include <gtest/gtest.h>

#include <support/UnderDebugger.h>

#include <atomic>
#include <initializer_list>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace velmor_tests {

inline std::filesystem::path programFolder() {
    return pathOf(programPath()).parent_path();
}

inline std::filesystem::path childProgram() {
    return programFolder() / (std::string("platform_child") + programEnding);
}

/// A handle in decimal, as in the scripts.
inline std::string number(HANDLE handle) {
    return std::to_string(reinterpret_cast<std::intptr_t>(handle));
}

/// The lines that a child reported.
struct Report {
    std::vector<std::string> lines;

    std::vector<std::string> values(const std::string& key) const {
        std::vector<std::string> found;
        for (const std::string& line : lines)
            if (line.starts_with(key + "="))
                found.push_back(line.substr(key.size() + 1));
        return found;
    }

    /// The value of a key that occurs once.
    std::string value(const std::string& key) const {
        const auto found = values(key);
        EXPECT_EQ(found.size(), 1u) << "for " << key;
        return found.size() == 1 ? found.front() : std::string();
    }
};

/// How often startProcess() has tried again.
inline std::atomic<unsigned> startRetries = 0;

/// Starts a process, and tries again after an internal error of the system.
inline HANDLE startProcess(const std::filesystem::path& program, const Velmor::WideString& commandLine,
                           bool inheritHandles) {
    for (;;) {
        const HANDLE process = Velmor::ProcessOperations::createProcess(wide(program), commandLine, inheritHandles);
        if (process != noHandle())
            return process;
        if (!failedInsideTheSystem() || ++startRetries > 20) {
            ADD_FAILURE() << "cannot start " << program;
            return process;
        }
    }
}

/// Waits until a process has ended, and returns its exit code.
inline unsigned join(HANDLE process) {
    unsigned exitCode = 0xDEADBEEF;
    EXPECT_TRUE(eventually([&] { return Velmor::ProcessOperations::hasEnded(process, &exitCode); }))
        << "the child has not ended";
    return exitCode;
}

/// A running child. The destructor lets it proceed, waits for its end and closes its handle.
class Child {
public:
    explicit Child(std::initializer_list<std::string> script, bool inheritHandles = false,
                   const Velmor::WideString& commandLine = VELMOR_WIDE("child"),
                   const std::filesystem::path& program = childProgram()) {
        std::string text;
        for (const std::string& step : script)
            text += step + "\n";
        writeFile(folder_ / "script", text);
        Velmor::EnvironmentVariables::SetString(wide(childFolderVariable), wide(folder_.path()));
        handle_ = startProcess(program, commandLine, inheritHandles);
        Velmor::EnvironmentVariables::SetString(wide(childFolderVariable), Velmor::WideString());
    }

    ~Child() {
        proceed();
        if (handle_ != noHandle()) {
            join();
            Velmor::ProcessOperations::closeProcess(handle_);
        }
    }

    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    HANDLE handle() const { return handle_; }

    /// Waits for the report that the child publishes in the step "ready".
    Report ready() { return published("ready"); }

    /// Ends the step "wait" of the child.
    void proceed() { writeFile(folder_ / "proceed", ""); }

    /// Waits for the end of the child.
    unsigned join() { return velmor_tests::join(handle_); }

    /// Lets the child proceed, and waits for its report at the end of the script.
    Report report() {
        proceed();
        return published("report");
    }

    /// Closes the handle. The child continues to run.
    void close() {
        Velmor::ProcessOperations::closeProcess(handle_);
        handle_ = noHandle();
    }

private:
    Report published(const char* name) {
        // The file appears with its whole content, but on Windows the child may still have it open.
        std::optional<std::string> content;
        EXPECT_TRUE(eventually([&] { return (content = tryReadFile(folder_ / name)).has_value(); }))
            << "the child has not reported";
        Report report;
        std::istringstream text(content.value_or(std::string()));
        for (std::string line; std::getline(text, line);)
            report.lines.push_back(line);
        return report;
    }

    TemporaryFolder folder_;
    HANDLE handle_ = noHandle();
};

} // namespace velmor_tests
