// Prints a table of questions about paths, filter lists, times and versions, with their answers. The questions are the same
// on every system and so are the answers, byte for byte, whoever answers.

#include "Answers.h"

#include <platform/PortableExecutable.h>
#include <platform/Tools.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#if defined(_WIN32)
    #include <fcntl.h>
    #include <io.h>
#endif

using namespace velmor_tests;
using Velmor::SystemTime_s;
using Velmor::WideChar;
using Velmor::WideString;

namespace {

// Printing
// --------------------------------------------------------------------------------------------------------------------

void appendCharacter(std::string& out, char32_t c) {
    const auto byte = [&](char32_t value) { out += static_cast<char>(static_cast<unsigned char>(value)); };
    if (c < 0x20 || c == '{' || c == '}' || c == 0x7F || (c >= 0xD800 && c < 0xE000)) {
        char text[16];
        std::snprintf(text, sizeof text, "{%02X}", static_cast<unsigned>(c));
        out += text;
    } else if (c < 0x80) {
        byte(c);
    } else if (c < 0x800) {
        byte(0xC0 | c >> 6);
        byte(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        byte(0xE0 | c >> 12);
        byte(0x80 | (c >> 6 & 0x3F));
        byte(0x80 | (c & 0x3F));
    } else {
        byte(0xF0 | c >> 18);
        byte(0x80 | (c >> 12 & 0x3F));
        byte(0x80 | (c >> 6 & 0x3F));
        byte(0x80 | (c & 0x3F));
    }
}

/// Wide text as one word of UTF-8: what cannot be seen in braces, and a long run of one character as {x*count}.
std::string shown(const WideString& text) {
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size();) {
        char32_t c = text[i];
        std::size_t units = 1;
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000) {
            c = 0x10000 + ((c - 0xD800) << 10) + (text[i + 1] - char32_t{0xDC00});
            units = 2;
        }
        std::size_t run = 1;
        while (units == 1 && i + run < text.size() && text[i + run] == text[i])
            ++run;
        if (run > 12) {
            out += "{";
            appendCharacter(out, c);
            out += "*" + std::to_string(run) + "}";
            i += run;
        } else {
            appendCharacter(out, c);
            i += units;
        }
    }
    return out + "\"";
}

std::string shown(const SystemTime_s& time) {
    char text[64];
    std::snprintf(text, sizeof text, "%u-%u-%u %u:%u:%u", unsigned{time.year}, unsigned{time.month}, unsigned{time.day},
                  unsigned{time.hour}, unsigned{time.minute}, unsigned{time.second});
    return text;
}

std::string shown(const Version& version) {
    const auto& [major, minor, build, revision] = version.numbers;
    char text[64];
    std::snprintf(text, sizeof text, "%s %u.%u.%u.%u", version.known ? "true" : "false", major, minor, build, revision);
    return text;
}

void print(const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
}

/// Lines of consecutive numbers; a run of equal lines is printed as one.
class Runs {
public:
    explicit Runs(std::string title) : title_(std::move(title)) {}
    Runs(const Runs&) = delete;
    Runs& operator=(const Runs&) = delete;
    ~Runs() { end(); }

    void add(std::size_t number, const std::string& line) {
        if (line != line_ || !any_) {
            end();
            first_ = number;
            line_ = line;
            any_ = true;
        }
        last_ = number;
    }

private:
    void end() {
        if (any_)
            print(title_ + " " + std::to_string(first_) + "-" + std::to_string(last_) + ": " + line_);
    }

    std::string title_;
    std::string line_;
    std::size_t first_ = 0;
    std::size_t last_ = 0;
    bool any_ = false;
};

/// The same sequence everywhere: the standard's distributions differ between libraries.
class Sequence {
public:
    explicit Sequence(std::uint64_t seed) : state_(seed) {}

    std::uint64_t next() { // splitmix64
        std::uint64_t z = state_ += 0x9E3779B97F4A7C15;
        z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
        z = (z ^ z >> 27) * 0x94D049BB133111EB;
        return z ^ z >> 31;
    }
    std::size_t below(std::size_t limit) { return static_cast<std::size_t>(next() % limit); }
    template <class Container>
    const auto& of(const Container& all) {
        return all[below(all.size())];
    }

private:
    std::uint64_t state_;
};

// Paths
// -----------------------------------------------------------------------------------------------------------------------

using Texts = std::vector<WideString>;

