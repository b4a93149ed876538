// All file operations at once from several threads.

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

/// Asks everything once, in a folder of the thread's own. What is wrong ends in a line.
std::string askAll(const std::filesystem::path& folder, int number) {
    std::string wrong;
    const auto expect = [&](bool holds, const char* what) {
        if (!holds)
            wrong.append(what).append(1, '\n');
    };
    const WideString base = wide(folder);
    const WideString slash = FileOperations::InsertEndingDirectorySlash(base);
    const WideString below = slash + wide("below" + std::to_string(number));
    const WideString program = slash + wide("program.dll");
    const WideString gone = slash + wide("gone");

    expect(narrow(FileOperations::GetFullPath(wide("C:/x/../y.txt"))) == "C:\\y.txt", "GetFullPath");
    expect(FileOperations::GetFullPath(WideString()).empty(), "GetFullPath of nothing");
    expect(narrow(FileOperations::GetFullFolder(wide("C:/x/y.txt"))) == "C:\\x\\", "GetFullFolder");
    expect(FileOperations::GetFullFolder(wide("C:\\")).empty(), "GetFullFolder of a root");
    expect(narrow(FileOperations::GetFileWithoutPath(wide("x/y.tar.gz"))) == "y.tar.gz", "GetFileWithoutPath");
    expect(FileOperations::GetFileWithoutPath(WideString()).empty(), "GetFileWithoutPath of nothing");
    expect(FileOperations::GetFileWithoutPath(wide("C:\\")).empty(), "GetFileWithoutPath of a root");
    expect(narrow(FileOperations::GetFileWithoutExtenstion(wide("x/y.tar.gz"))) == "y", "GetFileWithoutExtenstion");
    expect(FileOperations::MatchExtension(wide("model.IFC"), wide("*.dwg|*.ifc")), "MatchExtension");

    expect(FileOperations::MakeDirectory(below), "MakeDirectory");
    expect(FileOperations::Exists(below) && FileOperations::IsDirectory(below), "IsDirectory");
    expect(FileOperations::ScanFilesInDirectory(below).empty(), "ScanFilesInDirectory of an empty folder");
    expect(FileOperations::ScanFilesInDirectory(base).size() == 1, "ScanFilesInDirectory");
    expect(FileOperations::DeleteDirectory(below), "DeleteDirectory");
    expect(!FileOperations::Delete(gone), "Delete of nothing");
    velmor_tests::writeFile(folder / "gone", "x");
    expect(FileOperations::Delete(gone), "Delete");
    expect(!FileOperations::Exists(gone), "Exists");

    expect(FileOperations::GetFileSize(program) > 0, "GetFileSize");
    expect(FileOperations::GetFileLastWriteTime(program) > 0, "GetFileLastWriteTime");
    expect(FileOperations::GetFreeBytesAvailable(base) > 0, "GetFreeBytesAvailable");
    expect(FileOperations::HasReadAccess(program) && FileOperations::HasWriteAccess(program), "access");
    const void* const here = reinterpret_cast<const void*>(&askAll);
    expect(!FileOperations::GetModuleByAddress(here).empty(), "GetModuleByAddress");
    std::array<unsigned, 4> numbers{};
    auto& [major, minor, build, revision] = numbers;
    expect(FileOperations::GetProductVersion(program, &major, &minor, &build, &revision), "GetProductVersion");
    expect(numbers == std::array<unsigned, 4>{3, 91, 0, 0}, "the product version");

    const Velmor::SystemTime_s time = FileOperations::ConvertToSystemTime(125'911'584'000'000'000);
    expect(time.year == 2000 && time.month == 1 && time.day == 1, "ConvertToSystemTime");
    expect(narrow(FileOperations::ConvertSystemTimeToTimeString({2020, 2, 1, 1, 23, 45})) == "23:45:00", "the time's text");
    expect(!FileOperations::ConvertSystemTimeToDateString({2020, 2, 1, 1, 23, 45}).empty(), "the date's text");
    return wrong;
}

TEST(FileOperationsThreads, AllOperationsMayRunAtOnce) {
    constexpr int threadCount = 4;
    std::vector<std::unique_ptr<velmor_tests::TemporaryFolder>> folders;
    for (int number = 0; number < threadCount; ++number) {
        folders.push_back(std::make_unique<velmor_tests::TemporaryFolder>());
        velmor_tests::writeFile(*folders.back() / "program.dll", bytesOf(velmor_tests::PortableExecutable()));
    }
    std::vector<std::string> wrong(threadCount);
    std::vector<std::thread> threads;
    for (int number = 0; number < threadCount; ++number) {
        threads.emplace_back([&, number] {
            const auto index = static_cast<std::size_t>(number);
            for (int round = 0; round < 50; ++round)
                wrong[index] += askAll(folders[index]->path(), number);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, std::vector<std::string>(threadCount));
}

} // namespace
