// A model with an entity of every kind that the reader uses, damaged at every position: the reader either rejects it with a
// FileError or passes valid objects on.

#include "importer/ifc/TextureSupport.h"
#include "importer/ifc/property/PropertySupport.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <random>
#include <string>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

/// Shapes of many kinds that share placements, profiles, curves and faces; properties, a georeference and textures.
std::string completeModel() {
    return stepFile(
        inMeters + beamOf("#20,#21,#22,#23,#24,#25,#26,#27,#28,#29") +
        "#20=IFCEXTRUDEDAREASOLID(#30,#9,#7,3.);\n#30=IFCISHAPEPROFILEDEF(.AREA.,'I',$,6.,10.,1.,2.,0.5,$,0.1);\n"
        "#21=IFCREVOLVEDAREASOLID(#31,$,#32,1.5);\n#32=IFCAXIS1PLACEMENT(#8,#6);\n#31=IFCARBITRARYPROFILEDEFWITHVOIDS(.AREA."
        ",$,#33,(#34));\n"
        "#33=IFCCOMPOSITECURVE((#35,#36),.F.);\n#35=IFCCOMPOSITECURVESEGMENT(.CONTINUOUS.,.T.,#37);\n"
        "#36=IFCCOMPOSITECURVESEGMENT(.CONTINUOUS.,.F.,#38);\n#37=IFCPOLYLINE((#41,#42));\n#41=IFCCARTESIANPOINT((8.,0.));\n"
        "#42=IFCCARTESIANPOINT((4.,0.));\n#38=IFCTRIMMEDCURVE(#39,(#41,IFCPARAMETERVALUE(0.)),(#42),.T.,.CARTESIAN.);\n"
        "#39=IFCCIRCLE(#43,2.);\n#43=IFCAXIS2PLACEMENT2D(#44,$);\n#44=IFCCARTESIANPOINT((6.,0.));\n"
        "#34=IFCINDEXEDPOLYCURVE(#45,(IFCLINEINDEX((1,2)),IFCARCINDEX((2,3,1))),.F.);\n#45=IFCCARTESIANPOINTLIST2D(((5.,0.5)"
        ",(6.,0.5),(5.5,1.)));\n"
        "#22=IFCSWEPTDISKSOLID(#46,0.5,0.25,$,$);\n#46=IFCPOLYLINE((#8,#47,#48));\n#47=IFCCARTESIANPOINT((2.,0.,0.));\n#48="
        "IFCCARTESIANPOINT((2.,3.,0.));\n"
        "#23=IFCMAPPEDITEM(#50,#51);\n#50=IFCREPRESENTATIONMAP(#9,#52);\n#51=IFCCARTESIANTRANSFORMATIONOPERATOR3DNONUNIFORM("
        "#5,$,#8,2.,#7,3.,0.5);\n"
        "#52=IFCSHAPEREPRESENTATION($,'Body','Brep',(#53));\n#53=IFCFACETEDBREP(#54);\n#54=IFCCLOSEDSHELL((#55,#56,#57,#58))"
        ";\n"
        "#55=IFCFACE((#61));\n#56=IFCFACE((#62));\n#57=IFCFACE((#63));\n#58=IFCFACE((#64));\n#61=IFCFACEOUTERBOUND(#65,.T.);"
        "\n"
        "#62=IFCFACEOUTERBOUND(#66,.T.);\n#63=IFCFACEOUTERBOUND(#67,.T.);\n#64=IFCFACEOUTERBOUND(#68,.F.);\n#65=IFCPOLYLOOP("
        "(#8,#71,#70));\n"
        "#66=IFCPOLYLOOP((#8,#70,#72));\n#67=IFCPOLYLOOP((#8,#72,#71));\n#68=IFCPOLYLOOP((#72,#71,#70));\n#70="
        "IFCCARTESIANPOINT((1.,0.,0.));\n"
        "#71=IFCCARTESIANPOINT((0.,1.,0.));\n#72=IFCCARTESIANPOINT((0.,0.,1.));\n"
        "#24=IFCTRIANGULATEDFACESET(#73,$,.T.,((1,3,2),(1,2,4),(1,4,3),(2,3,4)),$);\n"
        "#73=IFCCARTESIANPOINTLIST3D(((0.,0.,0.),(1.,0.,0.),(0.,1.,0.),(0.,0.,1.)));\n"
        "#25=IFCPOLYGONALFACESET(#73,$,(#74),(1,2,3,4));\n#74=IFCINDEXEDPOLYGONALFACEWITHVOIDS((1,2,3),((1,2,4)));\n"
        "#26=IFCBOOLEANCLIPPINGRESULT(.DIFFERENCE.,#75,#76);\n#75=IFCBLOCK(#9,1.,2.,3.);\n#76=IFCHALFSPACESOLID($,.T.);\n"
        "#27=IFCADVANCEDBREP(#77);\n#77=IFCCLOSEDSHELL((#78));\n#78=IFCADVANCEDFACE((#79),#80,.T.);\n#79=IFCFACEBOUND(#81,."
        "T.);\n"
        "#80=IFCPLANE(#9);\n#81=IFCEDGELOOP((#82));\n#82=IFCORIENTEDEDGE(*,*,#83,.T.);\n#83=IFCEDGECURVE(#84,#84,#85,.T.);\n"
        "#84=IFCVERTEXPOINT(#70);\n#85=IFCCIRCLE(#9,1.);\n"
        "#28=IFCEXTRUDEDAREASOLIDTAPERED(#86,$,#7,1.,#87);\n#86=IFCCOMPOSITEPROFILEDEF(.AREA.,$,(#88,#89),$);\n#87="
        "IFCDERIVEDPROFILEDEF(.AREA.,$,#86,#90,$);\n"
        "#88=IFCRECTANGLEHOLLOWPROFILEDEF(.AREA.,$,$,10.,6.,1.,0.5,1.5);\n#89=IFCCENTERLINEPROFILEDEF(.CURVE.,$,#37,0.1);\n"
        "#90=IFCCARTESIANTRANSFORMATIONOPERATOR2D($,$,#44,0.5);\n#29=IFCGEOMETRICSET((#91,#8,#37));\n"
        "#91=IFCSURFACEOFLINEAREXTRUSION(#92,#9,#7,3.);\n#92=IFCARBITRARYOPENPROFILEDEF(.CURVE.,$,#37);\n"
        "#100=IFCWALL('\\X2\\00E4\\X0\\\\S\\d\\PB\\\\S\\!',$,'it''s /* no comment */ ;',$,$,#101,#11);/* a comment */\n"
        "#101=IFCLOCALPLACEMENT(#102,#9);\n#102=IFCLOCALPLACEMENT($,#103);\n#103=IFCAXIS2PLACEMENT3D(#48,#6,#7);\n"
        "#104=(IFCA()IFCB($));\n#105=IFCX(\"0F\",*,.U.,-1.5E-3);\n"
        "#106=IFCPROPERTYSET('2DolU2$EL7fgr_cCQctE2n',$,'Pset_BeamCommon','d',(#107,#108,#109,#110));\n"
        "#107=IFCPROPERTYSINGLEVALUE('Span',$,IFCPOSITIVELENGTHMEASURE(7.5),$);\n"
        "#108=IFCPROPERTYSINGLEVALUE('LoadBearing','x',IFCBOOLEAN(.T.),$);\n"
        "#109=IFCPROPERTYSINGLEVALUE('Slope',$,IFCPLANEANGLEMEASURE(0.5),#4);\n"
        "#110=IFCCOMPLEXPROPERTY('C',$,'\\X2\\00E4\\X0\\',(#111,#112));\n"
        "#111=IFCPROPERTYSINGLEVALUE('Angle',$,IFCCOMPOUNDPLANEANGLEMEASURE((49,5,43,983700)),$);\n"
        "#112=IFCCOMPLEXPROPERTY('D',$,'u',(#113));\n#113=IFCPROPERTYSINGLEVALUE('Label',$,IFCLABEL('l'),$);\n"
        "#114=IFCPROPERTYSET('2DolU2$EL7fgr_cCQctE2m',$,'Mine',$,(#113,#115));\n"
        "#115=IFCPROPERTYSINGLEVALUE('Many',$,IFCINTEGER(99999999999),$);\n"
        "#116=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10,#100),#106);\n"
        "#117=IFCRELDEFINESBYPROPERTIES('r',$,$,$,(#10),IFCPROPERTYSETDEFINITIONSET((#114,#106)));\n"
        "#118=IFCRELDEFINESBYTYPE('r',$,$,$,(#100),#119);\n"
        "#119=IFCWALLTYPE('t',$,'T',$,$,(#114,#120),$,$,$,.STANDARD.);\n#120=IFCELEMENTQUANTITY('q',$,$,$,$,());\n"
        "#121=IFCMAPCONVERSION(#122,#124,1.,2.,3.,0.,1.,1.);\n#122=IFCGEOMETRICREPRESENTATIONSUBCONTEXT($,$,*,*,*,*,#123,$,"
        ".MODEL_VIEW.,$);\n"
        "#123=IFCGEOMETRICREPRESENTATIONCONTEXT($,'Model',3,$,#9,$);\n#124=IFCPROJECTEDCRS('n','d','g','v','p','z',#3);\n"
        "#125=IFCBLOBTEXTURE(.T.,.T.,'DIFFUSE',#90,('a'),'PNG'," +
        binaryOf(png("blob")) + ");\n#126=IFCIMAGETEXTURE(.T.,.F.,$,$,$,'./textures\\\\a%20b.png');\n");
}

