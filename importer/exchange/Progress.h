#pragma once

// How far the importer is, across the progress stream.
//
// Child and parent share one file position of an inherited handle, and a stream can neither tell nor read past it. So the
// child only appends, small records of one size, and each of them tells all: per mille of the work. The parent rewinds,
// reads to the end, and takes the largest. If the child writes between the rewinding and the reading, its record lands on an
// older, smaller one; the position is then still between two records, and after the reading it is at the end again. So no
// record is torn and the largest is always in the file, for the next look if not for this one.

#include <Velmor/Velmor.h>

#include <cstdio>

namespace importer::exchange {

/// The child's side.
class ProgressWriter {
public:
    /// @param stream not owned, outlives the writer.
    explicit ProgressWriter(Velmor::FileStream& stream) : stream_(stream) {}

    /// Tells which part of the work is done, 0 to 1. What is not at least a thousandth more than before is not told, so that
    /// the stream stays below 4 KB. A stream that cannot be written is no reason to fail.
    void report(double done);

private:
    Velmor::FileStream& stream_;
    unsigned told_ = 0;
};

/// The parent's side.
class ProgressReader {
public:
    /// @param stream not owned, outlives the reader.
    explicit ProgressReader(Velmor::FileStream& stream) : stream_(stream) {}

    /// The part of the work that is done, in thousandths; never less than before.
    unsigned perMille();

private:
    Velmor::FileStream& stream_;
    unsigned largest_ = 0;
};

/// A bar on standard error, when that is a terminal; nothing otherwise.
class ProgressBar {
public:
    ProgressBar();

    /// Removes the bar.
    ~ProgressBar();

    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// Draws the bar anew when it has grown.
    void show(unsigned perMille);

private:
    bool isTerminal_;
    int shown_ = -1;
};

} // namespace importer::exchange
