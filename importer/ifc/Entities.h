#pragma once

// The entities that the reader knows, of IFC2X3, IFC4 and IFC4X3 together.

#include "importer/step/File.h"

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace importer::ifc {

/// What an instance is to the reader.
enum class Entity : std::uint16_t {
    Other,              ///< Nothing that it reads.
    Product,            ///< A physical or spatial object: see `entityNamed`.
    PropertyDefinition, ///< Says something of objects as a property set does, but is none: quantities, linings of doors.
    AdvancedBrep,
    AdvancedBrepWithVoids,
    AdvancedFace,
    ArbitraryClosedProfileDef,
    ArbitraryOpenProfileDef,
    ArbitraryProfileDefWithVoids,
    AsymmetricIShapeProfileDef,
    Axis1Placement,
    Axis2Placement2D,
    Axis2Placement3D,
    BlobTexture,
    Block,
    BooleanClippingResult,
    BooleanResult,
    BoundaryCurve,
    BoundingBox,
    CShapeProfileDef,
    CartesianPoint,
    CartesianPointList2D,
    CartesianPointList3D,
    CartesianTransformationOperator2D,
    CartesianTransformationOperator2DnonUniform,
    CartesianTransformationOperator3D,
    CartesianTransformationOperator3DnonUniform,
    CenterLineProfileDef,
    Circle,
    CircleHollowProfileDef,
    CircleProfileDef,
    ClosedShell,
    ComplexProperty,
    CompositeCurve,
    CompositeCurve2D,
    CompositeCurveOnSurface,
    CompositeCurveSegment,
    CompositeProfileDef,
    ConnectedFaceSet,
    ConversionBasedUnit,
    CsgSolid,
    CurveBoundedPlane,
    DerivedProfileDef,
    Direction,
    Edge,
    EdgeCurve,
    EdgeLoop,
    Ellipse,
    EllipseProfileDef,
    ExtrudedAreaSolid,
    ExtrudedAreaSolidTapered,
    Face,
    FaceBasedSurfaceModel,
    FaceBound,
    FaceOuterBound,
    FaceSurface,
    FacetedBrep,
    FacetedBrepWithVoids,
    GeometricCurveSet,
    GeometricRepresentationContext,
    GeometricRepresentationSubContext,
    GeometricSet,
    GridPlacement,
    IShapeProfileDef,
    ImageTexture,
    IndexedPolyCurve,
    IndexedPolygonalFace,
    IndexedPolygonalFaceWithVoids,
    IntersectionCurve,
    LShapeProfileDef,
    Line,
    LinearPlacement,
    LocalPlacement,
    MapConversion,
    MapConversionScaled,
    MappedItem,
    MeasureWithUnit,
    MirroredProfileDef,
    OpenShell,
    OrientedEdge,
    OuterBoundaryCurve,
    PixelTexture,
    Plane,
    PolyLoop,
    PolygonalFaceSet,
    Polyline,
    ProductDefinitionShape,
    Project,
    ProjectedCRS,
    PropertyBoundedValue,
    PropertyEnumeratedValue,
    PropertyListValue,
    PropertyReferenceValue,
    PropertySet,
    PropertySingleValue,
    PropertyTableValue,
    RectangleHollowProfileDef,
    RectangleProfileDef,
    RectangularPyramid,
    RelDefinesByProperties,
    RelDefinesByType,
    RelOverridesProperties,
    ReparametrisedCompositeCurveSegment,
    RepresentationMap,
    RevolvedAreaSolid,
    RightCircularCone,
    RightCircularCylinder,
    RoundedRectangleProfileDef,
    SIUnit,
    SeamCurve,
    ShapeRepresentation,
    ShellBasedSurfaceModel,
    Sphere,
    Subedge,
    SurfaceCurve,
    SurfaceOfLinearExtrusion,
    SweptDiskSolid,
    SweptDiskSolidPolygonal,
    TShapeProfileDef,
    TopologyRepresentation,
    TrapeziumProfileDef,
    TriangulatedFaceSet,
    TriangulatedIrregularNetwork,
    TrimmedCurve,
    UShapeProfileDef,
    UnitAssignment,
    Vector,
    VertexLoop,
    VertexPoint,
    ZShapeProfileDef
};

/// The entity of a name in capitals.
///
/// Products are all subtypes of IfcElement (with openings and other features, and virtual elements), of IfcSpatialElement,
/// of IfcPort, and IfcProxy; and of the positioning elements grids, alignments and referents. No products are what describes
/// others or only their calculation: annotations, the segments of an alignment, and the items and loads of structural
/// analysis.
Entity entityNamed(std::string_view name);

/// The entity of an instance.
inline Entity entityOf(const step::Instance& instance) {
    return static_cast<Entity>(instance.entity);
}

/// The instances of these entities, in the order of the file.
std::vector<const step::Instance*> instancesOf(const step::File& file, std::initializer_list<Entity> entities);

/// The schemas IFC2X3, IFC4 and IFC4X3 with the entities above.
extern const step::Application application;

} // namespace importer::ifc
