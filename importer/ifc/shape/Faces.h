#pragma once

// Bodies that a file describes face by face.

#include "importer/geometry/Polyhedron.h"
#include "importer/ifc/Record.h"

namespace importer::ifc {

/// A body of faces.
struct Faces {
    Polyhedron body;
    bool plane = true; ///< Whether all surfaces are plane and all edges are straight or arcs: the faces then bound the body.
};

/// An IfcClosedShell, IfcOpenShell or IfcConnectedFaceSet.
/// @throws EntityError, LimitExceeded
Faces readShell(IfcContext& context, const Instance& instance);

/// An IfcTriangulatedFaceSet or IfcPolygonalFaceSet. Points that no face uses are not part of the body.
/// @throws EntityError, LimitExceeded
Faces readTessellation(IfcContext& context, const Instance& instance);

} // namespace importer::ifc
