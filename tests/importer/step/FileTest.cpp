#include <Velmor/Text.h>

#include "importer/ifc/ReaderSupport.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <string>
#include <utility>

namespace velmor_tests {

using namespace importer::step;
using namespace importer::ifc;

namespace {

/// The message of the FileError for a text; empty if it is read.
std::string errorOf(const std::string& text) {
    try {
        fileOf(text);
    } catch (const step::FileError& error) {
        return error.what();
    }
    return "";
}

const std::string header = "ISO-10303-21;\nHEADER;\nFILE_SCHEMA(('IFC4'));\nENDSEC;\n";

TEST(StepFile, FindsInstancesByNumberInAnyOrder) {
    const step::File file = fileOf(stepFile("#30=IFCWALL($);\n#7=IFCX();\n#100= IFCSLAB (1,(2,3)) ;#8 =IFCBEAM('a;b');\n"));
    ASSERT_EQ(file.instances().size(), 4u);
    EXPECT_EQ(file.find(9), nullptr);
    ASSERT_NE(file.find(100), nullptr);
    EXPECT_EQ(file.nameOf(*file.find(100)), "IFCSLAB");
    EXPECT_EQ(file.parametersOf(*file.find(100)), "1,(2,3)");
    EXPECT_EQ(file.parametersOf(*file.find(8)), "'a;b'");
    EXPECT_EQ(file.parametersOf(*file.find(7)), "");
    ASSERT_EQ(instancesOf(file, {Entity::Product}).size(), 3u);
    EXPECT_EQ(instancesOf(file, {Entity::Product})[0]->number, 30u) << "instancesOf returns the order of the file";
    EXPECT_EQ(instancesOf(file, {Entity::Product})[1]->number, 100u);
    EXPECT_EQ(instancesOf(file, {Entity::Product})[2]->number, 8u);
    EXPECT_TRUE(file.problems().empty());
}

TEST(StepFile, CountsLinesAcrossBlocks) {
    std::string data;
    for (int i = 1; i <= 2000; ++i)
        data += "#" + std::to_string(i) + "=IFCX(\n$);\n";
    const step::File file = fileOf(stepFile(data));
    for (const std::uint64_t number : {1u, 2u, 777u, 2000u})
        EXPECT_EQ(file.lineAt(file.find(number)->offset), 8 + 2 * (number - 1));
}

TEST(StepFile, AllowsCommentsAndLineBreaksBetweenTokens) {
    const step::File file =
        fileOf("\xEF\xBB\xBF /* a */ ISO-10303-21 /* ; */ ;HEADER;FILE_SCHEMA /* x */ ( ( 'ifc4x3_add2' ) ) ;\nENDSEC;"
               "DATA;/* #1=IFCWALL($); */\n# 1;\n#2 /*=*/ = /*(*/\nIFCWALL\n/*;*/(\n'a'\n,/*)*/$\n)\n/**/\n;"
               "ENDSEC;\nEND-ISO-10303-21;\nignored");
    EXPECT_EQ(file.schema(), "IFC4X3_ADD2");
    ASSERT_EQ(instancesOf(file, {Entity::Product}).size(), 1u);
    EXPECT_EQ(file.parametersOf(*instancesOf(file, {Entity::Product})[0]), "\n'a'\n,/*)*/$\n");
    ASSERT_EQ(file.problems().size(), 1u) << "# 1; is not an instance";
    EXPECT_EQ(file.problems()[0].line, 3u);
}

TEST(StepFile, ReadsSeveralDataSectionsAndSkipsOtherSections) {
    const step::File file =
        fileOf(header + "ANCHOR;<a>=#1;ENDSEC;REFERENCE;#5=<b>;ENDSEC;DATA('one',('IFC4'));#1=IFCWALL($);ENDSEC;\n"
                        "DATA;#2=IFCSLAB($);ENDSEC;SIGNATURE;abc;ENDSEC;END-ISO-10303-21;");
    EXPECT_EQ(file.instances().size(), 2u);
}

TEST(StepFile, ComplexInstanceHasNoEntityAndNoName) {
    const step::File file = fileOf(stepFile("#1=(IFCNAMEDUNIT(*,.LENGTHUNIT.)IFCSIUNIT($,.METRE.));\n#2=IFCWALL($);\n"));
    EXPECT_TRUE(file.problems().empty());
    ASSERT_NE(file.find(1), nullptr);
    EXPECT_EQ(entityOf(*file.find(1)), Entity::Other);
    EXPECT_EQ(file.nameOf(*file.find(1)), "");
}

TEST(StepFile, ReportsDamagedInstanceAndReadsTheOthers) {
    const std::pair<const char*, const char*> cases[] = {
        {"#1 IFCWALL($);", "expected '#1=NAME(...);'"},
        {"#1=;", "expected '#1=NAME(...);'"},
        {"#1=IFCWALL;", "expected '#1=NAME(...);'"},
        {"#0=IFCWALL($);", "expected '#1=NAME(...);'"},
        {"#x=IFCWALL($);", "expected '#1=NAME(...);'"},
        {"#99999999999999999999=IFCWALL($);", "expected '#1=NAME(...);'"},
        {"#1=IFCWALL(($);", "expected ')' before ';'"},
        {"#1=IFCWALL($)", "expected ';' after ')'"},
        {"#1=IFCWALL($)) ;", "expected ';' after ')'"},
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

TEST(StepFile, IgnoresRepeatedSemicolons) {
    const step::File file = fileOf(stepFile("#7=IFCX();;\n;;#8=IFCX();\n"));
    EXPECT_TRUE(file.problems().empty());
    EXPECT_EQ(file.instances().size(), 2u);
}

TEST(StepFile, DamageWithoutAnInstanceNumberHasNumberZero) {
    const step::File file = fileOf(stepFile("#x=IFCWALL($);\n#5 IFCWALL($);\n#6=IFCWALL;\n"));
    ASSERT_EQ(file.problems().size(), 3u);
    EXPECT_EQ(file.problems()[0].instance, 0u);
    EXPECT_EQ(file.problems()[1].instance, 0u);
    EXPECT_EQ(file.problems()[2].instance, 6u);
}

TEST(StepFile, UnclosedTextDamagesOnlyItsInstance) {
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

TEST(StepFile, TextsAndCommentsMayContainLineBreaks) {
    const step::File file = fileOf(stepFile("#1=IFCX('a\n# 2','b\n#3',/*\n#4=IFCX($);\n*/$);\n/*\n#5=IFCX($);*/#6/*\n"
                                            "#7=*/=IFCX('a');\n"));
    EXPECT_TRUE(file.problems().empty());
    ASSERT_EQ(file.instances().size(), 2u);
    EXPECT_EQ(file.instances()[1].number, 6u);
    EXPECT_EQ(file.parametersOf(file.instances()[1]), "'a'");
}

TEST(StepFile, SectionKeywordsMayBeInAnyCase) {
    const step::File file = fileOf("iso-10303-21;Header;file_schema(('IFC4'));EndSec;\nanchor;endsec;data;#1=IFCWALL($);"
                                   "endsec;end-iso-10303-21;");
    EXPECT_EQ(instancesOf(file, {Entity::Product}).size(), 1u);
    EXPECT_TRUE(file.problems().empty());
}

TEST(StepFile, KeepsFirstInstanceOfARepeatedNumber) {
    const step::File file = fileOf(stepFile("#5=IFCWALL($);\n#6=IFCX();\n#5=IFCSLAB($);\n#5=IFCBEAM($);\n"));
    EXPECT_EQ(file.nameOf(*file.find(5)), "IFCWALL");
    EXPECT_EQ(instancesOf(file, {Entity::Product}).size(), 1u);
    ASSERT_EQ(file.problems().size(), 2u);
    EXPECT_EQ(file.problems()[0].line, 10u);
    EXPECT_EQ(file.problems()[0].instance, 5u);
    EXPECT_NE(file.problems()[0].reason.find("already used on line 8"), std::string::npos);
    EXPECT_EQ(file.problems()[1].line, 11u);
}

TEST(StepFile, RejectsInvalidFileWithLineAndExpectation) {
    const std::pair<std::string, const char*> cases[] = {
        {"", "model.ifc, line 1: the file is empty; expected 'ISO-10303-21;'"},
        {"\n\n", "model.ifc, line 3: not a STEP file"},
        {"PK\x03\x04", "model.ifc, line 1: not a STEP file"},
        {std::string(5000, '\0'), "model.ifc, line 1: not a STEP file"},
        {"ISO-10303-42;", "not a STEP file (ISO 10303-21): it begins with 'ISO-10303-42;'"},
        {"ISO-10303-21", "expected ';' after ISO-10303-21"},
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
        {header + "DATA;\n#1=IFCWALL($)", "the file ends after #1; expected ';'"},
        {header + "DATA;\n#1=IFC", "expected '=', a name and '('"},
        {header + "DATA;\n/* never closed", "expected 'ENDSEC;' of the DATA section"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_NE(errorOf(text).find(expected), std::string::npos) << text << "\n" << errorOf(text);
}

TEST(StepFile, RejectsUnsupportedSchemas) {
    for (const char* schema :
         {"IFC2X3", "IFC2X3_TC1", "IFC4", "IFC4_ADD2_TC1", "IFC4_ADD1", "IFC4X3", "IFC4X3_RC1", "IFC4X3_ADD2", "ifc4"})
        EXPECT_EQ(errorOf(stepFile("", schema)), "") << schema;
    for (const char* schema :
         {"IFC2X2_FINAL", "IFC2X_FINAL", "IFC5", "IFC40", "IFC4X1", "IFC4X2", "IFC4_RC1", "IFC", "", "AUTOMOTIVE_DESIGN"})
        EXPECT_NE(errorOf(stepFile("", schema)).find("line 5"), std::string::npos) << schema;
}

TEST(StepFile, RejectsFileCutOffAtAnyPosition) {
    const std::string whole = stepFile("#1=IFCWALL('a''b',$,(1,2.5,#2),\"0F\",.T.);\n#2=IFCX(IFCLABEL('\\X\\E4'));\n");
    const std::size_t enough = whole.rfind(';') + 1;
    for (std::size_t size = 0; size < enough; ++size)
        EXPECT_NE(errorOf(whole.substr(0, size)), "") << size;
    for (std::size_t size = enough; size <= whole.size(); ++size)
        EXPECT_EQ(errorOf(whole.substr(0, size)), "") << size;
}

TEST(ReadIfcModel, ReadsFileWithNonAsciiPath) {
    const TemporaryFolder folder;
    const auto path = folder / std::filesystem::path(u"\u00E4\u20AC.ifc");
    writeFile(path, stepFile(inMeters + "#10=IFCWALL('1234567890123456789012',$,'\\X2\\00E4\\X0\\',$,$,$,$,$);\n"));
    Taken taken;
    readIfcModel(wide(path), taken);
    ASSERT_EQ(taken.products.size(), 1u);
    EXPECT_EQ(taken.products[0].name, VELMOR_WIDE("\u00E4"));
    EXPECT_EQ(taken.schemas, std::vector<std::string>{"IFC4"});
}

TEST(ReadIfcModel, NamesMissingFileFolderAndEmptyFileInTheError) {
    Taken taken;
    const auto errorOfPath = [&](const Velmor::WideString& path) -> std::string {
        try {
            readIfcModel(path, taken);
        } catch (const step::FileError& error) {
            return error.what();
        }
        return "";
    };
    EXPECT_NE(
        errorOfPath(VELMOR_WIDE("no-such-model.ifc")).find("no-such-model.ifc: cannot be opened; expected a STEP file"),
        std::string::npos);
    EXPECT_NE(errorOfPath(VELMOR_WIDE(".")).find("expected a STEP file"), std::string::npos);
    const TemporaryFolder folder;
    const Velmor::WideString empty = wide(folder / std::filesystem::path(u"\u00E4\u20AC.ifc"));
    writeFile(empty, "");
    EXPECT_NE(errorOfPath(empty).find("the file is empty"), std::string::npos);
    EXPECT_NE(errorOfPath(empty).find(Velmor::StringOperations::ConvertToUTF8(empty)), std::string::npos);
    EXPECT_TRUE(taken.schemas.empty());
    EXPECT_TRUE(taken.products.empty());
}

} // namespace
} // namespace velmor_tests
