#pragma once

// The parts of an ELF file that must be known before the loader of the system maps it.

#include <string>
#include <vector>

namespace Velmor::os::posix {

/// The properties of a module file.
struct ElfFile {
    bool isLoadable = false;         ///< A complete module for this machine. The loader would crash on a truncated one.
    std::vector<std::string> needed; ///< The names of the modules that it depends on (DT_NEEDED).
};

/// Reads the properties of a file. A file that cannot be read is not loadable.
ElfFile inspectElfFile(const std::string& path);

} // namespace Velmor::os::posix
