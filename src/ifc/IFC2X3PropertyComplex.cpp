#include <Velmor/IFCProperties.h>

#include "ifc/PropertyInternals.h"

#include <algorithm>
#include <iterator>

namespace Velmor {

using namespace ifc;

IFC2X3PropertyComplex::IFC2X3PropertyComplex() : usageName_{} {}

// Frozen: a move is a deep copy and leaves its source unchanged.
IFC2X3PropertyComplex::IFC2X3PropertyComplex(const IFC2X3PropertyComplex& other) = default;

IFC2X3PropertyComplex& IFC2X3PropertyComplex::operator=(const IFC2X3PropertyComplex& other) {
    if (this == &other)
        return *this;
    propertySet_ = other.propertySet_; // first: only this can fail
    std::copy(std::begin(other.usageName_), std::end(other.usageName_), usageName_);
    return *this;
}

IFC2X3PropertyComplex::~IFC2X3PropertyComplex() = default;

const WideChar* IFC2X3PropertyComplex::getUsageName() const {
    return usageName_;
}

const unsigned short* IFC2X3PropertyComplex::getUsageName2() const {
    return asUnsignedShort(usageName_);
}

const IFC2X3PropertySet& IFC2X3PropertyComplex::getPropertySet() const {
    return propertySet_;
}

} // namespace Velmor
