#include <Velmor/IFCProperties.h>

#include "ifc/PropertyInternals.h"

#include <algorithm>
#include <iterator>
#include <memory>

namespace Velmor::ifc {

namespace {

/// A deep copy; null stays null.
template <class Content>
std::unique_ptr<Content> copyOf(const Content* content) {
    return std::unique_ptr<Content>(content ? new Content(*content) : nullptr);
}

} // namespace

} // namespace Velmor::ifc

namespace Velmor {

using namespace ifc;

IFC2X3Property::IFC2X3Property() : type_(NoContent), name_{}, description_{}, singleValue_(nullptr), complex_(nullptr) {}

// Frozen: a move is a deep copy and leaves its source unchanged.
IFC2X3Property::IFC2X3Property(const IFC2X3Property& other) : type_(other.type_) {
    std::copy(std::begin(other.name_), std::end(other.name_), name_);
    std::copy(std::begin(other.description_), std::end(other.description_), description_);
    auto singleValue = copyOf(other.singleValue_);
    complex_ = copyOf(other.complex_).release();
    singleValue_ = singleValue.release();
}

IFC2X3Property& IFC2X3Property::operator=(const IFC2X3Property& other) {
    if (this == &other)
        return *this;
    // The copies come first: if one fails, this property is unchanged, and `other` may be part of this property.
    auto singleValue = copyOf(other.singleValue_);
    auto complex = copyOf(other.complex_);
    type_ = other.type_;
    std::copy(std::begin(other.name_), std::end(other.name_), name_);
    std::copy(std::begin(other.description_), std::end(other.description_), description_);
    delete singleValue_;
    singleValue_ = singleValue.release();
    delete complex_;
    complex_ = complex.release();
    return *this;
}

IFC2X3Property::~IFC2X3Property() {
    delete singleValue_;
    delete complex_;
}

IFC2X3Property::Type_t IFC2X3Property::getType() const {
    return type_;
}

const WideChar* IFC2X3Property::getName() const {
    return name_;
}

const unsigned short* IFC2X3Property::getName2() const {
    return asUnsignedShort(name_);
}

const WideChar* IFC2X3Property::getDescription() const {
    return description_;
}

const unsigned short* IFC2X3Property::getDescription2() const {
    return asUnsignedShort(description_);
}

// Frozen: the wrong kind of content is a shared default object, without a report.
const IFC2X3PropertySingleValue& IFC2X3Property::getPropertySingleValue() const {
    if (type_ == SingleValue && singleValue_)
        return *singleValue_;
    struct NoValue : IFC2X3PropertySingleValue {};
    static const NoValue noValue;
    return noValue;
}

// Frozen: the wrong kind of content is a shared default object, without a report.
const IFC2X3PropertyComplex& IFC2X3Property::getPropertyComplex() const {
    if (type_ == Complex && complex_)
        return *complex_;
    struct NoComplex : IFC2X3PropertyComplex {};
    static const NoComplex noComplex;
    return noComplex;
}

} // namespace Velmor
