#include "diagnostics/Diagnostics.h"

#include "support/UnderDebugger.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#if defined(_WIN32)
    #include <windows.h>
    #include <winternl.h>
#else
    #include <sys/ptrace.h>
#endif

namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::StartsWith;
using Velmor::diagnostics::breakIntoDebugger;
using Velmor::diagnostics::reportDiagnostic;
using Velmor::diagnostics::ReportOnce;
using velmor_tests::runAlone;
using velmor_tests::runUnderDebugger;
using velmor_tests::ScenarioRun;

// Stands on standard output between the reports of a scenario; no report holds it.
constexpr char separator = '\x1E';

std::vector<std::string> split(const std::string& text) {
    std::vector<std::string> parts(1);
    for (const char c : text)
        if (c == separator)
            parts.emplace_back();
        else
            parts.back().push_back(c);
    return parts;
}

/// Reports each text as the whole of a message, with a separator behind it on standard output.
void reportEach(const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        reportDiagnostic(4, "%s", text.c_str());
        std::putchar(separator);
        std::fflush(stdout);
    }
}

// Without a debugger --------------------------------------------------------------------------------------------------

// No object lies there: whoever formats this, crashes.
const char* unreadable() {
    static volatile std::uintptr_t address = 8;
    return reinterpret_cast<const char*>(address);
}

VELMOR_SCENARIO(ReportAndBreakWithoutDebugger) {
    reportDiagnostic(4, "a message\n");
    reportDiagnostic(4, "never formatted: %s", unreadable());
    breakIntoDebugger();
    static ReportOnce once;
    once([] { reportDiagnostic(4, "once"); });
    once();
    std::fputs("went on", stderr);
}

TEST(Diagnostics, AreSilentAndFormatNothingWithoutADebugger) {
    const ScenarioRun run = runAlone("ReportAndBreakWithoutDebugger");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.error, "went on");
}

#if defined(_WIN32)
VELMOR_SCENARIO(SayControl) {
    OutputDebugStringA("control");
}

// What a process sends to the debugger channel without being debugged, any program can listen to.
TEST(Diagnostics, SendNothingToASystemWideListenerWithoutADebugger) {
    const HANDLE ready = CreateEventW(nullptr, FALSE, TRUE, L"DBWIN_BUFFER_READY");
    const HANDLE filled = CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_DATA_READY");
    const HANDLE section = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, L"DBWIN_BUFFER");
    ASSERT_TRUE(ready != nullptr && filled != nullptr && section != nullptr);
    runAlone("ReportAndBreakWithoutDebugger");
    EXPECT_EQ(WaitForSingleObject(filled, 0), static_cast<DWORD>(WAIT_TIMEOUT));
    runAlone("SayControl");
    EXPECT_EQ(WaitForSingleObject(filled, 10000), WAIT_OBJECT_0);
    for (const HANDLE handle : {ready, filled, section})
        CloseHandle(handle);
}
#endif

// reportDiagnostic ----------------------------------------------------------------------------------------------------

VELMOR_SCENARIO(ReportPlainTexts) {
    reportDiagnostic(4, "first");
    reportDiagnostic(4, "second\n");
    reportDiagnostic(4, "\n\tthird ");
}

TEST(ReportDiagnostic, PrintsOnBothChannelsAndAddsNothing) {
    const ScenarioRun run = runUnderDebugger("ReportPlainTexts");
    EXPECT_THAT(run.reports, ElementsAre("first", "second\n", "\n\tthird "));
    EXPECT_EQ(run.output, "firstsecond\n\n\tthird ");
    EXPECT_EQ(run.error, "");
    EXPECT_EQ(run.breaks, 0);
    EXPECT_TRUE(run.exited);
}

VELMOR_SCENARIO(ReportEmptyText) {
    std::string none;
    reportDiagnostic(4, "%s", none.c_str());
}

