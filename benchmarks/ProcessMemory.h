#pragma once

// What the system says of this process's memory.

#include <fstream>
#include <string>

namespace benchmarks {

/// A value of /proc/self/status, in KiB: "VmRSS", or "VmHWM" for the peak.
inline long memoryStatus(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == name + ":") {
            long value = 0;
            status >> value;
            return value;
        }
    }
    return 0;
}

} // namespace benchmarks
