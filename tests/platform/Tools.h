#pragma once

// What the suites of the platform services and their helper programs share: folders and files, and a look at the environment
// and at handles that does not go through the library.

#include <Velmor/Platform.h>
#include <Velmor/WideText.h>

#include "support/TemporaryFolder.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>

namespace velmor_tests {

/// All bits set: the handle that is none.
inline HANDLE noHandle() {
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1));
}

/// A path, or text in UTF-8, as wide text.
Velmor::WideString wide(const std::filesystem::path& path);
Velmor::WideString wide(const char* utf8);
inline Velmor::WideString wide(const std::string& utf8) {
    return wide(utf8.c_str());
}

/// Wide text, or a path, as UTF-8.
std::string narrow(const Velmor::WideString& text);
std::string narrow(const std::filesystem::path& path);

/// Text in UTF-8 as a path.
std::filesystem::path pathOf(const std::string& utf8);

/// A whole file; nothing when it cannot be opened.
std::optional<std::string> tryReadFile(const std::filesystem::path& path);

/// Number of entries of a folder.
std::size_t entries(const std::filesystem::path& folder);

/// A variable of the process, in UTF-8, as the operating system has it; nothing when it is not set.
std::optional<std::string> variable(const char* name);
void setVariable(const char* name, const std::optional<std::string>& value);

/// Sets or removes a variable and brings its old value back.
class VariableSetting {
public:
    VariableSetting(const char* name, const std::optional<std::string>& value);
    explicit VariableSetting(const char* name) : VariableSetting(name, variable(name)) {}
    ~VariableSetting();
    VariableSetting(const VariableSetting&) = delete;
    VariableSetting& operator=(const VariableSetting&) = delete;

private:
    const char* name_;
    std::optional<std::string> old_;
};

/// The variable that names the user's temporary folder.
#if defined(_WIN32)
inline constexpr const char* temporaryFolderVariable = "TMP";
#else
inline constexpr const char* temporaryFolderVariable = "TMPDIR";
#endif

/// Ending of the file name of a program and of a module.
#if defined(_WIN32)
inline constexpr const char* programEnding = ".exe";
inline constexpr const char* moduleEnding = ".dll";
inline constexpr char pathSeparator = ';';
#else
inline constexpr const char* programEnding = "";
inline constexpr const char* moduleEnding = ".so";
inline constexpr char pathSeparator = ':';
#endif

/// Names the folder of a child program's script; see ChildProgram.h.
inline constexpr const char* childFolderVariable = "VELMOR_CHILD_FOLDER";

/// Exit codes of a child that nobody let proceed, and of one that does not know a step of its script.
inline constexpr unsigned childWaitedInVain = 98;
inline constexpr unsigned childUnknownStep = 99;

/// Whether the call before failed by an error inside the operating system. Wine refuses to start one process in a thousand
/// or so with ERROR_INTERNAL_ERROR when the machine is busy.
bool systemStumbled();

/// Number of open handles of this process, of every kind.
std::size_t openHandles();

/// Whether the operating system knows the handle as an open file of this process.
bool isOpenFile(HANDLE handle);

/// Whether children may inherit the handle.
bool isInheritable(HANDLE handle);

/// Opens an existing file for reading, reads, writes and closes without the library.
HANDLE openHandle(const std::filesystem::path& path);
std::optional<std::string> readHandle(HANDLE handle, std::size_t size);
bool writeHandle(HANDLE handle, const std::string& text);
void closeHandle(HANDLE handle);

/// Asks again and again until the answer is yes; gives up after the time.
template <typename Condition>
bool eventually(Condition condition, std::chrono::seconds time = std::chrono::seconds(60)) {
    const auto end = std::chrono::steady_clock::now() + time;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace velmor_tests
