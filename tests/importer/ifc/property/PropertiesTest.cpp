#include "importer/ifc/property/PropertySupport.h"

#include <string>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

/// The property with this value, as text.
std::string valueOf(const std::string& value) {
    const Taken taken = readData(setOf("#101") + "#101=IFCPROPERTYSINGLEVALUE('P',$," + value + ",$);\n");
    EXPECT_EQ(taken.reasons(), "") << value;
    return shown(onlySet(taken).properties);
}

/// Values as the file has them, and as `shown` returns them.
const std::pair<const char*, const char*> typedValues[] = {
    {"IFCLABEL('a label')", "string 'a label'"},
    {"IFCTEXT('it''s')", "string 'it's'"},
    {"IFCIDENTIFIER('')", "string ''"},
    {"IFCDESCRIPTIVEMEASURE('big')", "string 'big'"},
    {"IFCDATE('2024-02-29')", "string '2024-02-29'"},
    {"IFCTIME('12:00:00')", "string '12:00:00'"},
    {"IFCDATETIME('2024-02-29T12:00:00')", "string '2024-02-29T12:00:00'"},
    {"IFCDURATION('P1D')", "string 'P1D'"},
    {"IFCURIREFERENCE('urn:x')", "string 'urn:x'"},
    {"IFCBINARY(\"0FA\")", "string '0FA'"},
    {"IFCBOOLEAN(.T.)", "boolean true"},
    {"IFCBOOLEAN(.F.)", "boolean false"},
    {"IFCBOOLEAN(.U.)", "logical 2"},
    {"IFCLOGICAL(.F.)", "logical 0"},
    {"IFCLOGICAL(.T.)", "logical 1"},
    {"IFCLOGICAL(.U.)", "logical 2"},
    {"IFCINTEGER(-7)", "integer -7"},
    {"IFCINTEGER(2147483647)", "integer 2147483647"},
    {"IFCINTEGER(2147483648)", "integer64 2147483648"},
    {"IFCINTEGER(-2147483648)", "integer -2147483648"},
    {"IFCINTEGER(-2147483649)", "integer64 -2147483649"},
    {"IFCINTEGER(9223372036854775807)", "integer64 9223372036854775807"},
    {"IFCINTEGER(18446744073709551616)", "real 18446744073709551616"},
    {"IFCCOUNTMEASURE(3)", "integer 3"},
    {"IFCCOUNTMEASURE(3.)", "integer 3"},
    {"IFCCOUNTMEASURE(3.E10)", "integer64 30000000000"},
    {"IFCCOUNTMEASURE(2.5)", "real 2.5"},
    {"IFCPOSITIVEINTEGER(+5)", "integer 5"},
    {"IFCTIMESTAMP(1672426161)", "integer 1672426161"},
    {"IFCINTEGERCOUNTRATEMEASURE(9)", "integer 9"},
    {"IFCREAL(1.5E-3)", "real 0.0015"},
    {"IFCREAL(2)", "real 2"},
    {"IFCNUMERICMEASURE(-0.)", "real -0"},
    {"IFCRATIOMEASURE(0.5)", "real 0.5"},
    {"IFCPOSITIVERATIOMEASURE(1.141168)", "real 1.141168"},
    {"IFCNORMALISEDRATIOMEASURE(0.25)", "real 0.25"},
    {"IFCPARAMETERVALUE(4.)", "real 4"},
    {"IFCPHMEASURE(7.)", "real 7"},
    {"IFCTHERMALTRANSMITTANCEMEASURE(0.24)", "real 0.24"},
    {"IFCLENGTHMEASURE(7.421299999999966)", "length 7.421299999999966"},
    {"IFCPOSITIVELENGTHMEASURE(0.1)", "length 0.1"},
    {"IFCNONNEGATIVELENGTHMEASURE(0.)", "length 0"},
    {"IFCAREAMEASURE(12.)", "area 12"},
    {"IFCVOLUMEMEASURE(13.)", "volume 13"},
    {"IFCMASSMEASURE(14.)", "mass 14"},
    {"IFCPLANEANGLEMEASURE(0.7853981633974483)", "angle 0.7853981633974483"},
    {"IFCPOSITIVEPLANEANGLEMEASURE(1.)", "angle 1"},
    {"IFCCOMPOUNDPLANEANGLEMEASURE((49,5,43))", "compound 49 5 43 0"},
    {"IFCCOMPOUNDPLANEANGLEMEASURE((-87,-38,-21,-839999))", "compound -87 -38 -21 -839999"},
    {"IFCTHERMODYNAMICTEMPERATUREMEASURE(293.15)", "unspecified 293.15"},
    {"IFCTIMEMEASURE(60.)", "unspecified 60"},
    {"IFCCONTEXTDEPENDENTMEASURE(1.)", "unspecified 1"},
    {"IFCMONETARYMEASURE(9.99)", "unspecified 9.99"},
    {"IFCPOWERMEASURE(1000.)", "unspecified 1000"},
    {"IFCUNKNOWNMEASURE(42)", "unspecified 42"},
    {"IFCUNKNOWNTEXT('42')", "string '42'"},
    {"'without a type'", "string 'without a type'"},
    {"3.5", "unspecified 3.5"},
    {"IFCLABEL ( /* a comment */ 'spaced' ) ", "string 'spaced'"},
};

