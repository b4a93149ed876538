// Prints a table of inputs (paths, filter lists, times and program files) with the results of the file operations. The table
// is the same on every system, byte for byte.

#include "Table.h"

#include <cstdio>

#if defined(_WIN32)
    #include <fcntl.h>
    #include <io.h>
#endif

using namespace velmor_tests;

int main() {
#if defined(_WIN32)
    _setmode(_fileno(stdout), _O_BINARY);
#endif
    printPaths();
    printMatches();
    printFileTimes();
    printSystemTimes();
    printVersions();
    std::fflush(stdout);
    return std::ferror(stdout) ? 1 : 0;
}
