#include "importer/exchange/Progress.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#if defined(_WIN32)
    #include <io.h>
#else
    #include <unistd.h>
#endif

namespace importer::exchange {
namespace {

constexpr unsigned all = 1000;
constexpr std::size_t recordSize = 4;
constexpr int barWidth = 50;

bool standardErrorIsTerminal() {
#if defined(_WIN32)
    return _isatty(2) != 0;
#else
    return isatty(2) != 0;
#endif
}

} // namespace

void ProgressWriter::report(double done) {
    // A NaN fails the comparison and is not told.
    const unsigned perMille = done > 0.0 ? static_cast<unsigned>(std::min(done, 1.0) * all) : 0u;
    if (perMille <= told_)
        return;
    told_ = perMille;
    const char record[recordSize] = {static_cast<char>(perMille & 0xFF), static_cast<char>(perMille >> 8), 0, 0};
    stream_.write(sizeof record, record);
}

unsigned ProgressReader::perMille() {
    std::vector<char> records;
    stream_.seekToBegin();
    stream_.read((all + 1) * recordSize, records);
    for (std::size_t i = 0; i + recordSize <= records.size(); i += recordSize) {
        std::uint32_t value = 0;
        for (std::size_t k = recordSize; k-- > 0;)
            value = value << 8 | static_cast<unsigned char>(records[i + k]);
        if (value <= all)
            largest_ = std::max(largest_, static_cast<unsigned>(value));
    }
    return largest_;
}

ProgressBar::ProgressBar() : isTerminal_(standardErrorIsTerminal()) {}

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