TEST(Properties, EveryDefinedTypeHasItsValueType) {
    for (const auto& [value, expected] : typedValues)
        EXPECT_EQ(valueOf(value), std::string("P = ") + expected) << value;
}

TEST(Properties, HaveNamesAndDescriptions) {
    const Taken taken = readData(setOf("#101,#102,#103") +
                                 "#101=IFCPROPERTYSINGLEVALUE('Breite',  'in der Mitte', IFCREAL(1.), $);\n"
                                 "#102=IFCPROPERTYSINGLEVALUE($,$,IFCREAL(2.),$);\n"
                                 "#103=IFCPROPERTYSINGLEVALUE('G\\X2\\00F600DF\\X0\\e','\\S\\d',IFCLABEL('\\X\\C4\\X2\\"
                                 "4E2D6587\\X0\\\\X4\\0001F600\\X0\\'),$);\n");
    EXPECT_EQ(taken.reasons(), "");
    const auto set = onlySet(taken);
    ASSERT_EQ(set.properties.getCount(), 3u);
    EXPECT_EQ(shown(set.properties.getProperty(0)), "Breite (in der Mitte) = real 1");
    EXPECT_EQ(shown(set.properties.getProperty(1)), " = real 2");
    const auto& escaped = set.properties.getProperty(2);
    EXPECT_EQ(escaped.getName(), Velmor::WideString(VELMOR_WIDE("G\u00F6\u00DFe")));
    EXPECT_EQ(escaped.getDescription(), Velmor::WideString(VELMOR_WIDE("\u00E4")));
    EXPECT_EQ(escaped.getPropertySingleValue().getAsString(), VELMOR_WIDE("\u00C4\u4E2D\u6587\U0001F600"));
}

TEST(Properties, SetHasGlobalIdNameAndDescription) {
    const Taken taken =
        readData("#100=IFCPROPERTYSET('2DolU2$EL7fgr_cCQctE2n',#9,'Ma\\X2\\00DF\\X0\\e','of walls',(#101));\n"
                 "#101=IFCPROPERTYSINGLEVALUE('P',$,IFCREAL(1.),$);\n");
    EXPECT_EQ(taken.reasons(), "");
    const auto set = onlySet(taken);
    EXPECT_EQ(std::string(set.globalId, 22), "2DolU2$EL7fgr_cCQctE2n");
    EXPECT_EQ(utf8(set.name), "Ma\xC3\x9F"
                              "e");
    EXPECT_EQ(utf8(set.description), "of walls");
    EXPECT_EQ(shown(set.properties), "P = real 1");
}

