#include "importer/ifc/Georeference.h"

#include "importer/ifc/Attributes.h"
#include "importer/ifc/Placement.h"
#include "importer/ifc/Units.h"

namespace importer::ifc {

using namespace attribute;

namespace {

using Velmor::IFC4_MapConversion;
using Velmor::IFC4_MapProjection;

/// The origin of the world coordinate system of a representation context, or of the parent of a subcontext. Zero for any
/// other source, for example another map.
Plexor::Vertex readSourceOrigin(IfcContext& context, const Instance& source) {
    const RecursionGuard nesting(context, source);
    const Record record(context, source);
    if (record.entity() == Entity::GeometricRepresentationSubContext)
        return readSourceOrigin(context, record.reference(IfcGeometricRepresentationSubContext::ParentContext));
    const Instance* placement = nullptr;
    if (record.entity() == Entity::GeometricRepresentationContext)
        placement = record.optionalReference(IfcGeometricRepresentationContext::WorldCoordinateSystem);
    if (!placement)
        return IFC4_MapConversion().getSourceOrigin();
    const Vector3 location = readPoint(context, Record(context, *placement).reference(IfcPlacement::Location));
    return {location.x, location.y, location.z};
}

IFC4_MapProjection readProjection(IfcContext& context, const Instance& target) {
    using namespace IfcProjectedCRS;
    const Record record(context, target);
    if (record.entity() != Entity::ProjectedCRS)
        record.fail("is not a projected coordinate reference system (IFCPROJECTEDCRS)");
    const Instance* unit = record.optionalReference(MapUnit);
    return IFC4_MapProjection(
        record.text(Name, "its name"), record.text(Description, "its description"),
        record.text(GeodeticDatum, "its geodetic datum"), record.text(VerticalDatum, "its vertical datum"),
        record.text(MapProjection, "its map projection"), record.text(MapZone, "its map zone"),
        unit ? nameOfUnit(context, *unit) : Velmor::WideString(), unit ? readUnit(context, *unit, "LENGTHUNIT") : 1.0);
}

IFC4_MapConversion readConversion(IfcContext& context, const Instance& instance) {
    using namespace IfcMapConversionScaled;
    const Record record(context, instance);
    const IFC4_MapConversion defaults;
    for (const std::size_t factor : {FactorX, FactorY, FactorZ})
        if (record.number(factor, 1.0) != 1.0)
            context.note(instance, "its factors for single axes are not imported");
    return IFC4_MapConversion(
        readSourceOrigin(context, record.reference(SourceCRS)), record.number(Eastings, defaults.getEastings()),
        record.number(Northings, defaults.getNorthings()), record.number(OrthogonalHeight, defaults.getOrthogonalHeight()),
        record.number(XAxisAbscissa, defaults.getXAxisAbscissa()), record.number(XAxisOrdinate, defaults.getXAxisOrdinate()),
        record.number(Scale, defaults.getScaleToMapProjection()), readProjection(context, record.reference(TargetCRS)));
}

} // namespace

std::optional<IFC4_MapConversion> readGeoreference(IfcContext& context) {
    std::optional<IFC4_MapConversion> georeference;
    for (const Instance* instance : instancesOf(context.file, {Entity::MapConversion, Entity::MapConversionScaled}))
        if (georeference)
            context.note(*instance, "is a further map conversion and is ignored; the first valid one is used");
        else
            context.attemptPart([&] { georeference = readConversion(context, *instance); });
    return georeference;
}

} // namespace importer::ifc
