// Small texts that describe an enormous number of properties, and large texts within the limits. Without a limit, or in
// quadratic time, reading one takes hours: the time limit of the suite ends it, and no test measures time.

#include "importer/ifc/property/PropertySupport.h"

#include <string>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

/// Counts the properties of sets instead of storing them.
class Counting : public Taken {
public:
    void propertySet(Velmor::IFC2X3_PSet_Custom_s&& set) override {
        sets.emplace_back();
        counts.push_back(set.properties.getCount());
    }

    std::vector<unsigned> counts;
};

Counting countWithin(const Limits& limits, const std::string& data) {
    const step::File file = fileOf(stepFile(inMeters + data));
    Counting taken;
    readProducts(file, limits, taken);
    return taken;
}

Counting count(const std::string& data) {
    return countWithin(Limits::forFile(data.size()), data);
}

std::string numbered(std::size_t number) {
    return "#" + std::to_string(number);
}

/// "#1000,#1001" and so on.
std::string references(std::size_t first, std::size_t number) {
    std::string result;
    for (std::size_t i = 0; i < number; ++i)
        result += (i == 0 ? "" : ",") + numbered(first + i);
    return result;
}

std::string single(std::size_t number, const std::string& name = "P") {
    return numbered(number) + "=IFCPROPERTYSINGLEVALUE('" + name + "',$,IFCINTEGER(" + std::to_string(number) + "),$);\n";
}

TEST(PropertyLimits, AllowSetOfAHundredThousandProperties) {
    for (const char* name : {"A set", "Pset_WallCommon"}) {
        std::string data = setOf(references(1000, 100000), name);
        for (std::size_t i = 0; i < 100000; ++i)
            data += single(1000 + i, "P" + std::to_string(i));
        const Counting taken = count(data);
        EXPECT_EQ(taken.reasons(), "");
        EXPECT_EQ(taken.counts, std::vector<unsigned>{100000});
    }
}

TEST(PropertyLimits, AllowPropertyWithLongNameInTenThousandSets) {
    const std::string name(10000, 'n');
    std::string data = single(90, name);
    for (std::size_t i = 0; i < 10000; ++i)
        data += numbered(1000 + i) + "=IFCPROPERTYSET('1234567890123456789012',$,'A set',$,(#90));\n";
    const Counting taken = count(data);
    EXPECT_EQ(taken.reasons(), "");
    EXPECT_EQ(taken.counts, std::vector<unsigned>(10000, 1));
}

TEST(PropertyLimits, AllowSetOfManyObjects) {
    constexpr std::size_t many = 200000;
    std::string data = setOf("#90") + single(90);
    for (std::size_t i = 0; i < many; ++i)
        data += numbered(1000 + i) + "=IFCWALL('x',$,$,$,$,$,$);\n";
    data += "#91=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(" + references(1000, many) + "),#100);\n";
    const Counting taken = count(data);
    EXPECT_EQ(taken.reasons(), "");
    ASSERT_EQ(taken.products.size(), many);
    for (const Product& product : taken.products)
        ASSERT_EQ(product.propertySets, std::vector<std::uint32_t>{0});
}

TEST(PropertyLimits, AllowObjectWithManySets) {
    constexpr std::size_t many = 20000;
    std::string data = "#90=IFCWALL('x',$,$,$,$,$,$);\n";
    for (std::size_t i = 0; i < many; ++i)
        data += numbered(1000 + i) + "=IFCPROPERTYSET('1234567890123456789012',$,'S" + std::to_string(i) + "',$,());\n" +
                numbered(1000000 + i) + "=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#90)," + numbered(1000 + i) + ");\n";
    const Counting taken = count(data);
    EXPECT_EQ(taken.reasons(), "");
    ASSERT_EQ(taken.products.size(), 1u);
    ASSERT_EQ(taken.products[0].propertySets.size(), many);
    EXPECT_EQ(taken.products[0].propertySets.back(), many - 1);
}

TEST(PropertyLimits, BoundObjectsTimesSets) {
    // 20000 objects with 20000 sets each, by one relation and by one type.
    constexpr std::size_t many = 20000;
    std::string instances;
    for (std::size_t i = 0; i < many; ++i)
        instances += numbered(1000 + i) + "=IFCPROPERTYSET('1234567890123456789012',$,$,$,());\n" + numbered(1000000 + i) +
                     "=IFCWALL('x',$,$,$,$,$,$);\n";
    const std::string objects = references(1000000, many);
    const std::string sets = references(1000, many);
    for (const std::string& relation :
         {"#91=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(" + objects + "),IFCPROPERTYSETDEFINITIONSET((" + sets + ")));\n",
          "#91=IFCRELDEFINESBYTYPE('r',$,$,$,(" + objects + "),#92);\n#92=IFCWALLTYPE('t',$,$,$,$,(" + sets +
              "),$,$,$,.X.);\n"}) {
        const Counting taken = count(instances + relation);
        ASSERT_EQ(taken.products.size(), many);
        EXPECT_EQ(taken.products.front().propertySets.size(), many) << "the sets of one product are complete";
        EXPECT_TRUE(taken.products.back().propertySets.empty());
        EXPECT_NE(taken.reasons().find("the products have more property sets than the limit for a file of this size "
                                       "(in IFCWALL #1019999)"),
                  std::string::npos);
    }
}

