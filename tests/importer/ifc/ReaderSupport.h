#pragma once

// Small models as text, and what the reader returns for them.

#include "importer/ifc/Reader.h"
#include "support/Utf16.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmor_tests {

namespace step = importer::step;
using namespace importer::ifc;
using importer::step::Problem;

/// A sink that stores everything that the reader passes on.
class Taken : public ModelSink {
public:
    void schema(const std::string& name) override { schemas.push_back(name); }
    void georeference(const Velmor::IFC4_MapConversion& conversion) override {
        EXPECT_TRUE(products.empty()) << "before any product";
        georeferences.push_back(conversion);
    }
    void propertySet(Velmor::IFC2X3_PSet_Custom_s&& set) override { sets.push_back(set); }
    void texture(Texture&& texture) override {
        EXPECT_TRUE(products.empty()) << "before any product";
        textures.push_back(std::move(texture));
    }
    void product(Product&& product) override {
        for (const std::uint32_t set : product.propertySets)
            EXPECT_LT(set, sets.size()) << "before any product that has it";
        products.push_back(std::move(product));
    }
    void problem(const step::Problem& problem) override { problems.push_back(problem); }
    void progress(double done) override { steps.push_back(done); }

    /// The reasons of all problems, one per line.
    std::string reasons() const {
        std::string all;
        for (const Problem& problem : problems)
            all += problem.reason + "\n";
        return all;
    }

    std::vector<std::string> schemas;
    std::vector<Velmor::IFC4_MapConversion> georeferences;
    std::vector<Velmor::IFC2X3_PSet_Custom_s> sets;
    std::vector<Texture> textures;
    std::vector<Product> products;
    std::vector<Problem> problems;
    std::vector<double> steps;
};

/// The text of a file with these instances in its DATA section.
inline std::string stepFile(const std::string& data, const std::string& schema = "IFC4") {
    return "ISO-10303-21;\nHEADER;\nFILE_DESCRIPTION((''),'2;1');\nFILE_NAME('','',(''),(''),'','','');\nFILE_SCHEMA(('" +
           schema + "'));\nENDSEC;\nDATA;\n" + data + "ENDSEC;\nEND-ISO-10303-21;\n";
}

/// #1 to #4: a project in meters and radians.
inline const std::string inMeters = "#1=IFCPROJECT('0000000000000000000000',$,$,$,$,$,$,$,#2);\n"
                                    "#2=IFCUNITASSIGNMENT((#3,#4));\n"
                                    "#3=IFCSIUNIT(*,.LENGTHUNIT.,$,.METRE.);\n"
                                    "#4=IFCSIUNIT(*,.PLANEANGLEUNIT.,$,.RADIAN.);\n";

/// #5 to #12: a beam whose body consists of these items, with some directions and placements.
inline std::string beamOf(const std::string& items) {
    return "#5=IFCDIRECTION((1.,0.,0.));\n#6=IFCDIRECTION((0.,1.,0.));\n#7=IFCDIRECTION((0.,0.,1.));\n"
           "#8=IFCCARTESIANPOINT((0.,0.,0.));\n#9=IFCAXIS2PLACEMENT3D(#8,$,$);\n"
           "#10=IFCBEAM('1234567890123456789012',$,'a beam',$,$,$,#11,$,$);\n"
           "#11=IFCPRODUCTDEFINITIONSHAPE($,$,(#12));\n"
           "#12=IFCSHAPEREPRESENTATION($,'Body','any',(" +
           items + "));\n";
}

inline step::File fileOf(const std::string& text) {
    return step::File(std::vector<char>(text.begin(), text.end()), "model.ifc", importer::ifc::application);
}

inline Taken readText(const std::string& text) {
    const step::File file = fileOf(text);
    Taken taken;
    readProducts(file, Limits::forFile(file.size()), taken);
    return taken;
}

/// Reads a model in meters within these limits.
/// @param folder of the model, for its images.
inline Taken readWithin(const Limits& limits, const std::string& data, const Velmor::WideString& folder = {}) {
    const step::File file = fileOf(stepFile(inMeters + data));
    Taken taken;
    readProducts(file, limits, taken, folder);
    return taken;
}

