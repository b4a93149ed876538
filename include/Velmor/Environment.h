#pragma once

/// @file
/// Environment variables.

#include <Velmor/Export.h>
#include <Velmor/Handle.h>
#include <Velmor/WideText.h>

namespace Velmor {

/// Environment variables of the process: text, numbers, and file handles for child processes.
///
/// Units: lengths of texts are in UTF-16 code units.
///
/// Failure: a function that reads a missing variable returns the value that is documented for it. Only a failed allocation
/// of the result throws an exception.
///
/// Threads: all functions may run concurrently. The environment belongs to the process: another thread may change a variable
/// between two calls.
class VELMOR_API EnvironmentVariables {
public:
    EnvironmentVariables& operator=(const EnvironmentVariables&) = default;
    EnvironmentVariables& operator=(EnvironmentVariables&&) = default;

    /// Replaces every `%NAME%` in a text by the value of that variable. The names of missing variables are not replaced.
    /// @return the text; empty if memory is exhausted, unspecified if the expansion has more than 32,766 units.
    static WideString ExpandVariables(const WideString& text);

    /// Returns the value of a variable, of up to 32,766 units.
    /// @return the value; empty if the variable is missing, if memory is exhausted and, on Linux, if the value is longer.
    static WideString GetString(const WideString& name);

    /// Sets a variable. An empty value sets the variable to the empty text and does not remove it.
    static void SetString(const WideString& name, const WideString& value);

    /// Returns the value of a variable as a decimal number. Conversion stops at the first character that is not a digit.
    /// @return the number; 0 if the variable is missing, has 20 units or more, or does not begin with a number.
    static int GetInt(const WideString& name);

    /// Sets a variable to a decimal number.
    static void SetInt(const WideString& name, int value);

    /// Returns the handle that a variable contains as a signed decimal number. The handle is not validated.
    /// @return the handle. `INVALID_HANDLE_VALUE` if the variable is missing or empty or has 2,047 units or more; the first
    ///         such failure in the process is reported to an attached debugger. Null if the text is not a number or has
    ///         1,024 to 2,046 units.
    static HANDLE GetFileStreamHandle(const WideString& name);

    /// Sets a variable to the signed decimal number of a handle, so that a child process that inherits the handle can find
    /// it.
    static void SetFileStreamHandle(const WideString& name, HANDLE handle);
};

} // namespace Velmor
