#include "importer/exchange/Progress.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <memory>
#include <thread>
#include <vector>

namespace velmor_tests {

using namespace importer::exchange;
using Velmor::FileStream;

namespace {

// Two streams on one handle, like those of importer and host: they share the file position.
struct Shared {
    std::unique_ptr<FileStream> child{FileStream::createTemporaryFile()};
    std::unique_ptr<FileStream> parent{FileStream::createFromHandle(child->getHandle())};

    std::size_t length() {
        std::vector<char> bytes;
        parent->seekToBegin();
        parent->read(1 << 20, bytes);
        return bytes.size();
    }
};

TEST(Progress, IsReadAsItIsWritten) {
    Shared file;
    ProgressWriter writer(*file.child);
    ProgressReader reader(*file.parent);
    EXPECT_EQ(reader.perMille(), 0u);
    for (const unsigned step : {1u, 2u, 250u, 999u, 1000u}) {
        writer.report(step / 1000.0 + 1e-9);
        EXPECT_EQ(reader.perMille(), step);
    }
}

TEST(Progress, IsWrittenOnlyAfterGrowthOfAThousandth) {
    Shared file;
    ProgressWriter writer(*file.child);
    for (const double done : {0.0, 0.0005, 0.5, 0.5004, 0.3, -1.0, std::numeric_limits<double>::quiet_NaN(), 7.0, 8.0})
        writer.report(done);
    EXPECT_EQ(file.length(), 2u * 4); // 0.5 and 1
    ProgressReader reader(*file.parent);
    EXPECT_EQ(reader.perMille(), 1000u);
}

TEST(Progress, SurvivesWriteBetweenRewindingAndReading) {
    Shared file;
    ProgressWriter writer(*file.child);
    ProgressReader reader(*file.parent);
    writer.report(0.1);
    writer.report(0.2);
    writer.report(0.3);
    file.parent->seekToBegin(); // the first half of perMille()
    writer.report(0.4);         // overwrites 0.1
    std::vector<char> rest;
    file.parent->read(4004, rest);
    EXPECT_EQ(rest.size(), 2u * 4);
    EXPECT_EQ(reader.perMille(), 400u);
    writer.report(0.5);
    EXPECT_EQ(reader.perMille(), 500u);
    EXPECT_EQ(file.length(), 4u * 4);
}

TEST(Progress, NeverFallsAndIsNeverTornWhileBothRun) {
    for (int round = 0; round < 20; ++round) {
        Shared file;
        std::atomic<bool> done{false};
        std::thread child([&] {
            ProgressWriter writer(*file.child);
            for (int step = 0; step <= 1000; ++step)
                writer.report(step / 1000.0 + 1e-9);
            done = true;
        });
        ProgressReader reader(*file.parent);
        unsigned before = 0;
        while (!done) {
            const unsigned now = reader.perMille();
            ASSERT_GE(now, before);
            before = now;
        }
        child.join();
        EXPECT_EQ(reader.perMille(), 1000u);
        EXPECT_EQ(file.length() % 4, 0u);
        EXPECT_LE(file.length(), 4000u);
    }
}

TEST(Progress, IgnoresInvalidRecords) {
    Shared file;
    const char invalid[] = {'\xFF', '\xFF', '\xFF', '\xFF', 5, 0, 0, 0, 9, 9};
    file.child->write(sizeof invalid, invalid);
    ProgressReader reader(*file.parent);
    EXPECT_EQ(reader.perMille(), 5u);
    FileStream none;
    ProgressReader withoutHandle(none);
    EXPECT_EQ(withoutHandle.perMille(), 0u);
}

} // namespace
} // namespace velmor_tests
