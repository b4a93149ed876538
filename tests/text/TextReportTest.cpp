// The reports of the text conversions to a debugger: each of the five messages once per process, followed by a break.

#include "PrivateStringOperations.h"
#include "support/UnderDebugger.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using Velmor::StringOperations;
using Velmor::WideChar;
using Velmor::WideString;
using velmor_tests::runAlone;
using velmor_tests::runUnderDebugger;
using velmor_tests::ScenarioRun;

const std::string decoderMessage = "StringOperations::ConvertFromUTF8 error for string ";
const std::string counterMessage = "StringOperations::StringLengthUTF8 error for string ";
const std::string textMessage = " StringOperations::ConvertFromUTF8, Invalid Conversion.";
const std::string fromLocaleMessage = " StringOperations::ConvertFromCurrentLocale, Invalid Conversion.";
const std::string toLocaleMessage = "StringOperations::ConvertToCurrentLocale, Invalid Conversion.";

/// A heap block of exactly the size of the text, so that a sanitizer reports each read after it.
std::unique_ptr<unsigned char[]> exactCopy(const std::string& text) {
    auto copy = std::make_unique<unsigned char[]>(text.size());
    std::copy(text.begin(), text.end(), copy.get());
    return copy;
}

WideString fromUtf8(const std::string& source) {
    return StringOperations::ConvertFromUTF8(exactCopy(source).get(), source.size());
}

std::size_t decode(const std::string& source, bool reserveTerminator = true) {
    WideChar buffer[64];
    return velmor_tests::decode(exactCopy(source).get(), source.size(), buffer, 64, reserveTerminator);
}

/// Ends the scenario with an error if a condition is false.
void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "wrong: %s\n", what);
        std::exit(1);
    }
}

void expectReports(const ScenarioRun& run, const std::vector<std::string>& reports) {
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u) << run.error;
    EXPECT_EQ(run.reports, reports);
    EXPECT_EQ(run.breaks, static_cast<int>(reports.size()));
    for (std::size_t i = 0; i < run.reportsBeforeBreak.size(); ++i)
        EXPECT_EQ(run.reportsBeforeBreak[i], i + 1); // each break follows its report
}

VELMOR_SCENARIO(DecoderErrors) {
    require(decode("ab\xFFzz") == 0, "stray byte");
    require(decode("\x80") == 0, "continuation byte");
    require(decode("other \xF0", false) == 0, "first byte of four");
    WideChar buffer[8];
    require(StringOperations::ConvertFromUTF8(exactCopy("q\xFF").get(), 2, buffer, 8) == 0, "public form");
}

TEST(TextReports, ContainTheWholeSourceOfTheDecoder) {
    const ScenarioRun run = runUnderDebugger("DecoderErrors");
    expectReports(run, {decoderMessage + "ab\xFFzz"});
    EXPECT_EQ(run.output, decoderMessage + "ab\xFFzz");
}

VELMOR_SCENARIO(DecoderErrorInPublicForm) {
    WideChar buffer[8];
    require(StringOperations::ConvertFromUTF8(exactCopy("q\xFF").get(), 2, buffer, 8) == 0, "public form");
    require(decode("ab\xFFzz") == 0, "private form");
}

TEST(TextReports, AreMadeOnceForThePublicAndThePrivateDecoder) {
    expectReports(runUnderDebugger("DecoderErrorInPublicForm"), {decoderMessage + "q\xFF"});
}

VELMOR_SCENARIO(CounterErrors) {
    require(velmor_tests::count(exactCopy("abc\x80").get(), 4) == 0, "continuation byte");
    require(velmor_tests::count(exactCopy("\xF8").get(), 1) == 0, "first byte of five");
}

TEST(TextReports, ContainTheSourceOfTheCounter) {
    const ScenarioRun run = runUnderDebugger("CounterErrors");
    expectReports(run, {counterMessage + "abc\x80"});
    EXPECT_EQ(run.output, counterMessage + "abc\x80");
}

