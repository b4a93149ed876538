// The product version of a program file.

#include <Velmor/Platform.h>

#include "PortableExecutable.h"
#include "Tools.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#if !defined(_WIN32)
    #include <sys/stat.h>
    #include <unistd.h>
#endif

namespace {

using Velmor::FileOperations;
using Velmor::WideString;
using velmor_tests::bytesOf;
using velmor_tests::narrow;
using velmor_tests::PortableExecutable;
using velmor_tests::Random;
using velmor_tests::TemporaryFolder;
using velmor_tests::wide;
using velmor_tests::writeFile;

struct Version {
    bool known;
    std::array<unsigned, 4> numbers;

    bool operator==(const Version&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Version& version) {
    out << (version.known ? "true" : "false");
    for (const unsigned number : version.numbers)
        out << ' ' << number;
    return out;
}

constexpr Version unknown{false, {0, 0, 0, 0}};

Version versionOf(const WideString& path) {
    Version version{false, {9, 9, 9, 9}}; // the function must always set the outputs
    auto& [major, minor, build, revision] = version.numbers;
    version.known = FileOperations::GetProductVersion(path, &major, &minor, &build, &revision);
    return version;
}

Version versionOf(const std::filesystem::path& path) {
    return versionOf(wide(path));
}

/// Writes a file and returns its version.
class VersionFile {
public:
    Version of(const std::string& content) {
        // A new file is faster: truncating an existing file waits for the disk.
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
        writeFile(path_, content);
        return versionOf(path_);
    }
    Version of(const PortableExecutable& program) { return of(bytesOf(program)); }

private:
    TemporaryFolder folder_;
    std::filesystem::path path_ = folder_ / "program.dll";
};

TEST(ProductVersion, ReturnsTheProductVersionAndNotTheFileVersion) {
    VersionFile file;
    for (const bool wideForm : {false, true}) {
        PortableExecutable program;
        program.wide = wideForm;
        program.resources[0].product = {3, 91, 7, 5};
        program.resources[0].file = {1, 2, 3, 4};
        EXPECT_EQ(file.of(program), (Version{true, {3, 91, 7, 5}})) << wideForm;
    }
}

TEST(ProductVersion, NumbersAre16BitWordsInOrder) {
    VersionFile file;
    for (const bool wideForm : {false, true}) {
        for (const velmor_tests::VersionNumbers& numbers : {velmor_tests::VersionNumbers{0, 0, 0, 0},
                                                            {1, 0, 0, 0},
                                                            {0, 1, 0, 0},
                                                            {0, 0, 1, 0},
                                                            {0, 0, 0, 1},
                                                            {65535, 65534, 65533, 65532},
                                                            {0x8000, 0x0080, 0x00FF, 0xFF00}}) {
            PortableExecutable program;
            program.wide = wideForm;
            program.resources[0].product = numbers;
            EXPECT_EQ(file.of(program), (Version{true, {numbers[0], numbers[1], numbers[2], numbers[3]}}));
        }
    }
}

TEST(ProductVersion, ReadsTheVersionInAFileWithOtherSections) {
    VersionFile file;
    for (const bool wideForm : {false, true}) {
        PortableExecutable program;
        program.wide = wideForm;
        program.otherSections = true;
        EXPECT_EQ(file.of(program), (Version{true, {3, 91, 0, 0}})) << wideForm;
    }
}

TEST(ProductVersion, IgnoresTheBytesAfterTheFixedPart) {
    VersionFile file;
    PortableExecutable program;
    for (const std::size_t size : {4u, 100u, 3000u}) {
        program.resources[0].children.assign(size, 0x41);
        EXPECT_EQ(file.of(program), (Version{true, {3, 91, 0, 0}})) << size;
    }
}

TEST(ProductVersion, AcceptsAnyLanguageAndPrefersAmericanEnglish) {
    VersionFile file;
    PortableExecutable program;
    for (const int language : {0x0000, 0x0407, 0x0409, 0x0809, 0x0411}) {
        program.resources[0].language = static_cast<std::uint16_t>(language);
        EXPECT_EQ(file.of(program), (Version{true, {3, 91, 0, 0}})) << language;
    }
    program.resources.resize(2);
    program.resources[0].language = 0x0407;
    program.resources[0].product = {1, 1, 1, 1};
    program.resources[1].language = 0x0409;
    program.resources[1].product = {2, 2, 2, 2};
    EXPECT_EQ(file.of(program), (Version{true, {2, 2, 2, 2}}));
}

TEST(ProductVersion, FailsWithoutAVersionResource) {
    VersionFile file;
    for (const bool wideForm : {false, true}) {
        PortableExecutable program;
        program.wide = wideForm;
        program.otherSections = true;
        const auto with = [&](auto change) {
            PortableExecutable changed = program;
            change(changed);
            return file.of(changed);
        };
        EXPECT_EQ(with([](auto& p) { p.resourceDirectory = false; }), unknown);
        EXPECT_EQ(with([](auto& p) { p.type = 24; }), unknown);
        EXPECT_EQ(with([](auto& p) { p.id = 2; }), unknown);
        EXPECT_EQ(with([](auto& p) { p.resources.clear(); }), unknown);
    }
}

TEST(ProductVersion, FailsForFilesThatAreNotPrograms) {
    VersionFile file;
    EXPECT_EQ(file.of(std::string()), unknown);
    EXPECT_EQ(file.of("M"), unknown);
    EXPECT_EQ(file.of("MZ"), unknown);
    EXPECT_EQ(file.of("plain text\n"), unknown);
    EXPECT_EQ(file.of(std::string(100'000, '\0')), unknown);
    EXPECT_EQ(file.of(std::string(100'000, '\xFF')), unknown);
    EXPECT_EQ(file.of("MZ" + std::string(100'000, '\xFF')), unknown);
    EXPECT_EQ(file.of("\x7F"
                      "ELF" +
                      std::string(1000, '\1')),
              unknown);

    const TemporaryFolder folder;
    EXPECT_EQ(versionOf(folder / "missing.dll"), unknown);
    EXPECT_EQ(versionOf(folder.path()), unknown);
    EXPECT_EQ(versionOf(WideString()), unknown);
}

TEST(ProductVersion, AcceptsBothSeparators) {
    const TemporaryFolder folder;
    writeFile(folder / "Gr\u00FC\u00DFe.dll", bytesOf(PortableExecutable()));
    const std::string base = narrow(folder.path());
    EXPECT_EQ(versionOf(wide(base + "/Gr\u00FC\u00DFe.dll")), (Version{true, {3, 91, 0, 0}}));
    EXPECT_EQ(versionOf(wide(base + "\\Gr\u00FC\u00DFe.dll")), (Version{true, {3, 91, 0, 0}}));
}

TEST(ProductVersion, OutputsMayBeTheSameVariable) {
    const TemporaryFolder folder;
    PortableExecutable program;
    program.resources[0].product = {1, 2, 3, 4};
    writeFile(folder / "program.dll", bytesOf(program));
    unsigned number = 9;
    EXPECT_TRUE(FileOperations::GetProductVersion(wide(folder / "program.dll"), &number, &number, &number, &number));
    EXPECT_EQ(number, 4u);
    EXPECT_FALSE(FileOperations::GetProductVersion(wide(folder / "missing.dll"), &number, &number, &number, &number));
    EXPECT_EQ(number, 0u);
}

TEST(ProductVersion, LeaksNoHandle) {
    const TemporaryFolder folder;
    writeFile(folder / "program.dll", bytesOf(PortableExecutable()));
    writeFile(folder / "text.dll", "text");
    const auto round = [&] {
        versionOf(folder / "program.dll");
        versionOf(folder / "text.dll");
        versionOf(folder / "missing.dll");
    };
    round();
    const std::size_t before = velmor_tests::openHandles();
    for (int i = 0; i < 100; ++i)
        round();
    EXPECT_EQ(velmor_tests::openHandles(), before);
}

#if defined(_WIN32)
TEST(ProductVersion, LibraryHasItsVersion) {
    const auto library =
        FileOperations::GetModuleByAddress(reinterpret_cast<const void*>(&FileOperations::GetProductVersion));
    EXPECT_EQ(versionOf(library), (Version{true, {3, 91, 0, 0}})) << narrow(library);
}
#endif

#if defined(_WIN32)
constexpr bool thorough = false; // a query takes ten times as long under Wine
#else
constexpr bool thorough = true;
#endif

// ---- Damaged files ----

/// The offset of the last byte of the resources; only zeros follow it.
std::size_t endOfContent(const std::string& content) {
    return content.find_last_not_of('\0');
}

TEST(ProductVersion, FailsForATruncatedFile) {
    VersionFile file;
    for (const bool wideForm : {false, true}) {
        PortableExecutable program;
        program.wide = wideForm;
        const std::string whole = bytesOf(program);
        for (std::size_t length = 0; length < whole.size(); length += thorough ? 1 : 3)
            ASSERT_EQ(file.of(whole.substr(0, length)), unknown) << length;
        ASSERT_EQ(file.of(whole), (Version{true, {3, 91, 0, 0}}));
        ASSERT_EQ(file.of(whole + "more"), (Version{true, {3, 91, 0, 0}}));
    }
}

TEST(ProductVersion, DamagedFileFailsOrHasTheCorrectVersion) {
    VersionFile file;
    for (const bool wideForm : {false, true}) {
        PortableExecutable program;
        program.wide = wideForm;
        program.resources[0].product = {0x1234, 0x5678, 0x9ABC, 0xDEF0};
        std::string content = bytesOf(program);
        const Version whole = file.of(content);
        const std::size_t numbers = content.find("\x78\x56\x34\x12");
        ASSERT_NE(numbers, std::string::npos);
        int failed = 0;
        for (std::size_t at = 0; at <= endOfContent(content); ++at) {
            if (at >= numbers && at < numbers + 8)
                continue; // the version itself
            const char original = content[at];
            for (const int change : thorough ? std::vector{1, 2, 4, 8, 16, 32, 64, 128, 255} : std::vector{2, 64}) {
                content[at] = static_cast<char>(original ^ change);
                const Version version = file.of(content);
                EXPECT_TRUE(version == whole || version == unknown) << at << " " << change << " " << version;
                failed += !version.known;
            }
            content[at] = original;
        }
        EXPECT_GT(failed, thorough ? 500 : 100);
    }
}

TEST(ProductVersion, RandomlyDamagedFileIsHarmless) {
    Random random;
    VersionFile file;
    for (int i = 0; i < (thorough ? 10'000 : 1'000); ++i) {
        PortableExecutable program;
        program.wide = random.oneIn(2);
        program.otherSections = random.oneIn(2);
        std::string content = bytesOf(program);
        if (random.oneIn(4))
            content.resize(random.below(content.size()));
        for (unsigned changes = random.below(8u); changes > 0 && !content.empty(); --changes) {
            constexpr unsigned char values[]{0, 1, 0x7F, 0x80, 0xFF};
            const std::size_t at = random.below(std::min<std::size_t>(content.size(), 1400));
            content[at] = static_cast<char>(random.oneIn(2) ? random.oneOf(values) : random.below(256u));
        }
        const Version version = file.of(content);
        ASSERT_TRUE(version.known || version == unknown) << version;
    }
}

/// A copy of the library. Single bytes are changed in place, because the file is long.
class LibraryCopy {
public:
    explicit LibraryCopy(const std::string& content) { writeFile(path_, content); }
    Version version() const { return versionOf(path_); }
    void put(std::size_t at, char byte) const {
        std::fstream file(path_, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(at));
        file.put(byte);
        file.close();
        if (!file)
            throw std::runtime_error("cannot write to the copy");
    }
    void cut(std::size_t length) const { std::filesystem::resize_file(path_, length); }

private:
    TemporaryFolder folder_;
    std::filesystem::path path_ = folder_ / "Velmor-3.91.dll";
};

constexpr Version own{true, {3, 91, 0, 0}};

void expectTruncatedFilesFail(const velmor_tests::LibraryFile& library) {
    const LibraryCopy copy(library.content);
    ASSERT_EQ(copy.version(), own);
    std::set<std::size_t, std::greater<>> lengths{0, 1, library.content.size() - 1};
    for (std::size_t length = 0; length < library.content.size(); length += thorough ? 97 : 9973)
        lengths.insert(length);
    for (const std::size_t end : {library.headersSize, library.resourcesBegin + library.resourcesSize})
        for (std::size_t back = 0; back <= 1024; back += thorough ? 1 : 61)
            lengths.insert(end - back);
    for (const std::size_t length : lengths) { // in descending order
        copy.cut(length);
        ASSERT_EQ(copy.version(), unknown) << length;
    }
}

void expectDamagedFilesFailOrHaveTheCorrectVersion(const velmor_tests::LibraryFile& library) {
    const LibraryCopy copy(library.content);
    ASSERT_EQ(copy.version(), own);
    const std::size_t numbers = velmor_tests::productVersionOffset(library.content);
    ASSERT_LT(numbers, library.content.size());
    int failed = 0;
    const auto flipAll = [&](std::size_t begin, std::size_t size) {
        for (std::size_t at = begin; at < begin + size; at += thorough ? 1 : 5) {
            if (at >= numbers && at < numbers + 8)
                continue; // the version itself
            const char original = library.content[at];
            for (const int change : thorough ? std::vector{1, 4, 32, 128, 255} : std::vector{64}) {
                copy.put(at, static_cast<char>(original ^ change));
                const Version version = copy.version();
                EXPECT_TRUE(version == own || version == unknown) << at << " " << change << " " << version;
                failed += !version.known;
            }
            copy.put(at, original);
        }
    };
    flipAll(0, library.headersSize);
    flipAll(library.resourcesBegin, library.resourcesSize);
    EXPECT_GT(failed, thorough ? 500 : 20);
    EXPECT_EQ(copy.version(), own); // the content is restored
}

TEST(ProductVersion, FailsForATruncatedLibrary) {
    expectTruncatedFilesFail(velmor_tests::libraryFile());
}

TEST(ProductVersion, DamagedLibraryFailsOrHasTheCorrectVersion) {
    expectDamagedFilesFailOrHaveTheCorrectVersion(velmor_tests::libraryFile());
}

#if defined(_WIN32)
TEST(ProductVersion, TruncatedOrDamagedCopyOfTheLibraryFails) {
    const auto path = velmor_tests::pathOf(
        narrow(FileOperations::GetModuleByAddress(reinterpret_cast<const void*>(&FileOperations::GetProductVersion))));
    velmor_tests::LibraryFile library{velmor_tests::readFile(path), 1024, 0, 0};
    // The resources are near the version. The system does not load the bytes after the last section.
    library.resourcesBegin = velmor_tests::productVersionOffset(library.content) / 512 * 512;
    library.resourcesSize = 512;
    ASSERT_LT(library.resourcesBegin, library.content.size());
    expectDamagedFilesFailOrHaveTheCorrectVersion(library);
    library.content.resize(library.resourcesBegin + library.resourcesSize);
    const LibraryCopy copy(library.content + std::string(512, 'x'));
    for (std::size_t length = library.content.size(); length > 0; length = length * 9 / 10) {
        copy.cut(length);
        EXPECT_EQ(copy.version(), unknown) << length;
    }
}
#endif

#if !defined(_WIN32)
TEST(ProductVersion, FailsForFilesThatAreNotRegularWithoutOpeningThem) {
    const TemporaryFolder folder;
    const auto path = folder / "pipe.dll";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    std::filesystem::create_symlink("pipe.dll", folder / "link.dll");
    alarm(120); // opening a pipe waits forever for a writer
    EXPECT_EQ(versionOf(path), unknown);
    EXPECT_EQ(versionOf(folder / "link.dll"), unknown);
    EXPECT_EQ(versionOf(std::filesystem::path("/dev/null")), unknown);
    EXPECT_EQ(versionOf(std::filesystem::path("/dev/zero")), unknown);
    alarm(0);
}

TEST(ProductVersion, LargeSparseFileUsesNoMemory) {
    const TemporaryFolder folder;
    const auto path = folder / "program.dll";
    writeFile(path, bytesOf(PortableExecutable()));
    std::filesystem::resize_file(path, std::uint64_t{1} << 36);
    EXPECT_EQ(versionOf(path), (Version{true, {3, 91, 0, 0}}));
    writeFile(path, "MZ");
    std::filesystem::resize_file(path, std::uint64_t{1} << 36);
    EXPECT_EQ(versionOf(path), unknown);
}
#endif

} // namespace
