#pragma once

// Positions of the attributes of the entities of shapes, from 0, as in IFC2X3, IFC4 and IFC4X3. The names are those of the
// schemas; if a later schema renamed an attribute, the later name is used. Inherited attributes come first. Derived
// attributes are counted too, because the file has a * in their position.

#include <cstddef>

namespace importer::ifc::attribute {

// Representations.

namespace IfcProductDefinitionShape {
enum : std::size_t { Name, Description, Representations };
}

/// The same for the other kinds of IfcRepresentation.
namespace IfcShapeRepresentation {
enum : std::size_t { ContextOfItems, RepresentationIdentifier, RepresentationType, Items };
}

namespace IfcRepresentationMap {
enum : std::size_t { MappingOrigin, MappedRepresentation };
}

// Curves.

namespace IfcPolyline {
enum : std::size_t { Points };
}

namespace IfcIndexedPolyCurve {
enum : std::size_t { Points, Segments };
}

/// The common part of the lists of two and three dimensions.
namespace IfcCartesianPointList {
enum : std::size_t { CoordList };
}

namespace IfcCompositeCurve {
enum : std::size_t { Segments };
}

namespace IfcCompositeCurveSegment {
enum : std::size_t { Transition, SameSense, ParentCurve };
}

namespace IfcTrimmedCurve {
enum : std::size_t { BasisCurve, Trim1, Trim2, SenseAgreement, MasterRepresentation };
}

namespace IfcSurfaceCurve {
enum : std::size_t { Curve3D };
}

/// The common part of circles and ellipses.
namespace IfcConic {
enum : std::size_t { Position };
}

namespace IfcCircle {
enum : std::size_t { Position, Radius };
}

namespace IfcEllipse {
enum : std::size_t { Position, SemiAxis1, SemiAxis2 };
}

namespace IfcLine {
enum : std::size_t { Pnt, Dir };
}

namespace IfcVector {
enum : std::size_t { Orientation, Magnitude };
}

// Faces.

/// The same for its subtypes, open and closed shells.
namespace IfcConnectedFaceSet {
enum : std::size_t { CfsFaces };
}

namespace IfcFace {
enum : std::size_t { Bounds };
}

/// The same for its subtype IfcAdvancedFace.
namespace IfcFaceSurface {
enum : std::size_t { Bounds, FaceSurface };
}

/// The same for its subtype IfcFaceOuterBound.
namespace IfcFaceBound {
enum : std::size_t { Bound, Orientation };
}

namespace IfcPolyLoop {
enum : std::size_t { Polygon };
}

namespace IfcEdgeLoop {
enum : std::size_t { EdgeList };
}

namespace IfcVertexLoop {
enum : std::size_t { LoopVertex };
}

namespace IfcOrientedEdge {
enum : std::size_t { EdgeStart, EdgeEnd, EdgeElement, Orientation };
}

namespace IfcEdge {
enum : std::size_t { EdgeStart, EdgeEnd };
}

namespace IfcEdgeCurve {
enum : std::size_t { EdgeStart, EdgeEnd, EdgeGeometry, SameSense };
}

namespace IfcVertexPoint {
enum : std::size_t { VertexGeometry };
}

/// In the first edition of IFC4 the last attribute is NormalIndex, a list of index triples, instead of PnIndex.
namespace IfcTriangulatedFaceSet {
enum : std::size_t { Coordinates, Normals, Closed, CoordIndex, PnIndex };
}

/// IFC4X3 ends with Faces.
namespace IfcPolygonalFaceSet {
enum : std::size_t { Coordinates, Closed, Faces, PnIndex };
}

/// The common part of triangulated and polygonal face sets.
namespace IfcTessellatedFaceSet {
enum : std::size_t { Coordinates };
}

/// IfcIndexedPolygonalFace has the first attribute only.
namespace IfcIndexedPolygonalFaceWithVoids {
enum : std::size_t { CoordIndex, InnerCoordIndices };
}

// Profiles.

/// The common part of all profiles with dimensions.
namespace IfcParameterizedProfileDef {
enum : std::size_t { ProfileType, ProfileName, Position };
}

namespace IfcRectangleProfileDef {
enum : std::size_t { ProfileType, ProfileName, Position, XDim, YDim };
}

namespace IfcRoundedRectangleProfileDef {
enum : std::size_t { ProfileType, ProfileName, Position, XDim, YDim, RoundingRadius };
}

namespace IfcRectangleHollowProfileDef {
enum : std::size_t { ProfileType, ProfileName, Position, XDim, YDim, WallThickness, InnerFilletRadius, OuterFilletRadius };
}

namespace IfcCircleProfileDef {
enum : std::size_t { ProfileType, ProfileName, Position, Radius };
}

namespace IfcCircleHollowProfileDef {
enum : std::size_t { ProfileType, ProfileName, Position, Radius, WallThickness };
}

namespace IfcEllipseProfileDef {
enum : std::size_t { ProfileType, ProfileName, Position, SemiAxis1, SemiAxis2 };
}

/// IFC2X3 ends with FilletRadius.
namespace IfcIShapeProfileDef {
enum : std::size_t {
    ProfileType,
    ProfileName,
    Position,
    OverallWidth,
    OverallDepth,
    WebThickness,
    FlangeThickness,
    FilletRadius,
    FlangeEdgeRadius,
    FlangeSlope
};
}

/// In IFC2X3 TopFlangeFilletRadius is followed by CentreOfGravityInY alone.
namespace IfcAsymmetricIShapeProfileDef {
enum : std::size_t {
    ProfileType,
    ProfileName,
    Position,
    BottomFlangeWidth,
    OverallDepth,
    WebThickness,
    BottomFlangeThickness,
    BottomFlangeFilletRadius,
    TopFlangeWidth,
    TopFlangeThickness,
    TopFlangeFilletRadius,
    BottomFlangeEdgeRadius,
    BottomFlangeSlope,
    TopFlangeEdgeRadius,
    TopFlangeSlope
};
}

namespace IfcLShapeProfileDef {
enum : std::size_t { ProfileType, ProfileName, Position, Depth, Width, Thickness, FilletRadius, EdgeRadius, LegSlope };
}

namespace IfcTShapeProfileDef {
enum : std::size_t {
    ProfileType,
    ProfileName,
    Position,
    Depth,
    FlangeWidth,
    WebThickness,
    FlangeThickness,
    FilletRadius,
    FlangeEdgeRadius,
    WebEdgeRadius,
    WebSlope,
    FlangeSlope
};
}

namespace IfcUShapeProfileDef {
enum : std::size_t {
    ProfileType,
    ProfileName,
    Position,
    Depth,
    FlangeWidth,
    WebThickness,
    FlangeThickness,
    FilletRadius,
    EdgeRadius,
    FlangeSlope
};
}

namespace IfcCShapeProfileDef {
enum : std::size_t { ProfileType, ProfileName, Position, Depth, Width, WallThickness, Girth, InternalFilletRadius };
}

namespace IfcZShapeProfileDef {
enum : std::size_t {
    ProfileType,
    ProfileName,
    Position,
    Depth,
    FlangeWidth,
    WebThickness,
    FlangeThickness,
    FilletRadius,
    EdgeRadius
};
}

namespace IfcTrapeziumProfileDef {
enum : std::size_t { ProfileType, ProfileName, Position, BottomXDim, TopXDim, YDim, TopXOffset };
}

namespace IfcArbitraryClosedProfileDef {
enum : std::size_t { ProfileType, ProfileName, OuterCurve };
}

namespace IfcArbitraryProfileDefWithVoids {
enum : std::size_t { ProfileType, ProfileName, OuterCurve, InnerCurves };
}

namespace IfcArbitraryOpenProfileDef {
enum : std::size_t { ProfileType, ProfileName, Curve };
}

namespace IfcCenterLineProfileDef {
enum : std::size_t { ProfileType, ProfileName, Curve, Thickness };
}

/// The same for its subtype IfcMirroredProfileDef, whose Operator is derived.
namespace IfcDerivedProfileDef {
enum : std::size_t { ProfileType, ProfileName, ParentProfile, Operator };
}

namespace IfcCompositeProfileDef {
enum : std::size_t { ProfileType, ProfileName, Profiles };
}

// Solids.

/// The common part of extrusions and revolutions.
namespace IfcSweptAreaSolid {
enum : std::size_t { SweptArea, Position };
}

namespace IfcExtrudedAreaSolid {
enum : std::size_t { SweptArea, Position, ExtrudedDirection, Depth };
}

namespace IfcExtrudedAreaSolidTapered {
enum : std::size_t { SweptArea, Position, ExtrudedDirection, Depth, EndSweptArea };
}

namespace IfcRevolvedAreaSolid {
enum : std::size_t { SweptArea, Position, Axis, Angle };
}

namespace IfcSweptDiskSolid {
enum : std::size_t { Directrix, Radius, InnerRadius, StartParam, EndParam };
}

/// The common part of the following five.
namespace IfcCsgPrimitive3D {
enum : std::size_t { Position };
}

namespace IfcBlock {
enum : std::size_t { Position, XLength, YLength, ZLength };
}

namespace IfcRectangularPyramid {
enum : std::size_t { Position, XLength, YLength, Height };
}

namespace IfcRightCircularCylinder {
enum : std::size_t { Position, Height, Radius };
}

namespace IfcRightCircularCone {
enum : std::size_t { Position, Height, BottomRadius };
}

namespace IfcSphere {
enum : std::size_t { Position, Radius };
}

/// The common part of all boundary representations.
namespace IfcManifoldSolidBrep {
enum : std::size_t { Outer };
}

/// The same for IfcAdvancedBrepWithVoids.
namespace IfcFacetedBrepWithVoids {
enum : std::size_t { Outer, Voids };
}

namespace IfcCsgSolid {
enum : std::size_t { TreeRootExpression };
}

/// The same for its subtype IfcBooleanClippingResult.
namespace IfcBooleanResult {
enum : std::size_t { Operator, FirstOperand, SecondOperand };
}

// Other items.

namespace IfcMappedItem {
enum : std::size_t { MappingSource, MappingTarget };
}

namespace IfcFaceBasedSurfaceModel {
enum : std::size_t { FbsmFaces };
}

namespace IfcShellBasedSurfaceModel {
enum : std::size_t { SbsmBoundary };
}

/// The same for its subtype IfcGeometricCurveSet.
namespace IfcGeometricSet {
enum : std::size_t { Elements };
}

namespace IfcBoundingBox {
enum : std::size_t { Corner, XDim, YDim, ZDim };
}

namespace IfcSurfaceOfLinearExtrusion {
enum : std::size_t { SweptCurve, Position, ExtrudedDirection, Depth };
}

namespace IfcCurveBoundedPlane {
enum : std::size_t { BasisSurface, OuterBoundary };
}

namespace IfcPlane {
enum : std::size_t { Position };
}

} // namespace importer::ifc::attribute
