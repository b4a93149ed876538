#pragma once

// Positions of the attributes of entities, from 0, as in IFC2X3, IFC4 and IFC4X3. The names are those of the schemas; if a
// later schema renamed an attribute, the later name is used. Inherited attributes come first. Derived attributes are counted
// too, because the file has a * in their position. The entities of shapes are in importer/ifc/shape/Attributes.h.

#include <cstddef>

namespace importer::ifc::attribute {

/// The common part of all products.
namespace IfcProduct {
enum : std::size_t { GlobalId, OwnerHistory, Name, Description, ObjectType, ObjectPlacement, Representation, Count };
}

namespace IfcProject {
enum : std::size_t {
    GlobalId,
    OwnerHistory,
    Name,
    Description,
    ObjectType,
    LongName,
    Phase,
    RepresentationContexts,
    UnitsInContext
};
}

// Units.

namespace IfcUnitAssignment {
enum : std::size_t { Units };
}

/// The common part of IfcSIUnit and IfcConversionBasedUnit.
namespace IfcNamedUnit {
enum : std::size_t { Dimensions, UnitType };
}

namespace IfcSIUnit {
enum : std::size_t { Dimensions, UnitType, Prefix, Name };
}

namespace IfcConversionBasedUnit {
enum : std::size_t { Dimensions, UnitType, Name, ConversionFactor };
}

namespace IfcMeasureWithUnit {
enum : std::size_t { ValueComponent, UnitComponent };
}

// Points, directions and placements.

namespace IfcCartesianPoint {
enum : std::size_t { Coordinates };
}

namespace IfcDirection {
enum : std::size_t { DirectionRatios };
}

/// The common part of the following three.
namespace IfcPlacement {
enum : std::size_t { Location };
}

namespace IfcAxis1Placement {
enum : std::size_t { Location, Axis };
}

namespace IfcAxis2Placement2D {
enum : std::size_t { Location, RefDirection };
}

namespace IfcAxis2Placement3D {
enum : std::size_t { Location, Axis, RefDirection };
}

namespace IfcLocalPlacement {
enum : std::size_t { PlacementRelTo, RelativePlacement };
}

/// The common part of the operators of two and three dimensions.
namespace IfcCartesianTransformationOperator {
enum : std::size_t { Axis1, Axis2, LocalOrigin, Scale };
}

namespace IfcCartesianTransformationOperator2DnonUniform {
enum : std::size_t { Axis1, Axis2, LocalOrigin, Scale, Scale2 };
}

namespace IfcCartesianTransformationOperator3DnonUniform {
enum : std::size_t { Axis1, Axis2, LocalOrigin, Scale, Axis3, Scale2, Scale3 };
}

// The georeference.

namespace IfcGeometricRepresentationContext {
enum : std::size_t { ContextIdentifier, ContextType, CoordinateSpaceDimension, Precision, WorldCoordinateSystem, TrueNorth };
}

namespace IfcGeometricRepresentationSubContext {
enum : std::size_t {
    ContextIdentifier,
    ContextType,
    CoordinateSpaceDimension,
    Precision,
    WorldCoordinateSystem,
    TrueNorth,
    ParentContext
};
}

namespace IfcProjectedCRS {
enum : std::size_t { Name, Description, GeodeticDatum, VerticalDatum, MapProjection, MapZone, MapUnit };
}

/// IfcMapConversion ends with Scale; IfcMapConversionScaled has the factors too.
namespace IfcMapConversionScaled {
enum : std::size_t {
    SourceCRS,
    TargetCRS,
    Eastings,
    Northings,
    OrthogonalHeight,
    XAxisAbscissa,
    XAxisOrdinate,
    Scale,
    FactorX,
    FactorY,
    FactorZ
};
}

// Properties. Before IFC4X3 the Specification of a property was its Description.

namespace IfcPropertySet {
enum : std::size_t { GlobalId, OwnerHistory, Name, Description, HasProperties };
}

namespace IfcPropertySingleValue {
enum : std::size_t { Name, Specification, NominalValue, Unit };
}

namespace IfcComplexProperty {
enum : std::size_t { Name, Specification, UsageName, HasProperties };
}

namespace IfcRelDefinesByProperties {
enum : std::size_t { GlobalId, OwnerHistory, Name, Description, RelatedObjects, RelatingPropertyDefinition };
}

namespace IfcRelDefinesByType {
enum : std::size_t { GlobalId, OwnerHistory, Name, Description, RelatedObjects, RelatingType };
}

/// The common part of all types of objects.
namespace IfcTypeObject {
enum : std::size_t { GlobalId, OwnerHistory, Name, Description, ApplicableOccurrence, HasPropertySets, Count };
}

// Textures. IFC2X3 has no Parameter: there the attributes after it are one position earlier.

namespace IfcImageTexture {
enum : std::size_t { RepeatS, RepeatT, Mode, TextureTransform, Parameter, URLReference };
}

namespace IfcBlobTexture {
enum : std::size_t { RepeatS, RepeatT, Mode, TextureTransform, Parameter, RasterFormat, RasterCode };
}

} // namespace importer::ifc::attribute
