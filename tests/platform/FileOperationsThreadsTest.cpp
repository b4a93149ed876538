// All file operations, called concurrently from several threads.

#include <Velmor/Platform.h>

#include "PortableExecutable.h"
#include "Tools.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using Velmor::FileOperations;
using Velmor::WideString;
using velmor_tests::narrow;
using velmor_tests::wide;

/// Calls each operation once, in the folder of one thread.
/// @return the names of the operations with a wrong result, one per line.
std::string callAll(const std::filesystem::path& folder, int number) {
    std::string failures;
    const auto expect = [&](bool holds, const char* what) {
        if (!holds)
            failures.append(what).append(1, '\n');
    };
    const WideString base = wide(folder);
    const WideString slash = FileOperations::InsertEndingDirectorySlash(base);
    const WideString child = slash + wide("child" + std::to_string(number));
    const WideString program = slash + wide("program.dll");
    const WideString file = slash + wide("file");

    expect(narrow(FileOperations::GetFullPath(wide("C:/x/../y.txt"))) == "C:\\y.txt", "GetFullPath");
    expect(FileOperations::GetFullPath(WideString()).empty(), "GetFullPath of an empty path");
    expect(narrow(FileOperations::GetFullFolder(wide("C:/x/y.txt"))) == "C:\\x\\", "GetFullFolder");
    expect(FileOperations::GetFullFolder(wide("C:\\")).empty(), "GetFullFolder of a root");
    expect(narrow(FileOperations::GetFileWithoutPath(wide("x/y.tar.gz"))) == "y.tar.gz", "GetFileWithoutPath");
    expect(FileOperations::GetFileWithoutPath(WideString()).empty(), "GetFileWithoutPath of an empty path");
    expect(FileOperations::GetFileWithoutPath(wide("C:\\")).empty(), "GetFileWithoutPath of a root");
    expect(narrow(FileOperations::GetFileWithoutExtenstion(wide("x/y.tar.gz"))) == "y", "GetFileWithoutExtenstion");
    expect(FileOperations::MatchExtension(wide("model.IFC"), wide("*.dwg|*.ifc")), "MatchExtension");

    expect(FileOperations::MakeDirectory(child), "MakeDirectory");
    expect(FileOperations::Exists(child) && FileOperations::IsDirectory(child), "IsDirectory");
    expect(FileOperations::ScanFilesInDirectory(child).empty(), "ScanFilesInDirectory of an empty folder");
    expect(FileOperations::ScanFilesInDirectory(base).size() == 1, "ScanFilesInDirectory");
    expect(FileOperations::DeleteDirectory(child), "DeleteDirectory");
    expect(!FileOperations::Delete(file), "Delete of a missing file");
    velmor_tests::writeFile(folder / "file", "x");
    expect(FileOperations::Delete(file), "Delete");
    expect(!FileOperations::Exists(file), "Exists");

    expect(FileOperations::GetFileSize(program) > 0, "GetFileSize");
    expect(FileOperations::GetFileLastWriteTime(program) > 0, "GetFileLastWriteTime");
    expect(FileOperations::GetFreeBytesAvailable(base) > 0, "GetFreeBytesAvailable");
    expect(FileOperations::HasReadAccess(program) && FileOperations::HasWriteAccess(program),
           "HasReadAccess or HasWriteAccess");
    const void* const here = reinterpret_cast<const void*>(&callAll);
    expect(!FileOperations::GetModuleByAddress(here).empty(), "GetModuleByAddress");
    std::array<unsigned, 4> numbers{};
    auto& [major, minor, build, revision] = numbers;
    expect(FileOperations::GetProductVersion(program, &major, &minor, &build, &revision), "GetProductVersion");
    expect(numbers == std::array<unsigned, 4>{3, 91, 0, 0}, "the numbers of GetProductVersion");

    const Velmor::SystemTime_s time = FileOperations::ConvertToSystemTime(125'911'584'000'000'000);
    expect(time.year == 2000 && time.month == 1 && time.day == 1, "ConvertToSystemTime");
    expect(narrow(FileOperations::ConvertSystemTimeToTimeString({2020, 2, 1, 1, 23, 45})) == "23:45:00",
           "ConvertSystemTimeToTimeString");
    expect(!FileOperations::ConvertSystemTimeToDateString({2020, 2, 1, 1, 23, 45}).empty(), "ConvertSystemTimeToDateString");
    return failures;
}

TEST(FileOperationsThreads, OperationsMayRunConcurrently) {
    constexpr int threadCount = 4;
    std::vector<std::unique_ptr<velmor_tests::TemporaryFolder>> folders;
    for (int number = 0; number < threadCount; ++number) {
        folders.push_back(std::make_unique<velmor_tests::TemporaryFolder>());
        velmor_tests::writeFile(*folders.back() / "program.dll", bytesOf(velmor_tests::PortableExecutable()));
    }
    std::vector<std::string> failures(threadCount);
    std::vector<std::thread> threads;
    for (int number = 0; number < threadCount; ++number) {
        threads.emplace_back([&, number] {
            const auto index = static_cast<std::size_t>(number);
            for (int round = 0; round < 50; ++round)
                failures[index] += callAll(folders[index]->path(), number);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, std::vector<std::string>(threadCount));
}

} // namespace
