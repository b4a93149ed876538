#pragma once

// The content of an IFC file as the reader passes it on, object by object.

#include <Velmor/Georeferencing.h>
#include <Velmor/IFCPropertySets.h>
#include <Velmor/ReferenceObjectClass.h>
#include <Velmor/WideText.h>

#include "importer/step/File.h"

#include <cstdint>
#include <string>
#include <vector>

namespace importer::ifc {

/// How much of the shape of a product is available.
enum class Shape : std::uint32_t {
    None,   ///< No vertices.
    Points, ///< Vertices without a closed solid: the bounding box and octant distances are valid, volume and centroid are
            ///< not.
    Solid   ///< Closed solids: volume and centroid are valid too.
};

/// One product: an instance of a subtype of IfcProduct that is a physical or spatial object of the model.
struct Product {
    std::uint64_t instance = 0;   ///< Number of its instance in the file (#123).
    std::uint64_t line = 0;       ///< Line on which that instance begins, from 1.
    std::string globalId;         ///< Its GlobalId, decoded, of any length; empty if omitted.
    std::string className;        ///< Its entity, in capitals: "IFCBEAM".
    Velmor::WideString name;      ///< Its name, decoded; empty if omitted.
    Shape shape = Shape::None;    ///< Which of the following members are valid.
    std::vector<double> vertices; ///< x, y, z of each vertex of the shape, in meters, in world coordinates.
    /// The surface of a solid: three vertex indices for each triangle, counterclockwise seen from outside. Empty if it
    /// cannot be triangulated; the reader then reports a problem.
    std::vector<std::uint32_t> triangles;
    double volume = 0.0;            ///< In cubic meters.
    double centroid[3] = {0, 0, 0}; ///< In meters, in world coordinates of the model.
    /// The class of `ReferenceObjectClass`; `IFCINVALID` if it has no class for the entity.
    Velmor::AttributeClassIFC_e objectClass = Velmor::AttributeClassIFC_e::IFCINVALID;
    /// Its property sets, numbered in the order of the calls of `ModelSink::propertySet`: first its own, then those of its
    /// type whose names differ from those of its own.
    std::vector<std::uint32_t> propertySets;
};

/// One image of the model.
struct Texture {
    std::uint64_t instance = 0; ///< Number of its instance.
    std::uint64_t line = 0;     ///< Line on which that instance begins, from 1.
    std::string name;           ///< The file name of an image file, in UTF-8; empty for an embedded image.
    std::vector<char> png;      ///< The complete PNG file.
};

/// Receives the content of a model while it is read. The functions are called in the order of their declaration; `problem`
/// and `progress` at any time. All calls are made on the thread that reads the model. An exception that a function throws
/// ends the reading and propagates to the caller.
class ModelSink {
public:
    virtual ~ModelSink() = default;

    /// Called once, with the name of the schema: "IFC2X3", "IFC4", "IFC4X3_ADD2".
    virtual void schema(const std::string& name) = 0;

    /// Called once if the model has a georeference.
    virtual void georeference(const Velmor::IFC4_MapConversion& conversion) = 0;

    /// Called for each property set of the model, in the order of the file. The first one has the number 0.
    virtual void propertySet(Velmor::IFC2X3_PSet_Custom_s&& set) = 0;

    /// Called for each image of the model, in the order of the file.
    virtual void texture(Texture&& texture) = 0;

    /// Called for each product, in the order of the file.
    virtual void product(Product&& product) = 0;

    /// Called for each problem; the import continues.
    virtual void problem(const step::Problem& problem) = 0;

    /// Called with the completed share of the work, from 0 to 1. It never decreases.
    virtual void progress(double done) = 0;
};

/// Reads an IFC file (ISO 10303-21; IFC2X3, IFC4, IFC4X3).
/// @throws step::FileError if the file cannot be read, is not a STEP file, is cut off, or has an unsupported schema.
void readIfcModel(const Velmor::WideString& path, ModelSink& sink);

} // namespace importer::ifc