TEST(PropertyLimits, CountSharedSetsOncePerProduct) {
    const std::string data = "#100=IFCPROPERTYSET('1234567890123456789012',$,'A',$,());\n"
                             "#101=IFCPROPERTYSET('1234567890123456789012',$,'B',$,());\n"
                             "#10=IFCWALL('x',$,$,$,$,$,$);\n#11=IFCWALL('x',$,$,$,$,$,$);\n#12=IFCWALL('x',$,$,$,$,$,$);\n"
                             "#20=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10,#11,#12),#100);\n"
                             "#21=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#11),#101);\n";
    Limits limits = Limits::forFile(data.size());
    limits.setsOfProducts = 4;
    EXPECT_EQ(countWithin(limits, data).reasons(), "");
    limits.setsOfProducts = 2;
    const Counting taken = countWithin(limits, data);
    ASSERT_EQ(taken.products.size(), 3u);
    EXPECT_EQ(taken.products[0].propertySets.size(), 1u);
    EXPECT_TRUE(taken.products[1].propertySets.empty()) << "two more exceed the limit";
    EXPECT_EQ(taken.products[2].propertySets.size(), 1u);
    EXPECT_EQ(taken.problems.size(), 1u);
}

TEST(PropertyLimits, BoundThePropertiesOfASet) {
    const std::string data = setOf("#90,#91,#92") + single(90) + single(91) +
                             "#92=IFCCOMPLEXPROPERTY('C',$,'u',(#90));\n"
                             "#101=IFCPROPERTYSET('1234567890123456789012',$,'B',$,(#90,#91));\n";
    Limits limits = Limits::forFile(data.size());
    limits.propertiesPerSet = 4;
    EXPECT_EQ(countWithin(limits, data).counts, (std::vector<unsigned>{3, 2}));
    limits.propertiesPerSet = 3;
    const Counting taken = countWithin(limits, data);
    EXPECT_EQ(taken.counts, (std::vector<unsigned>{0, 2})) << "a set is never incomplete";
    EXPECT_EQ(taken.reasons(), "IFCPROPERTYSET: the set has more properties than the limit for a file of this size "
                               "(in IFCPROPERTYSET #100)\n");
}

/// Complex properties that contain two further ones each, 12 levels deep: 2^12 in each set.
std::string doubling(std::size_t sets) {
    std::string data = single(90);
    for (std::size_t level = 0; level < 12; ++level) {
        for (std::size_t i = 0; i < 2; ++i) {
            const std::size_t next = 202 + 2 * level;
            data += numbered(200 + 2 * level + i) + "=IFCCOMPLEXPROPERTY('C',$,'u',(" +
                    (level == 11 ? "#90" : references(next, 2)) + "));\n";
        }
    }
    for (std::size_t i = 0; i < sets; ++i)
        data += numbered(1000 + i) + "=IFCPROPERTYSET('1234567890123456789012',$,'A',$,(#200,#201));\n";
    return data;
}

TEST(PropertyLimits, EndExponentialNestingSoonAndReportIt) {
    const std::string data = doubling(200) + "#5000=IFCWALL('x',$,$,$,$,$,$);\n";
    const Counting taken = count(data);
    ASSERT_EQ(taken.counts.size(), 200u) << "every set is passed on, if necessary without properties";
    EXPECT_EQ(taken.counts.front(), 2u);
    EXPECT_EQ(taken.counts.back(), 0u);
    EXPECT_EQ(taken.products.size(), 1u);
    EXPECT_NE(taken.reasons().find("the objects of the file take more work than the limit for a file of this size "
                                   "(in IFCPROPERTYSET #1199)"),
              std::string::npos);
}

TEST(PropertyLimits, AreSeparateForPropertiesAndShapes) {
    const std::string block = "#20=IFCBLOCK(#9,1.,1.,1.);\n";
    Limits limits = Limits::forFile(1000);
    limits.workOfProperties = 100;
    const Counting noProperties = countWithin(limits, beamOf("#20") + block + setOf("#90") + single(90));
    EXPECT_EQ(noProperties.counts, std::vector<unsigned>{0});
    EXPECT_EQ(noProperties.products.at(0).shape, Shape::Solid);
    limits = Limits::forFile(1000);
    limits.work = 100;
    const Counting noShapes = countWithin(limits, beamOf("#20") + block + setOf("#90") + single(90));
    EXPECT_EQ(noShapes.counts, std::vector<unsigned>{1});
    EXPECT_EQ(noShapes.products.at(0).shape, Shape::None);
}

TEST(PropertyLimits, ReadListsOfInvalidReferencesOnce) {
    constexpr std::size_t many = 1000000;
    std::string commas(many, ',');
    std::string nowhere = "#9";
    for (std::size_t i = 0; i < many; ++i)
        nowhere += ",#9";
    for (const std::string& list : {commas, nowhere}) {
        const Counting taken = count("#100=IFCPROPERTYSET('1234567890123456789012',$,$,$,(" + list +
                                     "));\n#10=IFCWALL('x',$,$,$,$,$,$);\n"
                                     "#20=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(" +
                                     list +
                                     "),#100);\n"
                                     "#21=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10),IFCPROPERTYSETDEFINITIONSET((" +
                                     list +
                                     ")));\n"
                                     "#22=IFCRELDEFINESBYTYPE('r',$,$,$,(#10),#30);\n#30=IFCWALLTYPE('t',$,$,$,$,(" +
                                     list + "),$,$,$,.X.);\n");
        EXPECT_EQ(taken.problems.size(), 4u) << "one for each list";
        EXPECT_NE(taken.reasons().find("; further invalid references in the same list: 1000000"), std::string::npos);
    }
}

} // namespace
} // namespace velmor_tests
