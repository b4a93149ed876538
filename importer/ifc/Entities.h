#pragma once

// The entities of IFC2X3, IFC4 and IFC4X3 that the reader uses.

#include "importer/step/File.h"

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace importer::ifc {

/// An entity; products and similar property definitions share one value each.
enum class Entity : std::uint16_t {
    Other,              ///< Not used by the reader.
    Product,            ///< A physical or spatial object: see `entityNamed`.
    PropertyDefinition, ///< Assigned to objects like a property set, but not read: quantities, predefined sets.
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

/// The entity with this name, which must be in capitals.
///
/// These are products: all subtypes of IfcElement (including openings and other features, and virtual elements), of
/// IfcSpatialElement and of IfcPort; IfcProxy; and three positioning elements, namely grids, alignments and referents.
/// Entities that describe other objects or their analysis are not products: annotations, segments of an alignment, and the
/// items and loads of structural analysis.
Entity entityNamed(std::string_view name);

/// The entity of an instance.
inline Entity entityOf(const step::Instance& instance) {
    return static_cast<Entity>(instance.entity);
}

/// The instances of these entities, in the order of the file.
std::vector<const step::Instance*> instancesOf(const step::File& file, std::initializer_list<Entity> entities);

/// The schemas IFC2X3, IFC4 and IFC4X3 with these entities.
extern const step::Application application;

} // namespace importer::ifc
