#pragma once

#include <Velmor/IFCProperties.h>

namespace Velmor {

/// Whether values of this type are read from the real field.
constexpr bool isReal(IFC2X3PropertySingleValue::ValueType_t type) {
    return type == IFC2X3PropertySingleValue::Unspecified ||
           (type >= IFC2X3PropertySingleValue::Real && type <= IFC2X3PropertySingleValue::PlaneAngle);
}

/// A text as callers without a 16-bit wide character take it: the same memory.
inline const unsigned short* asUnsignedShort(const WideChar* text) {
    static_assert(sizeof(unsigned short) == sizeof(WideChar) && alignof(unsigned short) == alignof(WideChar));
    return reinterpret_cast<const unsigned short*>(text);
}

} // namespace Velmor
