#pragma once

// The command line of Windows as the argument list of this system.

#include <Velmor/WideText.h>

#include <string>
#include <vector>

namespace Velmor::os::posix {

/// Splits a command line into arguments by the rules of CommandLineToArgvW. An empty command line has one argument, the name
/// of the application.
std::vector<std::string> splitCommandLine(const WideChar* commandLine, const std::string& application);

} // namespace Velmor::os::posix
