#include "importer/ifc/Georeference.h"

#include "importer/ifc/Placement.h"
#include "importer/ifc/Units.h"

namespace importer::ifc {

namespace {

using Velmor::IFC4_MapConversion;
using Velmor::IFC4_MapProjection;

/// The origin of the world coordinate system of a representation context, or of the one that it is part of. Of any other
/// source, another map for instance, it is the zero point.
Plexor::Vertex readSourceOrigin(IfcContext& context, const Instance& source) {
    const RecursionGuard nesting(context, source);
    if (entityOf(source) == Entity::GeometricRepresentationSubContext)
        return readSourceOrigin(context, Record(context, source).reference(6));
    const bool hasOrigin = entityOf(source) == Entity::GeometricRepresentationContext;
    const Instance* placement = hasOrigin ? Record(context, source).optionalReference(4) : nullptr;
    if (!placement)
        return IFC4_MapConversion().getSourceOrigin();
    const Vector3 location = readPoint(context, Record(context, *placement).reference(0));
    return {location.x, location.y, location.z};
}

IFC4_MapProjection readProjection(IfcContext& context, const Instance& target) {
    const Record record(context, target);
    if (record.entity() != Entity::ProjectedCRS)
        record.fail("is no projected coordinate reference system");
    const Instance* unit = record.optionalReference(6);
    return IFC4_MapProjection(
        record.text(0, "its name"), record.text(1, "its description"), record.text(2, "its geodetic datum"),
        record.text(3, "its vertical datum"), record.text(4, "its map projection"), record.text(5, "its map zone"),
        unit ? nameOfUnit(context, *unit) : Velmor::WideString(), unit ? readUnit(context, *unit, "LENGTHUNIT") : 1.0);
}

IFC4_MapConversion readConversion(IfcContext& context, const Instance& instance) {
    const Record record(context, instance);
    const IFC4_MapConversion defaults;
    for (const std::size_t factor : {8u, 9u, 10u}) {
        if (record.number(factor, 1.0) != 1.0)
            context.note(instance, "its factors for the single axes are not carried");
    }
    return IFC4_MapConversion(readSourceOrigin(context, record.reference(0)), record.number(2, defaults.getEastings()),
                              record.number(3, defaults.getNorthings()), record.number(4, defaults.getOrthogonalHeight()),
                              record.number(5, defaults.getXAxisAbscissa()), record.number(6, defaults.getXAxisOrdinate()),
                              record.number(7, defaults.getScaleToMapProjection()),
                              readProjection(context, record.reference(1)));
}

} // namespace

std::optional<IFC4_MapConversion> readGeoreference(IfcContext& context) {
    std::optional<IFC4_MapConversion> georeference;
    for (const Instance* instance : instancesOf(context.file, {Entity::MapConversion, Entity::MapConversionScaled})) {
        if (georeference) {
            context.note(*instance, "is one more map conversion; the first one counts");
            continue;
        }
        context.attemptPart([&] { georeference = readConversion(context, *instance); });
    }
    return georeference;
}

} // namespace importer::ifc
