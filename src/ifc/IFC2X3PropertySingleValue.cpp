#include <Velmor/IFCProperties.h>

#include "diagnostics/Diagnostics.h"
#include "ifc/PropertyInternals.h"

#include <algorithm>
#include <iterator>

namespace Velmor::ifc {

namespace {

const WideChar emptyText[] = {0};

} // namespace

} // namespace Velmor::ifc

namespace Velmor {

using namespace diagnostics;
using namespace ifc;

IFC2X3PropertySingleValue::IFC2X3PropertySingleValue()
    : valueType_(Unspecified), boolean_(false), logical_(LogicalUnknown), integer_(0), real_(0.0),
      integer64_(0), compoundPlaneAngle_{} {}

// Frozen: a move is a copy and leaves its source unchanged.
IFC2X3PropertySingleValue::IFC2X3PropertySingleValue(const IFC2X3PropertySingleValue& other) = default;

IFC2X3PropertySingleValue& IFC2X3PropertySingleValue::operator=(const IFC2X3PropertySingleValue& other) {
    if (this == &other)
        return *this;
    string_ = other.string_; // first: only this can fail
    valueType_ = other.valueType_;
    boolean_ = other.boolean_;
    logical_ = other.logical_;
    integer_ = other.integer_;
    real_ = other.real_;
    integer64_ = other.integer64_;
    std::copy(std::begin(other.compoundPlaneAngle_), std::end(other.compoundPlaneAngle_), compoundPlaneAngle_);
    return *this;
}

IFC2X3PropertySingleValue::~IFC2X3PropertySingleValue() = default;

IFC2X3PropertySingleValue::ValueType_t IFC2X3PropertySingleValue::getValueType() const {
    return valueType_;
}

// Frozen: a getter of the wrong type returns a fixed default and breaks into a debugger once. Each getter has its own flag.

bool IFC2X3PropertySingleValue::getBooleanValue() const {
    if (valueType_ == Boolean)
        return boolean_;
    static ReportOnce once;
    once();
    return false;
}

std::int32_t IFC2X3PropertySingleValue::getIntValue() const {
    if (valueType_ == Integer)
        return integer_;
    static ReportOnce once;
    once();
    return 0;
}

std::int64_t IFC2X3PropertySingleValue::getInt64Value() const {
    if (valueType_ == Integer64)
        return integer64_;
    static ReportOnce once;
    once();
    return 0;
}

double IFC2X3PropertySingleValue::getRealValue() const {
    if (isReal(valueType_))
        return real_;
    static ReportOnce once;
    once();
    return 0.0;
}

IFC2X3PropertySingleValue::Logical_s IFC2X3PropertySingleValue::getLogicalValue() const {
    if (valueType_ == Logical)
        return logical_;
    static ReportOnce once;
    once();
    return LogicalUnknown;
}

const WideChar* IFC2X3PropertySingleValue::getStringValue() const {
    if (valueType_ == String)
        return string_.c_str();
    static ReportOnce once;
    once();
    return emptyText;
}

const unsigned short* IFC2X3PropertySingleValue::getStringValue2() const {
    if (valueType_ == String)
        return asUnsignedShort(string_.c_str());
    static ReportOnce once;
    once();
    return asUnsignedShort(emptyText);
}

// Frozen: numbers are not formatted; only a value of type String has a text.
const WideString& IFC2X3PropertySingleValue::getAsString() const {
    if (valueType_ == String)
        return string_;
    static ReportOnce once;
    once();
    static const WideString noString;
    return noString;
}

// Frozen: the value type is not checked.
const int* IFC2X3PropertySingleValue::getCompoundPlaneAngle() const {
    return compoundPlaneAngle_;
}

} // namespace Velmor
