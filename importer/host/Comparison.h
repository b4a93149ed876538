#pragma once

// What has changed between two imports of a model.

#include "importer/host/Model.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace importer::host {

/// The numbers of one IFC class, or of all.
struct ClassCounts {
    std::uint64_t objects = 0;     ///< Of this import: new, unchanged and modified ones.
    std::uint64_t added = 0;       ///< Not there at the previous import.
    std::uint64_t unchanged = 0;   ///< Versions equal within their tolerances, and properties equal.
    std::uint64_t modified = 0;    ///< Versions or properties not equal.
    double lowestSimilarity = 1.0; ///< Among the modified ones, by their versions: 1 when only properties differ.
    std::uint64_t gone = 0;        ///< Of the previous import, counted under the class they had.
};

/// One change of one object, for the list.
struct Change {
    /// What happened; an object may be renamed, moved or of another class beside being modified.
    enum Kind { Modified, Added, Gone, Renamed, Reclassified, Moved };

    Kind kind = Modified;
    std::size_t object = 0;       ///< Index into this import's objects; for `Gone` into the previous import's.
    std::size_t before = 0;       ///< Index into the previous import's objects, but for `Added`.
    double similarity = 1.0;      ///< Of the versions of a modified object.
    bool otherVersion = false;    ///< Whether the version of a modified object differs.
    bool otherProperties = false; ///< Whether the properties of a modified object differ.
};

/// The comparison of an import with the previous one.
struct Comparison {
    std::map<std::string, ClassCounts> classes; ///< By class name.
    ClassCounts total;                          ///< Over all classes.
    std::vector<Change> changes;                ///< In the order of this import's objects, then the gone ones.
    std::vector<std::size_t> unidentified;      ///< This import's objects without an identity, which nothing above counts.
};

/// How many of the copies in one place are searched for an equal one, for each object; all of them would take quadratic
/// time.
inline constexpr std::size_t copiesSearched = 64;

/// Compares two imports.
///
/// Objects are the same when the identity database gives them the same runtime id: by GlobalId, or by spatial hash for those
/// that have none and for all when GlobalIds are to be ignored. Where several share an id (copies in one place), they are
/// paired within their class first, equal ones before those of equal versions before others, and in the order of the files.
/// Only the first `copiesSearched` that are still without a counterpart are searched for an equal one: of more different
/// copies in one place, some may be told as modified although their equal is there.
///
/// A version of type `Geometry` or `BoundingBox` does not know where its object is. An object that has only gone elsewhere
/// is thus unchanged, and told as `Moved` by the centre of its spatial hash. What counts of the properties is told in
/// PropertyComparison.h.
Comparison compare(const Model& before, const Model& now, bool identifyByGeometry);

} // namespace importer::host