/// The folder of the model. It contains an image; another image is outside of it and must never be read.
const Velmor::WideString& folderOfModel() {
    static const TemporaryFolder folder;
    static const Velmor::WideString path = [] {
        writeFile(folder / "outside.png", png("outside"));
        writeFile(folder / "model/textures/a b.png", png("file"));
        return wide(folder / "model/");
    }();
    return path;
}

/// Expects that the objects are valid, whatever was read.
void expectValid(const Taken& taken, const std::string& what) {
    for (const Product& product : taken.products) {
        ASSERT_EQ(product.vertices.size() % 3, 0u) << what;
        for (const double coordinate : product.vertices)
            ASSERT_TRUE(std::isfinite(coordinate)) << what;
        ASSERT_EQ(product.shape == Shape::None, product.vertices.empty()) << what;
        ASSERT_EQ(product.shape == Shape::Solid, product.volume > 0.0) << what;
        ASSERT_TRUE(std::isfinite(product.volume)) << what;
        ASSERT_FALSE(product.className.empty()) << what;
        ASSERT_GT(product.line, 0u) << what;
    }
    for (const Velmor::IFC2X3_PSet_Custom_s& set : taken.sets) {
        ASSERT_EQ(shown(set).find(" nan"), std::string::npos) << what;
        ASSERT_EQ(shown(set).find(" inf"), std::string::npos) << what;
        ASSERT_EQ(std::count(set.globalId, set.globalId + 22, '\0'), 0) << what;
    }
    for (const Texture& texture : taken.textures) {
        ASSERT_EQ(bytesOf(texture).find(png("")), 0u) << what;
        ASSERT_EQ(bytesOf(texture).find("outside"), std::string::npos) << what;
        ASSERT_TRUE(texture.name.empty() || bytesOf(texture) == png("file")) << what;
    }
    ASSERT_LE(taken.georeferences.size(), 1u) << what;
    for (const Problem& problem : taken.problems) {
        ASSERT_FALSE(problem.reason.empty()) << what;
        ASSERT_GT(problem.line, 0u) << what;
    }
}

