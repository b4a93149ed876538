// Messages with invalid, extreme or unusual conversions.

#include "ScenarioTexts.h"
#include "support/Random.h"
#include "support/UnderDebugger.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <string>
#include <vector>

namespace {

using namespace velmor_tests;
using testing::StartsWith;

// The output is unspecified. The process must not crash, hang, read other memory, or print without limit.
const std::vector<std::string> hostileTexts{
    "%",
    "100%",
    "%%%",
    "% ",
    "%-",
    "%+",
    "%#",
    "%0",
    "%.",
    "%*",
    "%.*",
    "%l",
    "%ll",
    "%h",
    "%hh",
    "%z",
    "%j",
    "%t",
    "%L",
    "%q",
    "%5",
    "%5.",
    "%5.5",
    "%1$",
    "%*1$",
    "%\n",
    "%\x01",
    "%\x80",
    "%\xFF",
    "%!",
    "%y",
    "%w",
    "%k",
    "%v",
    "%r",
    "%B",
    "%b",
    "%D",
    "%U",
    "%O",
    "%I",
    "%I32d",
    "%Id",
    "%'d",
    "%m",
    "%a",
    "%A",
    "%ws",
    "%Z",
    "%hZ",
    "%La",
    "%Ln",
    "%zn",
    "%jn",
    "%tn",
    "%qn",
    "%I64n",
    "%In",
    "%5$n",
    "%1$n",
    "%2$d %1$s",
    "%1$s%1$n",
    "%1000000$d",
    "%99999999999999999999$n",
    "%0$d",
    "%1$*2$d",
    "%3$hhn",
    "%999999999d",
    "%-999999999d",
    "%0999999999d",
    "%999999999s",
    "%999999999c",
    "%999999999n",
    "%999999999%",
    "%.999999999d",
    "%.999999999f",
    "%.999999999e",
    "%.999999999g",
    "%.999999999s",
    "%.999999999a",
    "%999999999.999999999f",
    "%2147483647d",
    "%2147483648d",
    "%4294967295d",
    "%4294967296d",
    "%4294967301d",
    "%99999999999999999999d",
    "%.2147483647d",
    "%.2147483648d",
    "%.99999999999999999999f",
    "%.-5d",
    "%.+5d",
    "%--5d",
    "%- +#0d",
    "%0-5d",
    "%hhhd",
    "%lllld",
    "%lhd",
    "%hLf",
    "%llls",
    "%.3s",
    "%.0s",
    "%5.2s",
    "%s%n%s%n",
    "%ls%n%lc",
    "%n%n%n%n",
    "%*n",
    "%.*n",
    "%*s",
    "%.*s",
    "%*.*s",
    "%*c",
    "%**d",
    "%***n",
    "%.**d",
    "%*9d",
    "%9*d",
    "%d%",
    "%n%",
    "%%%d%%%n%%%",
    "%\\n",
    "%%n",
    "%%%n",
    "%1$d%n",
    "%d%1$d",
    "%.f",
    "%.e",
    "%.g",
    "%.s",
    "%.n",
};

const std::vector<std::string> longHostileTexts{repeated("%999d", 1600),
                                                repeated("%9999d", 1300),
                                                repeated("%999999999d", 700),
                                                repeated("%.999999999f", 600),
                                                repeated("%ls", 2700),
                                                repeated("%hhn", 2000),
                                                repeated("%1$n", 2000),
                                                repeated("%", 8191),
                                                repeated("%%", 4095),
                                                repeated("%*d", 2700),
                                                repeated("%.*f", 2000),
                                                "%" + repeated("9", 8000) + "d",
                                                "%." + repeated("9", 8000) + "f",
                                                "%" + repeated("-", 8000) + "d",
                                                "%" + repeated("l", 8000) + "d",
                                                "%" + repeated("9", 8000) + "$n",
                                                "%" + repeated("*", 8000),
                                                "%8000d" + repeated("y", 8000),
                                                "%4000s%4000d" + repeated("y", 8000) + "%s"};

constexpr std::size_t outputBound = 1 << 20;

void expectHarmless(const ScenarioRun& run, const std::vector<std::string>& texts) {
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u) << run.error;
    EXPECT_EQ(run.breaks, 0);
    const std::vector<std::string> outputs = split(run.output);
    ASSERT_EQ(run.reports.size(), texts.size());
    ASSERT_EQ(outputs.size(), texts.size() + 1);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(run.reports[i], texts[i].substr(0, 8191));
        EXPECT_LE(outputs[i].size(), outputBound) << texts[i].substr(0, 80);
    }
}

/// The texts, alone and inside other text.
std::vector<std::string> inContext(const std::vector<std::string>& hostile) {
    std::vector<std::string> texts = hostile;
    for (const std::string& text : hostile) {
        texts.push_back("before " + text + " after\n");
        texts.push_back(text + "%n" + text + "%s");
    }
    return texts;
}

VELMOR_SCENARIO(ReportHostileTexts) {
    reportEach(inContext(hostileTexts));
}

TEST(ReportDiagnostic, HostileTextsAreHarmless) {
    const std::vector<std::string> texts = inContext(hostileTexts);
    const ScenarioRun run = runUnderDebugger("ReportHostileTexts");
    expectHarmless(run, texts);
    const std::vector<std::string> outputs = split(run.output);
    for (std::size_t i = 0; i < texts.size() && i < outputs.size(); ++i)
        if (texts[i].rfind("before ", 0) == 0) {
            EXPECT_THAT(outputs[i], StartsWith("before ")) << texts[i];
        }
}

VELMOR_SCENARIO(ReportLongHostileTexts) {
    reportEach(longHostileTexts);
}

TEST(ReportDiagnostic, LongHostileTextsAreHarmless) {
    expectHarmless(runUnderDebugger("ReportLongHostileTexts"), longHostileTexts);
}

std::vector<std::string> randomHostileTexts(Random& random) {
    static const std::string alphabet = "%%%%%%%%*.0123456789$-+ #'hlqjzLtIwdiuoxXeEfFgGaAcsCSpnmZ\x80|";
    std::vector<std::string> texts(600);
    for (std::string& text : texts) {
        const std::size_t length = 1 + random.below(60u);
        for (std::size_t i = 0; i < length; ++i)
            text.push_back(alphabet[random.below(alphabet.size())]);
    }
    return texts;
}

VELMOR_SCENARIO(ReportRandomTexts) {
    Random random; // the test sets VELMOR_SEED
    reportEach(randomHostileTexts(random));
}

TEST(ReportDiagnostic, RandomHostileTextsAreHarmless) {
    Random random;
    const std::vector<std::string> texts = randomHostileTexts(random);
    expectHarmless(runUnderDebugger("ReportRandomTexts", {"VELMOR_SEED=" + std::to_string(random.seed())}), texts);
}

} // namespace
