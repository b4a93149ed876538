#include "importer/ifc/ReaderSupport.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

std::string number(int n) {
    return "#" + std::to_string(n);
}

std::string coordinates(double x, double y, double z) {
    return "((" + std::to_string(x) + "," + std::to_string(y) + "," + std::to_string(z) + "))";
}

// The faces of a cube, counterclockwise seen from outside; corner i is at (i & 1, i & 2, i & 4).
const std::vector<std::vector<int>> cubeFaces = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                                 {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};

// A shell of polygons between the corners of a cube. The shell has the number `first`, the instances it needs the following
// numbers.
std::string shell(int first, const std::vector<std::vector<int>>& faces, double low, double high,
                  const std::string& entity = "IFCCLOSEDSHELL", const std::string& orientation = ".T.") {
    std::string text;
    const int points = first + 1;
    for (int i = 0; i < 8; ++i)
        text += number(points + i) + "=IFCCARTESIANPOINT" +
                coordinates(i & 1 ? high : low, i & 2 ? high : low, i & 4 ? high : low) + ";\n";
    int next = points + 8;
    std::string list;
    for (const auto& face : faces) {
        std::string corners;
        for (const int corner : face)
            corners += (corners.empty() ? "" : ",") + number(points + corner);
        text += number(next) + "=IFCPOLYLOOP((" + corners + "));\n" + number(next + 1) + "=IFCFACEOUTERBOUND(" +
                number(next) + "," + orientation + ");\n" + number(next + 2) + "=IFCFACE((" + number(next + 1) + "));\n";
        list += (list.empty() ? "" : ",") + number(next + 2);
        next += 3;
    }
    return number(first) + "=" + entity + "((" + list + "));\n" + text;
}

TEST(Faces, FacetedCubeIsASolid) {
    const Product cube = beam("#20=IFCFACETEDBREP(#30);\n" + shell(30, cubeFaces, 1, 3));
    expectSolid(cube, 8.0, 2, 2, 2);
    EXPECT_EQ(cube.vertices.size(), 8u * 3u) << "a corner that faces share is one vertex";
}

TEST(Faces, ReversedFacesMakeTheSameSolid) {
    auto faces = cubeFaces;
    for (auto& face : faces)
        face = {face[3], face[2], face[1], face[0]};
    expectSolid(beam("#20=IFCFACETEDBREP(#30);\n" + shell(30, faces, 1, 3)), 8.0, 2, 2, 2);
    expectSolid(beam("#20=IFCFACETEDBREP(#30);\n" + shell(30, cubeFaces, 1, 3, "IFCCLOSEDSHELL", ".F.")), 8.0, 2, 2, 2);
}

TEST(Faces, MissingReversedOrRepeatedFacesMakeNoSolid) {
    auto missing = cubeFaces;
    missing.pop_back();
    auto reversed = cubeFaces;
    reversed[2] = {4, 5, 1, 0};
    auto repeated = cubeFaces;
    repeated.push_back(cubeFaces[0]);
    auto sheet = cubeFaces;
    sheet.push_back({0, 1, 3, 2});
    sheet.push_back({0, 2, 3, 1});
    for (const auto& faces : {missing, reversed, repeated, sheet}) {
        const Product product = beam("#20=IFCFACETEDBREP(#30);\n" + shell(30, faces, 1, 3));
        EXPECT_EQ(product.shape, Shape::Points);
        EXPECT_EQ(product.volume, 0.0);
        EXPECT_EQ(product.vertices.size(), 8u * 3u);
        expectBox(product, 1, 1, 1, 3, 3, 3);
    }
}