/// @return false if the text was rejected with a FileError.
bool tryRead(const std::string& text, const std::string& what) {
    try {
        const step::File file = fileOf(text);
        Taken taken;
        readProducts(file, {100000, 1 << 22, 1 << 23, 1000, 1 << 20, 1000}, taken, folderOfModel());
        expectValid(taken, what);
        return true;
    } catch (const step::FileError& error) {
        EXPECT_NE(std::string(error.what()).find("model.ifc, line "), std::string::npos) << what;
        EXPECT_NE(std::string(error.what()).find("; expected "), std::string::npos) << what;
        return false;
    }
}

TEST(Mutations, UndamagedModelIsReadWithoutProblems) {
    const step::File file = fileOf(completeModel());
    Taken taken;
    readProducts(file, Limits::forFile(file.size()), taken, folderOfModel());
    EXPECT_EQ(taken.reasons(), "");
    ASSERT_EQ(taken.products.size(), 2u);
    EXPECT_GT(taken.products[0].vertices.size(), 3000u);
    EXPECT_EQ(taken.products[0].vertices.size(), taken.products[1].vertices.size());
    EXPECT_EQ(taken.products[1].name, VELMOR_WIDE("it's /* no comment */ ;"));
    ASSERT_EQ(taken.sets.size(), 2u);
    EXPECT_EQ(taken.sets[0].properties.getCount(), 4u);
    EXPECT_EQ(taken.sets[1].properties.getCount(), 2u);
    EXPECT_EQ(taken.products[0].propertySets, (std::vector<std::uint32_t>{0, 1}));
    EXPECT_EQ(taken.products[1].propertySets, (std::vector<std::uint32_t>{0, 1}));
    EXPECT_EQ(taken.georeferences.size(), 1u);
    ASSERT_EQ(taken.textures.size(), 2u);
    EXPECT_EQ(bytesOf(taken.textures[0]), png("blob"));
    EXPECT_EQ(bytesOf(taken.textures[1]), png("file"));
    EXPECT_EQ(taken.textures[1].name, "a b.png");
}

