#include "importer/ifc/property/PropertySupport.h"

#include <string>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

/// #100 and following: empty sets with these names.
std::string setsNamed(std::initializer_list<const char*> setNames) {
    std::string data;
    int number = 100;
    for (const char* name : setNames)
        data += "#" + std::to_string(number++) + "=IFCPROPERTYSET('1234567890123456789012',$,'" + name + "',$,());\n";
    return data;
}

const std::string walls = "#10=IFCWALL('x',$,$,$,$,$,$);\n#11=IFCWALL('y',$,$,$,$,$,$);\n#12=IFCSLAB('z',$,$,$,$,$,$);\n";

using Indices = std::vector<std::uint32_t>;

/// The numbers of the sets of each product.
std::vector<Indices> indicesIn(const Taken& taken) {
    std::vector<Indices> result;
    for (const Product& product : taken.products)
        result.push_back(product.propertySets);
    return result;
}

TEST(PropertyRelations, AssignSetsToObjects) {
    const Taken taken = readData(walls + setsNamed({"A", "B", "C"}) +
                                 "#20=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10,#12),#102);\n"
                                 "#21=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10),#100);\n"
                                 "#22=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10,#10),#102);\n");
    EXPECT_EQ(taken.reasons(), "");
    EXPECT_EQ(indicesIn(taken), (std::vector<Indices>{{0, 2}, {}, {2}})) << "each set once, in the order of the file";
}

TEST(PropertyRelations, MayAssignSeveralSetsAtOnce) {
    const Taken taken =
        readData(walls + setsNamed({"A", "B", "C"}) +
                 "#20=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#11,#12),IFCPROPERTYSETDEFINITIONSET((#102,#100)));\n");
    EXPECT_EQ(taken.reasons(), "");
    EXPECT_EQ(indicesIn(taken), (std::vector<Indices>{{}, {0, 2}, {0, 2}}));
}

TEST(PropertyRelations, SetsOfATypeFollowThoseOfTheObject) {
    const Taken taken = readData(walls + setsNamed({"of type", "own", "of type too"}) +
                                 "#30=IFCWALLTYPE('t',$,'T',$,$,(#102,#100),$,$,$,.STANDARD.);\n"
                                 "#31=IFCSLABTYPE('u',$,'U',$,$,$,$,$,$,.FLOOR.);\n"
                                 "#20=IFCRELDEFINESBYTYPE('r',$,$,$,(#10,#11),#30);\n"
                                 "#21=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10),#101);\n"
                                 "#22=IFCRELDEFINESBYTYPE('r',$,$,$,(#12),#31);\n");
    EXPECT_EQ(taken.reasons(), "");
    EXPECT_EQ(indicesIn(taken), (std::vector<Indices>{{1, 0, 2}, {0, 2}, {}}));
}

TEST(PropertyRelations, SetOfAnObjectReplacesSetOfItsTypeWithTheSameName) {
    const std::string relations = "#30=IFCDOORSTYLE('t',$,'T',$,$,(#100,#101),$,$,.NOTDEFINED.,.NOTDEFINED.,.F.,.F.);\n"
                                  "#20=IFCRELDEFINESBYTYPE('r',$,$,$,(#10,#11),#30);\n"
                                  "#21=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10),#102);\n";
    EXPECT_EQ(indicesIn(readData(walls + setsNamed({"A", "B", "A"}) + relations)),
              (std::vector<Indices>{{2, 1}, {0, 1}, {}}));
    EXPECT_EQ(indicesIn(readData(walls + setsNamed({"\\X2\\00C4\\X0\\", "B", "\\X\\C4"}) + relations)),
              (std::vector<Indices>{{2, 1}, {0, 1}, {}}))
        << "names are compared after decoding";
    const std::string text(300, 'x');
    EXPECT_EQ(indicesIn(readData(walls + setsNamed({(text + "1").c_str(), "B", (text + "2").c_str()}) + relations)),
              (std::vector<Indices>{{2, 0, 1}, {0, 1}, {}}))
        << "names are compared before they are cut";
}

TEST(PropertyRelations, SimilarNamesAreDifferent) {
    const Taken taken = readData(walls + setsNamed({"Pset_CurtainWallCommon", "B", "Pset_IFC2X3_PSet_CurtainWallCommon"}) +
                                 "#30=IFCWALLTYPE('t',$,'T',$,$,(#100),$,$,$,.STANDARD.);\n"
                                 "#20=IFCRELDEFINESBYTYPE('r',$,$,$,(#10),#30);\n"
                                 "#21=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10),#102);\n");
    EXPECT_EQ(indicesIn(taken).at(0), (Indices{2, 0}));
}

TEST(PropertyRelations, ObjectMayHaveTwoSetsOfTheSameName) {
    const Taken taken = readData(walls + setsNamed({"A", "A"}) +
                                 "#20=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10),#100);\n"
                                 "#21=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10),#101);\n");
    EXPECT_EQ(indicesIn(taken).at(0), (Indices{0, 1}));
}

