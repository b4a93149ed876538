// Matching of names against filter lists. The comparison runs from the end and ignores the first character of both texts.

#include <Velmor/Platform.h>

#include "PrivateFileOperations.h"
#include "Tools.h"
#include "differential/PlainMatching.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>

namespace {

using Velmor::FileOperations;
using Velmor::WideChar;
using Velmor::WideString;
using velmor_tests::narrow;
using velmor_tests::Random;
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
        // A name shorter than the token matches if the compared part is equal.
        {"ifc", "*.ifc", true},
        {"fc", "*.ifc", true},
        {"xfc", "*.ifc", true},
        {"xxc", "*.ifc", false},
        {".ifc", "*.ifc", true},
        {"xifc", "*.ifc", true},
        {"zip", "*.ifczip", true},
        // A name of one character matches every token.
        {"a", "*.ifc", true},
        {"?", "*.ifc", true},
        {"a", "b", true},
        // The first characters of the token and of the name are not compared.
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

TEST(FileOperationsMatching, EmptyNameMatchesOnlyTheEmptyList) {
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

TEST(FileOperationsMatching, IgnoresTheCaseOfAsciiLettersOnly) {
    const Case cases[]{
        {"m.az", "*.AZ", true},         {"m.AZ", "*.az", true},          {"m.@", "*.`", false},
        {"m.[", "*.{", false},          {"m.\u00E9", "*.\u00C9", false}, {"m.\u00C9", "*.\u00E9", false},
        {"m.\u00E9", "*.\u00E9", true}, {"m.\u0131", "*.I", false},      {"m.\u017F", "*.S", false},
        {"m.\u212A", "*.K", false},     {"m.\uFF41", "*.\uFF21", false}, {"m.1", "*.\u0011", false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(FileOperations::MatchExtension(wide(c.name), wide(c.list)), c.expected) << c.name << " in " << c.list;
}

TEST(FileOperationsMatching, NulEndsTheListButNotTheName) {
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

TEST(FileOperationsMatching, ComparesLongTextsCompletely) {
    const WideString token = VELMOR_WIDE('*') + WideString(50000, VELMOR_WIDE('a'));
    EXPECT_TRUE(FileOperations::MatchExtension(WideString(70000, VELMOR_WIDE('A')), token));
    WideString name(70000, VELMOR_WIDE('a'));
    name[20000] = VELMOR_WIDE('b');
    EXPECT_FALSE(FileOperations::MatchExtension(name, token));
    name[20000] = VELMOR_WIDE('a');
    name[19999] = VELMOR_WIDE('b'); // compared with the asterisk of the token
    EXPECT_TRUE(FileOperations::MatchExtension(name, token));
    WideString list;
    for (int i = 0; i < 20000; ++i)
        list += wide("*.x|");
    EXPECT_FALSE(FileOperations::MatchExtension(wide("a.ifc"), list));
    EXPECT_TRUE(FileOperations::MatchExtension(wide("a.ifc"), list + wide("*.ifc")));
}

// ---- The private functions ----

TEST(FileOperationsMatching, TokenEndsAtABarOrAtTheEndOfTheText) {
    EXPECT_EQ(tokenLength(WideString()), 0u);
    EXPECT_EQ(tokenLength(wide("|")), 0u);
    EXPECT_EQ(tokenLength(wide("|*.ifc")), 0u);
    EXPECT_EQ(tokenLength(wide("*.ifc")), 5u);
    EXPECT_EQ(tokenLength(wide("*.ifc|*.dwg")), 5u);
    EXPECT_EQ(tokenLength(WideString(1000, VELMOR_WIDE('x')) + wide("|")), 1000u);
    EXPECT_EQ(tokenLength(WideString(1, WideChar{0x017C})), 1u); // its low byte equals the bar
    EXPECT_EQ(tokenLength(WideString(1, WideChar{0x7C00})), 1u);
}

TEST(FileOperationsMatching, ConvertsOnlyAsciiLettersToUpperCase) {
    for (int c = -300; c < 0x20000; ++c)
        ASSERT_EQ(upper(c), c >= 'a' && c <= 'z' ? c - 32 : c) << c;
    EXPECT_EQ(upper(std::numeric_limits<int>::max()), std::numeric_limits<int>::max());
    EXPECT_EQ(upper(std::numeric_limits<int>::min()), std::numeric_limits<int>::min());
}

TEST(FileOperationsMatching, DoesNotReadTheTokenAfterItsLength) {
    // Blocks of the exact size: a sanitizer detects a read after the end.
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
    // A bar is an ordinary character here.
    EXPECT_TRUE(match("model|ifc", "*|ifc"));
    EXPECT_FALSE(match("model.ifc", "*|ifc"));
    // Only the given length is compared.
    EXPECT_TRUE(matchesToken(wide("model.ifc"), wide("*.ifczip").substr(0, 5)));
    EXPECT_FALSE(matchesToken(wide("model.ifc"), wide("*.ifczip")));
}

TEST(FileOperationsMatching, MatchesThePlainModelForRandomTexts) {
    Random random;
    const WideString letters = wide("aAbBzZ.*|@[`{1\u00E9\u00C9");
    const auto text = [&](std::size_t longest) {
        WideString out;
        for (std::size_t count = random.upTo(longest); count > 0; --count)
            out += letters[random.below(letters.size())];
        return out;
    };
    std::size_t matched = 0;
    const int count = 100'000;
    for (int i = 0; i < count; ++i) {
        // Half of the lists end with a part of the name, so that enough cases match.
        const WideString name = text(6);
        WideString list = text(8);
        if (random.oneIn(2) && !name.empty())
            list +=
                WideString(random.below(2u), VELMOR_WIDE('|')) + VELMOR_WIDE('*') + name.substr(random.below(name.size()));
        const bool expected = velmor_tests::plainMatchOfList(name, list);
        ASSERT_EQ(FileOperations::MatchExtension(name, list), expected) << narrow(name) << " in " << narrow(list);
        matched += expected;
        if (!list.empty()) {
            ASSERT_EQ(matchesToken(name, list), velmor_tests::plainMatch(name, list)) << narrow(name) << " " << narrow(list);
        }
    }
    EXPECT_GT(matched, count / 10u);
    EXPECT_LT(matched, count / 10u * 9u);
}

} // namespace
