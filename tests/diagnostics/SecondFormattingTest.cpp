// On standard output the message is a format string without arguments. Every conversion in it reads a zero.

#include "ScenarioTexts.h"
#include "diagnostics/Diagnostics.h"
#include "support/UnderDebugger.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using namespace velmor_tests;
using namespace std::string_literals;
using testing::ElementsAre;
using testing::StartsWith;
using Velmor::diagnostics::reportDiagnostic;

VELMOR_SCENARIO(ReportPercentInArgument) {
    reportDiagnostic(4, "Unable to delete file %s\n", "C:\\50%d.txt");
    reportDiagnostic(4, "100%%d");
    reportDiagnostic(4, "%s", "%%");
}

TEST(ReportDiagnostic, FormatsTheTextAgainOnStandardOutput) {
    const ScenarioRun run = runUnderDebugger("ReportPercentInArgument");
    EXPECT_THAT(run.reports, ElementsAre("Unable to delete file C:\\50%d.txt\n", "100%d", "%%"));
    EXPECT_EQ(run.output, "Unable to delete file C:\\500.txt\n1000%");
}

struct Conversion {
    std::string text;
    std::string output;
};

// Every conversion reads zero; %n writes nothing.
const std::vector<Conversion> conversions{
    {"%d", "0"},
    {"%i", "0"},
    {"%u", "0"},
    {"%o", "0"},
    {"%x", "0"},
    {"%X", "0"},
    {"%hd", "0"},
    {"%hhd", "0"},
    {"%ld", "0"},
    {"%lld", "0"},
    {"%zu", "0"},
    {"%jd", "0"},
    {"%td", "0"},
    {"%c", "\0"s},
    {"%f", "0.000000"},
    {"%.2f", "0.00"},
    {"%lf", "0.000000"},
    {"%g", "0"},
    {"%G", "0"},
    {"%s", "(null)"},
    {"%n", ""},
    {"%hn", ""},
    {"%hhn", ""},
    {"%ln", ""},
    {"%lln", ""},
    {"%e", "0.000000e+00"},
    {"%E", "0.000000E+00"},
    {"%F", "0.000000"},
    {"%Lf", "0.000000"},
    {"%S", "(null)"},
    {"%ls", "(null)"},
    {"%hs", "(null)"},
    {"%C", "\0"s},
    {"%lc", "\0"s},
    {"%p", "0000000000000000"},
    {"%I64d", "0"},
    {"%5$d", "0"},
    {"%%", "%"},
    {"%5d|", "    0|"},
    {"%-5d|", "0    |"},
    {"%05d", "00000"},
    {"%+d", "+0"},
    {"% d", " 0"},
    {"%.3d", "000"},
    {"%#x", "0"},
    {"%.0d", ""},
    {"%*d", "0"},
    {"%-*d", "0"},
    {"%--5d|", "0    |"},
    {"%-8c|", "\0       |"s},
    {"%5.2s|", "   (n|"},
    {"%08s|", "  (null)|"},
    {"%#d", "0"},
    {"%.*d", ""},
    {"%.*f", "0"},
    {"%*.*f", "0"},
    {"%8.3f|", "   0.000|"},
    {"%8s|", "  (null)|"},
    {"a%db%sc%nd%%e", "a0b(null)cd%e"},
    {"%d%d%d%d%d%d%d%d%d%d%d%d", "000000000000"},
    {"%f%d%s%f%d%s%f%d%s", "0.0000000(null)0.0000000(null)0.0000000(null)"},
};

VELMOR_SCENARIO(ReportConversions) {
    for (const Conversion& conversion : conversions)
        reportEach({"<" + conversion.text + ">"});
}

TEST(ReportDiagnostic, EveryConversionInTheTextReadsZero) {
    const ScenarioRun run = runUnderDebugger("ReportConversions");
    EXPECT_TRUE(run.exited);
    const std::vector<std::string> outputs = split(run.output);
    ASSERT_EQ(run.reports.size(), conversions.size());
    ASSERT_EQ(outputs.size(), conversions.size() + 1);
    for (std::size_t i = 0; i < conversions.size(); ++i) {
        EXPECT_EQ(run.reports[i], "<" + conversions[i].text + ">");
        EXPECT_EQ(outputs[i], "<" + conversions[i].output + ">") << conversions[i].text;
    }
}

VELMOR_SCENARIO(ReportThousandsOfConversions) {
    reportEach({repeated("%d", 4095), repeated("%n", 4095), repeated("%f", 700), repeated("%s", 4095)});
}

TEST(ReportDiagnostic, ThousandsOfConversionsReadZero) {
    const ScenarioRun run = runUnderDebugger("ReportThousandsOfConversions");
    EXPECT_TRUE(run.exited);
    const std::vector<std::string> outputs = split(run.output);
    ASSERT_EQ(outputs.size(), 5u);
    EXPECT_EQ(outputs[0], std::string(4095, '0'));
    EXPECT_EQ(outputs[1], "");
    EXPECT_EQ(outputs[2], repeated("0.000000", 700));
    EXPECT_THAT(outputs[3], StartsWith(repeated("(null)", 1000)));
}

VELMOR_SCENARIO(ReportConversionAtTheLengthLimit) {
    reportEach({std::string(8190, 'x') + "%d", std::string(8189, 'x') + "%ld", std::string(8188, 'x') + "%*d"});
}

TEST(ReportDiagnostic, ConversionCutByTheLengthLimitIsHarmless) {
    const ScenarioRun run = runUnderDebugger("ReportConversionAtTheLengthLimit");
    EXPECT_TRUE(run.exited);
    EXPECT_THAT(run.reports,
                ElementsAre(std::string(8190, 'x') + "%", std::string(8189, 'x') + "%l", std::string(8188, 'x') + "%*d"));
    const std::vector<std::string> outputs = split(run.output);
    ASSERT_EQ(outputs.size(), 4u);
    EXPECT_THAT(outputs[0], StartsWith(std::string(8190, 'x')));
    EXPECT_THAT(outputs[1], StartsWith(std::string(8189, 'x')));
    EXPECT_EQ(outputs[2], std::string(8188, 'x') + "0");
}

} // namespace
