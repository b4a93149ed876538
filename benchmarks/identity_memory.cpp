#include "ProcessMemory.h"
#include "identity_peers.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace benchmarks {

namespace {

template <class Database>
void printPeakMemoryOf(const char* name, std::uint64_t count) {
    std::fflush(stdout);
    const pid_t child = fork();
    if (child != 0) {
        waitpid(child, nullptr, 0);
        return;
    }
    const long before = memoryStatus("VmRSS");
    Database database;
    for (std::uint64_t i = 0; i < count; ++i)
        database.insertGUID(Velmor::ExternalGUID::fromIFCGlobalID(GlobalId(i).text.data()));
    const double bytes = 1024.0 * static_cast<double>(memoryStatus("VmHWM") - before);
    std::printf("%-16s %8.1f MiB %8.1f bytes per identity\n", name, bytes / 1048576, bytes / static_cast<double>(count));
    std::fflush(stdout);
    _exit(0);
}

} // namespace

void printPeakMemory(std::uint64_t count) {
    std::printf("Peak memory of %llu IFC identities\n", static_cast<unsigned long long>(count));
    printPeakMemoryOf<Velmor::ExternalGUIDDatabase>("velmor", count);
    printPeakMemoryOf<StandardMaps>("unordered_map", count);
    printPeakMemoryOf<FlatMaps>("flat_hash_map", count);
    std::printf("\n");
}

} // namespace benchmarks