/// Reads a model in meters.
inline Taken readData(const std::string& data) {
    return readText(stepFile(inMeters + data));
}

/// The only product of a model. Expects that there was no problem.
inline Product onlyProduct(const Taken& taken) {
    EXPECT_EQ(taken.reasons(), "");
    EXPECT_EQ(taken.products.size(), 1u);
    return taken.products.empty() ? Product() : taken.products.front();
}

/// The beam whose body is the instance #20 of the data.
inline Product beam(const std::string& data) {
    return onlyProduct(readData(beamOf("#20") + data));
}

/// The bounding box of the vertices of a product.
struct Box {
    double low[3] = {0, 0, 0};
    double high[3] = {0, 0, 0};
};

inline Box boxOf(const Product& product) {
    Box box;
    for (std::size_t i = 0; i < product.vertices.size(); ++i) {
        const double value = product.vertices[i];
        double& low = box.low[i % 3];
        double& high = box.high[i % 3];
        low = i < 3 || value < low ? value : low;
        high = i < 3 || value > high ? value : high;
    }
    return box;
}

inline void expectBox(const Product& product, double x0, double y0, double z0, double x1, double y1, double z1) {
    const Box box = boxOf(product);
    const double expected[6] = {x0, y0, z0, x1, y1, z1};
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(box.low[i], expected[i], 1e-9) << "low " << i;
        EXPECT_NEAR(box.high[i], expected[3 + i], 1e-9) << "high " << i;
    }
}

/// Expects that the triangles of a solid bound it: each edge occurs equally often in both directions, and the volume that
/// the triangles enclose, which is positive if they are counterclockwise from outside, is the volume of the solid.
/// @param tolerance relative to the volume: the volume within faces that are not exactly plane depends on their
/// triangulation.
inline void expectTriangles(const Product& product, double tolerance = 1e-9) {
    ASSERT_FALSE(product.triangles.empty());
    ASSERT_EQ(product.triangles.size() % 3, 0u);
    std::map<std::pair<std::uint32_t, std::uint32_t>, int> edges;
    double six = 0.0;
    for (std::size_t i = 0; i < product.triangles.size(); i += 3) {
        double at[3][3];
        for (std::size_t corner = 0; corner < 3; ++corner) {
            const std::uint32_t a = product.triangles[i + corner];
            const std::uint32_t b = product.triangles[i + (corner + 1) % 3];
            ASSERT_LT(a, product.vertices.size() / 3);
            edges[{std::min(a, b), std::max(a, b)}] += a < b ? 1 : a > b ? -1 : 0;
            for (std::size_t axis = 0; axis < 3; ++axis) // relative to a vertex, for precision far from the origin
                at[corner][axis] = product.vertices[3 * a + axis] - product.vertices[axis];
        }
        six += at[0][0] * (at[1][1] * at[2][2] - at[1][2] * at[2][1]) +
               at[0][1] * (at[1][2] * at[2][0] - at[1][0] * at[2][2]) +
               at[0][2] * (at[1][0] * at[2][1] - at[1][1] * at[2][0]);
    }
    for (const auto& [edge, balance] : edges)
        EXPECT_EQ(balance, 0) << "the edge from " << edge.first << " to " << edge.second;
    EXPECT_NEAR(six / 6.0, product.volume, tolerance * (1.0 + product.volume));
}

inline void expectSolid(const Product& product, double volume, double x, double y, double z) {
    EXPECT_EQ(product.shape, Shape::Solid);
    EXPECT_NEAR(product.volume, volume, 1e-9 * (1.0 + volume));
    EXPECT_NEAR(product.centroid[0], x, 1e-9);
    EXPECT_NEAR(product.centroid[1], y, 1e-9);
    EXPECT_NEAR(product.centroid[2], z, 1e-9);
    expectTriangles(product);
}

/// Area of the polygon of 64 corners that approximates a circle of radius 1: 32 sin(2 pi / 64).
inline constexpr double polygonOfUnitCircle = 3.1365484905459393;

} // namespace velmor_tests
