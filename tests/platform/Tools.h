#pragma once

// Shared by the suites of the platform services and their helper programs: access to handles that does not use the library.

#include <Velmor/Platform.h>
#include <Velmor/WideText.h>

#include "support/Eventually.h"
#include "support/Setting.h"
#include "support/TemporaryFolder.h"
#include "support/Utf16.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace velmor_tests {

/// INVALID_HANDLE_VALUE: all bits are set.
inline HANDLE noHandle() {
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1));
}

/// Number of entries of a folder.
std::size_t entries(const std::filesystem::path& folder);

/// The variable that names the user's temporary folder.
#if defined(_WIN32)
inline constexpr const char* temporaryFolderVariable = "TMP";
#else
inline constexpr const char* temporaryFolderVariable = "TMPDIR";
#endif

/// File name extensions of programs and modules, and the separator of the folders in PATH.
#if defined(_WIN32)
inline constexpr const char* programEnding = ".exe";
inline constexpr const char* moduleEnding = ".dll";
inline constexpr char pathSeparator = ';';
#else
inline constexpr const char* programEnding = "";
inline constexpr const char* moduleEnding = ".so";
inline constexpr char pathSeparator = ':';
#endif

/// The variable that names the folder with the script of a child program; see ChildProgram.h.
inline constexpr const char* childFolderVariable = "VELMOR_CHILD_FOLDER";

/// Exit codes of a child: the parent did not let it proceed in time, or its script has an unknown step.
inline constexpr unsigned childWaitTimedOut = 98;
inline constexpr unsigned childUnknownStep = 99;

/// Whether the last call failed with an internal error of the operating system. On a busy machine Wine fails to start about
/// one process in a thousand, with ERROR_INTERNAL_ERROR.
bool failedInsideTheSystem();

/// Values that are not handles of this process.
std::vector<HANDLE> invalidHandles();

/// Number of open handles of this process, of every kind.
std::size_t openHandles();

/// Whether the handle is an open file of this process.
bool isOpenFile(HANDLE handle);

/// Whether child processes can inherit the handle.
bool isInheritable(HANDLE handle);

/// Opens an existing file for reading, reads, writes and closes without the library.
HANDLE openHandle(const std::filesystem::path& path);
std::optional<std::string> readHandle(HANDLE handle, std::size_t size);
bool writeHandle(HANDLE handle, const std::string& text);
void closeHandle(HANDLE handle);

} // namespace velmor_tests
