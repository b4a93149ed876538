#include "importer/host/State.h"

#include "importer/exchange/PropertyRecords.h"
#include "importer/exchange/Text.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>

#if !defined(_WIN32)
    #include <sys/stat.h>
#endif

using namespace importer::host;
using namespace importer::exchange;
namespace fs = std::filesystem;

namespace velmor_tests {

namespace {

// A model of walls. Every third wall has both property sets of the model.
Model model(std::size_t count, const std::string& name) {
    Velmor::IFC2X3_PSet_Custom_s set{};
    set.name[0] = 'P';
    Model result;
    result.propertySets.push_back(encode(set));
    set.properties.addProperty(Velmor::createPropertySingleValueBoolean(VELMOR_WIDE("flag"), VELMOR_WIDE(""), true));
    result.propertySets.push_back(encode(set));
    result.objects.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        char id[23];
        std::snprintf(id, sizeof id, "0StateObject%010u", static_cast<unsigned>(i));
        result.objects[i].instance = i;
        result.objects[i].globalId = Velmor::ExternalGUID::fromIFCGlobalID(id);
        result.objects[i].className = "IFCWALL";
        result.objects[i].name = name;
        result.objects[i].version = Velmor::createFromBoundingBox(1, 2, 3);
        if (i % 3 == 1)
            result.objects[i].propertySets = {1, 0};
    }
    return result;
}

// Digests that consist of twenty equal bytes each.
Origin originWith(char ofModel, char ofImporter) {
    const auto digest = [](char byte) {
        return Velmor::Sha1::Digest(std::vector<unsigned char>(20, static_cast<unsigned char>(byte)));
    };
    return {digest(ofModel), digest(ofImporter)};
}

// The message of the error when a state is read; empty on success.
std::string readingError(const State& state) {
    try {
        state.read();
        return {};
    } catch (const StateError& error) {
        return error.what();
    }
}

// The message of the error when a state is written; empty on success.
std::string writingError(const State& state, const Model& model) {
    try {
        state.write(model, std::nullopt);
        return {};
    } catch (const StateError& error) {
        return error.what();
    }
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

} // namespace

TEST(State, IsReadAsItWasWritten) {
    const TemporaryFolder folder;
    const State state(folder / "a" / "b");
    EXPECT_FALSE(state.exists());
    for (const std::size_t count : {3u, 0u, 2000u}) {
        const auto written = model(count, "wall");
        state.write(written, std::nullopt);
        EXPECT_TRUE(state.exists());
        const auto read = state.read().model;
        EXPECT_EQ(read.propertySets, written.propertySets);
        ASSERT_EQ(read.objects.size(), count);
        for (std::size_t i = 0; i < count; ++i) {
            EXPECT_EQ(read.objects[i].instance, i);
            EXPECT_EQ(read.objects[i].name, "wall");
            EXPECT_EQ(read.objects[i].propertySets, written.objects[i].propertySets);
        }
    }
    EXPECT_FALSE(fs::exists(folder / "a" / "b" / "import.state.new"));
}

TEST(State, MayBeInAFolderWithANonAsciiName) {
    const TemporaryFolder folder;
    const State state(folder / fs::path(u8"Zust\u00E4nde \u6587"));
    state.write(model(1, "wall"), std::nullopt);
    EXPECT_EQ(state.read().model.objects.size(), 1u);
}

TEST(State, DamagedAtAnyByteIsRejectedAndUnchanged) {
    const TemporaryFolder folder;
    const State state(folder / "state");
    state.write(model(2, "wall"), originWith('m', 'i'));
    const auto whole = readFile(state.file());
    for (std::size_t at = 0; at < whole.size(); ++at) {
        auto damaged = whole;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x10);
        writeFile(state.file(), damaged);
        const auto error = readingError(state);
        EXPECT_TRUE(contains(error, "import.state: byte ") && contains(error, "expected")) << at << ": " << error;
        EXPECT_EQ(readFile(state.file()), damaged);
    }
}

TEST(State, TruncatedOrExtendedIsRejected) {
    const TemporaryFolder folder;
    const State state(folder / "state");
    state.write(model(2, "wall"), originWith('m', 'i'));
    const auto whole = readFile(state.file());
    for (std::size_t length = 0; length < whole.size(); ++length) {
        writeFile(state.file(), whole.substr(0, length));
        EXPECT_TRUE(contains(readingError(state), "end of the file")) << length << ": " << readingError(state);
    }
    writeFile(state.file(), whole + '\0');
    EXPECT_NE(readingError(state), "");
    writeFile(state.file(), whole + whole);
    EXPECT_TRUE(contains(readingError(state), "byte " + std::to_string(whole.size()) + ": expected the end of the file"));
    writeFile(state.file(), "not a state file");
    EXPECT_TRUE(contains(readingError(state), "byte 0: expected"));
}

