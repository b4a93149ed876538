#include "importer/ifc/Classes.h"

#include <cstdint>
#include <unordered_map>

namespace importer::ifc {

namespace {

using Classes = std::unordered_map<std::string, Velmor::AttributeClassIFC_e>;

/// All rows of the table of the library. It ends at the first value without a name. Of equal names the first is kept.
Classes classesByName() {
    Classes classes;
    for (std::uint32_t value = 0;; ++value) {
        char name[64];
        const auto objectClass = static_cast<Velmor::AttributeClassIFC_e>(value);
        Velmor::ReferenceObjectClass::asString(objectClass, name, sizeof(name));
        if (name[0] == '\0')
            return classes;
        classes.emplace(name, objectClass);
    }
}

} // namespace

Velmor::AttributeClassIFC_e classNamed(const std::string& entity) {
    static const Classes classes = classesByName();
    const auto found = classes.find(entity);
    return found != classes.end() ? found->second : Velmor::AttributeClassIFC_e::IFCINVALID;
}

} // namespace importer::ifc