// Only what every system treats alike: drives and what begins with two backslashes. "Z:" is Wine's name of the real root,
// and has a current folder.
const Texts heads{
    VELMOR_WIDE("C:\\"),
    VELMOR_WIDE("C:/"),
    VELMOR_WIDE("c:\\"),
    VELMOR_WIDE("C:"),
    VELMOR_WIDE("q:"),
    VELMOR_WIDE("Q:\\folder\\"),
    VELMOR_WIDE("C:\\\\"),
    VELMOR_WIDE("C:/\\folder/"),
    VELMOR_WIDE("C:\\a. \\b.c\\"),
    VELMOR_WIDE("\\\\"),
    VELMOR_WIDE("\\\\\\"),
    VELMOR_WIDE("\\\\server"),
    VELMOR_WIDE("\\\\server\\"),
    VELMOR_WIDE("\\\\server\\share"),
    VELMOR_WIDE("\\\\server\\share\\"),
    VELMOR_WIDE("\\\\server\\\\share\\"),
    VELMOR_WIDE("\\\\server\\share\\folder\\"),
    VELMOR_WIDE("\\\\.\\"),
    VELMOR_WIDE("\\\\."),
    VELMOR_WIDE("\\\\.\\C:\\"),
    VELMOR_WIDE("\\\\.\\folder\\"),
    VELMOR_WIDE("\\\\?\\"),
    VELMOR_WIDE("\\\\?"),
    VELMOR_WIDE("\\\\?\\C:\\"),
    VELMOR_WIDE("\\\\?\\UNC\\server\\share\\"),
    VELMOR_WIDE("\\\\..\\"),
};

const Texts bodies{
    VELMOR_WIDE(""),
    VELMOR_WIDE("x"),
    VELMOR_WIDE("y.txt"),
    VELMOR_WIDE("archive.tar.gz"),
    VELMOR_WIDE(".hidden"),
    VELMOR_WIDE("..hidden"),
    VELMOR_WIDE("."),
    VELMOR_WIDE(".."),
    VELMOR_WIDE("..."),
    VELMOR_WIDE("...."),
    VELMOR_WIDE(".\\"),
    VELMOR_WIDE("..\\"),
    VELMOR_WIDE("..\\..\\..\\x"),
    VELMOR_WIDE("a\\..\\b"),
    VELMOR_WIDE("a/../b"),
    VELMOR_WIDE("a\\..\\..\\b"),
    VELMOR_WIDE("a\\.\\b"),
    VELMOR_WIDE("a\\..."),
    VELMOR_WIDE("a\\...\\b"),
    VELMOR_WIDE("a\\.."),
    VELMOR_WIDE("a\\."),
    VELMOR_WIDE("a\\b\\..\\.."),
    VELMOR_WIDE("a\\b\\"),
    VELMOR_WIDE("a/b/"),
    VELMOR_WIDE("a\\b\\\\"),
    VELMOR_WIDE("a\\\\b"),
    VELMOR_WIDE("a//b\\/c"),
    VELMOR_WIDE("a."),
    VELMOR_WIDE("a.."),
    VELMOR_WIDE("a..."),
    VELMOR_WIDE("a "),
    VELMOR_WIDE("a  "),
    VELMOR_WIDE("a. "),
    VELMOR_WIDE("a ."),
    VELMOR_WIDE("a . ."),
    VELMOR_WIDE(" "),
    VELMOR_WIDE(" a"),
    VELMOR_WIDE(". "),
    VELMOR_WIDE(".. "),
    VELMOR_WIDE("a.\\b"),
    VELMOR_WIDE("a \\b"),
    VELMOR_WIDE("a..\\b"),
    VELMOR_WIDE("a. .\\b"),
    VELMOR_WIDE(". \\b"),
    VELMOR_WIDE(".. \\b"),
    VELMOR_WIDE(" \\b"),
    VELMOR_WIDE("a.b."),
    VELMOR_WIDE("a.b "),
    VELMOR_WIDE("con"),
    VELMOR_WIDE("CON.txt"),
    VELMOR_WIDE("con:"),
    VELMOR_WIDE("con "),
    VELMOR_WIDE("con .txt"),
    VELMOR_WIDE("con."),
    VELMOR_WIDE("con\\x"),
    VELMOR_WIDE("console"),
    VELMOR_WIDE("a\\Aux"),
    VELMOR_WIDE("a\\prn.a.b"),
    VELMOR_WIDE("a/nul"),
    VELMOR_WIDE("a\\NUL:"),
    VELMOR_WIDE("nul::"),
    VELMOR_WIDE("nul:x"),
    VELMOR_WIDE("com1"),
    VELMOR_WIDE("Com9.txt"),
    VELMOR_WIDE("com0"),
    VELMOR_WIDE("com10"),
    VELMOR_WIDE("com"),
    VELMOR_WIDE("lpt1"),
    VELMOR_WIDE("LPT9 .x"),
    VELMOR_WIDE("lpt0"),
    VELMOR_WIDE("conin$"),
    VELMOR_WIDE("CONOUT$"),
    VELMOR_WIDE("a\\conout$.txt"),
    VELMOR_WIDE("x:stream"),
    VELMOR_WIDE("C:\\x"),
    VELMOR_WIDE("a*b?.txt"),
    VELMOR_WIDE("a|b<c>\"d"),
    VELMOR_WIDE("a\tb\nc"),
    VELMOR_WIDE("Gr\u00FC\u00DFe.\u6E2C\u8A66"),
    VELMOR_WIDE("\U0001F600.x"),
    WideString{VELMOR_WIDE('a'), WideChar{0xD800}, VELMOR_WIDE('.'), WideChar{0xDC41}},
    WideString{VELMOR_WIDE('a'), WideChar{0}, VELMOR_WIDE('b')},
    VELMOR_WIDE("{curly}"),
};

