// import_host --export with the example models, and the functions that write and name the files.

#include "importer/host/Export.h"

#include "importer/exchange/Text.h"
#include "importer/host/ExportedFiles.h"
#include "importer/host/HostRun.h"
#include "importer/host/State.h"
#include "support/Random.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <set>

#if !defined(_WIN32)
    #include <sys/resource.h>

    #include <csignal>
#endif

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace velmor_tests {

namespace {

const std::string workshop = exampleModel("workshop.ifc").string();
const std::string revised = exampleModel("workshop-revised.ifc").string();

std::set<std::string> filesIn(const fs::path& folder, const std::string& ending) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        const auto name = entry.path().filename().string();
        if (name.ends_with(ending))
            names.insert(name);
    }
    return names;
}

// Every file and folder below a folder.
std::set<fs::path> everythingIn(const fs::path& folder) {
    std::set<fs::path> paths;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        paths.insert(entry.path());
    return paths;
}

importer::exchange::Mesh tetrahedron() {
    return {{0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3}};
}

class Export : public testing::Test {
protected:
    HostRun run(std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"--state", (folder / "state").string(), "--export", out.string()});
        return runHost(arguments);
    }

    const TemporaryFolder folder;
    const fs::path out = folder / "out";
};

using ExportFails = Export;

} // namespace

// A prism of n corners has n - 2 triangles in each cap and 2 n triangles around it; a hollow section of 4 + 4 corners has 8
// triangles in each cap. The canopy is an open sheet; site, building and storey have no shape.
TEST_F(Export, WritesEachClosedSolidOfTheWorkshop) {
    const auto host = run({workshop});
    ASSERT_EQ(host.exitCode, 0) << host.error;
    EXPECT_THAT(host.output, HasSubstr("\nexported to " + importer::exchange::utf8(out) + ": solids 26, textures 1\n"));

    std::map<std::string, std::size_t> triangles = {
        {"workshop_123_Column_C1.obj", 44},   {"workshop_133_Column_C2.obj", 44},
        {"workshop_143_Column_C3.obj", 44},   {"workshop_153_Column_C4.obj", 44},
        {"workshop_163_Column_C5.obj", 44},   {"workshop_173_Column_C6.obj", 44},
        {"workshop_223_Beam_B1.obj", 44},     {"workshop_233_Beam_B2.obj", 44},
        {"workshop_243_Beam_B3.obj", 44},     {"workshop_253_Beam_B4.obj", 44},
        {"workshop_263_Beam_B5.obj", 44},     {"workshop_273_Beam_B6.obj", 32},
        {"workshop_283_Beam_B7.obj", 44},     {"workshop_317_Wall_W1.obj", 12},
        {"workshop_337_Wall_W2.obj", 12},     {"workshop_357_Wall_W3.obj", 12},
        {"workshop_377_Wall_W4.obj", 12},     {"workshop_407_Opening_of_D1.obj", 12},
        {"workshop_427_Stahlt_r_D1.obj", 12}, {"workshop_447_Opening_of_N1.obj", 12},
        {"workshop_467_Window_N1.obj", 12},   {"workshop_507_Floor.obj", 12},
        {"workshop_533_Roof.obj", 16},        {"workshop_626_Bench_F1.obj", 12},
        {"workshop_636_Bench_F2.obj", 12},    {"workshop_733_Machine_base_M1.obj", 12}};
    std::set<std::string> names;
    for (const auto& [name, count] : triangles)
        names.insert(name);
    EXPECT_EQ(filesIn(out, ".obj"), names);

    for (const auto& object : importer::host::State(folder / "state").read().model.objects) {
        const auto name = std::find_if(names.begin(), names.end(), [&object](const std::string& each) {
            return each.starts_with("workshop_" + std::to_string(object.instance) + '_');
        });
        SCOPED_TRACE(object.name);
        ASSERT_EQ(name != names.end(), object.version.getType() == Velmor::ExternalVersion::Solid);
        if (name == names.end())
            continue;
        const auto obj = parseObj(readFile(out / *name));
        EXPECT_EQ(obj.triangles.size(), triangles.at(*name));
        EXPECT_EQ(obj.vertices.size(), obj.triangles.size() / 2 + (*name == "workshop_273_Beam_B6.obj" ? 0 : 2)); // Euler
        EXPECT_TRUE(obj.isClosed());
        EXPECT_NEAR(obj.volume(), object.version.getVolume(), 1e-9 * object.version.getVolume());
        EXPECT_THAT(obj.comment, StartsWith(object.className + " '"));
        EXPECT_THAT(obj.comment, HasSubstr(std::string("' (") + object.globalId.getIFCGlobalID() + ')'));
    }
    EXPECT_THAT(readFile(out / "workshop_427_Stahlt_r_D1.obj"),
                StartsWith("# IFCDOOR 'Stahlt\xC3\xBCr D1' (0Workshop0Door000000D1) #\nv "));
}