TEST(Faces, PointsWithEqualCoordinatesAreOneVertex) {
    // Each face has its own instances of points.
    std::string text = "#20=IFCFACETEDBREP(#30);\n#30=IFCCLOSEDSHELL((#1000,#1100,#1200,#1300,#1400,#1500));\n";
    for (int f = 0; f < 6; ++f) {
        const int base = 1000 + 100 * f;
        std::string corners;
        for (int i = 0; i < 4; ++i) {
            const int c = cubeFaces[static_cast<std::size_t>(f)][static_cast<std::size_t>(i)];
            text += number(base + 3 + i) + "=IFCCARTESIANPOINT" +
                    coordinates(c & 1 ? 1 : -0.0, c & 2 ? 1 : 0, c & 4 ? 1 : 0) + ";\n";
            corners += (i ? "," : "") + number(base + 3 + i);
        }
        text += number(base) + "=IFCFACE((" + number(base + 1) + "));\n" + number(base + 1) + "=IFCFACEOUTERBOUND(" +
                number(base + 2) + ",.T.);\n" + number(base + 2) + "=IFCPOLYLOOP((" + corners + "));\n";
    }
    expectSolid(beam(text), 1.0, 0.5, 0.5, 0.5);
}

TEST(Faces, HolesMayHaveEitherDirection) {
    // A square tube from z = 0 to 1, 3 by 3 outside and 1 by 1 inside; its lids have holes.
    for (const std::string orientation : {".T.", ".F."}) {
        std::string text =
            "#20=IFCFACETEDBREP(#30);\n#30=IFCCLOSEDSHELL((#101,#102,#103,#104,#111,#112,#113,#114,#121,#122));\n";
        const double low[2] = {0, 1};
        const double high[2] = {3, 2};
        for (int ring = 0; ring < 2; ++ring) {
            for (int i = 0; i < 8; ++i) {
                const int corner = i % 4;
                const double x = corner == 1 || corner == 2 ? high[ring] : low[ring];
                const double y = corner >= 2 ? high[ring] : low[ring];
                text += number(40 + 8 * ring + i) + "=IFCCARTESIANPOINT" + coordinates(x, y, i / 4) + ";\n";
            }
        }
        int next = 200;
        const auto face = [&](int id, std::vector<std::vector<int>> loops) {
            std::string bounds;
            for (std::size_t l = 0; l < loops.size(); ++l) {
                std::string corners;
                for (const int point : loops[l])
                    corners += (corners.empty() ? "" : ",") + number(point);
                text += number(next) + "=IFCPOLYLOOP((" + corners + "));\n" + number(next + 1) + "=" +
                        (l == 0 ? "IFCFACEOUTERBOUND(" : "IFCFACEBOUND(") + number(next) + "," +
                        (l == 0 ? ".T." : orientation) + ");\n";
                bounds =
                    bounds.empty() ? number(next + 1) : number(next + 1) + "," + bounds; // the hole precedes the outer bound
                next += 2;
            }
            text += number(id) + "=IFCFACE((" + bounds + "));\n";
        };
        for (int i = 0; i < 4; ++i) {
            const int j = (i + 1) % 4;
            face(101 + i, {{40 + i, 40 + j, 44 + j, 44 + i}});
            face(111 + i, {{48 + j, 48 + i, 52 + i, 52 + j}});
        }
        face(121, {{43, 42, 41, 40}, {48, 49, 50, 51}});
        face(122, {{44, 45, 46, 47}, {55, 54, 53, 52}});
        expectSolid(beam(text), 8.0, 1.5, 1.5, 0.5);
    }
}

TEST(Faces, VoidsAreSubtracted) {
    expectSolid(
        beam("#20=IFCFACETEDBREPWITHVOIDS(#30,(#130));\n" + shell(30, cubeFaces, 0, 3) + shell(130, cubeFaces, 1, 2)), 26.0,
        1.5, 1.5, 1.5);
}