void printPath(const WideString& path) {
    const auto stem = fileWithoutExtension(path);
    print("path " + shown(path) + " " + shown(fullPath(path)) + " " + shown(fullFolder(path)) + " " +
          shown(fileWithoutPath(path)) + " " + (stem ? shown(*stem) : "-"));
}

/// A path of that many units, with a file name of few.
WideString pathOfLength(const WideString& head, std::size_t length) {
    const WideString tail = VELMOR_WIDE("\\n.e");
    return head + WideString(length - head.size() - tail.size(), VELMOR_WIDE('f')) + tail;
}

void printPaths() {
    for (const Texts& texts : {heads, bodies})
        for (const WideString& text : texts)
            print("slash " + shown(text) + " " + shown(withEndingSlash(text)));
    for (const WideString& head : heads)
        for (const WideString& body : bodies)
            printPath(head + body);

    // Around the limits, which are those of the result: what vanishes from the path does not count.
    for (const WideChar* head : {VELMOR_WIDE("C:\\"), VELMOR_WIDE("\\\\server\\share\\"), VELMOR_WIDE("\\\\?\\C:\\")}) {
        for (const auto& [first, last] : {std::pair{254, 264}, std::pair{514, 524}}) {
            for (int length = first; length <= last; ++length) {
                const auto units = static_cast<std::size_t>(length);
                printPath(pathOfLength(head, units));
                printPath(pathOfLength(head, units) + VELMOR_WIDE("\\."));
                printPath(pathOfLength(head, units) + VELMOR_WIDE(". ."));
                printPath(pathOfLength(head, units) + VELMOR_WIDE("\\gone\\..\\..\\n.e"));
                printPath(head + WideString(units - WideString(head).size(), VELMOR_WIDE('n')));
                printPath(pathOfLength(head, units - 1) + VELMOR_WIDE("\\"));
            }
        }
        for (const std::size_t length : {300u, 1000u, 5000u, 32000u})
            printPath(pathOfLength(head, length));
    }

    const Texts pieces{
        VELMOR_WIDE("\\"),  VELMOR_WIDE("\\"),     VELMOR_WIDE("\\"),  VELMOR_WIDE("/"),    VELMOR_WIDE("."),
        VELMOR_WIDE("."),   VELMOR_WIDE(" "),      VELMOR_WIDE(".."),  VELMOR_WIDE("a"),    VELMOR_WIDE("bc"),
        VELMOR_WIDE("d.e"), VELMOR_WIDE("nul"),    VELMOR_WIDE("aux"), VELMOR_WIDE("com1"), VELMOR_WIDE(":"),
        VELMOR_WIDE("?"),   VELMOR_WIDE("\u00E9"),
    };
    Sequence random(1);
    for (int i = 0; i < 1500; ++i) {
        WideString path = random.of(heads);
        for (std::size_t count = random.below(9); count > 0; --count)
            path += random.of(pieces);
        printPath(path);
    }
}

