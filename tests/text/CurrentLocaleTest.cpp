#include <Velmor/Text.h>

#include "support/UnderDebugger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#if defined(_WIN32)
    #include <windows.h>
#else
    #include <locale.h>

    #include <clocale>
#endif

#if !defined(_WIN32)
// Not a leak: the C library never frees its list of the folders in LOCPATH.
extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
    return "leak:argz_add_sep";
}
#endif

namespace {

using namespace std::string_literals;
using Velmor::StringOperations;
using Velmor::WideChar;
using Velmor::WideString;

static_assert(std::is_same_v<decltype(StringOperations::ConvertToCurrentLocale(WideString())), const std::string>);

constexpr WideChar untouched = 0xABCD;

WideString units(std::initializer_list<unsigned> values) {
    WideString result;
    for (const unsigned value : values)
        result.push_back(static_cast<WideChar>(value));
    return result;
}

// ASCII, in any locale ------------------------------------------------------------------------------------------------

TEST(FromCurrentLocale, ConvertsUpToTheFirstZeroByte) {
    EXPECT_EQ(StringOperations::ConvertFromCurrentLocale("ABC"), VELMOR_WIDE("ABC"));
    EXPECT_EQ(StringOperations::ConvertFromCurrentLocale("A"), VELMOR_WIDE("A"));
    EXPECT_EQ(StringOperations::ConvertFromCurrentLocale("AB\0CD"s), VELMOR_WIDE("AB"));
    EXPECT_EQ(StringOperations::ConvertFromCurrentLocale(""), WideString());
    EXPECT_EQ(StringOperations::ConvertFromCurrentLocale("\0AB"s), WideString());
    EXPECT_EQ(StringOperations::ConvertFromCurrentLocale(std::string(100000, 'x')), WideString(100000, WideChar{'x'}));
}

/// The contents of a buffer of eight units after a call of the buffer form.
WideString fromIntoBuffer(const char* source, std::size_t length, std::size_t capacity) {
    std::array<WideChar, 8> buffer{};
    buffer.fill(untouched);
    StringOperations::ConvertFromCurrentLocale(source, length, buffer.data(), capacity);
    return WideString(buffer.data(), buffer.size());
}

WideString filled(const std::string& text) {
    WideString result(text.begin(), text.end());
    result.resize(8, untouched);
    return result;
}

TEST(FromCurrentLocale, BufferFormDoesNotTerminate) {
    EXPECT_EQ(fromIntoBuffer("ABCD", 3, 8), filled("ABC"));
    EXPECT_EQ(fromIntoBuffer("ABCD", 3, 3), filled("ABC"));
    EXPECT_EQ(fromIntoBuffer("A\0B", 3, 8), filled("A\0B"s));
}

TEST(FromCurrentLocale, BufferFormDoesNotWriteAfterItsBuffer) {
    const WideString two = fromIntoBuffer("ABCD", 4, 2);
    EXPECT_EQ(two.substr(2), filled("").substr(2));
    EXPECT_EQ(fromIntoBuffer("ABCD", 4, 0), filled(""));
    EXPECT_EQ(fromIntoBuffer("ABCD", 0, 8), filled(""));
}

TEST(FromCurrentLocale, BufferFormNarrowsItsLengthsTo32Bits) {
    constexpr std::size_t wrapped = std::size_t{1} << 32;
    EXPECT_EQ(fromIntoBuffer("ABCD", wrapped + 2, 8), filled("AB"));
    EXPECT_EQ(fromIntoBuffer("ABCD", 2, wrapped + 8), filled("AB"));
    EXPECT_EQ(fromIntoBuffer("ABCD", wrapped, 8), filled(""));
    EXPECT_EQ(fromIntoBuffer("ABCD", SIZE_MAX, 8), filled("ABCD\0"s)); // -1: up to and including the terminator
    EXPECT_EQ(fromIntoBuffer("ABCD", 4, SIZE_MAX), filled(""));        // a capacity of -1 is invalid
}

TEST(ToCurrentLocale, ConvertsItsWholeLength) {
    EXPECT_EQ(StringOperations::ConvertToCurrentLocale(VELMOR_WIDE("AB")), "AB");
    EXPECT_EQ(StringOperations::ConvertToCurrentLocale(units({'A', 0, 'B'})), "A\0B"s);
    EXPECT_EQ(StringOperations::ConvertToCurrentLocale(WideString()), "");
    EXPECT_EQ(StringOperations::ConvertToCurrentLocale(WideString(100000, WideChar{'x'})), std::string(100000, 'x'));
}

TEST(ToCurrentLocale, BufferFormThrowsForALengthAboveTheLimitOfAString) {
    const WideString text = VELMOR_WIDE("text");
    char buffer[4] = {'o', 'l', 'd', '!'};
    volatile std::size_t length = WideString().max_size() + 1; // volatile prevents a compiler warning
    EXPECT_THROW(StringOperations::ConvertToCurrentLocale(text.data(), length, buffer, sizeof buffer), std::length_error);
    EXPECT_EQ(std::string(buffer, sizeof buffer), "old!");
}

TEST(ToCurrentLocale, IsEmptyForASingleByte) {
    EXPECT_EQ(StringOperations::ConvertToCurrentLocale(VELMOR_WIDE("A")), "");
    EXPECT_EQ(StringOperations::ConvertToCurrentLocale(units({0})), "");
    for (unsigned unit = 1; unit < 0x80; ++unit)
        EXPECT_EQ(StringOperations::ConvertToCurrentLocale(units({unit})), "");
}

std::string toIntoBuffer(const WideString& source, std::size_t length, std::size_t capacity) {
    std::string buffer(8, '#');
    StringOperations::ConvertToCurrentLocale(source.data(), length, buffer.data(), capacity);
    return buffer;
}

TEST(ToCurrentLocale, BufferFormFillsTheRestWithZeros) {
    const WideString text = VELMOR_WIDE("ABCD");
    EXPECT_EQ(toIntoBuffer(text, 4, 8), "ABCD\0\0\0\0"s);
    EXPECT_EQ(toIntoBuffer(text, 4, 5), "ABCD\0###"s);
    EXPECT_EQ(toIntoBuffer(text, 4, 4), "ABCD####"); // no space for a terminator
    EXPECT_EQ(toIntoBuffer(text, 4, 3), "ABC#####");
    EXPECT_EQ(toIntoBuffer(text, 4, 1), "A#######");
    EXPECT_EQ(toIntoBuffer(text, 4, 0), "########");
    EXPECT_EQ(toIntoBuffer(text, 2, 6), "AB\0\0\0\0##"s);
    EXPECT_EQ(toIntoBuffer(text, 0, 6), "\0\0\0\0\0\0##"s);
    EXPECT_EQ(toIntoBuffer(text, 1, 6), "\0\0\0\0\0\0##"s); // a single byte gives an empty text in this form too
    EXPECT_EQ(toIntoBuffer(units({'A', 0, 'B', 'C'}), 3, 6), "A\0B\0\0\0##"s);
}

#if defined(_WIN32)

// Windows: the code page of a thread is that of its locale ------------------------------------------------------------

WideString decodedBy(unsigned codePage, const std::string& source) {
    std::array<wchar_t, 64> buffer{};
    const int length = MultiByteToWideChar(codePage, 0, source.c_str(), -1, buffer.data(), 64);
    return WideString(buffer.data(), static_cast<std::size_t>(length - 1));
}

std::string encodedBy(unsigned codePage, const WideString& source) {
    std::array<char, 64> buffer{};
    const int length = WideCharToMultiByte(codePage, 0, source.data(), static_cast<int>(source.size()), buffer.data(), 64,
                                           nullptr, nullptr);
    return std::string(buffer.data(), static_cast<std::size_t>(length));
}

TEST(CurrentLocale, DecodesWithThePageOfTheThreadAndEncodesWithThatOfTheSystem) {
    const std::string bytes = "A\x82\xA0\xE9\x80\xC3\xA9 \xFF";
    const WideString text = units({0xE9, 0x20AC, 0x3042, 0x0416, 'A'});
    const LCID before = GetThreadLocale();
    const std::pair<LCID, unsigned> locales[]{{0x409, 1252}, {0x411, 932}, {0x419, 1251}, {0x408, 1253}};
    for (const auto& [locale, codePage] : locales) {
        ASSERT_TRUE(SetThreadLocale(locale));
        EXPECT_EQ(StringOperations::ConvertFromCurrentLocale(bytes), decodedBy(codePage, bytes)) << codePage;
        EXPECT_EQ(StringOperations::ConvertToCurrentLocale(text), encodedBy(GetACP(), text)) << codePage;
        std::array<wchar_t, 8> buffer{};
        StringOperations::ConvertFromCurrentLocale("\x82\xA0", 2, buffer.data(), 8);
        EXPECT_EQ(WideString(buffer.data()), decodedBy(codePage, "\x82\xA0")) << codePage;
    }
    SetThreadLocale(before);
}

TEST(CurrentLocale, IsSeparateForEachThread) {
    const LCID before = GetThreadLocale();
    ASSERT_TRUE(SetThreadLocale(0x411));
    WideString otherThread;
    std::thread([&] {
        SetThreadLocale(0x419);
        otherThread = StringOperations::ConvertFromCurrentLocale("\xE9\xE9");
    }).join();
    EXPECT_EQ(otherThread, decodedBy(1251, "\xE9\xE9"));
    EXPECT_EQ(StringOperations::ConvertFromCurrentLocale("\x82\xA0"), units({0x3042}));
    SetThreadLocale(before);
}

#else

// Linux: the code page is the charset of the locale -------------------------------------------------------------------

std::string hex(const std::string& bytes) {
    std::string result;
    for (const char c : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
        result += digits;
    }
    return result;
}

std::string hex(const WideString& text) {
    std::string result;
    for (const WideChar unit : text) {
        char digits[5];
        std::snprintf(digits, sizeof digits, "%04X", static_cast<unsigned>(unit));
        result += digits;
    }
    return result;
}

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

WideString probeText() {
    return units({0xE9, 0xE9, 0x20AC, 0x3042, 0x03B1});
}

const char* const probeBytes = "A\xE9\x80\xC3\xA9";

/// Prints the results of both directions for the probes, in the locale of the environment and, if VELMOR_TEST_THREAD names
/// one, with a locale of the thread.
VELMOR_SCENARIO(ConvertProbes) {
    if (variable("VELMOR_TEST_SETLOCALE") == "yes" && std::setlocale(LC_ALL, "") == nullptr)
        std::exit(1);
    const std::string thread = variable("VELMOR_TEST_THREAD");
    if (!thread.empty()) {
        const locale_t locale = newlocale(LC_ALL_MASK, thread.c_str(), locale_t{});
        if (locale == locale_t{})
            std::exit(2);
        uselocale(locale);
    }
    std::printf("to %s\n", hex(StringOperations::ConvertToCurrentLocale(probeText())).c_str());
    std::printf("single %s\n", hex(StringOperations::ConvertToCurrentLocale(units({0xE9}))).c_str());
    std::printf("from %s\n", hex(StringOperations::ConvertFromCurrentLocale(probeBytes)).c_str());
    std::printf("kana %s\n", hex(StringOperations::ConvertFromCurrentLocale("\x82\xA0")).c_str());
    std::array<WideChar, 4> buffer{};
    StringOperations::ConvertFromCurrentLocale("\xE1\xE9", 2, buffer.data(), 4);
    std::printf("buffer %s\n", hex(WideString(buffer.data())).c_str());
    const locale_t previous = uselocale(LC_GLOBAL_LOCALE);
    if (previous != LC_GLOBAL_LOCALE)
        freelocale(previous);
}

struct Probes {
    std::string to;     // U+00E9 U+00E9 U+20AC U+3042 U+03B1, encoded
    std::string single; // U+00E9, encoded
    std::string from;   // A E9 80 C3 A9, decoded
    std::string kana;   // 82 A0, decoded
    std::string buffer; // E1 E9, decoded into a buffer
};

// The results of Windows for these code pages.
const Probes inUtf8{"C3A9C3A9E282ACE38182CEB1", "C3A9", "0041FFFD00E9", "FFFDFFFD", "FFFD"};
const Probes inLatin1{"E9E93F3F3F", "", "004100E9008000C300A9", "008200A0", "00E100E9"};
const Probes in1252{"E9E9803F61", "", "004100E920AC00C300A9", "201A00A0", "00E100E9"};
const Probes inGreek{"65653F3FE1", "", "004103B90080039300A9", "008200A0", "03B103B9"};
const Probes inJapanese{"65653F82A083BF", "", "00419A3EFF83FF69", "3042", "7845"};

std::string print(const Probes& to, const Probes& from) {
    return "to " + to.to + "\nsingle " + to.single + "\nfrom " + from.from + "\nkana " + from.kana + "\nbuffer " +
           from.buffer + "\n";
}

std::string convert(const std::string& all, const std::string& type, const std::string& language, bool setsLocale,
                    const std::string& thread = "") {
    const auto run = velmor_tests::runAlone(
        "ConvertProbes", {"LSAN_OPTIONS=print_suppressions=0", "LOCPATH=" VELMOR_TEST_LOCALES, "LC_ALL=" + all,
                          "LC_CTYPE=" + type, "LANG=" + language, "VELMOR_TEST_THREAD=" + thread,
                          setsLocale ? "VELMOR_TEST_SETLOCALE=yes" : "VELMOR_TEST_SETLOCALE=no"});
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u) << all << type << language << thread;
    EXPECT_EQ(run.error, "");
    return run.output;
}