TEST_F(Export, WritesSolidsInWorldCoordinates) {
    ASSERT_EQ(run({workshop}).exitCode, 0);
    // A block of 1500 x 900 x 300 mm at (8 m, 2 m) in a building at (1 m, 2 m).
    const auto obj = parseObj(readFile(out / "workshop_733_Machine_base_M1.obj"));
    auto positions = obj.vertices;
    std::sort(positions.begin(), positions.end());
    ASSERT_EQ(positions.size(), 8u);
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_NEAR(positions[i][0], i < 4 ? 9 : 10.5, 1e-12);
        EXPECT_NEAR(positions[i][1], i % 4 < 2 ? 4 : 4.9, 1e-12);
        EXPECT_NEAR(positions[i][2], i % 2 == 0 ? 0 : 0.3, 1e-12);
    }
    EXPECT_NEAR(obj.volume(), 0.405, 1e-12);
}

TEST_F(Export, WritesEachTextureOfTheWorkshop) {
    ASSERT_EQ(run({workshop}).exitCode, 0);
    EXPECT_THAT(filesIn(out, ".png"), ElementsAre("workshop_1100.png"));
    const auto png = readFile(out / "workshop_1100.png");
    std::string digits; // each byte as two hexadecimal digits, as in the model
    for (const char c : png) {
        char text[3];
        std::snprintf(text, sizeof text, "%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
        digits += text;
    }
    EXPECT_THAT(readFile(workshop), HasSubstr("'PNG',\"0" + digits + "\")"));
    const auto header = parsePng(png);
    EXPECT_EQ(header.width, 2u);
    EXPECT_EQ(header.height, 2u);
    EXPECT_EQ(header.bitDepth, 1u);
    EXPECT_EQ(header.colorType, 0u);
}

TEST_F(Export, OverwritesEarlierExportsOnly) {
    ASSERT_EQ(run({workshop}).exitCode, 0);
    const auto before = filesIn(out, ".obj");
    const auto beam = readFile(out / "workshop_233_Beam_B2.obj");
    writeFile(out / "workshop_233_Beam_B2.obj", std::string(100000, 'x'));
    writeFile(out / "other.obj", "unchanged");
    ASSERT_EQ(run({workshop}).exitCode, 0);
    EXPECT_EQ(readFile(out / "workshop_233_Beam_B2.obj"), beam);
    EXPECT_EQ(readFile(out / "other.obj"), "unchanged");
    EXPECT_EQ(filesIn(out, ".obj").size(), before.size() + 1);
}

TEST_F(Export, NamesTheFilesOfEachModelDifferently) {
    const auto host = run({workshop, revised});
    ASSERT_EQ(host.exitCode, 0) << host.error;
    const auto names = filesIn(out, ".obj");
    const auto countWithPrefix = [&names](const std::string& prefix) {
        return std::count_if(names.begin(), names.end(), [&prefix](const auto& name) { return name.starts_with(prefix); });
    };
    EXPECT_EQ(countWithPrefix("workshop_"), 26);
    // B7 is gone; B8 and F3 are new; the door is another door.
    EXPECT_EQ(countWithPrefix("workshop-revised_"), 27);
    EXPECT_EQ(names.size(), 26u + 27);
    EXPECT_EQ(names.count("workshop_123_Column_C1.obj"), 1u);
    EXPECT_EQ(names.count("workshop-revised_123_Column_A1.obj"), 1u);
}

TEST_F(Export, CreatesItsFolderAndTheFoldersAbove) {
    const auto deep = folder / "a" / "b" / "c";
    const auto host = runHost({workshop, "--state", (folder / "state").string(), "--export", deep.string()});
    ASSERT_EQ(host.exitCode, 0) << host.error;
    EXPECT_EQ(filesIn(deep, ".obj").size(), 26u);
}

TEST_F(Export, WritesNothingWithoutTheOption) {
    ASSERT_EQ(runHost({workshop, "--state", (folder / "state").string()}).exitCode, 0);
    EXPECT_EQ(everythingIn(folder / "").size(), 2u); // the state folder and the state file
}

// Every solid and every texture is written, to a file in the folder of the export.
TEST_F(Export, WritesHostileNamesToItsFolderOnly) {
    writeFile(folder / "hostile" / "model.ifc", "");
    fs::create_directories(out);
    const auto before = everythingIn(folder / "");
    const auto host = run({(folder / "hostile" / "model.ifc").string(), "--importer", program("standin_importer").string()});
    ASSERT_EQ(host.exitCode, 0) << host.error;
    EXPECT_THAT(host.output, HasSubstr(": solids 19, textures 19\n"));
    for (const auto& path : everythingIn(folder / ""))
        if (before.count(path) == 0 && path.parent_path().filename() != "state" && path.filename() != "state") {
            EXPECT_EQ(path.parent_path(), out);
        }
    const auto objs = filesIn(out, ".obj");
    const auto pngs = filesIn(out, ".png");
    EXPECT_EQ(objs.size(), 19u);
    EXPECT_EQ(pngs.size(), 19u);
    EXPECT_EQ(objs.count("model_2_escaped.obj"), 1u);  // ../../escaped
    EXPECT_EQ(objs.count("model_2-9.obj"), 1u);        // no name
    EXPECT_EQ(objs.count("model_2-10_CON.obj"), 1u);   // CON alone would name a device
    EXPECT_EQ(objs.count("model_2-13_a_b_c.obj"), 1u); // a NUL
    EXPECT_EQ(objs.count("model_2-19_" + std::string(40, 'x') + ".obj"), 1u);
    for (const auto& name : objs) {
        EXPECT_EQ(name.find_first_not_of("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_-."),
                  std::string::npos);
        EXPECT_THAT(name, StartsWith("model_2"));
        EXPECT_LT(name.size(), 120u);
        const auto obj = parseObj(readFile(out / name)); // throws if a part of the name became a line of its own
        EXPECT_EQ(obj.vertices.size(), 4u);
        EXPECT_EQ(obj.triangles.size(), 4u);
        EXPECT_THAT(obj.comment, EndsWith(" #"));
    }
    for (const auto& name : pngs)
        EXPECT_EQ(readFile(out / name), "png");
}

TEST_F(ExportFails, IfItsFolderCannotBeCreated) {
    writeFile(out, "a file");
    const auto host = run({workshop});
    EXPECT_EQ(host.exitCode, 1);
    EXPECT_EQ(host.output, "");
    EXPECT_THAT(host.error, HasSubstr("workshop.ifc: cannot export to " + importer::exchange::utf8(out) +
                                      ": the folder cannot be created: "));
    EXPECT_EQ(readFile(out), "a file");
    EXPECT_FALSE(fs::exists(folder / "state"));
}

TEST_F(ExportFails, IfAFileNameIsThatOfAFolder) {
    fs::create_directories(out / "workshop_233_Beam_B2.obj");
    const auto host = run({workshop});
    EXPECT_EQ(host.exitCode, 1);
    EXPECT_EQ(host.output, "");
    EXPECT_THAT(host.error, HasSubstr(": a folder of that name exists"));
    EXPECT_TRUE(fs::is_directory(out / "workshop_233_Beam_B2.obj"));
    EXPECT_FALSE(fs::exists(folder / "state"));
}

TEST(ExportedFile, ReplacesAHardLinkAndNotItsContent) {
    const TemporaryFolder folder;
    writeFile(folder / "outside", "unchanged");
    writeFile(folder / "out" / "other", "");
    fs::create_hard_link(folder / "outside", folder / "out" / "1.obj");
    importer::host::writeExported(folder / "out" / "1.obj", "new");
    EXPECT_EQ(readFile(folder / "outside"), "unchanged");
    EXPECT_EQ(readFile(folder / "out" / "1.obj"), "new");
}

TEST(ExportedFile, MayBeEmptyOrLarge) {
    const TemporaryFolder folder;
    writeFile(folder / "out" / "other", "");
    for (const std::size_t size : {0u, 1048575u, 1048576u, 1048577u, 5000000u}) {
        std::string content(size, 'x');
        for (std::size_t i = 0; i < size; i += 4097)
            content[i] = static_cast<char>(i >> 12);
        importer::host::writeExported(folder / "out" / "1.obj", content);
        EXPECT_TRUE(readFile(folder / "out" / "1.obj") == content) << size;
    }
}

#if !defined(_WIN32)
TEST(ExportedFile, ReplacesASymbolicLinkAndNotItsTarget) {
    const TemporaryFolder folder;
    writeFile(folder / "outside", "unchanged");
    writeFile(folder / "out" / "other", "");
    for (const auto& target : {folder / "outside", folder / "missing"}) {
        fs::create_symlink(target, folder / "out" / "1.obj");
        importer::host::writeExported(folder / "out" / "1.obj", "new");
        EXPECT_FALSE(fs::is_symlink(folder / "out" / "1.obj"));
        EXPECT_EQ(readFile(folder / "out" / "1.obj"), "new");
        fs::remove(folder / "out" / "1.obj");
    }
    EXPECT_EQ(readFile(folder / "outside"), "unchanged");
    EXPECT_FALSE(fs::exists(folder / "missing"));
}

// A limit on the size of files has the same effect as a full disk: the write that reaches it writes less than requested.
TEST(ExportedFile, IsRemovedWhenTheDiskIsFull) {
    const TemporaryFolder folder;
    writeFile(folder / "out" / "other", "");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{1000, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    std::string reason;
    try {
        importer::host::writeExported(folder / "out" / "1.obj", std::string(5000, 'x'));
    } catch (const importer::host::ImportError& error) {
        reason = error.what();
    }
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_THAT(reason, HasSubstr("1.obj; check that the disk is not full and the folder is writable"));
    EXPECT_FALSE(fs::exists(folder / "out" / "1.obj"));
}
#endif

TEST(ExportedFile, InAMissingFolderIsAnError) {
    const TemporaryFolder folder;
    EXPECT_THROW(importer::host::writeExported(folder / "missing" / "1.obj", "new"), importer::host::ImportError);
}

TEST(FileNamePart, ContainsNoSpecialCharacters) {
    const struct {
        std::string name;
        const char* part;
    } cases[] = {{"Beam B2", "Beam_B2"},
                 {"already-good_Name0189", "already-good_Name0189"},
                 {"", ""},
                 {"...", ""},
                 {"../../etc/passwd", "etc_passwd"},
                 {"C:\\Windows\\x.dll", "C_Windows_x_dll"},
                 {std::string("a\0b", 3), "a_b"},
                 {"T\xC3\xBCr", "T_r"},
                 {"\xFF\xFE", ""},
                 {"a   b", "a_b"},
                 {"a_ _b", "a__b"},
                 {"trailing.", "trailing"},
                 {"trailing ", "trailing"},
                 {"*?<>|\":", ""},
                 {"-rf", "rf"},
                 {"__x", "x"},
                 {"0123456789012345678901234567890123456789abc", "0123456789012345678901234567890123456789"},
                 {"012345678901234567890123456789012345678 abc", "012345678901234567890123456789012345678"}};
    for (const auto& each : cases)
        EXPECT_EQ(importer::host::fileNamePart(each.name), each.part);
}

TEST(FileNames, AreUnique) {
    importer::host::FileNames names("p_", ".obj");
    EXPECT_EQ(names.next(12, "CON"), "p_12_CON.obj");
    EXPECT_EQ(names.next(12, "CON"), "p_12-2_CON.obj");
    EXPECT_EQ(names.next(12, "con"), "p_12-3_con.obj");
    EXPECT_EQ(names.next(12, ""), "p_12-4.obj");
    EXPECT_EQ(names.next(1, "2-2_CON"), "p_1_2-2_CON.obj");
    EXPECT_EQ(names.next(~0ull, "x"), "p_18446744073709551615_x.obj");

    Random random;
    importer::host::FileNames similarNames("", ".obj");
    std::set<std::string> used;
    for (int i = 0; i < 20000; ++i) {
        std::string name;
        for (int length = random.below(4); length > 0; --length)
            name += random.oneOf({'1', '2', '-', '_', 'a', 'A'});
        auto file = similarNames.next(random.below(30u), name);
        std::replace(file.begin(), file.end(), 'A', 'a'); // for file systems that ignore case
        EXPECT_TRUE(used.insert(file).second) << file;
    }
}

TEST(ModelPrefixes, AreUnique) {
    importer::host::ModelPrefixes prefixes;
    EXPECT_EQ(prefixes.next("a/workshop.ifc"), "workshop_");
    EXPECT_EQ(prefixes.next("b/workshop.ifc"), "workshop-2_");
    EXPECT_EQ(prefixes.next("a/WORKSHOP.ifc"), "WORKSHOP-3_");
    EXPECT_EQ(prefixes.next("a/workshop-2.ifc"), "workshop-2-2_");
    EXPECT_EQ(prefixes.next("a/my_model v2.ifc"), "my-model-v2_");
    EXPECT_EQ(prefixes.next("a/..ifc"), "model_");
    EXPECT_EQ(prefixes.next("a/--export.ifc"), "export_");
    EXPECT_EQ(prefixes.next("CON.ifc"), "CON_");
}

// Names of models and objects that could be combined to the same file name.
TEST(ModelPrefixes, MakeFileNamesOfAllModelsUnique) {
    importer::host::ModelPrefixes prefixes;
    std::set<std::string> used;
    for (const auto* model : {"a", "a_1", "a_1_b", "a-1", "a 1 b", "A", "1", "1_1"}) {
        importer::host::FileNames names(prefixes.next(std::string(model) + ".ifc"), ".obj");
        for (const std::uint64_t instance : {1u, 2u, 11u, 1u}) {
            for (const auto* name : {"", "1", "b_1", "1_b", "a_1"}) {
                auto file = names.next(instance, name);
                std::replace(file.begin(), file.end(), 'A', 'a');
                EXPECT_TRUE(used.insert(file).second) << file;
            }
        }
    }
}

TEST(ObjFile, PreservesEveryBitOfTheMesh) {
    auto mesh = tetrahedron();
    mesh.vertices = {0.1,
                     -0.0,
                     1.0 / 3,
                     std::numeric_limits<double>::denorm_min(),
                     std::numeric_limits<double>::max(),
                     1e21,
                     1e-7,
                     -123456789.125,
                     3,
                     0.30000000000000004,
                     5e-324,
                     -1};
    const auto obj = parseObj(importer::host::objFile(mesh, "a comment"));
    ASSERT_EQ(obj.vertices.size(), 4u);
    for (std::size_t i = 0; i < 12; ++i) {
        EXPECT_EQ(obj.vertices[i / 3][i % 3], mesh.vertices[i]);
        EXPECT_EQ(std::signbit(obj.vertices[i / 3][i % 3]), std::signbit(mesh.vertices[i]));
    }
    ASSERT_EQ(obj.triangles.size(), 4u);
    for (std::size_t i = 0; i < 12; ++i)
        EXPECT_EQ(obj.triangles[i / 3][i % 3], mesh.triangles[i]);
}

TEST(ObjFile, ConsistsOfCommentVerticesAndTriangles) {
    EXPECT_EQ(importer::host::objFile({{0, 0, 0, 0.1, 0, 0, 0, 2.5, 0}, {0, 1, 2}}, "IFCBEAM 'B\n2\\'"),
              "# IFCBEAM 'B?2\\' #\nv 0 0 0\nv 0.1 0 0\nv 0 2.5 0\nf 1 2 3\n");
}

} // namespace velmor_tests
