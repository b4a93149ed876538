#pragma once

// What has changed in the properties of an object.
//
// What counts is the content: the sets by their names, the properties by their names, the usage names of complex ones, value
// types and values, bit by bit. Neither the order of sets nor that of properties within a set or a complex property counts,
// nor do descriptions and the GlobalIds of sets. Of sets or properties with equal names the first is compared with the
// first, the second with the second.

#include "importer/exchange/PropertyRecords.h"
#include "importer/host/Model.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace importer::host {

/// One difference. Nothing is told of what is within an added or removed set or complex property.
struct PropertyDifference {
    enum Kind { Changed, Added, Removed };

    Kind kind = Changed;
    std::vector<std::string_view> path;      ///< The set's name and those down to the property; the set's alone for a set.
    const EncodedProperty* before = nullptr; ///< Null for a set, and when added.
    const EncodedProperty* now = nullptr;    ///< Null for a set, and when removed.
};

/// Tells each difference between the properties that an object had and has, by the names of sets and properties.
/// @param sink what it gets lasts for the call.
void tellPropertyDifferences(const Model& before, const ObjectRecord& objectBefore, const Model& now,
                             const ObjectRecord& objectNow, const std::function<void(const PropertyDifference&)>& sink);

/// Tells whether objects of two imports have the same properties. Each set is looked at once, and so is each pair of
/// different sets, however many objects have them.
class PropertyComparison {
public:
    /// @param before not owned, as `now`; both outlive the comparison and stay as they are.
    PropertyComparison(const Model& before, const Model& now);

    /// Whether there is no difference that could be told.
    bool isEqual(const ObjectRecord& objectBefore, const ObjectRecord& objectNow);

private:
    bool isEqualSet(std::uint32_t setBefore, std::uint32_t setNow);

    const Model& before_;
    const Model& now_;
    std::vector<std::uint32_t> contentsBefore_; // per set: a number that sets of equal bytes share
    std::vector<std::uint32_t> contentsNow_;
    std::unordered_map<std::uint64_t, bool> equalPairs_; // by the numbers of two contents of different bytes
};

} // namespace importer::host