TEST(CurrentLocale, HasTheCharsetOfTheLocaleAsCodePage) {
    EXPECT_EQ(convert("de_DE.UTF-8", "", "", true), print(inUtf8, inUtf8));
    EXPECT_EQ(convert("de_DE.ISO-8859-1", "", "", true), print(inLatin1, inLatin1));
    EXPECT_EQ(convert("en_US.CP1252", "", "", true), print(in1252, in1252));
    EXPECT_EQ(convert("el_GR.ISO-8859-7", "", "", true), print(inGreek, inGreek));
    EXPECT_EQ(convert("ja_JP.WINDOWS-31J", "", "", true), print(inJapanese, inJapanese));
}

TEST(CurrentLocale, IsUtf8InTheCLocale) {
    for (const char* const name : {"C", "POSIX"}) {
        EXPECT_EQ(convert(name, "", "", true), print(inUtf8, inUtf8)) << name;
        EXPECT_EQ(convert(name, "", "", false), print(inUtf8, inUtf8)) << name;
    }
    EXPECT_EQ(convert("", "", "", true), print(inUtf8, inUtf8));
    EXPECT_EQ(convert("", "", "", false), print(inUtf8, inUtf8));
    EXPECT_EQ(convert("C.UTF-8", "", "", false), print(inUtf8, inUtf8));
}