TEST(ReportDiagnostic, AnEmptyMessagePrintsNothing) {
    const ScenarioRun run = runUnderDebugger("ReportEmptyText");
    EXPECT_EQ(run.channel, "");
    EXPECT_EQ(run.output, "");
    EXPECT_TRUE(run.exited);
}

VELMOR_SCENARIO(ReportAtLevels) {
    for (const int level : {INT_MIN, -1, 0, 1, 3, 4, 5, INT_MAX})
        reportDiagnostic(level, "x");
}

TEST(ReportDiagnostic, IgnoresItsLevel) {
    const ScenarioRun run = runUnderDebugger("ReportAtLevels");
    EXPECT_EQ(run.channel, "xxxxxxxx");
    EXPECT_EQ(run.output, "xxxxxxxx");
}

VELMOR_SCENARIO(ReportArguments) {
    reportDiagnostic(4, "%d|%s|%c|%5u|%-4x|%04X|%.2f|%lld|%zu|%i%%", -7, "text", 'c', 42u, 0xabu, 0xcdu, 2.5,
                     -9223372036854775807LL, static_cast<std::size_t>(12), 100);
}

TEST(ReportDiagnostic, FormatsItsArgumentsLikePrintf) {
    const std::string before = "-7|text|c|   42|ab  |00CD|2.50|-9223372036854775807|12|100";
    const ScenarioRun run = runUnderDebugger("ReportArguments");
    EXPECT_EQ(run.channel, before + "%");
    EXPECT_THAT(run.output, StartsWith(before)); // a lone percent sign is left to the second formatting
}

VELMOR_SCENARIO(ReportBetweenPrints) {
    std::printf("a");
    reportDiagnostic(4, "b");
    std::printf("c");
    reportDiagnostic(4, "d");
}

TEST(ReportDiagnostic, SharesTheBufferOfStandardOutput) {
    EXPECT_EQ(runUnderDebugger("ReportBetweenPrints").output, "abcd");
}

std::string allBytesButPercent() {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte)
        if (byte != '%' && byte != '\r' && byte != separator) // carriage returns come and go on their way here
            bytes.push_back(static_cast<char>(byte));
    return bytes;
}

VELMOR_SCENARIO(ReportAllBytes) {
    reportDiagnostic(4, "%s", allBytesButPercent().c_str());
}

TEST(ReportDiagnostic, LetsEveryByteThrough) {
    const ScenarioRun run = runUnderDebugger("ReportAllBytes");
    EXPECT_EQ(run.channel, allBytesButPercent());
    EXPECT_EQ(run.output, allBytesButPercent());
}

const std::vector<std::size_t>& lengths() {
    static const std::vector<std::size_t> values{8190, 8191, 8192, 9000, 100000};
    return values;
}

VELMOR_SCENARIO(ReportLongTexts) {
    for (const std::size_t length : lengths())
        reportEach({std::string(length - 1, 'x') + 'e'});
}

TEST(ReportDiagnostic, CutsAfter8191Characters) {
    const ScenarioRun run = runUnderDebugger("ReportLongTexts");
    const std::vector<std::string> outputs = split(run.output);
    ASSERT_EQ(run.reports.size(), lengths().size());
    ASSERT_EQ(outputs.size(), lengths().size() + 1);
    for (std::size_t i = 0; i < lengths().size(); ++i) {
        const std::string whole = std::string(lengths()[i] - 1, 'x') + 'e';
        EXPECT_EQ(run.reports[i], whole.substr(0, 8191));
        EXPECT_EQ(outputs[i], whole.substr(0, 8191));
    }
}

VELMOR_SCENARIO(ReportLongLiteralPart) {
    const std::string padding(8000, 'p');
    reportDiagnostic(4, "%s and %d and %s\n", padding.c_str(), 12345, std::string(500, 'q').c_str());
}

TEST(ReportDiagnostic, CutsTheFormattedTextWhateverItIsMadeOf) {
    const std::string whole = std::string(8000, 'p') + " and 12345 and " + std::string(500, 'q') + "\n";
    const ScenarioRun run = runUnderDebugger("ReportLongLiteralPart");
    EXPECT_EQ(run.channel, whole.substr(0, 8191));
    EXPECT_EQ(run.output, whole.substr(0, 8191));
}

