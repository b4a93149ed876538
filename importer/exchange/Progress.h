#pragma once

// The progress stream: how much of the work the importer has done.

#include <Velmor/Platform.h>

namespace importer::exchange {

/// Reports progress; used by the importer.
class ProgressWriter {
public:
    /// @param stream not owned; must outlive the writer.
    explicit ProgressWriter(Velmor::FileStream& stream) : stream_(stream) {}

    /// Reports the completed part of the work, 0 to 1. Growth of less than a thousandth is not written, so the stream stays
    /// below 4 KB. A stream that cannot be written is ignored: progress is not part of the result.
    void report(double done);

private:
    Velmor::FileStream& stream_;
    unsigned reported_ = 0; // per mille
};

/// Reads progress; used by the host.
class ProgressReader {
public:
    /// @param stream not owned; must outlive the reader.
    explicit ProgressReader(Velmor::FileStream& stream) : stream_(stream) {}

    /// The completed part of the work in thousandths; never less than before.
    unsigned perMille();

private:
    Velmor::FileStream& stream_;
    unsigned largest_ = 0;
};

/// A progress bar on standard error. Draws nothing unless standard error is a terminal.
class ProgressBar {
public:
    ProgressBar();

    /// Erases the bar.
    ~ProgressBar();

    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// Redraws the bar if it has grown by a percent.
    void show(unsigned perMille);

private:
    bool isTerminal_;
    int shown_ = -1; // percent; -1 before the first drawing
};

} // namespace importer::exchange