TEST(Faces, ClosedSurfaceModelsAreSolids) {
    expectSolid(beam("#20=IFCSHELLBASEDSURFACEMODEL((#30));\n" + shell(30, cubeFaces, 0, 2, "IFCOPENSHELL")), 8.0, 1, 1, 1);
    expectSolid(beam("#20=IFCFACEBASEDSURFACEMODEL((#30,#130));\n" + shell(30, cubeFaces, 0, 1, "IFCCONNECTEDFACESET") +
                     shell(130, cubeFaces, 2, 3, "IFCCONNECTEDFACESET")),
                2.0, 1.5, 1.5, 1.5);
    const Product open = beam("#20=IFCSHELLBASEDSURFACEMODEL((#30));\n" + shell(30, {cubeFaces[0]}, 0, 2, "IFCOPENSHELL"));
    EXPECT_EQ(open.shape, Shape::Points);
    EXPECT_EQ(open.vertices.size(), 4u * 3u);
}

const std::string cubeList = "#30=IFCCARTESIANPOINTLIST3D(((0.,0.,0.),(1.,0.,0.),(0.,1.,0.),(1.,1.,0.),"
                             "(0.,0.,1.),(1.,0.,1.),(0.,1.,1.),(1.,1.,1.),(9.,9.,9.)));\n";
const std::string cubeTriangles =
    "((1,3,4),(1,4,2),(5,6,8),(5,8,7),(1,2,6),(1,6,5),(3,7,8),(3,8,4),(1,5,7),(1,7,3),(2,4,8),(2,8,6))";

TEST(Faces, TriangulatedFaceSetsFollowAllSchemas) {
    // Normals and Closed, in either order and also omitted: files differ, and neither is used.
    for (const std::string arguments : {"$,.T.,", "((0.,0.,1.)),$,", ".T.,$,", "$,$,"}) {
        const Product cube = beam("#20=IFCTRIANGULATEDFACESET(#30," + arguments + cubeTriangles + ",$);\n" + cubeList);
        expectSolid(cube, 1.0, 0.5, 0.5, 0.5);
        EXPECT_EQ(cube.vertices.size(), 8u * 3u) << "a point that no triangle uses is not a vertex";
    }
    expectSolid(beam("#20=IFCTRIANGULATEDFACESET(#30,$,.T.," + cubeTriangles + ",((1,1,1)));\n" + cubeList), 1.0, 0.5, 0.5,
                0.5);
    expectSolid(beam("#20=IFCTRIANGULATEDIRREGULARNETWORK(#30,$,.T.," + cubeTriangles + ",$,(0));\n" + cubeList), 1.0, 0.5,
                0.5, 0.5);
}

TEST(Faces, ClosedAttributeIsIgnored) {
    EXPECT_EQ(beam("#20=IFCTRIANGULATEDFACESET(#30,$,.T.,((1,3,4)),$);\n" + cubeList).shape, Shape::Points);
    EXPECT_EQ(beam("#20=IFCTRIANGULATEDFACESET(#30,$,.F.," + cubeTriangles + ",$);\n" + cubeList).shape, Shape::Solid);
}

TEST(Faces, PointIndicesReferToTheList) {
    const std::string swapped = "#30=IFCCARTESIANPOINTLIST3D(((1.,1.,1.),(0.,1.,1.),(1.,0.,1.),(0.,0.,1.),"
                                "(1.,1.,0.),(0.,1.,0.),(1.,0.,0.),(0.,0.,0.)));\n";
    expectSolid(beam("#20=IFCTRIANGULATEDFACESET(#30,$,.T.," + cubeTriangles + ",(8,7,6,5,4,3,2,1));\n" + swapped), 1.0, 0.5,
                0.5, 0.5);
}

