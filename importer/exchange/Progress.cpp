#include "importer/exchange/Progress.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#if defined(_WIN32)
    #include <io.h>
#else
    #include <unistd.h>
#endif

// Importer and host share the file position of an inherited handle, and a FileStream can neither report the position nor
// read at another one. Therefore the importer only appends, each record has the same size, and each record is complete in
// itself: the thousandths done so far. The host rewinds, reads to the end and takes the largest value.
//
// If the importer writes between the rewinding and the reading, its record overwrites an older and smaller one. The position
// is still on a record boundary, and after the reading it is at the end again. So every record is complete, and the
// largest value is always in the file.

namespace importer::exchange {

namespace {

constexpr unsigned complete = 1000; // per mille
constexpr std::size_t recordSize = 4;
constexpr int barWidth = 50;

bool isTerminal() {
#if defined(_WIN32)
    return _isatty(2) != 0;
#else
    return isatty(2) != 0;
#endif
}

} // namespace

void ProgressWriter::report(double done) {
    // A NaN fails the comparison and counts as 0.
    const unsigned perMille = done > 0.0 ? static_cast<unsigned>(std::min(done, 1.0) * complete) : 0u;
    if (perMille <= reported_)
        return;
    reported_ = perMille;
    const char record[recordSize] = {static_cast<char>(perMille & 0xFF), static_cast<char>(perMille >> 8), 0, 0};
    stream_.write(sizeof record, record);
}

unsigned ProgressReader::perMille() {
    std::vector<char> records;
    stream_.seekToBegin();
    stream_.read((complete + 1) * recordSize, records);
    for (std::size_t i = 0; i + recordSize <= records.size(); i += recordSize) {
        std::uint32_t value = 0;
        for (std::size_t k = recordSize; k-- > 0;)
            value = value << 8 | static_cast<unsigned char>(records[i + k]);
        if (value <= complete)
            largest_ = std::max(largest_, static_cast<unsigned>(value));
    }
    return largest_;
}

ProgressBar::ProgressBar() : isTerminal_(isTerminal()) {}

ProgressBar::~ProgressBar() {
    if (shown_ >= 0) {
        std::fprintf(stderr, "\r%*s\r", barWidth + 8, "");
        std::fflush(stderr);
    }
}

void ProgressBar::show(unsigned perMille) {
    const int percent = static_cast<int>(perMille / 10);
    if (!isTerminal_ || percent <= shown_)
        return;
    shown_ = percent;
    const auto filled = static_cast<std::size_t>(percent * barWidth / 100);
    const std::string bar = std::string(filled, '#') + std::string(barWidth - filled, '.');
    std::fprintf(stderr, "\r[%s] %3d %%", bar.c_str(), percent);
    std::fflush(stderr);
}

} // namespace importer::exchange
