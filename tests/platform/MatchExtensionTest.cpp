// Names matched against filter lists: from the end, blind to the first character of either, all on purpose.

#include <Velmor/Platform.h>

#include "PrivateFileOperations.h"
#include "Tools.h"

#include <gtest/gtest.h>

#include <differential/PlainMatching.h>

#include <limits>
#include <memory>
#include <random>
#include <string>

namespace {

using Velmor::FileOperations;
using Velmor::WideChar;
using Velmor::WideString;
using velmor_tests::narrow;
using velmor_tests::wide;

bool matchesToken(const WideString& name, const WideString& token) {
    return reach(velmor_tests::PrivateTokenMatch())(name, token.data(), static_cast<unsigned>(token.size()));
}

unsigned tokenLength(const WideString& text) {
    return reach(velmor_tests::PrivateTokenLength())(text.c_str());
}

int upper(int c) {
    return reach(velmor_tests::PrivateUpper())(c);
}

struct Case {
    const char* name;
    const char* list;
    bool expected;
};

TEST(FileOperationsMatching, MatchesNamesAgainstLists) {
    const Case cases[]{
        {"model.IFC", "*.ifc|*.ifczip", true},
        {"model.ifc", "*.IFC", true},
        {"model.ifczip", "*.ifc|*.ifczip", true},
        {"model.ifczip", "*.ifc", false},
        {"model.ifc", "*.ifczip", false},
        {"model.dwg", "*.ifc|*.ifczip", false},
        {"modelifc", "*.ifc", false},
        {"model.ifc.bak", "*.ifc", false},
        // The name runs out first, and then it matches.
        {"ifc", "*.ifc", true},
        {"fc", "*.ifc", true},
        {"xfc", "*.ifc", true},
        {"xxc", "*.ifc", false},
        {".ifc", "*.ifc", true},
        {"xifc", "*.ifc", true},
        {"zip", "*.ifczip", true},
        // One character matches every token.
        {"a", "*.ifc", true},
        {"?", "*.ifc", true},
        {"a", "b", true},
        // The token's first character is never compared, nor is the name's.
        {"model.ifc", "Q.ifc", true},
        {"model.ifc", "*ifc", true},
        {"ab", "cb", true},
        {"ab", "cd", false},
        // A token of one character matches every name.
        {"model.ifc", "*", true},
        {"model.ifc", "q", true},
        {"model.dwg", "*.ifc|x", true},
        {"model.ifc", "*.*", false},
        {"model.*", "*.*", true},
    };
    for (const Case& c : cases)
        EXPECT_EQ(FileOperations::MatchExtension(wide(c.name), wide(c.list)), c.expected) << c.name << " in " << c.list;
}

TEST(FileOperationsMatching, EmptyListMatchesEverything) {
    for (const char* name : {"", "a", "model.ifc", "|"})
        EXPECT_TRUE(FileOperations::MatchExtension(wide(name), WideString())) << name;
}

TEST(FileOperationsMatching, EmptyNameMatchesNoListButTheEmptyOne) {
    for (const char* list : {"*", "*.ifc", "*.ifc|*.dwg", "|", "x|"})
        EXPECT_FALSE(FileOperations::MatchExtension(WideString(), wide(list))) << list;
}

TEST(FileOperationsMatching, EmptyTokenEndsTheSearch) {
    const Case cases[]{
        {"a.dwg", "|*.dwg", false},       {"a.dwg", "|", false},           {"a.dwg", "||", false},
        {"a.dwg", "*.ifc||*.dwg", false}, {"a.ifc", "*.ifc||*.dwg", true}, {"a.dwg", "*.dwg|", true},
        {"a.dxf", "*.dwg|", false},       {"a.dwg", "*.ifc|*.dwg|", true}, {"x", "|*.dwg", false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(FileOperations::MatchExtension(wide(c.name), wide(c.list)), c.expected) << c.name << " in " << c.list;
}

TEST(FileOperationsMatching, OnlyAsciiLettersAreFolded) {
    const Case cases[]{
        {"m.az", "*.AZ", true},         {"m.AZ", "*.az", true},          {"m.@", "*.`", false},
        {"m.[", "*.{", false},          {"m.\u00E9", "*.\u00C9", false}, {"m.\u00C9", "*.\u00E9", false},
        {"m.\u00E9", "*.\u00E9", true}, {"m.\u0131", "*.I", false},      {"m.\u017F", "*.S", false},
        {"m.\u212A", "*.K", false},     {"m.\uFF41", "*.\uFF21", false}, {"m.1", "*.\u0011", false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(FileOperations::MatchExtension(wide(c.name), wide(c.list)), c.expected) << c.name << " in " << c.list;
}

TEST(FileOperationsMatching, ListEndsAtItsFirstZeroAndANameDoesNot) {
    WideString list = wide("*.ifc");
    list += WideChar{0};
    list += wide("|*.dwg");
    EXPECT_TRUE(FileOperations::MatchExtension(wide("a.ifc"), list));
    EXPECT_FALSE(FileOperations::MatchExtension(wide("a.dwg"), list));
    EXPECT_FALSE(FileOperations::MatchExtension(wide("a"), WideString(1, WideChar{0})));

    WideString name = wide("a.ifc");
    name += WideChar{0};
    EXPECT_FALSE(FileOperations::MatchExtension(name, wide("*.ifc")));
    name += wide(".ifc");
    EXPECT_TRUE(FileOperations::MatchExtension(name, wide("*.ifc")));
}

TEST(FileOperationsMatching, LongTextsAreComparedToTheEnd) {
    const WideString token = VELMOR_WIDE('*') + WideString(50000, VELMOR_WIDE('a'));
    EXPECT_TRUE(FileOperations::MatchExtension(WideString(70000, VELMOR_WIDE('A')), token));
    WideString name(70000, VELMOR_WIDE('a'));
    name[20000] = VELMOR_WIDE('b');
    EXPECT_FALSE(FileOperations::MatchExtension(name, token));
    name[20000] = VELMOR_WIDE('a');
    name[19999] = VELMOR_WIDE('b'); // where the token's asterisk is
    EXPECT_TRUE(FileOperations::MatchExtension(name, token));
    WideString list;
    for (int i = 0; i < 20000; ++i)
        list += wide("*.x|");
    EXPECT_FALSE(FileOperations::MatchExtension(wide("a.ifc"), list));
    EXPECT_TRUE(FileOperations::MatchExtension(wide("a.ifc"), list + wide("*.ifc")));
}

// The pieces
// ----------------------------------------------------------------------------------------------------------------------

TEST(FileOperationsMatching, TokenEndsAtABarOrWithTheText) {
    EXPECT_EQ(tokenLength(WideString()), 0u);
    EXPECT_EQ(tokenLength(wide("|")), 0u);
    EXPECT_EQ(tokenLength(wide("|*.ifc")), 0u);
    EXPECT_EQ(tokenLength(wide("*.ifc")), 5u);
    EXPECT_EQ(tokenLength(wide("*.ifc|*.dwg")), 5u);
    EXPECT_EQ(tokenLength(WideString(1000, VELMOR_WIDE('x')) + wide("|")), 1000u);
    EXPECT_EQ(tokenLength(WideString(1, WideChar{0x017C})), 1u); // its low byte is the bar's
    EXPECT_EQ(tokenLength(WideString(1, WideChar{0x7C00})), 1u);
}

TEST(FileOperationsMatching, UpperCaseIsOfAsciiLettersOnly) {
    for (int c = -300; c < 0x20000; ++c)
        ASSERT_EQ(upper(c), c >= 'a' && c <= 'z' ? c - 32 : c) << c;
    EXPECT_EQ(upper(std::numeric_limits<int>::max()), std::numeric_limits<int>::max());
    EXPECT_EQ(upper(std::numeric_limits<int>::min()), std::numeric_limits<int>::min());
}

TEST(FileOperationsMatching, TokenIsComparedWithinItsLength) {
    // Blocks of the exact size: whoever reads on, steps outside.
    const auto exact = [](const WideString& text) {
        auto copy = std::make_unique<WideChar[]>(text.size());
        text.copy(copy.get(), text.size());
        return copy;
    };
    const auto match = [&](const char* name, const char* token) {
        const WideString text = wide(token);
        return reach(velmor_tests::PrivateTokenMatch())(wide(name), exact(text).get(), static_cast<unsigned>(text.size()));
    };
    EXPECT_TRUE(match("model.ifc", "*.ifc"));
    EXPECT_TRUE(match("c", "*.ifc"));
    EXPECT_FALSE(match("", "*.ifc"));
    EXPECT_TRUE(match("model.ifc", "*"));
    EXPECT_FALSE(match("model.ifc", "*.dwg"));
    // A bar is a character like any other here.
    EXPECT_TRUE(match("model|ifc", "*|ifc"));
    EXPECT_FALSE(match("model.ifc", "*|ifc"));
    // Only the told length counts.
    EXPECT_TRUE(matchesToken(wide("model.ifc"), wide("*.ifczip").substr(0, 5)));
    EXPECT_FALSE(matchesToken(wide("model.ifc"), wide("*.ifczip")));
}

TEST(FileOperationsMatching, AgreesWithThePlainTellingOnRandomTexts) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const WideString letters = wide("aAbBzZ.*|@[`{1\u00E9\u00C9");
    const auto text = [&](std::size_t longest) {
        WideString out;
        for (std::size_t count = random() % (longest + 1); count > 0; --count)
            out += letters[random() % letters.size()];
        return out;
    };
    std::size_t matched = 0;
    const int count = 100'000;
    for (int i = 0; i < count; ++i) {
        // The more of the list is taken from the name, the more often they match.
        const WideString name = text(6);
        WideString list = text(8);
        if (random() % 2 == 0 && !name.empty())
            list += WideString(random() % 2, VELMOR_WIDE('|')) + VELMOR_WIDE('*') + name.substr(random() % name.size());
        const bool expected = velmor_tests::plainMatchOfList(name, list);
        ASSERT_EQ(FileOperations::MatchExtension(name, list), expected) << narrow(name) << " in " << narrow(list);
        matched += expected;
        if (!list.empty())
            ASSERT_EQ(matchesToken(name, list), velmor_tests::plainMatch(name, list)) << narrow(name) << " " << narrow(list);
    }
    EXPECT_GT(matched, count / 10u);
    EXPECT_LT(matched, count / 10u * 9u);
}

} // namespace
