#pragma once

/// @file
/// How a model's georeference is carried: the map conversion and the projected coordinate reference system of IFC4.

#include <Velmor/Export.h>
#include <Velmor/WideText.h>

namespace Plexor {

/// A point.
struct Vertex {
    constexpr Vertex(double xCoordinate, double yCoordinate, double zCoordinate)
        : x(xCoordinate), y(yCoordinate), z(zCoordinate) {}

    double x;
    double y;
    double z;
};

static_assert(sizeof(Vertex) == 24, "a point is its three coordinates");

} // namespace Plexor

namespace Velmor {

/// A projected coordinate reference system (the entity IfcProjectedCRS).
///
/// A plain value that never changes: nothing is validated, and nothing is computed with it. Each copy owns its texts. Only
/// copying them can fail, with `std::bad_alloc`. Threads: may be read concurrently.
class VELMOR_API IFC4_MapProjection {
public:
    /// Empty texts, and a scale of 1.
    IFC4_MapProjection();

    /// @param name           Name
    /// @param description    Description
    /// @param geodeticDatum  GeodeticDatum
    /// @param verticalDatum  VerticalDatum
    /// @param projectionType MapProjection
    /// @param zone           MapZone
    /// @param unitName       the name of the MapUnit
    /// @param scaleToMetric  the map unit in metres
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

    /// The map unit in metres.
    double getScaleToMetric() const;

private:
    WideString name_;
    WideString description_;
    WideString geodeticDatum_;
    WideString verticalDatum_;
    WideString projectionType_;
    WideString zone_;
    WideString unitName_;
    double scaleToMetric_;
};

/// How a model's own coordinate system lies in a projected one (the entity IfcMapConversion).
///
/// A plain value that never changes: nothing is validated, and nothing is computed with it. Each copy owns its projection.
/// Only copying its texts can fail, with `std::bad_alloc`. Threads: may be read concurrently.
class VELMOR_API IFC4_MapConversion {
public:
    /// All zero but the scale, which is 1; the direction of the x axis is (0, 0) on purpose. A default projection.
    IFC4_MapConversion();

    /// @param sourceOrigin     origin of the model's coordinate system
    /// @param eastings         Eastings of that origin, in map units
    /// @param northings        Northings of that origin, in map units
    /// @param orthogonalHeight OrthogonalHeight of that origin
    /// @param xAxisAbscissa    XAxisAbscissa: first component of the direction of the model's x axis in the map
    /// @param xAxisOrdinate    XAxisOrdinate: second component of that direction
    /// @param scale            Scale from the model's units to the map's
    /// @param mapProjection    the projected system; copied
    IFC4_MapConversion(const Plexor::Vertex& sourceOrigin, double eastings, double northings, double orthogonalHeight,
                       double xAxisAbscissa, double xAxisOrdinate, double scale, const IFC4_MapProjection& mapProjection);

    const Plexor::Vertex& getSourceOrigin() const;
    double getEastings() const;
    double getNorthings() const;
    double getOrthogonalHeight() const;
    double getXAxisAbscissa() const;
    double getXAxisOrdinate() const;

    /// The scale from the model's units to the map's.
    double getScaleToMapProjection() const;

    const IFC4_MapProjection& getMapProjection() const;

private:
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