TEST(Properties, InvalidGlobalIdBecomesZeros) {
    for (const char* globalId : {"''", "'123456789012345678901'", "'12345678901234567890123'", "$", "7",
                                 "'\\X2\\00E4\\X0\\23456789012345678901'", "'1234567890 12345678901'"}) {
        const Taken taken = readData("#100=IFCPROPERTYSET(" + std::string(globalId) +
                                     ",$,'A set',$,(#101));\n#101=IFCPROPERTYSINGLEVALUE('P',$,IFCREAL(1.),$);\n");
        const auto set = onlySet(taken);
        EXPECT_EQ(std::string(set.globalId, 22), std::string(22, '0')) << globalId;
        EXPECT_EQ(shown(set), "A set: P = real 1");
        EXPECT_NE(taken.reasons().find("its GlobalId does not have 22 characters"), std::string::npos) << globalId;
        EXPECT_EQ(taken.problems.front().instance, 100u);
    }
}

TEST(Properties, CutsLongNamesButNotLongValues) {
    const std::string text(10000, 'x');
    const std::string cut(255, 'x');
    const Taken taken =
        readData("#100=IFCPROPERTYSET('1234567890123456789012',$,'" + text + "','" + text +
                 "',(#101,#102));\n#101=IFCPROPERTYSINGLEVALUE('" + text + "','" + text + "',IFCTEXT('" + text +
                 "'),$);\n#102=IFCCOMPLEXPROPERTY('" + text + "','" + text + "','" + text + "',());\n");
    EXPECT_EQ(taken.reasons(), "") << "this is not a problem";
    const auto set = onlySet(taken);
    EXPECT_EQ(utf8(set.name), cut);
    EXPECT_EQ(utf8(set.description), cut);
    EXPECT_EQ(shown(set.properties),
              cut + " (" + cut + ") = string '" + text + "', " + cut + " (" + cut + ") = complex '" + cut + "' {}");
}

TEST(Properties, NulEndsNamesButNotValues) {
    const Taken taken =
        readData(setOf("#101") + "#101=IFCPROPERTYSINGLEVALUE('a\\X2\\0000\\X0\\b',$,IFCLABEL('c\\X2\\0000\\X0\\d'),$);\n");
    const auto set = onlySet(taken);
    const auto& property = set.properties.getProperty(0);
    EXPECT_EQ(utf8(property.getName()), "a");
    EXPECT_EQ(property.getPropertySingleValue().getAsString().size(), 3u);
}

TEST(Properties, OmittedValueIsAnEmptyTextAndCounted) {
    const Taken taken = readData(setOf("#101,#102,#103") + "#101=IFCPROPERTYSINGLEVALUE('A',$,$,$);\n"
                                                           "#102=IFCPROPERTYSINGLEVALUE('B','b',$,$);\n"
                                                           "#103=IFCPROPERTYSINGLEVALUE('C',$,IFCLABEL(''),$);\n");
    EXPECT_EQ(shown(onlySet(taken).properties), "A = string '', B (b) = string '', C = string ''");
    ASSERT_EQ(taken.problems.size(), 1u);
    EXPECT_EQ(taken.problems[0].instance, 101u);
    EXPECT_EQ(taken.problems[0].reason, "IFCPROPERTYSINGLEVALUE: omitted values are imported as empty texts: 2");
}

