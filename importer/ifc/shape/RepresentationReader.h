#pragma once

// Reads the items of one representation into a product.

#include "importer/geometry/Polyhedron.h"
#include "importer/ifc/Record.h"
#include "importer/ifc/shape/Faces.h"

#include <vector>

namespace importer::ifc {

/// Collects vertices, volume and triangles of the items of one representation.
class RepresentationReader {
public:
    /// @param product receives the vertices; has none yet.
    RepresentationReader(IfcContext& context, Product& product) : context_(context), product_(product) {}

    /// Reads all items. An item that cannot be read becomes a note, and the product is not a solid.
    /// @param toWorld from product coordinates to world coordinates in meters.
    /// @throws LimitExceeded
    void read(const Instance& representation, const Transform& toWorld);

    /// Sets the shape, volume and centroid of the product, after all items are read.
    /// @param mayBeSolid false for a representation that describes only the position, such as `Box` or `Axis`.
    void finish(bool mayBeSolid);

private:
    using ReadItem = void (RepresentationReader::*)(const Record& record, const Transform& toWorld);

    struct ItemReader {
        Entity entity;
        ReadItem read;
    };

    static const ItemReader itemReaders[];

    static ReadItem readerOf(Entity entity);

    void readItems(const Record& record, std::size_t index, const Transform& toWorld);
    void readItem(const Instance& instance, const Transform& toWorld);

    void readBrep(const Record& record, const Transform& toWorld);
    void readBrepWithVoids(const Record& record, const Transform& toWorld);
    void readFaceBasedModel(const Record& record, const Transform& toWorld);
    void readShellBasedModel(const Record& record, const Transform& toWorld);
    void readShells(const std::vector<const Instance*>& shells, const Transform& toWorld);
    void readShellItem(const Record& record, const Transform& toWorld);
    void readFaceSet(const Record& record, const Transform& toWorld);
    void readMappedItem(const Record& record, const Transform& toWorld);
    void readCsgSolid(const Record& record, const Transform& toWorld);
    void readBoolean(const Record& record, const Transform& toWorld);
    void readGeometricSet(const Record& record, const Transform& toWorld);
    void readBoundingBox(const Record& record, const Transform& toWorld);
    void readExtrudedSurface(const Record& record, const Transform& toWorld);
    void readBoundedPlane(const Record& record, const Transform& toWorld);
    void readPointItem(const Record& record, const Transform& toWorld);
    void readVertex(const Record& record, const Transform& toWorld);

    void addFaces(const Instance& instance, const Faces& faces, const Transform& toWorld);
    void addSolid(const Instance& instance, const Polyhedron& body, const Transform& toWorld, double sign = 1.0);
    void addTriangles(const Instance& instance, const Polyhedron& body, const std::vector<Vector3>& moved, bool turned);
    void addPoints(const Instance& instance, const std::vector<Vector3>& points, const Transform& toWorld);
    std::vector<Vector3> addVertices(const Instance& instance, const std::vector<Vector3>& points, const Transform& toWorld);

    IfcContext& context_;
    Product& product_;
    bool solid_ = true;        // whether all items so far are closed solids
    bool triangulated_ = true; // whether all faces of the solid could be cut into triangles
    Vector3 moment_;           // sum of volume times centroid
};

} // namespace importer::ifc
