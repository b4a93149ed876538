#include <Velmor/Platform.h>
#include <Velmor/Text.h>

#include "importer/ifc/ReaderSupport.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

namespace velmor_tests {

using namespace importer::step;
using namespace importer::ifc;
namespace {

/// The message with which a text is refused; empty when it is not.
std::string refusalOf(const std::string& text) {
    try {
        fileOf(text);
    } catch (const step::FileError& error) {
        return error.what();
    }
    return "";
}

const std::string header = "ISO-10303-21;\nHEADER;\nFILE_SCHEMA(('IFC4'));\nENDSEC;\n";

TEST(StepFile, InstancesAreFoundByNumberWhateverTheirOrder) {
    const step::File file = fileOf(stepFile("#30=IFCWALL($);\n#7=IFCX();\n#100= IFCSLAB (1,(2,3)) ;#8 =IFCBEAM('a;b');\n"));
    ASSERT_EQ(file.instances().size(), 4u);
    EXPECT_EQ(file.find(9), nullptr);
    ASSERT_NE(file.find(100), nullptr);
    EXPECT_EQ(file.nameOf(*file.find(100)), "IFCSLAB");
    EXPECT_EQ(file.parametersOf(*file.find(100)), "1,(2,3)");
    EXPECT_EQ(file.parametersOf(*file.find(8)), "'a;b'");
    EXPECT_EQ(file.parametersOf(*file.find(7)), "");
    ASSERT_EQ(instancesOf(file, {Entity::Product}).size(), 3u);
    EXPECT_EQ(instancesOf(file, {Entity::Product})[0]->number, 30u) << "products come in the order of the file";
    EXPECT_EQ(instancesOf(file, {Entity::Product})[1]->number, 100u);
    EXPECT_EQ(instancesOf(file, {Entity::Product})[2]->number, 8u);
    EXPECT_TRUE(file.problems().empty());
}

TEST(StepFile, LinesAreCountedAcrossBlocks) {
    std::string data;
    for (int i = 1; i <= 2000; ++i)
        data += "#" + std::to_string(i) + "=IFCX(\n$);\n";
    const step::File file = fileOf(stepFile(data));
    for (const std::uint64_t number : {1u, 2u, 777u, 2000u})
        EXPECT_EQ(file.lineAt(file.find(number)->offset), 8 + 2 * (number - 1));
}

TEST(StepFile, CommentsAndLineBreaksMayStandAnywhereBetweenTokens) {
    const step::File file =
        fileOf("\xEF\xBB\xBF /* a */ ISO-10303-21 /* ; */ ;HEADER;FILE_SCHEMA /* x */ ( ( 'ifc4x3_add2' ) ) ;\nENDSEC;"
               "DATA;/* #1=IFCWALL($); */\n# 1;\n#2 /*=*/ = /*(*/\nIFCWALL\n/*;*/(\n'a'\n,/*)*/$\n)\n/**/\n;"
               "ENDSEC;\nEND-ISO-10303-21;\nanything");
    EXPECT_EQ(file.schema(), "IFC4X3_ADD2");
    ASSERT_EQ(instancesOf(file, {Entity::Product}).size(), 1u);
    EXPECT_EQ(file.parametersOf(*instancesOf(file, {Entity::Product})[0]), "\n'a'\n,/*)*/$\n");
    ASSERT_EQ(file.problems().size(), 1u) << "# 1; is no instance";
    EXPECT_EQ(file.problems()[0].line, 3u);
}

TEST(StepFile, SeveralDataSectionsAndSectionsOfOtherKindsAreRead) {
    const step::File file =
        fileOf(header + "ANCHOR;<a>=#1;ENDSEC;REFERENCE;#5=<b>;ENDSEC;DATA('one',('IFC4'));#1=IFCWALL($);ENDSEC;\n"
                        "DATA;#2=IFCSLAB($);ENDSEC;SIGNATURE;abc;ENDSEC;END-ISO-10303-21;");
    EXPECT_EQ(file.instances().size(), 2u);
}

TEST(StepFile, InstancesOfSeveralLeavesAreKeptAside) {
    const step::File file = fileOf(stepFile("#1=(IFCNAMEDUNIT(*,.LENGTHUNIT.)IFCSIUNIT($,.METRE.));\n#2=IFCWALL($);\n"));
    EXPECT_TRUE(file.problems().empty());
    ASSERT_NE(file.find(1), nullptr);
    EXPECT_EQ(entityOf(*file.find(1)), Entity::Other);
    EXPECT_EQ(file.nameOf(*file.find(1)), "");
}

TEST(StepFile, DamagedInstancesAreToldAndTheOthersRead) {
    const std::pair<const char*, const char*> cases[] = {
        {"#1 IFCWALL($);", "expected '#1=NAME(...);'"},
        {"#1=;", "expected '#1=NAME(...);'"},
        {"#1=IFCWALL;", "expected '#1=NAME(...);'"},
        {"#0=IFCWALL($);", "expected '#1=NAME(...);'"},
        {"#x=IFCWALL($);", "expected '#1=NAME(...);'"},
        {"#99999999999999999999=IFCWALL($);", "expected '#1=NAME(...);'"},
        {"#1=IFCWALL(($);", "expected ')' before ';'"},
        {"#1=IFCWALL($)", "expected ';' behind ')'"},
        {"#1=IFCWALL($)) ;", "expected ';' behind ')'"},
        {"IFCWALL($);", "expected an instance '#1=NAME(...);'"},
        {"'#1=IFCWALL($);';", "expected an instance '#1=NAME(...);'"},
    };
    for (const auto& [damage, expected] : cases) {
        const step::File file = fileOf(stepFile("#7=IFCX();\n" + std::string(damage) + "\n#8=IFCSLAB($);\n"));
        ASSERT_EQ(file.problems().size(), 1u) << damage;
        EXPECT_EQ(file.problems()[0].line, 9u) << damage;
        EXPECT_NE(file.problems()[0].reason.find(expected), std::string::npos)
            << damage << ": " << file.problems()[0].reason;
        EXPECT_NE(file.find(8), nullptr) << damage;
    }
}

TEST(StepFile, ASemicolonTooManyIsNoDamage) {
    const step::File file = fileOf(stepFile("#7=IFCX();;\n;;#8=IFCX();\n"));
    EXPECT_TRUE(file.problems().empty());
    EXPECT_EQ(file.instances().size(), 2u);
}

TEST(StepFile, DamageWithoutANumberIsToldWithNone) {
    const step::File file = fileOf(stepFile("#x=IFCWALL($);\n#5 IFCWALL($);\n#6=IFCWALL;\n"));
    ASSERT_EQ(file.problems().size(), 3u);
    EXPECT_EQ(file.problems()[0].instance, 0u);
    EXPECT_EQ(file.problems()[1].instance, 0u);
    EXPECT_EQ(file.problems()[2].instance, 6u);
}

TEST(StepFile, ATextThatIsNotClosedSpoilsOnlyItsInstance) {
    for (const char* damage : {"#1=IFCWALL('1234,$,'a wall',$);", "#1=IFCWALL('1234,$,$,(1.,2.));", "#1=IFCWALL(\"0F,$);",
                               "#1=IFCWALL($)';", "#1 IFCWALL('1234);"}) {
        const step::File file = fileOf(stepFile("#7=IFCX();\n" + std::string(damage) +
                                                "\n #8 =IFCSLAB('a','b');\n#9=IFCSLAB('a','b');\n#10=IFCSLAB('c','d');\n"));
        ASSERT_EQ(file.problems().size(), 1u) << damage;
        EXPECT_EQ(file.problems()[0].line, 9u) << damage;
        for (const std::uint64_t number : {7u, 8u, 9u, 10u})
            EXPECT_NE(file.find(number), nullptr) << damage << " #" << number;
    }
}

TEST(StepFile, TextsAndCommentsMayRunOverLineEnds) {
    const step::File file = fileOf(stepFile("#1=IFCX('a\n# 2','b\n#3',/*\n#4=IFCX($);\n*/$);\n/*\n#5=IFCX($);*/#6/*\n"
                                            "#7=*/=IFCX('a');\n"));
    EXPECT_TRUE(file.problems().empty());
    ASSERT_EQ(file.instances().size(), 2u);
    EXPECT_EQ(file.instances()[1].number, 6u);
    EXPECT_EQ(file.parametersOf(file.instances()[1]), "'a'");
}

TEST(StepFile, NamesOfSectionsAreReadInAnyCase) {
    const step::File file = fileOf("iso-10303-21;Header;file_schema(('IFC4'));EndSec;\nanchor;endsec;data;#1=IFCWALL($);"
                                   "endsec;end-iso-10303-21;");
    EXPECT_EQ(instancesOf(file, {Entity::Product}).size(), 1u);
    EXPECT_TRUE(file.problems().empty());
}

TEST(StepFile, OfANumberGivenTwiceTheFirstCounts) {
    const step::File file = fileOf(stepFile("#5=IFCWALL($);\n#6=IFCX();\n#5=IFCSLAB($);\n#5=IFCBEAM($);\n"));
    EXPECT_EQ(file.nameOf(*file.find(5)), "IFCWALL");
    EXPECT_EQ(instancesOf(file, {Entity::Product}).size(), 1u);
    ASSERT_EQ(file.problems().size(), 2u);
    EXPECT_EQ(file.problems()[0].line, 10u);
    EXPECT_EQ(file.problems()[0].instance, 5u);
    EXPECT_NE(file.problems()[0].reason.find("already on line 8"), std::string::npos);
    EXPECT_EQ(file.problems()[1].line, 11u);
}

TEST(StepFile, WhatIsNoStepFileIsRefusedWithWhatWasExpected) {
    const std::pair<std::string, const char*> cases[] = {
        {"", "model.ifc, line 1: the file is empty; expected 'ISO-10303-21;'"},
        {"\n\n", "model.ifc, line 3: no STEP file"},
        {"PK\x03\x04", "model.ifc, line 1: no STEP file"},
        {std::string(5000, '\0'), "model.ifc, line 1: no STEP file"},
        {"ISO-10303-42;", "no STEP file"},
        {"ISO-10303-21", "expected ';' behind ISO-10303-21"},
        {"ISO-10303-21;\n", "model.ifc, line 2: the file ends; expected 'HEADER;'"},
        {"ISO-10303-21;\nDATA;\n", "model.ifc, line 2: found 'DATA'; expected 'HEADER;'"},
        {"ISO-10303-21;HEADER;", "expected 'ENDSEC;' of the header"},
        {"ISO-10303-21;HEADER;DATA;#1=IFCWALL();", "expected 'ENDSEC;' of the header"},
        {"ISO-10303-21;HEADER;ENDSEC;DATA;", "the header has no FILE_SCHEMA; expected IFC2X3, IFC4 or IFC4X3"},
        {"ISO-10303-21;HEADER;FILE_SCHEMA();", "expected FILE_SCHEMA(('name of a schema'))"},
        {"ISO-10303-21;HEADER;FILE_SCHEMA('IFC4');", "expected FILE_SCHEMA(('name of a schema'))"},
        {"ISO-10303-21;HEADER;FILE_SCHEMA((4));", "expected FILE_SCHEMA(('name of a schema'))"},
        {"ISO-10303-21;HEADER;FILE_SCHEMA;", "expected FILE_SCHEMA(('name of a schema'))"},
        {header, "model.ifc, line 5: the file ends; expected 'DATA;'"},
        {header + "END-ISO-10303-21;", "expected 'DATA;'"},
        {header + "DATA;\n", "model.ifc, line 6: the file ends; expected 'ENDSEC;' of the DATA section"},
        {header + "DATA;\n#1=IFCWALL($);\nEND-ISO-10303-21;\n",
         "model.ifc, line 7: found 'END-ISO-10303-21'; expected 'ENDSEC;'"},
        {header + "DATA;\nDATA;\n", "model.ifc, line 6: found 'DATA'; expected 'ENDSEC;'"},
        {header + "DATA;\nENDSEC;\n", "model.ifc, line 7: the file ends; expected 'END-ISO-10303-21;' or a section"},
        {header + "DATA;\nENDSEC;\n#1=IFCWALL();", "expected 'END-ISO-10303-21;' or a section"},
        {header + "DATA;\n#1=IFCWALL($,\n'a",
         "model.ifc, line 7: the file ends inside #1, which begins on line 6; expected ')' and ';'"},
        {header + "DATA;\n#1=IFCWALL($", "the file ends inside #1"},
        {header + "DATA;\n#1=IFCWALL($)", "the file ends behind #1; expected ';'"},
        {header + "DATA;\n#1=IFC", "expected '=', a name and '('"},
        {header + "DATA;\n/* never closed", "expected 'ENDSEC;' of the DATA section"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_NE(refusalOf(text).find(expected), std::string::npos) << text << "\n" << refusalOf(text);
}

TEST(StepFile, OtherSchemasAreRefused) {
    for (const char* schema :
         {"IFC2X3", "IFC2X3_TC1", "IFC4", "IFC4_ADD2_TC1", "IFC4_ADD1", "IFC4X3", "IFC4X3_RC1", "IFC4X3_ADD2", "ifc4"})
        EXPECT_EQ(refusalOf(stepFile("", schema)), "") << schema;
    for (const char* schema :
         {"IFC2X2_FINAL", "IFC2X_FINAL", "IFC5", "IFC40", "IFC4X1", "IFC4X2", "IFC4_RC1", "IFC", "", "AUTOMOTIVE_DESIGN"})
        EXPECT_NE(refusalOf(stepFile("", schema)).find("line 5"), std::string::npos) << schema;
}

TEST(StepFile, AFileCutOffAnywhereIsRefused) {
    const std::string whole = stepFile("#1=IFCWALL('a''b',$,(1,2.5,#2),\"0F\",.T.);\n#2=IFCX(IFCLABEL('\\X\\E4'));\n");
    const std::size_t enough = whole.rfind(';') + 1;
    for (std::size_t size = 0; size < enough; ++size)
        EXPECT_NE(refusalOf(whole.substr(0, size)), "") << size;
    for (std::size_t size = enough; size <= whole.size(); ++size)
        EXPECT_EQ(refusalOf(whole.substr(0, size)), "") << size;
}

/// A file with a name beyond ASCII, for as long as the test runs.
class FileOnDisk {
public:
    explicit FileOnDisk(const std::string& text)
        : path_(std::filesystem::temp_directory_path() / std::filesystem::path(u"velmor-reader-\u00E4\u20AC.ifc")) {
        std::ofstream(path_, std::ios::binary) << text;
    }
    ~FileOnDisk() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }

    Velmor::WideString path() const {
#if defined(_WIN32)
        return path_.wstring();
#else
        return path_.u16string();
#endif
    }

private:
    std::filesystem::path path_;
};

TEST(ReadIfcModel, ReadsAFileWhosePathIsBeyondAscii) {
    const FileOnDisk file(stepFile(inMetres + "#10=IFCWALL('1234567890123456789012',$,'\\X2\\00E4\\X0\\',$,$,$,$,$);\n"));
    Taken taken;
    readIfcModel(file.path(), taken);
    ASSERT_EQ(taken.products.size(), 1u);
    EXPECT_EQ(taken.products[0].name, VELMOR_WIDE("\u00E4"));
    EXPECT_EQ(taken.schemas, std::vector<std::string>{"IFC4"});
}

TEST(ReadIfcModel, AMissingFileAFolderAndAnEmptyFileAreRefusedByName) {
    Taken taken;
    const auto refusal = [&](const Velmor::WideString& path) -> std::string {
        try {
            readIfcModel(path, taken);
        } catch (const step::FileError& error) {
            return error.what();
        }
        return "";
    };
    EXPECT_NE(refusal(VELMOR_WIDE("no-such-model.ifc")).find("no-such-model.ifc: cannot be opened; expected a STEP file"),
              std::string::npos);
    EXPECT_NE(refusal(VELMOR_WIDE(".")).find("expected a STEP file"), std::string::npos);
    const FileOnDisk empty("");
    EXPECT_NE(refusal(empty.path()).find("the file is empty"), std::string::npos);
    EXPECT_NE(refusal(empty.path()).find(Velmor::StringOperations::ConvertToUTF8(empty.path())), std::string::npos);
    EXPECT_TRUE(taken.schemas.empty());
    EXPECT_TRUE(taken.products.empty());
}

} // namespace
} // namespace velmor_tests