TEST(Properties, ReportsEachUnsupportedKindOnce) {
    const Taken taken = readData(
        setOf("#101,#102,#103,#104,#105,#106,#107,#108") +
        "#101=IFCPROPERTYENUMERATEDVALUE('A',$,(IFCLABEL('x')),$);\n#102=IFCPROPERTYLISTVALUE('B',$,(IFCREAL(1.)),$);"
        "\n#103=IFCPROPERTYBOUNDEDVALUE('C',$,IFCREAL(1.),$,$);\n#104=IFCPROPERTYTABLEVALUE('D',$,$,$,$,$,$);\n"
        "#105=IFCPROPERTYREFERENCEVALUE('E',$,$,#1);\n#106=IFCPROPERTYSINGLEVALUE('F',$,IFCCOMPLEXNUMBER((1.,2.)),$);"
        "\n#107=IFCPROPERTYENUMERATEDVALUE('G',$,(IFCLABEL('x')),$);\n#108=IFCPROPERTYSINGLEVALUE('H',$,IFCREAL(1.),$);"
        "\n#200=IFCPROPERTYSET('1234567890123456789012',$,'B',$,(#101));\n");
    ASSERT_EQ(taken.sets.size(), 2u);
    EXPECT_EQ(shown(taken.sets[0].properties), "H = real 1");
    EXPECT_EQ(shown(taken.sets[1].properties), "");
    EXPECT_EQ(taken.reasons(), "IFCPROPERTYENUMERATEDVALUE: properties of this kind are not imported: 3\n"
                               "IFCPROPERTYLISTVALUE: properties of this kind are not imported: 1\n"
                               "IFCPROPERTYBOUNDEDVALUE: properties of this kind are not imported: 1\n"
                               "IFCPROPERTYTABLEVALUE: properties of this kind are not imported: 1\n"
                               "IFCPROPERTYREFERENCEVALUE: properties of this kind are not imported: 1\n"
                               "IFCPROPERTYSINGLEVALUE: values that are lists are not imported: 1\n");
    EXPECT_EQ(taken.problems[0].instance, 101u);
    EXPECT_EQ(taken.problems[0].line, 13u);
}

/// A model whose unit of angles is #40, half a radian.
std::string inDegrees(const std::string& data) {
    return stepFile("#1=IFCPROJECT('0000000000000000000000',$,$,$,$,$,$,$,#2);\n#2=IFCUNITASSIGNMENT((#3,#40));\n"
                    "#3=IFCSIUNIT(*,.LENGTHUNIT.,.MILLI.,.METRE.);\n#4=IFCSIUNIT(*,.PLANEANGLEUNIT.,$,.RADIAN.);\n"
                    "#40=IFCCONVERSIONBASEDUNIT($,.PLANEANGLEUNIT.,'DEGREE',#41);\n"
                    "#41=IFCMEASUREWITHUNIT(IFCPLANEANGLEMEASURE(0.5),#4);\n" +
                    data);
}

TEST(Properties, ConvertsAnglesToRadiansAndKeepsOtherNumbers) {
    const Taken taken =
        readText(inDegrees(setOf("#101,#102,#103") + "#101=IFCPROPERTYSINGLEVALUE('A',$,IFCPLANEANGLEMEASURE(3.),$);\n"
                                                     "#102=IFCPROPERTYSINGLEVALUE('L',$,IFCLENGTHMEASURE(1500.),$);\n"
                                                     "#103=IFCPROPERTYSINGLEVALUE('S',$,IFCSOLIDANGLEMEASURE(3.),$);\n"));
    EXPECT_EQ(taken.reasons(), "");
    EXPECT_EQ(shown(onlySet(taken).properties), "A = angle 1.5, L = length 1500, S = unspecified 3");
}

TEST(Properties, UsesTheUnitOfAnAngleAndReportsOtherUnits) {
    const Taken taken = readText(inDegrees(setOf("#101,#102,#103,#104") +
                                           "#101=IFCPROPERTYSINGLEVALUE('A',$,IFCPLANEANGLEMEASURE(3.),#4);\n"
                                           "#102=IFCPROPERTYSINGLEVALUE('L',$,IFCLENGTHMEASURE(1500.),#3);\n"
                                           "#103=IFCPROPERTYSINGLEVALUE('T',$,IFCLABEL('x'),#3);\n"
                                           "#104=IFCPROPERTYSINGLEVALUE('U',$,IFCPLANEANGLEMEASURE(3.),#3);\n"));
    EXPECT_EQ(shown(onlySet(taken).properties), "A = angle 3, L = length 1500, T = string 'x'");
    EXPECT_EQ(taken.reasons(),
              "IFCSIUNIT: is not a unit of the expected type PLANEANGLEUNIT (in IFCPROPERTYSET #100)\n"
              "IFCPROPERTYSINGLEVALUE: properties with a unit of their own are imported without the unit: 1\n");
}

