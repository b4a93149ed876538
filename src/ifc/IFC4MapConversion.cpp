#include <Velmor/Georeferencing.h>

namespace Velmor {

// Frozen: the default direction of the x axis is (0, 0), not (1, 0).
IFC4_MapConversion::IFC4_MapConversion()
    : sourceOrigin_(0.0, 0.0, 0.0), eastings_(0.0), northings_(0.0), orthogonalHeight_(0.0), xAxisAbscissa_(0.0),
      xAxisOrdinate_(0.0), scale_(1.0) {}

IFC4_MapConversion::IFC4_MapConversion(const Plexor::Vertex& sourceOrigin, double eastings, double northings,
                                       double orthogonalHeight, double xAxisAbscissa, double xAxisOrdinate, double scale,
                                       const IFC4_MapProjection& mapProjection)
    : sourceOrigin_(sourceOrigin), eastings_(eastings), northings_(northings), orthogonalHeight_(orthogonalHeight),
      xAxisAbscissa_(xAxisAbscissa), xAxisOrdinate_(xAxisOrdinate), scale_(scale), mapProjection_(mapProjection) {}

const Plexor::Vertex& IFC4_MapConversion::getSourceOrigin() const {
    return sourceOrigin_;
}

double IFC4_MapConversion::getEastings() const {
    return eastings_;
}

double IFC4_MapConversion::getNorthings() const {
    return northings_;
}

double IFC4_MapConversion::getOrthogonalHeight() const {
    return orthogonalHeight_;
}

double IFC4_MapConversion::getXAxisAbscissa() const {
    return xAxisAbscissa_;
}

double IFC4_MapConversion::getXAxisOrdinate() const {
    return xAxisOrdinate_;
}

double IFC4_MapConversion::getScaleToMapProjection() const {
    return scale_;
}

const IFC4_MapProjection& IFC4_MapConversion::getMapProjection() const {
    return mapProjection_;
}

} // namespace Velmor
