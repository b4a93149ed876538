#pragma once

#include <Velmor/IFCProperties.h>

namespace Velmor::ifc {

/// Whether a value of this type is held in the real field.
// Frozen: the type Unspecified is a real too.
constexpr bool isReal(IFC2X3PropertySingleValue::ValueType_t type) {
    return type == IFC2X3PropertySingleValue::Unspecified ||
           (type >= IFC2X3PropertySingleValue::Real && type <= IFC2X3PropertySingleValue::PlaneAngle);
}

/// The same storage with the element type that the `...2` getters return.
inline const unsigned short* asUnsignedShort(const WideChar* text) {
    static_assert(sizeof(unsigned short) == sizeof(WideChar) && alignof(unsigned short) == alignof(WideChar));
    return reinterpret_cast<const unsigned short*>(text);
}

} // namespace Velmor::ifc
