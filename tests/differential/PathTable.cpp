#include "Table.h"

#include <string>
#include <utility>
#include <vector>

namespace velmor_tests {

using Velmor::WideChar;
using Velmor::WideString;

namespace {

using Texts = std::vector<WideString>;

// Only paths that all systems treat in the same way: those with a drive or two backslashes. "Z:" is not in the table,
// because Wine maps it to the root of the real file system and it has a current folder.
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

/// A path of the given length in units, to the file "n.e".
WideString pathOfLength(const WideString& head, std::size_t length) {
    const WideString tail = VELMOR_WIDE("\\n.e");
    return head + WideString(length - head.size() - tail.size(), VELMOR_WIDE('f')) + tail;
}

void printPathsAroundTheLimits(const WideChar* head) {
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

} // namespace

void printPaths() {
    for (const Texts& texts : {heads, bodies})
        for (const WideString& text : texts)
            print("slash " + shown(text) + " " + shown(withEndingSlash(text)));
    for (const WideString& head : heads)
        for (const WideString& body : bodies)
            printPath(head + body);

    // The limits apply to the result: removed parts of the path do not count.
    for (const WideChar* head : {VELMOR_WIDE("C:\\"), VELMOR_WIDE("\\\\server\\share\\"), VELMOR_WIDE("\\\\?\\C:\\")})
        printPathsAroundTheLimits(head);

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

} // namespace velmor_tests