TEST(Properties, ReportsAnglesOutOfRange) {
    const Taken taken = readData(setOf("#101") + "#101=IFCPROPERTYSINGLEVALUE('A',$,IFCPLANEANGLEMEASURE(1.E300),#102);\n"
                                                 "#102=IFCSIUNIT(*,.PLANEANGLEUNIT.,.EXA.,.RADIAN.);\n");
    EXPECT_EQ(shown(onlySet(taken).properties), "");
    EXPECT_EQ(taken.reasons(), "IFCPROPERTYSINGLEVALUE: its angle is out of range (in IFCPROPERTYSET #100)\n");
}

TEST(Properties, ComplexPropertyHasUsageNameAndProperties) {
    const Taken taken = readData(setOf("#101,#104") + "#101=IFCCOMPLEXPROPERTY('Layer','outer','CP_Layer',(#102,#103));\n"
                                                      "#102=IFCPROPERTYSINGLEVALUE('Width','w',IFCLENGTHMEASURE(1.),$);\n"
                                                      "#103=IFCCOMPLEXPROPERTY('Colour',$,'RGB',(#104,#105));\n"
                                                      "#104=IFCPROPERTYSINGLEVALUE('R',$,IFCINTEGER(1),$);\n"
                                                      "#105=IFCCOMPLEXPROPERTY('Empty',$,$,());\n");
    EXPECT_EQ(taken.reasons(), "");
    EXPECT_EQ(shown(onlySet(taken).properties),
              "Layer (outer) = complex 'CP_Layer' {Width (w) = length 1, Colour = complex 'RGB' {R = integer 1, "
              "Empty = complex '' {}}}, R = integer 1");
}

TEST(Properties, ReportsComplexPropertyThatContainsItself) {
    const Taken taken = readData(setOf("#101,#103") + "#101=IFCCOMPLEXPROPERTY('A',$,'a',(#103,#102));\n"
                                                      "#102=IFCCOMPLEXPROPERTY('B',$,'b',(#101,#103));\n"
                                                      "#103=IFCPROPERTYSINGLEVALUE('C',$,IFCREAL(1.),$);\n");
    EXPECT_EQ(shown(onlySet(taken).properties), "A = complex 'a' {C = real 1, B = complex 'b' {C = real 1}}, C = real 1");
    EXPECT_EQ(taken.reasons(), "IFCCOMPLEXPROPERTY: contains itself (in IFCPROPERTYSET #100)\n");
}

TEST(Properties, ReadsSixteenNestedComplexProperties) {
    const auto nested = [](int depth) {
        std::string data;
        for (int i = 0; i < depth; ++i)
            data += "#" + std::to_string(200 + i) + "=IFCCOMPLEXPROPERTY('" + std::to_string(i) + "',$,'u',(#" +
                    std::to_string(201 + i) + "));\n";
        return setOf("#200") + data + "#" + std::to_string(200 + depth) + "=IFCPROPERTYSINGLEVALUE('P',$,IFCREAL(1.),$);\n";
    };
    const Taken most = readData(nested(16));
    EXPECT_EQ(most.reasons(), "");
    EXPECT_NE(shown(onlySet(most).properties).find("15 = complex 'u' {P = real 1}"), std::string::npos);
    const Taken more = readData(nested(17));
    EXPECT_EQ(more.reasons(), "IFCCOMPLEXPROPERTY: is nested more than 16 levels deep (in IFCPROPERTYSET #100)\n");
    EXPECT_NE(shown(onlySet(more).properties).find("15 = complex 'u' {}"), std::string::npos);
    EXPECT_NE(readData(nested(100000)).reasons().find("is nested more than"), std::string::npos);
}