TEST(Mutations, RejectsModelCutOffAtAnyPosition) {
    const std::string text = completeModel();
    const std::size_t enough = text.rfind(';') + 1;
    for (std::size_t size = 0; size < enough; ++size)
        ASSERT_FALSE(tryRead(text.substr(0, size), "cut at " + std::to_string(size)));
}

TEST(Mutations, ReadsOrRejectsModelWithAnyByteChanged) {
    const std::string text = completeModel();
    const unsigned seed = 20240229;
    std::printf("seed %u\n", seed);
    std::mt19937 random(seed);
    const std::string significant = "()'\"#,;$*./\\=-0123456789EISTX \n";
    int reads = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::string changed = text;
        changed[i] = i % 3 == 0 ? static_cast<char>(random()) : significant[random() % significant.size()];
        reads += tryRead(changed, "byte " + std::to_string(i) + " changed");
    }
    EXPECT_GT(reads, static_cast<int>(text.size() / 2)) << "most changes of one byte damage a single object";
}

TEST(Mutations, ReadsOrRejectsModelWithSeveralChanges) {
    const std::string text = completeModel();
    const unsigned seed = 19840521;
    std::printf("seed %u\n", seed);
    std::mt19937 random(seed);
    const std::string pieces[] = {"",
                                  "(",
                                  ")",
                                  "'",
                                  "''",
                                  "\\S\\'",
                                  "/*",
                                  "*/",
                                  ";",
                                  ",",
                                  "$",
                                  "#20",
                                  "#10",
                                  "#99",
                                  "1E400",
                                  "-1E308",
                                  "1E-400",
                                  "0.",
                                  "NAN",
                                  "((((",
                                  "))))",
                                  "IFCWALL",
                                  "#8,#8,#8",
                                  "ENDSEC;",
                                  "\\X2\\D83D\\X0\\",
                                  "99999999999999999999",
                                  "IFCPIXELTEXTURE",
                                  "../",
                                  "%2E%2e%2F",
                                  "%"};
    for (int round = 0; round < 3000; ++round) {
        std::string changed = text;
        for (unsigned changes = 1 + random() % 4; changes != 0; --changes) {
            const std::size_t at = 150 + random() % (changed.size() - 250);
            const std::string& piece = pieces[random() % std::size(pieces)];
            changed.replace(at, random() % 6, piece);
        }
        tryRead(changed, "round " + std::to_string(round));
    }
}

TEST(Mutations, ReadsModelWithRandomReferences) {
    // Instances of every kind in the place of every other kind, and hundreds of cycles.
    const std::string text = completeModel();
    const unsigned seed = 7;
    std::printf("seed %u\n", seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 1500; ++round) {
        std::string changed = text;
        for (unsigned changes = 1 + random() % 8; changes != 0; --changes) {
            std::size_t at = changed.find('#', random() % changed.size());
            if (at == std::string::npos || at + 1 >= changed.size())
                continue;
            std::size_t last = at + 1;
            while (isDigit(changed[last]))
                ++last;
            if (changed[last] != '=')
                changed.replace(at + 1, last - at - 1, std::to_string(1 + random() % 126));
        }
        ASSERT_TRUE(tryRead(changed, "round " + std::to_string(round)));
    }
}

} // namespace
} // namespace velmor_tests
