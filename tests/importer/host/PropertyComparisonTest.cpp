#include "importer/host/PropertyComparison.h"

#include "importer/exchange/PropertySamples.h"
#include "importer/host/Comparison.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

using namespace importer::host;
using namespace importer::exchange;

namespace velmor_tests {

namespace {

// A model of one object with these sets.
Model modelOf(const std::vector<PropertySet>& sets) {
    Model model;
    model.objects.resize(1);
    model.objects[0].globalId = Velmor::ExternalGUID::fromIFCGlobalID("0123456789012345678901");
    model.objects[0].className = "IFCBEAM";
    for (const auto& set : sets) {
        model.objects[0].propertySets.push_back(static_cast<std::uint32_t>(model.propertySets.size()));
        model.propertySets.push_back(encode(set));
    }
    return model;
}

// "changed Set.Property", one difference per line.
std::string differences(const Model& before, const Model& now) {
    std::string text;
    forEachPropertyDifference(before, before.objects[0], now, now.objects[0], [&text](const PropertyDifference& difference) {
        const char* const kinds[] = {"changed", "added", "removed"};
        text += kinds[difference.kind];
        std::string separator = " ";
        for (const auto name : difference.path) {
            text += separator + std::string(name);
            separator = ".";
        }
        EXPECT_EQ(difference.before != nullptr, difference.kind != PropertyDifference::Added && difference.path.size() > 1);
        EXPECT_EQ(difference.now != nullptr, difference.kind != PropertyDifference::Removed && difference.path.size() > 1);
        text += '\n';
    });
    EXPECT_EQ(PropertyComparison(before, now).isEqual(before.objects[0], now.objects[0]), text.empty());
    return text;
}

std::string differences(const std::vector<PropertySet>& before, const std::vector<PropertySet>& now) {
    return differences(modelOf(before), modelOf(now));
}

double realOf(std::uint64_t bits) {
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

} // namespace

TEST(PropertyDifferences, AreEmptyForEqualSets) {
    EXPECT_EQ(differences(std::vector<PropertySet>(), {}), "");
    const auto all = propertySet("all", onePropertyOfEachType());
    EXPECT_EQ(differences({all}, {all}), "");
}

TEST(PropertyDifferences, IgnoreOrderDescriptionsAndGlobalIds) {
    const auto x = textProperty("X", "1");
    const auto y = textProperty("Y", "2");
    const auto a = propertySet("A", {x, y, complexProperty("C", "use", {x, y})});
    const auto b = propertySet("B", {x});
    EXPECT_EQ(differences({a, b}, {b, a}), "");
    EXPECT_EQ(differences({a}, {propertySet("A", {complexProperty("C", "use", {y, x}), y, x})}), "");
    EXPECT_EQ(differences({b}, {propertySet("B", {x}, "zzzzzzzzzzzzzzzzzzzzzz", "other")}), "");
    EXPECT_EQ(differences({b}, {propertySet("B", {textProperty("X", "1", "other")})}), "");
}

TEST(PropertyDifferences, ContainChangedValuesAndTypes) {
    const std::pair<Velmor::IFC2X3Property, Velmor::IFC2X3Property> cases[] = {
        {textProperty("P", "1"), textProperty("P", "2")},
        {textProperty("P", ""), textProperty("P", " ")},
        {integerProperty("P", 5), realProperty("P", 5)},
        {realProperty("P", 5, SingleValue::Length), realProperty("P", 5, SingleValue::Area)},
        {realProperty("P", 0.0), realProperty("P", -0.0)},
        {realProperty("P", realOf(0x7FF8000000000000u)), realProperty("P", realOf(0x7FF8000000000001u))},
        {realProperty("P", 1), realProperty("P", 1.0000000000000002)},
        {complexProperty("P", "a", {}), complexProperty("P", "b", {})},
        {complexProperty("P", "a", {}), textProperty("P", "a")}};
    for (const auto& [before, now] : cases) {
        EXPECT_EQ(differences({propertySet("S", {before})}, {propertySet("S", {now})}), "changed S.P\n");
        EXPECT_EQ(differences({propertySet("S", {now})}, {propertySet("S", {before})}), "changed S.P\n");
        EXPECT_EQ(differences({propertySet("S", {now})}, {propertySet("S", {now})}), "");
    }
}

TEST(PropertyDifferences, ContainAddedAndRemovedItemsWithoutTheirContent) {
    const auto x = textProperty("X", "1");
    const auto full = complexProperty("C", "use", {x, x});
    EXPECT_EQ(differences({propertySet("S", {x})}, {propertySet("S", {x, full})}), "added S.C\n");
    EXPECT_EQ(differences({propertySet("S", {x, full})}, {propertySet("S", {full})}), "removed S.X\n");
    EXPECT_EQ(differences({}, {propertySet("S", {x, full}), propertySet("empty", {})}), "added S\nadded empty\n");
    EXPECT_EQ(differences({propertySet("S", {x})}, {propertySet("T", {x})}), "removed S\nadded T\n");
    EXPECT_EQ(differences({propertySet("S", {full})}, {propertySet("S", {x})}), "removed S.C\nadded S.X\n");
}

TEST(PropertyDifferences, ContainThePathOfANestedProperty) {
    const auto deep = [](const std::string& value) {
        return propertySet("S", {complexProperty("A", "", {complexProperty("B", "", {textProperty("C", value)})})});
    };
    EXPECT_EQ(differences({deep("1")}, {deep("2")}), "changed S.A.B.C\n");
    const auto nothing = propertySet("S", {complexProperty("A", "", {complexProperty("B", "other", {})})});
    EXPECT_EQ(differences({deep("1")}, {nothing}), "changed S.A.B\nremoved S.A.B.C\n");
}

TEST(PropertyDifferences, PairItemsOfEqualNamesInOrder) {
    const auto p = [](const std::string& value) { return textProperty("P", value); };
    EXPECT_EQ(differences({propertySet("S", {p("1"), p("2")})}, {propertySet("S", {p("1"), p("3")})}), "changed S.P\n");
    EXPECT_EQ(differences({propertySet("S", {p("1"), p("2")})}, {propertySet("S", {p("2"), p("1")})}),
              "changed S.P\nchanged S.P\n");
    EXPECT_EQ(differences({propertySet("S", {p("1"), p("2")})}, {propertySet("S", {p("1")})}), "removed S.P\n");
    const auto one = propertySet("S", {p("1")});
    const auto two = propertySet("S", {p("2")});
    EXPECT_EQ(differences({one, two}, {one, two}), "");
    EXPECT_EQ(differences({one, two}, {two, one}), "changed S.P\nchanged S.P\n");
    EXPECT_EQ(differences({one, two}, {one}), "removed S\n");
    // A property that moves to another complex property of the same name is removed and added.
    const auto c = [](const std::vector<Velmor::IFC2X3Property>& properties) {
        return complexProperty("C", "", properties);
    };
    EXPECT_EQ(differences({propertySet("S", {c({p("1"), textProperty("Q", "")}), c({p("2")})})},
                          {propertySet("S", {c({p("1")}), c({p("2"), textProperty("Q", "")})})}),
              "removed S.C.Q\nadded S.C.Q\n");
}

TEST(PropertyDifferences, DistinguishNamesWithACommonPrefix) {
    EXPECT_EQ(differences({propertySet("S", {textProperty("A", "1"), textProperty("A.B", "1"), textProperty("A B", "1")})},
                          {propertySet("S", {textProperty("A", "1"), textProperty("A.B", "2"), textProperty("", "1")})}),
              "added S.\nremoved S.A B\nchanged S.A.B\n");
}

TEST(PropertyDifferences, MatchAReferenceModelForRandomSets) {
    Random random;
    for (int round = 0; round < 200; ++round) {
        std::vector<Velmor::IFC2X3Property> before;
        std::vector<Velmor::IFC2X3Property> now;
        std::string expected; // sorted by name: all names have three digits
        for (int i = 100; i < 130; ++i) {
            const auto name = std::to_string(i);
            switch (random.below(5)) {
            case 0:
                before.push_back(textProperty(name, "old"));
                now.push_back(textProperty(name, "new"));
                expected += "changed S." + name + '\n';
                break;
            case 1:
                before.push_back(textProperty(name, "old"));
                expected += "removed S." + name + '\n';
                break;
            case 2:
                now.push_back(textProperty(name, "new"));
                expected += "added S." + name + '\n';
                break;
            default:
                before.push_back(textProperty(name, "same"));
                now.push_back(textProperty(name, "same", "other description"));
            }
        }
        std::shuffle(before.begin(), before.end(), random);
        std::shuffle(now.begin(), now.end(), random);
        EXPECT_EQ(differences({propertySet("S", before)}, {propertySet("S", now)}), expected);
    }
}

TEST(ComparisonWithProperties, HandlesLargeSetsSharedByManyObjects) {
    std::vector<Velmor::IFC2X3Property> properties;
    for (int i = 0; i < 20000; ++i)
        properties.push_back(integerProperty("p" + std::to_string(i), i));
    const auto large = propertySet("large", properties);
    std::reverse(properties.begin(), properties.end());
    const auto reversed = propertySet("large", properties);
    properties.back() = integerProperty("p0", -1);
    const auto changed = propertySet("large", properties);
    const auto manyObjects = [](const PropertySet& set) {
        auto model = modelOf({set});
        for (int i = 0; i < 20000; ++i) {
            char id[23];
            std::snprintf(id, sizeof id, "0Shared0Object%08d", i);
            model.objects.push_back(model.objects[0]);
            model.objects.back().globalId = Velmor::ExternalGUID::fromIFCGlobalID(id);
        }
        return model;
    };
    // A comparison of the sets for each object would parse 400 million properties.
    EXPECT_EQ(compare(manyObjects(large), manyObjects(reversed), false).total.unchanged, 20001u);
    EXPECT_EQ(compare(manyObjects(large), manyObjects(changed), false).total.modified, 20001u);
}

TEST(ComparisonWithProperties, CountsChangedPropertiesAsModified) {
    const auto before = modelOf({propertySet("S", {textProperty("P", "1")})});
    const auto now = modelOf({propertySet("S", {textProperty("P", "2")})});
    const auto comparison = compare(before, now, false);
    EXPECT_EQ(comparison.total.modified, 1u);
    EXPECT_EQ(comparison.total.unchanged, 0u);
    EXPECT_EQ(comparison.total.lowestSimilarity, 1.0);
    ASSERT_EQ(comparison.changes.size(), 1u);
    EXPECT_EQ(comparison.changes[0].kind, Change::Modified);
    EXPECT_TRUE(comparison.changes[0].propertiesDiffer);
    EXPECT_FALSE(comparison.changes[0].versionDiffers);

    EXPECT_EQ(compare(before, before, false).total.unchanged, 1u);
    auto heavier = now;
    heavier.objects[0].version = Velmor::createFromBoundingBox(1, 2, 3);
    const auto both = compare(before, heavier, false);
    EXPECT_EQ(both.total.modified, 1u);
    EXPECT_EQ(both.total.lowestSimilarity, 0.0);
    EXPECT_TRUE(both.changes.at(0).propertiesDiffer);
    EXPECT_TRUE(both.changes.at(0).versionDiffers);
}

TEST(ComparisonWithProperties, PairsCopiesWithEqualPropertiesFirst) {
    const double vertices[] = {0, 0, 0, 2, 0, 0, 0, 0, 0};
    auto before = modelOf({propertySet("S", {textProperty("P", "1")}), propertySet("S", {textProperty("P", "2")})});
    before.objects[0].globalId = noIdentity();
    before.objects[0].spatialHash = Velmor::ExternalGUID::spatialHashFromVertexes(3, vertices);
    before.objects.push_back(before.objects[0]);
    before.objects[0].propertySets = {0};
    before.objects[1].propertySets = {1};
    auto now = before;
    std::swap(now.objects[0], now.objects[1]);
    EXPECT_EQ(compare(before, now, false).total.unchanged, 2u);
    now.propertySets[0] = encode(propertySet("S", {textProperty("P", "3")}));
    const auto one = compare(before, now, false);
    EXPECT_EQ(one.total.unchanged, 1u);
    EXPECT_EQ(one.total.modified, 1u);
}

} // namespace velmor_tests