// Filter lists
// ----------------------------------------------------------------------------------------------------------------

void printMatches() {
    const Texts names{
        VELMOR_WIDE(""),          VELMOR_WIDE("a"),         VELMOR_WIDE("ifc"),          VELMOR_WIDE(".ifc"),
        VELMOR_WIDE("model.ifc"), VELMOR_WIDE("model.IFC"), VELMOR_WIDE("model.ifczip"), VELMOR_WIDE("model.iFcZiP"),
        VELMOR_WIDE("a.dwg"),     VELMOR_WIDE("a.dwg "),    VELMOR_WIDE("modelifc"),     VELMOR_WIDE("zip"),
        VELMOR_WIDE("m.\u00E9"),  VELMOR_WIDE("m.\u00C9"),  VELMOR_WIDE("m.|"),          VELMOR_WIDE("@.[`{"),
    };
    const Texts lists{
        VELMOR_WIDE(""),
        VELMOR_WIDE("*.ifc"),
        VELMOR_WIDE("*.ifc|*.ifczip"),
        VELMOR_WIDE("*.ifczip|*.ifc"),
        VELMOR_WIDE("|*.dwg"),
        VELMOR_WIDE("*.dwg|"),
        VELMOR_WIDE("*.ifc||*.dwg"),
        VELMOR_WIDE("|"),
        VELMOR_WIDE("||"),
        VELMOR_WIDE("*"),
        VELMOR_WIDE("*.*"),
        VELMOR_WIDE("x|*.dwg"),
        VELMOR_WIDE("?.DWG"),
        VELMOR_WIDE("*.\u00E9"),
        VELMOR_WIDE("*.\u00C9|*.ifc"),
        VELMOR_WIDE("*.`{[@"),
        WideString(VELMOR_WIDE("*.ifc\0|*.dwg"), 12),
        WideString(1, WideChar{0}),
    };
    for (const WideString& list : lists)
        for (const WideString& name : names)
            print("match " + shown(name) + " " + shown(list) + " " + (matches(name, list) ? "true" : "false"));
    Sequence random(2);
    const WideString letters = VELMOR_WIDE("aAbB.*|z{@\u00E9");
    for (int i = 0; i < 1500; ++i) {
        WideString name;
        for (std::size_t count = random.below(5); count > 0; --count)
            name += random.of(letters);
        WideString list;
        for (std::size_t count = random.below(8); count > 0; --count)
            list += random.of(letters);
        print("match " + shown(name) + " " + shown(list) + " " + (matches(name, list) ? "true" : "false"));
    }
}

// Times
// -----------------------------------------------------------------------------------------------------------------------

constexpr std::uint64_t second = 10'000'000;
constexpr std::uint64_t day = 86'400 * second;

void printFileTime(std::uint64_t time) {
    print("file time " + std::to_string(time) + " " + shown(systemTime(time)));
}

