// The importer of the README, started by a host that reads its stream.

#include <Velmor/Velmor.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <vector>

namespace velmor_tests {
namespace {

using namespace Velmor;

/// Runs the program with sixteen streams, and waits for its end.
/// @param contractVersion what the host publishes as the version of the environment contract.
/// @param[out] objects what the program has written to the objects stream.
/// @return its exit code.
unsigned runFirstImporter(int contractVersion, std::vector<char>& objects) {
    EnvironmentVariables::SetInt(VELMOR_WIDE("fo_handle_version"), contractVersion);
    std::unique_ptr<FileStream> streams[ForeignObjectStreamCount];
    for (std::size_t slot = 0; slot < ForeignObjectStreamCount; ++slot) {
        streams[slot].reset(FileStream::createTemporaryFile());
        EnvironmentVariables::SetFileStreamHandle(ForeignObjectStreamVariables[slot], streams[slot]->getHandle());
    }
    const auto program = std::filesystem::path(VELMOR_FIRST_IMPORTER).string<WideChar>();
    const HANDLE process = ProcessOperations::createProcess(program, VELMOR_WIDE("first_importer"), true);
    EXPECT_NE(ProcessOperations::InvalidHandle(), process);
    if (process == ProcessOperations::InvalidHandle())
        return ~0u;
    unsigned exitCode = 0;
    while (!ProcessOperations::hasEnded(process, &exitCode))
        ThreadOperations::usleep(1);
    ProcessOperations::closeProcess(process);
    streams[ObjectsStream]->seekToBegin();
    EXPECT_TRUE(streams[ObjectsStream]->read(1024, objects));
    return exitCode;
}

TEST(FirstImporterTest, WritesIdentityAndVersion) {
    std::vector<char> objects;
    ASSERT_EQ(0u, runFirstImporter(1, objects));

    constexpr unsigned identitySize = 96;
    constexpr unsigned versionSize = 28;
    ASSERT_EQ(identitySize + versionSize, objects.size());
    EXPECT_STREQ("2O2Fr$t4X7Zf8NOew3FLOH", ExternalGUID::fromByteStream(identitySize, objects.data()).getIFCGlobalID());
    ExternalVersion version;
    version.fromByteStream(versionSize, objects.data() + identitySize);
    EXPECT_TRUE(version == createFromBoundingBox(4.0, 3.0, 0.2));
}

TEST(FirstImporterTest, EndsWithCode2ForAnotherContract) {
    std::vector<char> objects;
    EXPECT_EQ(2u, runFirstImporter(2, objects));
    EXPECT_TRUE(objects.empty());
}

} // namespace
} // namespace velmor_tests