VELMOR_SCENARIO(ReportFromThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int j = 0; j < 50; ++j)
                reportDiagnostic(4, "%s", "ab");
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(ReportDiagnostic, MayBeCalledFromSeveralThreads) {
    const ScenarioRun run = runUnderDebugger("ReportFromThreads");
    EXPECT_EQ(run.reports, std::vector<std::string>(200, "ab"));
    EXPECT_EQ(run.output.size(), 400u); // they may interleave
    EXPECT_TRUE(run.exited);
}

// The second formatting -----------------------------------------------------------------------------------------------

VELMOR_SCENARIO(ReportPercentInArgument) {
    reportDiagnostic(4, "Unable to delete file %s\n", "C:\\50%d.txt");
    reportDiagnostic(4, "100%%d");
    reportDiagnostic(4, "%s", "%%");
}

TEST(ReportDiagnostic, FormatsTheTextASecondTimeOnStandardOutput) {
    const ScenarioRun run = runUnderDebugger("ReportPercentInArgument");
    EXPECT_THAT(run.reports, ElementsAre("Unable to delete file C:\\50%d.txt\n", "100%d", "%%"));
    EXPECT_EQ(run.output, "Unable to delete file C:\\500.txt\n1000%");
}

struct Conversion {
    std::string text;
    std::string output;
};