TEST(CurrentLocale, ReadsTheEnvironmentVariablesInOrder) {
    EXPECT_EQ(convert("", "", "en_US.CP1252", true), print(in1252, in1252));
    EXPECT_EQ(convert("", "el_GR.ISO-8859-7", "en_US.CP1252", true), print(inGreek, inGreek));
    EXPECT_EQ(convert("de_DE.ISO-8859-1", "el_GR.ISO-8859-7", "en_US.CP1252", true), print(inLatin1, inLatin1));
}

TEST(CurrentLocale, HasTheSystemPageOfTheEnvironment) {
    // The system page does not depend on setlocale(). A thread with a locale of its own does not use the system page.
    EXPECT_EQ(convert("en_US.CP1252", "", "", false, "C"), print(in1252, inUtf8));
    EXPECT_EQ(convert("en_US.CP1252", "", "", false, "de_DE.UTF-8"), print(in1252, inUtf8));
    EXPECT_EQ(convert("", "el_GR.ISO-8859-7", "", false, "ja_JP.WINDOWS-31J"), print(inGreek, inJapanese));
    EXPECT_EQ(convert("xx_XX.NOSUCH", "", "", false, "ja_JP.WINDOWS-31J"), print(inUtf8, inJapanese));
}

TEST(CurrentLocale, DecodesWithThePageOfTheThreadAndEncodesWithThatOfTheSystem) {
    EXPECT_EQ(convert("de_DE.UTF-8", "", "", true, "ja_JP.WINDOWS-31J"), print(inUtf8, inJapanese));
    EXPECT_EQ(convert("ja_JP.WINDOWS-31J", "", "", true, "de_DE.UTF-8"), print(inJapanese, inUtf8));
    EXPECT_EQ(convert("de_DE.ISO-8859-1", "", "", true, "en_US.CP1252"), print(inLatin1, in1252));
    EXPECT_EQ(convert("C", "", "", true, "el_GR.ISO-8859-7"), print(inUtf8, inGreek));
}

VELMOR_SCENARIO(ConvertOnTwoThreads) {
    if (std::setlocale(LC_ALL, "") == nullptr)
        std::exit(1);
    const locale_t japanese = newlocale(LC_ALL_MASK, "ja_JP.WINDOWS-31J", locale_t{});
    uselocale(japanese);
    std::string otherThread;
    std::thread([&] { otherThread = hex(StringOperations::ConvertFromCurrentLocale("\x82\xA0")); }).join();
    const std::string thisThread = hex(StringOperations::ConvertFromCurrentLocale("\x82\xA0"));
    uselocale(LC_GLOBAL_LOCALE);
    freelocale(japanese);
    std::printf("%s %s\n", thisThread.c_str(), otherThread.c_str());
}

TEST(CurrentLocale, IsSeparateForEachThread) {
    const auto run =
        velmor_tests::runAlone("ConvertOnTwoThreads", {"LOCPATH=" VELMOR_TEST_LOCALES, "LC_ALL=de_DE.ISO-8859-1"});
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.output, "3042 008200A0\n");
}

#endif

} // namespace
