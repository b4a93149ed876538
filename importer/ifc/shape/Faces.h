#pragma once

// Bodies that are told face by face.

#include "importer/geometry/Polyhedron.h"
#include "importer/ifc/Record.h"

namespace importer::ifc {

/// A body of faces, and whether its faces are plane, so that they say all about it.
struct Faces {
    Polyhedron body;
    bool plane = true;
};

/// An IfcClosedShell, IfcOpenShell or IfcConnectedFaceSet.
Faces readShell(IfcContext& context, const Instance& instance);

/// An IfcTriangulatedFaceSet or IfcPolygonalFaceSet.
Faces readTessellation(IfcContext& context, const Instance& instance);

} // namespace importer::ifc