// Every conversion reads a zero; %n writes nowhere.
const std::vector<Conversion>& conversions() {
    static const std::vector<Conversion> all{
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
    return all;
}

VELMOR_SCENARIO(ReportConversions) {
    for (const Conversion& conversion : conversions())
        reportEach({"<" + conversion.text + ">"});
}

TEST(ReportDiagnostic, EveryConversionOfTheTextReadsZero) {
    const ScenarioRun run = runUnderDebugger("ReportConversions");
    EXPECT_TRUE(run.exited);
    const std::vector<std::string> outputs = split(run.output);
    ASSERT_EQ(run.reports.size(), conversions().size());
    ASSERT_EQ(outputs.size(), conversions().size() + 1);
    for (std::size_t i = 0; i < conversions().size(); ++i) {
        EXPECT_EQ(run.reports[i], "<" + conversions()[i].text + ">");
        EXPECT_EQ(outputs[i], "<" + conversions()[i].output + ">") << conversions()[i].text;
    }
}

std::string repeated(const std::string& text, int times) {
    std::string result;
    while (times-- > 0)
        result += text;
    return result;
}

VELMOR_SCENARIO(ReportThousandsOfConversions) {
    reportEach({repeated("%d", 4095), repeated("%n", 4095), repeated("%f", 700), repeated("%s", 4095)});
}

TEST(ReportDiagnostic, ReadsZeroHoweverManyConversionsThereAre) {
    const ScenarioRun run = runUnderDebugger("ReportThousandsOfConversions");
    EXPECT_TRUE(run.exited);
    const std::vector<std::string> outputs = split(run.output);
    ASSERT_EQ(outputs.size(), 5u);
    EXPECT_EQ(outputs[0], std::string(4095, '0'));
    EXPECT_EQ(outputs[1], "");
    EXPECT_EQ(outputs[2], repeated("0.000000", 700));
    EXPECT_THAT(outputs[3], StartsWith(repeated("(null)", 1000)));
}

VELMOR_SCENARIO(ReportConversionAcrossTheCut) {
    reportEach({std::string(8190, 'x') + "%d", std::string(8189, 'x') + "%ld", std::string(8188, 'x') + "%*d"});
}

TEST(ReportDiagnostic, AConversionThatTheCutSplitsDoesNoHarm) {
    const ScenarioRun run = runUnderDebugger("ReportConversionAcrossTheCut");
    EXPECT_TRUE(run.exited);
    EXPECT_THAT(run.reports,
                ElementsAre(std::string(8190, 'x') + "%", std::string(8189, 'x') + "%l", std::string(8188, 'x') + "%*d"));
    const std::vector<std::string> outputs = split(run.output);
    ASSERT_EQ(outputs.size(), 4u);
    EXPECT_THAT(outputs[0], StartsWith(std::string(8190, 'x')));
    EXPECT_THAT(outputs[1], StartsWith(std::string(8189, 'x')));
    EXPECT_EQ(outputs[2], std::string(8188, 'x') + "0");
}

// What these print is not told; they must not crash, hang, read memory, or print without bound.
const std::vector<std::string>& hostileTexts() {
    static const std::vector<std::string> texts{
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
    return texts;
}

std::vector<std::string> longHostileTexts() {
    return {repeated("%999d", 1600),
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
}

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

std::vector<std::string> inContext(const std::vector<std::string>& hostile) {
    std::vector<std::string> texts = hostile;
    for (const std::string& text : hostile) {
        texts.push_back("before " + text + " after\n");
        texts.push_back(text + "%n" + text + "%s");
    }
    return texts;
}

VELMOR_SCENARIO(ReportHostileTexts) {
    reportEach(inContext(hostileTexts()));
}

TEST(ReportDiagnostic, HostileTextsDoNoHarm) {
    const std::vector<std::string> texts = inContext(hostileTexts());
    const ScenarioRun run = runUnderDebugger("ReportHostileTexts");
    expectHarmless(run, texts);
    const std::vector<std::string> outputs = split(run.output);
    for (std::size_t i = 0; i < texts.size() && i < outputs.size(); ++i)
        if (texts[i].rfind("before ", 0) == 0)
            EXPECT_THAT(outputs[i], StartsWith("before ")) << texts[i];
}

VELMOR_SCENARIO(ReportLongHostileTexts) {
    reportEach(longHostileTexts());
}

TEST(ReportDiagnostic, LongHostileTextsDoNoHarm) {
    expectHarmless(runUnderDebugger("ReportLongHostileTexts"), longHostileTexts());
}

std::vector<std::string> randomHostileTexts(unsigned seed) {
    static const std::string alphabet = "%%%%%%%%*.0123456789$-+ #'hlqjzLtIwdiuoxXeEfFgGaAcsCSpnmZ\x80|";
    std::mt19937 random(seed);
    std::vector<std::string> texts(600);
    for (std::string& text : texts) {
        const std::size_t length = 1 + random() % 60;
        for (std::size_t i = 0; i < length; ++i)
            text.push_back(alphabet[random() % alphabet.size()]);
    }
    return texts;
}

VELMOR_SCENARIO(ReportRandomTexts) {
    reportEach(randomHostileTexts(static_cast<unsigned>(std::strtoul(std::getenv("VELMOR_TEST_SEED"), nullptr, 10))));
}

TEST(ReportDiagnostic, RandomHostileTextsDoNoHarm) {
    const unsigned seed = std::random_device()();
    std::cout << "seed " << seed << '\n';
    const std::vector<std::string> texts = randomHostileTexts(seed);
    expectHarmless(runUnderDebugger("ReportRandomTexts", {"VELMOR_TEST_SEED=" + std::to_string(seed)}), texts);
}

// breakIntoDebugger ---------------------------------------------------------------------------------------------------

VELMOR_SCENARIO(BreakThreeTimes) {
    breakIntoDebugger();
    reportDiagnostic(4, "between");
    breakIntoDebugger();
    breakIntoDebugger();
}

TEST(BreakIntoDebugger, BreaksEachTimeUnderADebugger) {
    const ScenarioRun run = runUnderDebugger("BreakThreeTimes");
    EXPECT_EQ(run.breaks, 3);
    EXPECT_THAT(run.reportsBeforeBreak, ElementsAre(0u, 1u, 1u));
    EXPECT_EQ(run.channel, "between");
    EXPECT_TRUE(run.exited);
}

// ReportOnce ----------------------------------------------------------------------------------------------------------

void failAtFirstSite() {
    static ReportOnce once;
    once([] {
        reportDiagnostic(4, "first site\n");
        std::fputs("made ", stderr);
    });
}

void failAtSecondSite() {
    static ReportOnce once;
    once([] { reportDiagnostic(4, "second site\n"); });
}

void failAtSiteWithoutMessage() {
    static ReportOnce once;
    once();
}

VELMOR_SCENARIO(FailManyTimes) {
    for (int i = 0; i < 5; ++i) {
        failAtFirstSite();
        failAtSecondSite();
        failAtSiteWithoutMessage();
    }
}

TEST(ReportOnce, ReportsThenBreaksOncePerSite) {
    const ScenarioRun run = runUnderDebugger("FailManyTimes");
    EXPECT_EQ(run.breaks, 3);
    EXPECT_THAT(run.reports, ElementsAre("first site\n", "second site\n"));
    EXPECT_THAT(run.reportsBeforeBreak, ElementsAre(1u, 2u, 2u));
    EXPECT_EQ(run.output, "first site\nsecond site\n");
    EXPECT_EQ(run.error, "made ");
}

TEST(ReportOnce, MakesNoReportWithoutADebugger) {
    const ScenarioRun run = runAlone("FailManyTimes");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.error, "");
}

VELMOR_SCENARIO(FailOnSeveralThreads) {
    for (int i = 0; i < 5; ++i)
        std::thread(failAtFirstSite).join();
    failAtFirstSite();
}

TEST(ReportOnce, TheFlagBelongsToTheProcess) {
    const ScenarioRun run = runUnderDebugger("FailOnSeveralThreads");
    EXPECT_EQ(run.breaks, 1);
    EXPECT_EQ(run.channel, "first site\n");
}

VELMOR_SCENARIO(FailOnSeveralThreadsAtOnce) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([] {
            for (int j = 0; j < 100; ++j)
                failAtSecondSite();
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(ReportOnce, ThreadsThatRaceReportAtMostOnceEach) {
    const ScenarioRun run = runUnderDebugger("FailOnSeveralThreadsAtOnce");
    EXPECT_TRUE(run.exited);
    EXPECT_GE(run.breaks, 1);
    EXPECT_LE(run.breaks, 8);
    EXPECT_EQ(run.reports, std::vector<std::string>(static_cast<std::size_t>(run.breaks), "second site\n"));
    EXPECT_TRUE(runAlone("FailOnSeveralThreadsAtOnce").exited);
}

/// From here on the process seems to be debugged, and does not survive a break.
void seemDebugged() {
#if defined(_WIN32)
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    const auto getBlock =
        reinterpret_cast<PEB*(WINAPI*)()>(reinterpret_cast<void*>(GetProcAddress(ntdll, "RtlGetCurrentPeb")));
    getBlock()->BeingDebugged = 1;
#else
    // The suite that waits for the scenario becomes its tracer, and stops at a break without knowing of it before.
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
#endif
}

[[noreturn]] void endAtOnce() {
    std::fflush(stdout);
    std::_Exit(0);
}

VELMOR_SCENARIO(FailBeforeTheDebuggerComes) {
    failAtFirstSite();
    failAtSiteWithoutMessage();
    seemDebugged();
    failAtFirstSite();
    failAtSiteWithoutMessage();
    endAtOnce();
}

VELMOR_SCENARIO(FailAfterTheDebuggerCame) {
    seemDebugged();
    failAtSiteWithoutMessage();
    endAtOnce();
}

TEST(ReportOnce, TheFirstOccurrenceCountsWithoutADebuggerToo) {
    const ScenarioRun late = runAlone("FailBeforeTheDebuggerComes");
    EXPECT_TRUE(late.exited);
    EXPECT_EQ(late.breaks, 0);
    EXPECT_EQ(late.output, "");
    EXPECT_EQ(late.error, "");

    const ScenarioRun control = runAlone("FailAfterTheDebuggerCame");
    EXPECT_TRUE(!control.exited || control.breaks > 0);
}

} // namespace
