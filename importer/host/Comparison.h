#pragma once

#include "importer/host/Model.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace importer::host {

/// Counts for one IFC class, or for all classes.
struct ClassCounts {
    std::uint64_t objects = 0;     ///< New, unchanged and modified objects of this import.
    std::uint64_t added = 0;       ///< Not in the previous import.
    std::uint64_t unchanged = 0;   ///< Same version (within its tolerances) and same properties.
    std::uint64_t modified = 0;    ///< Different version or different properties.
    double lowestSimilarity = 1.0; ///< Of the versions of modified objects; 1 when only properties differ.
    std::uint64_t gone = 0;        ///< Only in the previous import; counted under the class of that import.
};

/// One change of one object. An object can have several, such as Modified and Renamed.
struct Change {
    enum Kind { Modified, Added, Gone, Renamed, Reclassified, Moved };

    Kind kind = Modified;
    std::size_t object = 0;        ///< Index into the objects of this import; of the previous import if kind is `Gone`.
    std::size_t before = 0;        ///< Index into the objects of the previous import; undefined if kind is `Added`.
    double similarity = 1.0;       ///< Of the versions of a modified object.
    bool versionDiffers = false;   ///< For `Modified`.
    bool propertiesDiffer = false; ///< For `Modified`.
};

/// The comparison of an import with the previous one.
struct Comparison {
    std::map<std::string, ClassCounts> classes; ///< By class name.
    ClassCounts total;                          ///< Over all classes.
    std::vector<Change> changes;           ///< In the order of the objects of this import, followed by the gone objects.
    std::vector<std::size_t> unidentified; ///< Objects of this import without an identity; not counted above.
};

/// Maximum number of copies in the same place that are searched for an equal one, per object. A search through all copies
/// would take quadratic time.
inline constexpr std::size_t maxCopiesSearched = 64;

/// Compares two imports.
///
/// Two objects are the same when the identity database gives them the same runtime id: by GlobalId, or by spatial hash if
/// they have no GlobalId or GlobalIds are ignored. Objects that share an id (copies in the same place) are paired in this
/// order: same class with equal version and properties, same class with equal version, same class, any class; within each
/// step in the order of the files. Only the first `maxCopiesSearched` unpaired copies are searched, so with more copies
/// an object may be reported as modified although an equal copy exists.
///
/// A version of type `Geometry` or `BoundingBox` does not contain a position. An object with such a version that was only
/// moved is unchanged, and reported as `Moved` if the center of its spatial hash differs. PropertyComparison.h defines which
/// properties are equal.
Comparison compare(const Model& before, const Model& now, bool identifyByGeometry);

} // namespace importer::host