TEST(State, OfAnEarlierFormatVersionIsRejectedWithInstructions) {
    const TemporaryFolder folder;
    const State state(folder / "state");
    // The files of these versions for a model without objects: length, mark, version, and the totals of each empty stream
    // (number of records, number of bytes, checksum).
    const std::string emptyTotals("\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x25\x23\x22\x84\xE4\x9C\xF2\xCB", 24);
    const std::pair<const char*, std::string> cases[] = {
        {"1", std::string("\x24\0\0\0VELMSTAT\1\0\0\0", 16) + emptyTotals},
        {"2", std::string("\x3C\0\0\0VELMSTAT\2\0\0\0", 16) + emptyTotals + emptyTotals}};
    for (const auto& [version, old] : cases) {
        SCOPED_TRACE(version);
        writeFile(state.file(), old);
        const auto error = readingError(state);
        EXPECT_TRUE(contains(error, "the state file was written by another version of this program: ")) << error;
        EXPECT_TRUE(contains(error, std::string("import.state: byte 0: expected format version 3, found ") + version +
                                        "; remove it, and the next import will be the first"))
            << error;
        EXPECT_EQ(readFile(state.file()), old);
    }
}

TEST(State, ContainsTheDigestsOfModelAndImporter) {
    const TemporaryFolder folder;
    const State state(folder / "state");
    const auto origin = originWith('m', 'i');
    state.write(model(2, "wall"), origin);
    EXPECT_EQ(state.read().origin, origin);
    EXPECT_EQ(state.read().model.objects.size(), 2u);
    state.write(model(2, "wall"), std::nullopt);
    EXPECT_EQ(state.read().origin, std::nullopt);
}

TEST(Origin, ConsistsOfTheDigestsOfModelAndImporter) {
    const TemporaryFolder folder;
    writeFile(folder / "model", "abc");
    writeFile(folder / "importer", "");
    const auto origin = originOf(folder / "model", folder / "importer");
    ASSERT_TRUE(origin);
    // FIPS 180: of "abc" and of the empty message.
    EXPECT_EQ(origin->model.asString(), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(origin->importer.asString(), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    fs::rename(folder / "model", folder / fs::path(u8"Wand \u00FC"));
    EXPECT_EQ(originOf(folder / fs::path(u8"Wand \u00FC"), folder / "importer"), origin);
}

TEST(Origin, OfAnUnreadableFileIsUnknown) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "abc");
    fs::create_directory(folder / "folder");
    for (const auto& other : {folder / "missing", folder / "folder"}) {
        EXPECT_EQ(originOf(other, folder / "file"), std::nullopt) << other;
        EXPECT_EQ(originOf(folder / "file", other), std::nullopt) << other;
    }
    // A file that is open for writing cannot be opened for reading.
    const std::unique_ptr<Velmor::FileStream> open(Velmor::FileStream::createFileForWriting(wide(folder / "open")));
    EXPECT_EQ(originOf(folder / "open", folder / "file"), std::nullopt);
}

#if !defined(_WIN32)
TEST(Origin, OfAPipeIsUnknown) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "abc");
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(originOf(folder / "pipe", folder / "file"), std::nullopt); // opening the pipe would wait for a writer
}
#endif

TEST(State, ThatIsNotAFileIsRejected) {
    const TemporaryFolder folder;
    const State state(folder / "state");
    fs::create_directories(state.file());
    EXPECT_TRUE(state.exists());
    EXPECT_NE(readingError(state), "");
}

TEST(State, ThatCannotBeWrittenLeavesThePreviousState) {
    const TemporaryFolder folder;
    const State state(folder / "state");
    state.write(model(2, "before"), std::nullopt);
    const auto before = readFile(state.file());
    writeFile(folder / "state" / "import.state.new" / "file", "x");
    const auto error = writingError(state, model(3, "after"));
    EXPECT_TRUE(contains(error, "cannot store the state: cannot create the new state file ")) << error;
    EXPECT_EQ(readFile(state.file()), before);

    fs::remove_all(folder / "state" / "import.state.new");
    writeFile(folder / "a file", "x");
    EXPECT_TRUE(contains(writingError(State(folder / "a file" / "state"), model(1, "after")), "cannot store the state"));
}

TEST(State, IsReplacedOnlyIfTheCallbackSucceeds) {
    const TemporaryFolder folder;
    const State state(folder / "state");
    state.write(model(2, "before"), std::nullopt);
    const auto before = readFile(state.file());
    std::string whole;
    const auto fail = [&] {
        whole = readFile(folder / "state" / "import.state.new");
        throw std::runtime_error("the reason");
    };
    try {
        state.write(model(3, "after"), std::nullopt, fail);
        ADD_FAILURE() << "the state is replaced";
    } catch (const StateError& error) {
        EXPECT_STREQ(error.what(), "cannot store the state: the reason");
    }
    EXPECT_EQ(readFile(state.file()), before);
    EXPECT_FALSE(fs::exists(folder / "state" / "import.state.new"));

    state.write(model(3, "after"), std::nullopt, [&] { EXPECT_EQ(readFile(state.file()), before); });
    EXPECT_EQ(readFile(state.file()), whole);
}

#if defined(__linux__)
TEST(State, OnAFullDiskLeavesThePreviousState) {
    const TemporaryFolder folder;
    const State state(folder / "state");
    state.write(model(2, "before"), std::nullopt);
    const auto before = readFile(state.file());
    fs::create_symlink("/dev/full", folder / "state" / "import.state.new");
    EXPECT_TRUE(contains(writingError(state, model(3, "after")), "check that the disk is not full"));
    EXPECT_EQ(readFile(state.file()), before);
    EXPECT_FALSE(fs::exists(fs::symlink_status(folder / "state" / "import.state.new")));
    EXPECT_TRUE(fs::exists("/dev/full"));
}
#endif

} // namespace velmor_tests