TEST(Faces, PolygonalFaceSetsMayHaveVoids) {
    const std::string quads = "#31=IFCINDEXEDPOLYGONALFACE((1,3,4,2));#32=IFCINDEXEDPOLYGONALFACE((5,6,8,7));"
                              "#33=IFCINDEXEDPOLYGONALFACE((1,2,6,5));#34=IFCINDEXEDPOLYGONALFACE((3,7,8,4));"
                              "#35=IFCINDEXEDPOLYGONALFACE((1,5,7,3));#36=IFCINDEXEDPOLYGONALFACE((2,4,8,6));\n";
    expectSolid(beam("#20=IFCPOLYGONALFACESET(#30,.T.,(#31,#32,#33,#34,#35,#36),$);\n" + quads + cubeList), 1.0, 0.5, 0.5,
                0.5);
    const Product withHole =
        beam("#20=IFCPOLYGONALFACESET(#30,.T.,(#31),$);\n#31=IFCINDEXEDPOLYGONALFACEWITHVOIDS((1,2,4,3),((5,6,8,7)));\n" +
             cubeList);
    EXPECT_EQ(withHole.shape, Shape::Points);
    EXPECT_EQ(withHole.vertices.size(), 8u * 3u);
}

TEST(Faces, EdgeLoopsFollowTheirCurves) {
    // A disk of radius 1, bounded by two half circles.
    const std::string disk =
        "#20=IFCADVANCEDBREP(#30);\n#30=IFCCLOSEDSHELL((#31));\n#31=IFCADVANCEDFACE((#32),#33,.T.);\n"
        "#32=IFCFACEOUTERBOUND(#34,.T.);\n#33=IFCPLANE(#9);\n#34=IFCEDGELOOP((#35,#36));\n"
        "#35=IFCORIENTEDEDGE(*,*,#37,.T.);\n#36=IFCORIENTEDEDGE(*,*,#38,.F.);\n"
        "#37=IFCEDGECURVE(#41,#42,#39,.T.);\n#38=IFCEDGECURVE(#41,#42,#39,.F.);\n#39=IFCCIRCLE(#9,1.);\n"
        "#41=IFCVERTEXPOINT(#43);\n#42=IFCVERTEXPOINT(#44);\n#43=IFCCARTESIANPOINT((1.,0.,0.));\n"
        "#44=IFCCARTESIANPOINT((-1.,0.,0.));\n";
    const Product product = beam(disk);
    EXPECT_EQ(product.shape, Shape::Points);
    EXPECT_EQ(product.vertices.size(), 64u * 3u);
    expectBox(product, -1, -1, 0, 1, 1, 0);
}