void printFileTimes() {
    for (int bit = 0; bit < 64; ++bit) {
        const std::uint64_t time = std::uint64_t{1} << bit;
        printFileTime(time - 1);
        printFileTime(time);
        printFileTime(time + 1);
    }
    printFileTime(~std::uint64_t{0});
    // The turns of years and the ends of February: 400 years, and the first ones of some later centuries.
    for (const std::uint64_t start : {0u, 1200u * 365u + 291u, 9999u * 365u}) {
        for (std::uint64_t year = 0; year < 110; ++year) {
            const std::uint64_t midnight = (start + year * 365 + year / 4) * day;
            printFileTime(midnight);
            printFileTime(midnight + 58 * day + 86'399 * second + 9'999'999);
            printFileTime(midnight + 59 * day);
            printFileTime(midnight + 60 * day);
            printFileTime(midnight + 365 * day - 1);
        }
    }
    Sequence random(3);
    for (int i = 0; i < 1000; ++i)
        printFileTime(random.next() >> random.below(12));
}

void printSystemTime(const SystemTime_s& time) {
    print("system time " + shown(time) + " " + shown(dateString(time)) + " " + shown(timeString(time)));
}

void printSystemTimes() {
    constexpr std::uint16_t SystemTime_s::*fields[]{&SystemTime_s::year, &SystemTime_s::month,  &SystemTime_s::day,
                                                    &SystemTime_s::hour, &SystemTime_s::minute, &SystemTime_s::second};
    constexpr const char* names[]{"year", "month", "day", "hour", "minute", "second"};
    // Every value of one field, the others being harmless.
    for (std::size_t field = 0; field < 6; ++field) {
        Runs runs(std::string("date of the ") + names[field]);
        for (unsigned value = 0; value <= 0xFFFF; ++value) {
            SystemTime_s time{2020, 2, 1, 1, 1, 1};
            time.*fields[field] = static_cast<std::uint16_t>(value);
            runs.add(value, shown(dateString(time)));
        }
    }
    for (std::uint16_t minute = 0; minute < 70; ++minute) {
        for (std::uint16_t sec = 0; sec < 70; ++sec) {
            if (minute < 26 || sec < 3) {
                print("time " + std::to_string(minute) + " " + std::to_string(sec) + " " +
                      shown(timeString({2020, 2, 1, 1, minute, sec})));
            }
        }
    }
    Sequence random(4);
    const std::vector<std::uint16_t> values{0,    1,    2,    6,    7,     12,    13,     23,     24,    28,
                                            29,   30,   31,   32,   59,    60,    61,     1600,   1601,  1900,
                                            2000, 2023, 2024, 9999, 30827, 30828, 0x7FFF, 0x8000, 0xFFFF};
    for (int i = 0; i < 1500; ++i) {
        SystemTime_s time{};
        for (const auto field : fields)
            time.*field = random.of(values);
        if (i % 2 == 0) {
            time.minute = static_cast<std::uint16_t>(time.minute % 26);
            time.second = static_cast<std::uint16_t>(time.second % 62);
        }
        printSystemTime(time);
    }
}

// Versions
// --------------------------------------------------------------------------------------------------------------------

// Where the parts of a plain program file of one resource begin, and how long they are.
constexpr std::size_t optionalHeaderBegin = 88;
constexpr std::size_t resourceSectionBegin = 512;
constexpr std::size_t resourceTreeSize = 88;
constexpr std::size_t resourceSectionSize = resourceTreeSize + 92;

using Range = std::pair<std::size_t, std::size_t>; ///< Begin and size.

template <class Ranges>
bool isWithin(const Ranges& ranges, std::size_t at) {
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [&](const Range& range) { return at >= range.first && at < range.first + range.second; });
}

/// Whether a byte is one that leads to the version or tells what it is. A file with another value there is damaged.
bool leadsToTheVersion(const PortableExecutable& program, std::size_t at) {
    const std::size_t sectionHeader = optionalHeaderBegin + (program.wide ? 240 : 224);
    const std::size_t resourceDirectory = optionalHeaderBegin + (program.wide ? 128 : 112);
    const std::size_t tree = resourceSectionBegin;
    const std::size_t block = tree + resourceTreeSize;
    const Range ranges[]{
        {64, 4},                  // "PE"
        {70, 2},                  // number of sections
        {resourceDirectory, 4},   // the tree's address
        {sectionHeader + 12, 12}, // the section's address, size and place
        {tree + 12, 4},           // the types: counts
        {tree + 20, 4},           // ... offset
        {tree + 36, 4},           // the ids: counts
        {tree + 44, 4},           // ... offset
        {tree + 68, 4},           // the language: offset
        {tree + 72, 4},           // the block's address
        {block, 38},              // its lengths, kind and key
        {block + 40, 4},          // signature of the fixed part
    };
    return isWithin(ranges, at);
}

/// Whether some values of a byte are damage and others are none.
bool isDoubtful(const PortableExecutable& program, std::size_t at) {
    const Range ranges[]{
        {optionalHeaderBegin + (program.wide ? 240 : 224) + 39, 1}, // whether the section may be read
        {resourceSectionBegin + 60, 4},                             // the languages: counts
        {resourceSectionBegin + 76, 4},                             // the block's size
    };
    return isWithin(ranges, at);
}

class Versions {
public:
    Version of(const std::string& content, bool damaged = false) {
        // A new file each time: to empty one and write it anew waits for the disk.
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
        writeFile(path_, content);
        return productVersion(path_, damaged);
    }

    void print(const char* what, const PortableExecutable& program, bool damaged = false) {
        ::print(std::string("version ") + what + ": " + shown(of(bytesOf(program), damaged)));
    }

    /// The file cut at every length.
    void printCuts(const char* what, const PortableExecutable& program) {
        const std::string content = bytesOf(program);
        Runs runs(std::string("cut ") + what);
        for (std::size_t length = 0; length <= content.size(); ++length)
            runs.add(length, shown(of(content.substr(0, length), length < content.size())));
    }

