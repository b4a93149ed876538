#pragma once

// Compares the properties of an object in two imports.
//
// Two objects have equal properties when they have the same sets by name, and each set has the same properties by name, with
// equal value types and values (bit by bit) and, for complex properties, equal usage names and content. The order of sets
// and of properties, descriptions, and the GlobalIds of sets are ignored. Of several sets or properties with the same name,
// the first is compared with the first, the second with the second, and so on.

#include "importer/exchange/PropertyRecords.h"
#include "importer/host/Model.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace importer::host {

/// One difference. The content of an added or removed set or complex property is not listed.
struct PropertyDifference {
    enum Kind { Changed, Added, Removed };

    Kind kind = Changed;
    /// Names of the set, of the complex properties around the property, and of the property; for a set only its name.
    std::vector<std::string_view> path;
    const EncodedProperty* before = nullptr; ///< Null for a set, and if added.
    const EncodedProperty* now = nullptr;    ///< Null for a set, and if removed.
};

/// Calls a function for each difference between the properties of an object in two imports, sorted by the names of sets and
/// properties.
/// @param sink its argument is valid during the call only.
void forEachPropertyDifference(const Model& before, const ObjectRecord& objectBefore, const Model& now,
                               const ObjectRecord& objectNow, const std::function<void(const PropertyDifference&)>& sink);

/// Decides whether objects of two imports have equal properties. Each pair of different sets is compared only once, however
/// many objects share them.
class PropertyComparison {
public:
    /// @param before,now must outlive the comparison and must not change.
    PropertyComparison(const Model& before, const Model& now);

    bool isEqual(const ObjectRecord& objectBefore, const ObjectRecord& objectNow);

private:
    bool isEqualSet(std::uint32_t setBefore, std::uint32_t setNow);

    const Model& before_;
    const Model& now_;
    std::vector<std::uint32_t> contentsBefore_; // for each set the number of its bytes
    std::vector<std::uint32_t> contentsNow_;
    std::unordered_map<std::uint64_t, bool> equalPairs_; // whether two contents are equal, by both numbers
};

} // namespace importer::host
