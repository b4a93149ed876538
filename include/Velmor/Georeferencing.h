#pragma once

/// @file
/// The georeference of a model: map conversion and projected coordinate reference system of IFC4.

#include <Velmor/Export.h>
#include <Velmor/WideText.h>

namespace Plexor {

/// A point with three coordinates.
struct Vertex {
    constexpr Vertex(double xCoordinate, double yCoordinate, double zCoordinate)
        : x(xCoordinate), y(yCoordinate), z(zCoordinate) {}

    double x;
    double y;
    double z;
};

static_assert(sizeof(Vertex) == 24, "the layout of a point is part of the binary interface");

} // namespace Plexor

namespace Velmor {

namespace ifc { // internal
struct Layouts;
} // namespace ifc

/// A projected coordinate reference system (the entity IfcProjectedCRS).
///
/// An immutable record. The library neither validates it nor computes with it.
///
/// Failure: copying the texts may throw `std::bad_alloc`. Ownership: each copy owns its texts; references from the getters
/// are valid until the record is assigned to or destroyed. Threads: several threads may read the same record.
class VELMOR_API IFC4_MapProjection {
public:
    /// Creates a record with empty texts and a scale of 1.
    IFC4_MapProjection();

    /// Creates a record from these attributes of IfcProjectedCRS.
    /// @param name           Name
    /// @param description    Description
    /// @param geodeticDatum  GeodeticDatum
    /// @param verticalDatum  VerticalDatum
    /// @param projectionType MapProjection
    /// @param zone           MapZone
    /// @param unitName       name of the MapUnit
    /// @param scaleToMetric  length of the map unit in meters
    IFC4_MapProjection(const WideString& name, const WideString& description, const WideString& geodeticDatum,
                       const WideString& verticalDatum, const WideString& projectionType, const WideString& zone,
                       const WideString& unitName, double scaleToMetric);

    const WideString& getName() const;
    const WideString& getDescription() const;
    const WideString& getGeodeticDatum() const;
    const WideString& getVerticalDatum() const;
    const WideString& getProjectionType() const;
    const WideString& getZone() const;
    const WideString& getUnitName() const;

    /// The length of the map unit in meters.
    double getScaleToMetric() const;

private:
    friend struct ifc::Layouts;

    WideString name_;
    WideString description_;
    WideString geodeticDatum_;
    WideString verticalDatum_;
    WideString projectionType_;
    WideString zone_;
    WideString unitName_;
    double scaleToMetric_;
};

/// The position and direction of a model's coordinate system in a projected one (the entity IfcMapConversion).
///
/// An immutable record. The library neither validates it nor computes with it.
///
/// Failure: copying the texts of the projection may throw `std::bad_alloc`. Ownership: each copy owns its projection;
/// references from the getters are valid until the record is assigned to or destroyed. Threads: several threads may read the
/// same record.
class VELMOR_API IFC4_MapConversion {
public:
    /// Creates a record with a scale of 1, a default projection and zeros elsewhere. The direction of the x axis is (0, 0),
    /// not (1, 0).
    IFC4_MapConversion();

    /// Creates a record. The arguments have the order of the attributes of IfcMapConversion.
    /// @param sourceOrigin     origin of the model's coordinate system
    /// @param eastings         Eastings of that origin, in map units
    /// @param northings        Northings of that origin, in map units
    /// @param orthogonalHeight OrthogonalHeight of that origin
    /// @param xAxisAbscissa    XAxisAbscissa: first component of the direction of the model's x axis in the map system
    /// @param xAxisOrdinate    XAxisOrdinate: second component of that direction
    /// @param scale            Scale from model units to map units
    /// @param mapProjection    the projected system; copied
    IFC4_MapConversion(const Plexor::Vertex& sourceOrigin, double eastings, double northings, double orthogonalHeight,
                       double xAxisAbscissa, double xAxisOrdinate, double scale, const IFC4_MapProjection& mapProjection);

    const Plexor::Vertex& getSourceOrigin() const;
    double getEastings() const;
    double getNorthings() const;
    double getOrthogonalHeight() const;
    double getXAxisAbscissa() const;
    double getXAxisOrdinate() const;

    /// The scale from model units to map units.
    double getScaleToMapProjection() const;

    const IFC4_MapProjection& getMapProjection() const;

private:
    friend struct ifc::Layouts;

    Plexor::Vertex sourceOrigin_;
    double eastings_;
    double northings_;
    double orthogonalHeight_;
    double xAxisAbscissa_;
    double xAxisOrdinate_;
    double scale_;
    IFC4_MapProjection mapProjection_;
};

} // namespace Velmor
