#include "importer/host/Options.h"

#include <gtest/gtest.h>

using namespace importer::host;

namespace velmor_tests {

TEST(Options, AreParsedInAnyOrder) {
    const auto options =
        parseArguments({"a.ifc", "--state", "folder", "b.ifc", "--identify-by-geometry", "--importer", "other"}, "importer");
    EXPECT_EQ(options.models, (std::vector<std::filesystem::path>{"a.ifc", "b.ifc"}));
    EXPECT_EQ(options.state, "folder");
    EXPECT_EQ(options.importer, "other");
    EXPECT_TRUE(options.identifyByGeometry);
}

TEST(Options, HaveDefaults) {
    const auto options = parseArguments({"a.ifc"}, "importer");
    EXPECT_FALSE(options.state);
    EXPECT_EQ(options.importer, "importer");
    EXPECT_FALSE(options.identifyByGeometry);
    EXPECT_TRUE(options.properties.empty());
    EXPECT_FALSE(options.georeference);
    EXPECT_FALSE(options.exportFolder);
    EXPECT_FALSE(options.help);
    EXPECT_TRUE(parseArguments({"--help"}, "").help);
}

TEST(Options, SelectTheAdditionalOutput) {
    const auto options = parseArguments(
        {"--properties", "0123456789012345678901", "a.ifc", "--georeference", "--properties", "1$_aB", "--export", "out"},
        "importer");
    EXPECT_EQ(options.properties, (std::vector<std::string>{"0123456789012345678901", "1$_aB"}));
    EXPECT_TRUE(options.georeference);
    EXPECT_EQ(options.exportFolder, "out");
}

TEST(Options, AreRejectedWithAReason) {
    const struct {
        std::vector<std::filesystem::path> arguments;
        const char* reason;
    } cases[] = {{{}, "no model is given"},
                 {{"--state", "folder"}, "no model is given"},
                 {{"a.ifc", "--state"}, "--state needs a value"},
                 {{"a.ifc", "--importer", ""}, "--importer needs a value"},
                 {{"a.ifc", "--properties"}, "--properties needs a value"},
                 {{"a.ifc", "--export"}, "--export needs a value"},
                 {{"a.ifc", ""}, "the name of a model is empty"},
                 {{"a.ifc", "--identify-by-name"}, "unknown option --identify-by-name"}};
    for (const auto& each : cases) {
        try {
            parseArguments(each.arguments, "importer");
            ADD_FAILURE() << each.reason;
        } catch (const UsageError& error) {
            EXPECT_STREQ(error.what(), each.reason);
        }
    }
}

#if !defined(_WIN32)
TEST(Options, MustBeUtf8) {
    EXPECT_THROW(parseArguments({"a\xFF.ifc"}, "importer"), UsageError);
    EXPECT_EQ(parseArguments({"\xF0\x9F\x94\xA8.ifc"}, "importer").models.size(), 1u);
}
#endif

} // namespace velmor_tests