TEST(PropertyRelations, IgnoreOtherObjectsAndOtherDefinitions) {
    const Taken taken = readData(walls + setsNamed({"A"}) +
                                 "#40=IFCGROUP('g',$,$,$,$);\n#41=IFCELEMENTQUANTITY('q',$,'Q',$,$,());\n"
                                 "#42=IFCDOORLININGPROPERTIES('d',$,$,$,$,$,$,$,$,$,$,$,$,$,$);\n"
                                 "#30=IFCWALLTYPE('t',$,'T',$,$,(#41,#100,#42),$,$,$,.STANDARD.);\n"
                                 "#20=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#40,#1,#11),#100);\n"
                                 "#21=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10),#41);\n"
                                 "#22=IFCRELDEFINESBYTYPE('r',$,$,$,(#12,#40),#30);\n");
    EXPECT_EQ(taken.reasons(), "");
    EXPECT_EQ(indicesIn(taken), (std::vector<Indices>{{}, {0}, {0}}));
}

TEST(PropertyRelations, ReportOverridingProperties) {
    const Taken taken = readData(walls + setsNamed({"A"}) + "#20=IFCRELOVERRIDESPROPERTIES('r',$,$,$,(#10),#100,(#50));\n");
    EXPECT_EQ(indicesIn(taken).at(0), Indices{0});
    EXPECT_EQ(taken.reasons(),
              "IFCRELOVERRIDESPROPERTIES: its overriding properties are not imported (in the relation #20)\n");
}

TEST(PropertyRelations, ReportInvalidRelationAndReadTheOthers) {
    struct {
        const char* damage;
        const char* reason;
        Indices expected;
    } const cases[] = {
        {"#20=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#99,#10,#98),#101);\n",
         "refers to #99, which does not exist in the file; further invalid references in the same list: 1",
         {0, 1}},
        {"#20=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10),#99);\n", "refers to #99", {0}},
        {"#20=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10),$);\n", "a reference to an instance", {0}},
        {"#20=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10),#11);\n", "refers to #11, which is not a property set", {0}},
        {"#20=IFCRELDEFINESBYPROPERTIES('r',$,$,$,$,#101);\n", "a list", {0}},
        {"#20=IFCRELDEFINESBYPROPERTIES('r',$,$,$,#10,#101);\n", "a list", {0}},
        {"#20=IFCRELDEFINESBYPROPERTIES();\n", "a reference to an instance", {0}},
        {"#20=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10),IFCPROPERTYSETDEFINITIONSET(#101));\n",
         "nor a list of property sets",
         {0}},
        {"#20=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10),IFCPROPERTYSETDEFINITIONSET((#101,#99)));\n",
         "refers to #99",
         {0, 1}},
        {"#20=IFCRELDEFINESBYTYPE('r',$,$,$,(#10),#99);\n", "refers to #99", {0}},
        {"#20=IFCRELDEFINESBYTYPE('r',$,$,$,(#10),#4);\n", "is not a type object", {0}},
        {"#20=IFCRELDEFINESBYTYPE('r',$,$,$,(#10),#30);\n#30=IFCWALLTYPE('t',$,'T',$,$,#101,$,$,$,.X.);\n", "a list", {0}},
        {"#20=IFCRELDEFINESBYTYPE('r',$,$,$,(#10),#30);\n#30=IFCWALLTYPE('t',$,'T',$,$,(#101,#99,#12),$,$,$,.X.);\n",
         "refers to #12, which is not a property set",
         {0, 1}},
    };
    for (const auto& [damage, reason, expected] : cases) {
        const Taken taken =
            readData(walls + setsNamed({"A", "B"}) + damage + "#29=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10),#100);\n");
        ASSERT_EQ(taken.products.size(), 3u);
        EXPECT_EQ(indicesIn(taken)[0], expected) << damage;
        EXPECT_NE(taken.reasons().find(reason), std::string::npos) << damage << taken.reasons();
        EXPECT_EQ(taken.sets.size(), 2u);
    }
}

TEST(PropertyRelations, InvalidTypeDoesNotAffectOtherRelations) {
    const Taken taken = readData(walls + setsNamed({"A", "B"}) +
                                 "#20=IFCRELDEFINESBYTYPE('r',$,$,$,(#10),#30);\n"
                                 "#21=IFCRELDEFINESBYTYPE('r',$,$,$,(#11),#30);\n"
                                 "#30=IFCWALLTYPE('t',$,'T',$,$,7,$,$,$,.X.);\n"
                                 "#22=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#12),#101);\n");
    EXPECT_EQ(indicesIn(taken), (std::vector<Indices>{{}, {}, {1}}));
    EXPECT_EQ(taken.problems.size(), 1u) << "reported once: " << taken.reasons();
}

} // namespace
} // namespace velmor_tests