TEST(Properties, ReportsInvalidPropertyAndReadsTheOthers) {
    struct {
        const char* damage;
        const char* reason;
        std::uint64_t instance;
    } const cases[] = {
        {"#101=IFCPROPERTYSINGLEVALUE('A',$,IFCREAL(1.E400),$);\n", "its value does not match its type", 101},
        {"#101=IFCPROPERTYSINGLEVALUE('A',$,IFCREAL('1'),$);\n", "its value does not match its type", 101},
        {"#101=IFCPROPERTYSINGLEVALUE('A',$,IFCLABEL(1.),$);\n", "its value does not match its type", 101},
        {"#101=IFCPROPERTYSINGLEVALUE('A',$,IFCLABEL(IFCTEXT('x')),$);\n", "its value does not match its type", 101},
        {"#101=IFCPROPERTYSINGLEVALUE('A',$,IFCBOOLEAN(.X.),$);\n", "its value does not match its type", 101},
        {"#101=IFCPROPERTYSINGLEVALUE('A',$,IFCBOOLEAN(1),$);\n", "its value does not match its type", 101},
        {"#101=IFCPROPERTYSINGLEVALUE('A',$,IFCINTEGER(#1),$);\n", "its value does not match its type", 101},
        {"#101=IFCPROPERTYSINGLEVALUE('A',$,#1,$);\n", "its value does not match its type", 101},
        {"#101=IFCPROPERTYSINGLEVALUE('A',$,*,$);\n", "its value does not match its type", 101},
        {"#101=IFCPROPERTYSINGLEVALUE('A',$);\n", "its value does not match its type", 101},
        {"#101=IFCPROPERTYSINGLEVALUE('A',$,IFCREAL(),$);\n", "its typed value does not contain exactly one value", 101},
        {"#101=IFCPROPERTYSINGLEVALUE('A',$,IFCREAL(1.,2.),$);\n", "its typed value does not contain exactly one value",
         101},
        {"#101=IFCPROPERTYSINGLEVALUE('A',$,IFCCOMPOUNDPLANEANGLEMEASURE((1,2)),$);\n", "does not match its type", 101},
        {"#101=IFCPROPERTYSINGLEVALUE('A',$,IFCCOMPOUNDPLANEANGLEMEASURE((1,2,3,4,5)),$);\n", "does not match its type",
         101},
        {"#101=IFCPROPERTYSINGLEVALUE('A',$,IFCCOMPOUNDPLANEANGLEMEASURE((1,2,2147483648)),$);\n", "does not match its type",
         101},
        {"#101=IFCPROPERTYSINGLEVALUE('A',$,IFCCOMPOUNDPLANEANGLEMEASURE((1,2,3.5)),$);\n", "does not match its type", 101},
        {"#101=IFCCOMPLEXPROPERTY('A',$,'u',$);\n", "a list", 101},
        {"#101=IFCWALL('x',$,$,$,$,$,$);\n", "is not a property", 101},
        {"#101=IFCPROPERTYSET('1234567890123456789012',$,$,$,());\n", "is not a property", 101},
        {"", "refers to #101, which does not exist in the file", 100},
    };
    for (const auto& [damage, reason, instance] : cases) {
        const Taken taken = readData(setOf("#101,#102") + damage + "#102=IFCPROPERTYSINGLEVALUE('B',$,IFCREAL(2.),$);\n");
        ASSERT_FALSE(taken.sets.empty());
        EXPECT_EQ(shown(taken.sets[0].properties), "B = real 2") << damage;
        ASSERT_EQ(taken.problems.size(), 1u) << damage << taken.reasons();
        EXPECT_NE(taken.problems[0].reason.find(reason), std::string::npos) << damage << taken.reasons();
        EXPECT_NE(taken.problems[0].reason.find("(in IFCPROPERTYSET #100)"), std::string::npos);
        EXPECT_EQ(taken.problems[0].instance, instance) << damage;
    }
}

