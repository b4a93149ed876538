#pragma once

// What the importer reads out of an IFC file, product by product.

#include <Velmor/Georeferencing.h>
#include <Velmor/IFCPropertySets.h>
#include <Velmor/ReferenceObjectClass.h>
#include <Velmor/WideText.h>

#include "importer/step/File.h"

#include <cstdint>
#include <string>
#include <vector>

namespace importer::ifc {

/// How much of a product's shape could be had.
enum class Shape : std::uint32_t {
    None,   ///< No vertices.
    Points, ///< Vertices, but no closed solid: box and octant distances make sense, volume and centroid do not.
    Solid   ///< Closed solids: volume and centroid too.
};

/// One product: an instance of a subtype of IfcProduct that is a physical or spatial object of the model.
struct Product {
    std::uint64_t instance = 0;   ///< Number of its instance in the file (#123).
    std::uint64_t line = 0;       ///< Line on which that instance begins, from 1.
    std::string globalId;         ///< Its GlobalId, decoded, of whatever length; empty when not given.
    std::string className;        ///< Its entity, in capitals as in the file: "IFCBEAM".
    Velmor::WideString name;      ///< Its name, decoded; empty when not given.
    Shape shape = Shape::None;    ///< What of the following carries data.
    std::vector<double> vertices; ///< Triples x, y, z in metres, in the model's world; every vertex of the shape.
    /// Of a solid, but for those that a problem tells of: its surface, three vertices by their index for each triangle,
    /// counterclockwise from outside.
    std::vector<std::uint32_t> triangles;
    double volume = 0.0;            ///< In cubic metres.
    double centroid[3] = {0, 0, 0}; ///< In metres, in the model's world.
    /// Its class by the tables of `ReferenceObjectClass`; `IFCINVALID` for an entity without a row.
    Velmor::AttributeClassIFC_e objectClass = Velmor::AttributeClassIFC_e::IFCINVALID;
    /// Its property sets, by the order in which the sink got them: its own first, then those of its type whose names it does
    /// not have itself.
    std::vector<std::uint32_t> propertySets;
};

/// One image of the model.
struct Texture {
    std::uint64_t instance = 0; ///< Number of its instance.
    std::uint64_t line = 0;     ///< Line on which that instance begins, from 1.
    std::string name;           ///< UTF-8: of an image beside the model its file's name, otherwise empty.
    std::vector<char> png;      ///< The whole PNG file.
};

/// Receives a model as it is read.
class ModelSink {
public:
    virtual ~ModelSink() = default;

    /// Called once, before any product, with the schema's name: "IFC2X3", "IFC4", "IFC4X3_ADD2".
    virtual void schema(const std::string& name) = 0;

    /// Called once when the model has a georeference, before any product.
    virtual void georeference(const Velmor::IFC4_MapConversion& conversion) = 0;

    /// Called for each property set of the model, once, before any product that has it. The first one is number 0.
    virtual void propertySet(Velmor::IFC2X3_PSet_Custom_s&& set) = 0;

    /// Called for each image of the model, in the order of the file, before any product.
    virtual void texture(Texture&& texture) = 0;

    /// Called for each product, in the order of the file.
    virtual void product(Product&& product) = 0;

    /// Called for each thing that spoils one object.
    virtual void problem(const step::Problem& problem) = 0;

    /// Called now and then with the part of the work that is done, 0 to 1, never falling.
    virtual void progress(double done) = 0;
};

/// Reads an IFC file (ISO 10303-21; IFC2X3, IFC4, IFC4X3).
/// @throws step::FileError for what makes the import meaningless: no such file, no STEP file, a file cut off, another
/// schema.
void readIfcModel(const Velmor::WideString& path, ModelSink& sink);

} // namespace importer::ifc
