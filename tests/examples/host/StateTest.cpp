#include "State.h"
#include "PropertyRecords.h"
#include "TemporaryFolder.h"

#include "gtest/gtest.h"

#include <filesystem>

using namespace importer;
using namespace velmor_tests;
namespace fs = std::filesystem;

namespace {

// Walls, every third one with two of the two property sets.
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
        if (i % 3 == 1) {
            result.objects[i].propertySets = {1, 0};
        }
    }
    return result;
}

// What reading a state says; empty when it is read.
std::string readingError(const State& state) {
    try {
        state.read();
        return {};
    } catch (const StateError& error) {
        return error.what();
    }
}

std::string writingError(const State& state, const Model& what) {
    try {
        state.write(what);
        return {};
    } catch (const StateError& error) {
        return error.what();
    }
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

} // namespace

TEST(State, ComesBackAsItWasKept) {
    const TemporaryFolder folder;
    const State state(folder / "a" / "b");
    EXPECT_FALSE(state.exists());
    for (const std::size_t count : {3u, 0u, 2000u}) {
        const auto kept = model(count, "wall");
        state.write(kept);
        EXPECT_TRUE(state.exists());
        const auto back = state.read();
        EXPECT_EQ(back.propertySets, kept.propertySets);
        ASSERT_EQ(back.objects.size(), count);
        for (std::size_t i = 0; i < count; ++i) {
            EXPECT_EQ(back.objects[i].instance, i);
            EXPECT_EQ(back.objects[i].name, "wall");
            EXPECT_EQ(back.objects[i].propertySets, kept.objects[i].propertySets);
        }
    }
    EXPECT_FALSE(fs::exists(folder / "a" / "b" / "import.state.new"));
}

TEST(State, InAFolderWithAForeignNameIsKept) {
    const TemporaryFolder folder;
    const State state(folder / fs::path(u8"Zust\u00E4nde \u6587"));
    state.write(model(1, "wall"));
    EXPECT_EQ(state.read().objects.size(), 1u);
}

TEST(State, DamagedAnywhereIsRefusedAndLeftAsItIs) {
    const TemporaryFolder folder;
    const State state(folder / "kept");
    state.write(model(2, "wall"));
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

TEST(State, CutOffAnywhereOrContinuedIsRefused) {
    const TemporaryFolder folder;
    const State state(folder / "kept");
    state.write(model(2, "wall"));
    const auto whole = readFile(state.file());
    for (std::size_t length = 0; length < whole.size(); ++length) {
        writeFile(state.file(), whole.substr(0, length));
        EXPECT_TRUE(contains(readingError(state), "end of the file")) << length << ": " << readingError(state);
    }
    writeFile(state.file(), whole + '\0');
    EXPECT_NE(readingError(state), "");
    writeFile(state.file(), whole + whole);
    EXPECT_TRUE(contains(readingError(state), "expected the end of the file behind 6 records"));
    writeFile(state.file(), "not a state at all");
    EXPECT_TRUE(contains(readingError(state), "byte 0: expected"));
}

TEST(State, OfTheFirstFormatVersionIsRefusedWithAWayOut) {
    const TemporaryFolder folder;
    const State state(folder / "kept");
    // As it was without objects: length, mark, version, number, bytes and checksum of the objects.
    const std::string old("\x24\0\0\0VELMSTAT\1\0\0\0"
                          "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x25\x23\x22\x84\xE4\x9C\xF2\xCB",
                          40);
    writeFile(state.file(), old);
    const auto error = readingError(state);
    EXPECT_TRUE(contains(error, "the state file is of another version of this program: ")) << error;
    EXPECT_TRUE(contains(error, "import.state: byte 0: expected format version 2, found 1; remove it")) << error;
    EXPECT_EQ(readFile(state.file()), old);
}

TEST(State, ThatIsNoFileIsRefused) {
    const TemporaryFolder folder;
    const State state(folder / "kept");
    fs::create_directories(state.file());
    EXPECT_TRUE(state.exists());
    EXPECT_NE(readingError(state), "");
}

TEST(State, ThatCannotBeKeptLeavesThePreviousOne) {
    const TemporaryFolder folder;
    const State state(folder / "kept");
    state.write(model(2, "before"));
    const auto before = readFile(state.file());
    writeFile(folder / "kept" / "import.state.new" / "in the way", "x");
    const auto error = writingError(state, model(3, "after"));
    EXPECT_TRUE(contains(error, "the state is not kept: the new state file ") && contains(error, "cannot be created"))
        << error;
    EXPECT_EQ(readFile(state.file()), before);

    fs::remove_all(folder / "kept" / "import.state.new");
    writeFile(folder / "a file", "x");
    EXPECT_TRUE(contains(writingError(State(folder / "a file" / "kept"), model(1, "after")), "the state is not kept"));
}

TEST(State, IsReplacedOnlyAfterWhatElseHasToSucceed) {
    const TemporaryFolder folder;
    const State state(folder / "kept");
    state.write(model(2, "before"));
    const auto before = readFile(state.file());
    std::string whole;
    const auto fail = [&] {
        whole = readFile(folder / "kept" / "import.state.new");
        throw std::runtime_error("not told");
    };
    try {
        state.write(model(3, "after"), fail);
        ADD_FAILURE() << "the state is kept";
    } catch (const StateError& error) {
        EXPECT_STREQ(error.what(), "the state is not kept: not told");
    }
    EXPECT_EQ(readFile(state.file()), before);
    EXPECT_FALSE(fs::exists(folder / "kept" / "import.state.new"));

    state.write(model(3, "after"), [&] { EXPECT_EQ(readFile(state.file()), before); });
    EXPECT_EQ(readFile(state.file()), whole);
}

#if defined(__linux__)
TEST(State, OnAFullDiskLeavesThePreviousOne) {
    const TemporaryFolder folder;
    const State state(folder / "kept");
    state.write(model(2, "before"));
    const auto before = readFile(state.file());
    fs::create_symlink("/dev/full", folder / "kept" / "import.state.new");
    EXPECT_TRUE(contains(writingError(state, model(3, "after")), "is the disk full?"));
    EXPECT_EQ(readFile(state.file()), before);
    EXPECT_FALSE(fs::exists(fs::symlink_status(folder / "kept" / "import.state.new")));
    EXPECT_TRUE(fs::exists("/dev/full"));
}
#endif