VELMOR_SCENARIO(InvalidTexts) {
    require(fromUtf8("\xF0\x9F\x98\x80").empty(), "four-byte sequence");
    require(fromUtf8("\xF0\x9F\x98\x80").empty(), "four-byte sequence again");
    require(fromUtf8("a\xBF").empty(), "continuation byte");
    require(StringOperations::ConvertFromUTF8(reinterpret_cast<const unsigned char*>("b\xFF")).empty(), "terminated");
}

TEST(TextReports, AreTwoForAnInvalidText) {
    const ScenarioRun run = runUnderDebugger("InvalidTexts");
    expectReports(run, {counterMessage + "\xF0\x9F\x98\x80", textMessage});
    EXPECT_EQ(run.output, counterMessage + "\xF0\x9F\x98\x80" + textMessage);
}

VELMOR_SCENARIO(InvalidTerminatedText) {
    require(StringOperations::ConvertFromUTF8(reinterpret_cast<const unsigned char*>("b\xFF")).empty(), "terminated");
    require(fromUtf8("c\xFF").empty(), "with a length");
}

TEST(TextReports, AreTwoForAnInvalidTerminatedText) {
    expectReports(runUnderDebugger("InvalidTerminatedText"), {counterMessage + "b\xFF", textMessage});
}

VELMOR_SCENARIO(CutOffTexts) {
    const WideString expected{WideChar{'A'}, WideChar{0}};
    require(fromUtf8("A\xE2") == expected, "cut off after the first byte");
    require(fromUtf8("A\xC3") == expected, "first byte of two at the end");
    std::fputs("no report so far\n", stdout);
    require(fromUtf8("A\xE2\x82") == expected, "cut off after the second byte");
    require(fromUtf8("B\xE2\x82").size() == 2, "again");
}

TEST(TextReports, AreMadeForASequenceCutOffAfterItsSecondByte) {
    const ScenarioRun run = runUnderDebugger("CutOffTexts");
    expectReports(run, {decoderMessage + "A\xE2\x82"});
    EXPECT_EQ(run.output, "no report so far\n" + decoderMessage + "A\xE2\x82");
}

VELMOR_SCENARIO(PercentInSource) {
    require(decode("50%d\xFF") == 0, "stray byte");
}

TEST(TextReports, InterpretPercentSignsOfTheSourceOnStandardOutput) {
    const ScenarioRun run = runUnderDebugger("PercentInSource");
    expectReports(run, {decoderMessage + "50%d\xFF"});
    EXPECT_EQ(run.output, decoderMessage + "500\xFF");
}

VELMOR_SCENARIO(LongSource) {
    std::string source(20000, 'x');
    source += '\xFF';
    require(fromUtf8(source).empty(), "stray byte");
}

TEST(TextReports, AreLimitedTo8191Characters) {
    const ScenarioRun run = runUnderDebugger("LongSource");
    expectReports(run, {(counterMessage + std::string(20000, 'x')).substr(0, 8191), textMessage});
}

VELMOR_SCENARIO(InvalidInCurrentLocale) {
    require(StringOperations::ConvertFromCurrentLocale("\0abc"s).empty(), "text before a zero byte");
    require(StringOperations::ConvertFromCurrentLocale("\0"s).empty(), "zero byte");
}

TEST(TextReports, AreMadeOnceForACodePageTextThatBeginsWithAZeroByte) {
    const ScenarioRun run = runUnderDebugger("InvalidInCurrentLocale");
    expectReports(run, {fromLocaleMessage});
    EXPECT_EQ(run.output, fromLocaleMessage);
}

VELMOR_SCENARIO(SingleBytesInCurrentLocale) {
    const WideChar one[]{'A'};
    require(StringOperations::ConvertToCurrentLocale(WideString(1, WideChar{'A'})).empty(), "one character");
    require(StringOperations::ConvertToCurrentLocale(WideString(1, WideChar{'B'})).empty(), "another");
    char buffer[4]{'#', '#', '#', '#'};
    StringOperations::ConvertToCurrentLocale(one, 1, buffer, 4);
    require(std::string(buffer, 4) == "\0\0\0\0"s, "buffer");
    require(StringOperations::ConvertToCurrentLocale(WideString(2, WideChar{'A'})) == "AA", "two characters");
}