TEST(Faces, OnlyBrepsWithPlaneSurfacesAreSolids) {
    for (const bool plane : {true, false}) {
        // A tetrahedron with one edge for each pair of corners.
        std::string text = "#20=IFCADVANCEDBREP(#30);\n#30=IFCCLOSEDSHELL((#100,#110,#120,#130));\n#33=";
        text += plane ? "IFCPLANE(#9);\n" : "IFCCYLINDRICALSURFACE(#9,1.);\n";
        const double corners[4][3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
        for (int i = 0; i < 4; ++i) {
            text += number(40 + i) + "=IFCVERTEXPOINT(" + number(50 + i) + ");\n" + number(50 + i) + "=IFCCARTESIANPOINT" +
                    coordinates(corners[i][0], corners[i][1], corners[i][2]) + ";\n";
            for (int j = i + 1; j < 4; ++j)
                text += number(60 + 4 * i + j) + "=IFCEDGECURVE(" + number(40 + i) + "," + number(40 + j) + ",#39,.T.);\n";
        }
        text += "#39=IFCLINE(#8,#38);\n#38=IFCVECTOR(#5,1.);\n";
        const int faces[4][3] = {{0, 2, 1}, {0, 1, 3}, {0, 3, 2}, {1, 2, 3}};
        for (int f = 0; f < 4; ++f) {
            const int base = 100 + 10 * f;
            std::string edges;
            for (int e = 0; e < 3; ++e) {
                const int a = faces[f][e];
                const int b = faces[f][(e + 1) % 3];
                text += number(base + 3 + e) + "=IFCORIENTEDEDGE(*,*," + number(60 + 4 * std::min(a, b) + std::max(a, b)) +
                        (a < b ? ",.T.);\n" : ",.F.);\n");
                edges += (e ? "," : "") + number(base + 3 + e);
            }
            text += number(base) + "=IFCADVANCEDFACE((" + number(base + 1) + "),#33,.T.);\n" + number(base + 1) +
                    "=IFCFACEOUTERBOUND(" + number(base + 2) + ",.T.);\n" + number(base + 2) + "=IFCEDGELOOP((" + edges +
                    "));\n";
        }
        const Product product = beam(text);
        EXPECT_EQ(product.vertices.size(), 4u * 3u);
        if (plane)
            expectSolid(product, 1.0 / 6.0, 0.25, 0.25, 0.25);
        else
            EXPECT_EQ(product.shape, Shape::Points);
    }
}

TEST(Faces, InvalidFacesAreReported) {
    const std::pair<std::string, const char*> cases[] = {
        {"#20=IFCFACETEDBREP(#8);", "is used where a shell is expected"},
        {"#20=IFCFACETEDBREP(#30);#30=IFCCLOSEDSHELL(());", "has no points"},
        {"#20=IFCFACETEDBREP(#30);#30=IFCCLOSEDSHELL((#8));", "this kind of face is not supported"},
        {"#20=IFCFACETEDBREP(#30);#30=IFCCLOSEDSHELL((#31));#31=IFCFACE((#8));",
         "is used where the bound of a face is expected"},
        {"#20=IFCFACETEDBREP(#30);#30=IFCCLOSEDSHELL((#31));#31=IFCFACE((#32));#32=IFCFACEBOUND(#8,.T.);",
         "this kind of loop is not supported"},
        {"#20=IFCFACETEDBREP(#30);#30=IFCCLOSEDSHELL((#31));#31=IFCFACE((#32));#32=IFCFACEBOUND(#33,.T.);#33=IFCPOLYLOOP((#"
         "8,#99));",
         "refers to #99"},
        {"#20=IFCTRIANGULATEDFACESET(#8,$,.T.,((1,2,3)),$);", "is used where a list of points is expected"},
        {"#20=IFCTRIANGULATEDFACESET(#30,$,.T.,((1,2)),$);" + cubeList, "does not have three corners"},
        {"#20=IFCTRIANGULATEDFACESET(#30,$,.T.,((1,2,10)),$);" + cubeList,
         "'10' refers to a point that does not exist in the list of points"},
        {"#20=IFCTRIANGULATEDFACESET(#30,$,.T.,((1,2,0)),$);" + cubeList, "'0' refers to a point"},
        {"#20=IFCTRIANGULATEDFACESET(#30,$,.T.,((1,2,99999999999999999999)),$);" + cubeList, "refers to a point"},
        {"#20=IFCTRIANGULATEDFACESET(#30,$,.T.,(1,2,3),$);" + cubeList, "a face is not a list of indices"},
        {"#20=IFCTRIANGULATEDFACESET(#30,$,.T.);" + cubeList, "argument 4 is missing; expected a list"},
        {"#20=IFCTRIANGULATEDFACESET(#30,$,.T.,((3,2,1)),(1,2));" + cubeList, "'3' refers to a point"},
        {"#20=IFCPOLYGONALFACESET(#30,.T.,(#8),$);" + cubeList, "is used where an IFCINDEXEDPOLYGONALFACE is expected"},
    };
    for (const auto& [data, expected] : cases) {
        const Taken taken = readData(beamOf("#20") + data + "\n");
        ASSERT_EQ(taken.products.size(), 1u) << data;
        EXPECT_EQ(taken.products[0].shape, Shape::None) << data;
        ASSERT_EQ(taken.problems.size(), 1u) << data;
        EXPECT_NE(taken.problems[0].reason.find(expected), std::string::npos) << data << ": " << taken.problems[0].reason;
    }
}

} // namespace
} // namespace velmor_tests
