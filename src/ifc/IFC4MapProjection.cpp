#include <Velmor/Georeferencing.h>

namespace Velmor {

IFC4_MapProjection::IFC4_MapProjection() : scaleToMetric_(1.0) {}

IFC4_MapProjection::IFC4_MapProjection(const WideString& name, const WideString& description,
                                       const WideString& geodeticDatum, const WideString& verticalDatum,
                                       const WideString& projectionType, const WideString& zone, const WideString& unitName,
                                       double scaleToMetric)
    : name_(name), description_(description), geodeticDatum_(geodeticDatum), verticalDatum_(verticalDatum),
      projectionType_(projectionType), zone_(zone), unitName_(unitName), scaleToMetric_(scaleToMetric) {}

const WideString& IFC4_MapProjection::getName() const {
    return name_;
}

const WideString& IFC4_MapProjection::getDescription() const {
    return description_;
}

const WideString& IFC4_MapProjection::getGeodeticDatum() const {
    return geodeticDatum_;
}

const WideString& IFC4_MapProjection::getVerticalDatum() const {
    return verticalDatum_;
}

const WideString& IFC4_MapProjection::getProjectionType() const {
    return projectionType_;
}

const WideString& IFC4_MapProjection::getZone() const {
    return zone_;
}

const WideString& IFC4_MapProjection::getUnitName() const {
    return unitName_;
}

double IFC4_MapProjection::getScaleToMetric() const {
    return scaleToMetric_;
}

} // namespace Velmor