TEST(TextReports, AreMadeOnceForASingleByteOfTheCodePage) {
    const ScenarioRun run = runUnderDebugger("SingleBytesInCurrentLocale");
    expectReports(run, {toLocaleMessage});
    EXPECT_EQ(run.output, toLocaleMessage);
}

VELMOR_SCENARIO(SingleByteIntoABuffer) {
    const WideChar one[]{'A'};
    char buffer[4];
    StringOperations::ConvertToCurrentLocale(one, 1, buffer, 4);
    StringOperations::ConvertToCurrentLocale(WideString(1, WideChar{'A'}));
}

TEST(TextReports, AreMadeOnceForTheStringAndTheBufferForm) {
    expectReports(runUnderDebugger("SingleByteIntoABuffer"), {toLocaleMessage});
}

VELMOR_SCENARIO(AllFiveMessages) {
    for (int round = 0; round < 3; ++round) {
        StringOperations::ConvertToCurrentLocale(WideString(1, WideChar{'A'}));
        StringOperations::ConvertFromCurrentLocale("\0"s);
        decode("1\xFF");
        fromUtf8("2\xFF");
    }
}

TEST(TextReports, AreMadeOncePerMessage) {
    const std::vector<std::string> all{toLocaleMessage, fromLocaleMessage, decoderMessage + "1\xFF",
                                       counterMessage + "2\xFF", textMessage};
    const ScenarioRun run = runUnderDebugger("AllFiveMessages");
    expectReports(run, all);
    EXPECT_EQ(run.output, all[0] + all[1] + all[2] + all[3] + all[4]);
}

TEST(TextReports, AreNotMadeWithoutADebugger) {
    const ScenarioRun run = runAlone("AllFiveMessages");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.error, "");
}

VELMOR_SCENARIO(ValidTexts) {
    WideChar wide[4]{1, 1, 1, 1};
    char narrow[4]{'#', '#', '#', '#'};
    const WideChar empty[]{0};
    std::string out;
    fromUtf8("");
    fromUtf8("\0\xFF"s);
    StringOperations::ConvertFromUTF8(nullptr);
    StringOperations::ConvertFromUTF8(nullptr, 7);
    StringOperations::ConvertFromUTF8(exactCopy("\xFF").get(), 0, wide, 4);
    velmor_tests::decode(exactCopy("\xFF").get(), 1, wide, 0, false);
    velmor_tests::count(nullptr, 0);
    fromUtf8("A\xC3");
    fromUtf8("\xC0\x80");
    StringOperations::ConvertToUTF8(WideString(1, WideChar{0xD800}));
    StringOperations::ConvertFromCurrentLocale(std::string());
    StringOperations::ConvertToCurrentLocale(WideString());
    StringOperations::ConvertToCurrentLocale(empty, 0, narrow, 4);
    StringOperations::ConvertFromCurrentLocale("\0"s.data(), 1, wide, 4);
    StringOperations::ConvertIsoLatinToWideChar(static_cast<StringOperations::CharSet_e>(1252), '\xE9');
    StringOperations::TryConvertToIsoLatin1(WideString(1, WideChar{0x20AC}), out);
    StringOperations::IntFromWString(WideString());
}

TEST(TextReports, AreNotMadeForValidTexts) {
    const ScenarioRun run = runUnderDebugger("ValidTexts");
    expectReports(run, {});
    EXPECT_EQ(run.output, "");
}

VELMOR_SCENARIO(ErrorsOnSeveralThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([] {
            for (int j = 0; j < 200; ++j) {
                fromUtf8("x\xFF");
                decode("y\xFF");
                fromUtf8("z\xE2\x82\xAC");
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(TextReports, AreMadeForErrorsOnSeveralThreads) {
    const ScenarioRun run = runUnderDebugger("ErrorsOnSeveralThreads");
    EXPECT_TRUE(run.exited);
    EXPECT_GE(run.breaks, 3);
    EXPECT_LE(run.breaks, 3 * 8); // threads that report at the same time may each report once
    EXPECT_TRUE(runAlone("ErrorsOnSeveralThreads").exited);
}

} // namespace