    /// The file with one of its bits turned, for some bits of each byte: the answers, where "=" is the whole file's and "-"
    /// is false.
    void printFlips(const char* what, const PortableExecutable& program, const std::vector<int>& bits) {
        const std::string content = bytesOf(program);
        const Version whole = of(content);
        Runs runs(std::string("flip ") + what);
        std::string damaged = content;
        for (std::size_t at = 0; at < resourceSectionBegin + resourceSectionSize; ++at) {
            if (isDoubtful(program, at))
                continue;
            std::string line;
            for (const int bit : bits) {
                damaged[at] = static_cast<char>(content[at] ^ 1 << bit);
                const Version version = of(damaged, leadsToTheVersion(program, at));
                line += version == whole ? "=" : version == Version{false, {}} ? "-" : " " + shown(version) + " ";
            }
            damaged[at] = content[at];
            runs.add(at, line);
        }
    }

private:
    TemporaryFolder folder_;
    std::filesystem::path path_ = folder_ / "program.dll";
};

void printVersions() {
    Versions versions;
    for (const bool wide : {false, true}) {
        PortableExecutable program;
        program.wide = wide;
        versions.print("plain", program);
        program.otherSections = true;
        versions.print("between other sections", program);
        program.resourceDirectory = false;
        versions.print("no resources told", program);
        program.resourceDirectory = true;
        program.resources[0].product = {65535, 0, 65534, 1};
        versions.print("great numbers", program);

        const auto one = [&](const char* what, auto change, bool damaged = false) {
            PortableExecutable changed;
            changed.wide = wide;
            change(changed);
            versions.print(what, changed, damaged);
        };
        one("other type", [](auto& p) { p.type = 10; });
        one("other id", [](auto& p) { p.id = 2; });
        one("id 0", [](auto& p) { p.id = 0; });
        one("no language", [](auto& p) { p.resources.clear(); });
        one("neutral language", [](auto& p) { p.resources[0].language = 0; });
        one("German", [](auto& p) { p.resources[0].language = 0x407; });
        one(
            "wrong signature", [](auto& p) { p.resources[0].signature = 0x12345678; }, true);
        one(
            "no fixed part told", [](auto& p) { p.resources[0].valueLength = 0; }, true);
        one(
            "short fixed part told", [](auto& p) { p.resources[0].valueLength = 20; }, true);
        one(
            "long fixed part told", [](auto& p) { p.resources[0].valueLength = 60; }, true);
        one(
            "other key", [](auto& p) { p.resources[0].key = "VS_VERSION_XXXX"; }, true);
        one(
            "short key", [](auto& p) { p.resources[0].key = "VS"; }, true);
        one("more behind", [](auto& p) { p.resources[0].behind.assign(100, 0x55); });
        const auto languages = [&](const char* what, const std::vector<std::uint16_t>& all) {
            one(what, [&](auto& p) {
                p.resources.clear();
                for (const std::uint16_t language : all) {
                    VersionResource resource;
                    resource.language = language;
                    resource.product = {language, 1, 2, 3};
                    p.resources.push_back(resource);
                }
            });
        };
        languages("neutral, German, American", {0, 0x407, 0x409});
        languages("German, American", {0x407, 0x409});
        languages("neutral, German", {0, 0x407});
        languages("German, French", {0x407, 0x40C});
        languages("American, British", {0x409, 0x809});
        languages("German, British", {0x407, 0x809});
    }
    for (const bool wide : {false, true}) {
        PortableExecutable program;
        program.wide = wide;
        const char* what = wide ? "64-bit" : "32-bit";
        versions.printCuts(what, program);
        versions.printFlips(what, program, wide ? std::vector{2, 6} : std::vector{0, 4, 7});
    }
    print("version of nothing: " + shown(productVersion(pathOf("no-such-file.dll"), false)));
    print("version of text: " + shown(versions.of("A text.\n")));
    print("version of MZ: " + shown(versions.of("MZ")));
    print("version of zeros: " + shown(versions.of(std::string(4096, '\0'))));
}

} // namespace

int main() {
#if defined(_WIN32)
    _setmode(_fileno(stdout), _O_BINARY);
#endif
    printPaths();
    printMatches();
    printFileTimes();
    printSystemTimes();
    printVersions();
    std::fflush(stdout);
    return std::ferror(stdout) ? 1 : 0;
}