TEST(Properties, ReportsInvalidNamesAndReadsTheValue) {
    const Taken taken = readData("#100=IFCPROPERTYSET('1234567890123456789012',$,1,2,(#101));\n"
                                 "#101=IFCPROPERTYSINGLEVALUE(3,4,IFCREAL(1.),$);\n");
    EXPECT_EQ(shown(onlySet(taken)), ":  = real 1");
    EXPECT_EQ(taken.problems.size(), 4u) << taken.reasons();
}

TEST(Properties, ReportsPropertiesWithoutArguments) {
    const Taken taken = readData(setOf("#101,#102") + "#101=IFCPROPERTYSINGLEVALUE();\n#102=IFCCOMPLEXPROPERTY();\n");
    EXPECT_EQ(shown(onlySet(taken).properties), "");
    EXPECT_NE(taken.reasons().find("IFCPROPERTYSINGLEVALUE: its value does not match its type"), std::string::npos);
    EXPECT_NE(taken.reasons().find("IFCCOMPLEXPROPERTY: argument 4 is missing; expected a list"), std::string::npos);
}

TEST(Properties, SetWithoutListHasNoProperties) {
    for (const char* list : {"$", "7", "#101", "*"}) {
        const Taken taken =
            readData("#100=IFCPROPERTYSET('1234567890123456789012',$,'A set',$," + std::string(list) + ");\n");
        EXPECT_EQ(shown(onlySet(taken)), "A set: ");
        EXPECT_EQ(taken.problems.size(), 1u) << list;
    }
    EXPECT_EQ(readData("#100=IFCPROPERTYSET();\n").sets.size(), 1u);
}

TEST(Properties, ReportsInvalidReferencesOncePerSet) {
    const Taken taken =
        readData(setOf("#901,7,#101,#902,,#101,#101") + "#101=IFCPROPERTYSINGLEVALUE('A',$,IFCREAL(1.),$);\n");
    EXPECT_EQ(shown(onlySet(taken).properties), "A = real 1");
    EXPECT_EQ(
        taken.reasons(),
        "IFCPROPERTYSET: refers to #901, which does not exist in the file; further invalid references in the same list: 3 "
        "(in IFCPROPERTYSET #100)\n"
        "IFCPROPERTYSET: refers to properties more than once; repetitions ignored: 2 (in IFCPROPERTYSET #100)\n");
}

TEST(Properties, PassesEverySetOnOnceInTheOrderOfTheFile) {
    const Taken taken = readData("#300=IFCPROPERTYSET('1234567890123456789012',$,'C',$,());\n"
                                 "#10=IFCWALL('x',$,$,$,$,$,$);\n"
                                 "#100=IFCPROPERTYSET('1234567890123456789012',$,'A',$,());\n"
                                 "#20=IFCRELDEFINESBYPROPERTIES('y',$,$,$,(#10),#100);\n"
                                 "#21=IFCRELDEFINESBYPROPERTIES('y',$,$,$,(#1),#200);\n"
                                 "#200=IFCPROPERTYSET('1234567890123456789012',$,'B',$,());\n"
                                 "#22=IFCRELDEFINESBYPROPERTIES('y',$,$,$,(#10),#100);\n");
    ASSERT_EQ(taken.sets.size(), 3u);
    EXPECT_EQ(utf8(taken.sets[0].name), "C");
    EXPECT_EQ(utf8(taken.sets[1].name), "A");
    EXPECT_EQ(utf8(taken.sets[2].name), "B");
    EXPECT_EQ(taken.reasons(), "");
}

} // namespace
} // namespace velmor_tests
