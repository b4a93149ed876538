// The comparison of two imports:
//   1. all objects of both imports are registered in one identity database, which gives each a runtime id;
//   2. objects of equal id are paired, the best match first (see compare);
//   3. each pair is compared; what has no partner is new or gone.
// Time: O(n log n) for n objects with distinct identities; O(n * maxCopiesSearched) for copies in the same place.

#include "importer/host/Comparison.h"

#include "importer/host/PropertyComparison.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <functional>
#include <numeric>
#include <random>
#include <unordered_map>

namespace importer::host {
namespace {

using Velmor::ExternalGUID;

constexpr double positionTolerance = 0.001; // metres, as in the comparison of versions
constexpr std::size_t none = static_cast<std::size_t>(-1);

const ExternalGUID& identityOf(const ObjectRecord& object, bool byGeometry) {
    const bool keyed = !byGeometry && object.globalId.getType() == ExternalGUID::IFCGlobalID;
    return keyed ? object.globalId : object.spatialHash;
}

// The runtime ids of all objects. They are registered in a random order: a row of equal objects in the order of the file
// would make the spatial tree of the database degenerate into a list.
std::vector<std::uint32_t> runtimeIds(Velmor::ExternalGUIDDatabase& database, const std::vector<ObjectRecord>& objects,
                                      bool byGeometry) {
    std::vector<std::size_t> order(objects.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::mt19937_64 random(1); // fixed seed: always the same order
    for (std::size_t i = order.size(); i > 1; --i)
        std::swap(order[i - 1], order[random() % i]);
    std::vector<std::uint32_t> ids(objects.size());
    for (const auto i : order)
        ids[i] = database.insertGUID(identityOf(objects[i], byGeometry));
    return ids;
}

// Unpaired objects of the previous import, by a key that both objects of a pair share.
template <typename Key, typename Hash>
using Unpaired = std::unordered_map<Key, std::deque<std::size_t>, Hash>;

struct IdAndClass {
    std::uint32_t id;
    std::string className;

    bool operator==(const IdAndClass&) const = default;
};

struct IdAndClassHash {
    std::size_t operator()(const IdAndClass& key) const { return std::hash<std::string>()(key.className) * 31 + key.id; }
};

// For each object of this import its partner in the previous import, or `none`.
std::vector<std::size_t> pair(const std::vector<ObjectRecord>& before, const std::vector<std::uint32_t>& idsBefore,
                              const std::vector<ObjectRecord>& now, const std::vector<std::uint32_t>& idsNow,
                              PropertyComparison& properties) {
    std::vector<std::size_t> partner(now.size(), none);
    std::vector<bool> taken(before.size());

    Unpaired<IdAndClass, IdAndClassHash> sameClass;
    for (std::size_t i = 0; i < before.size(); ++i)
        sameClass[{idsBefore[i], before[i].className}].push_back(i);
    const auto sameVersion = [&](std::size_t b, std::size_t i) { return before[b].version == now[i].version; };
    const std::function<bool(std::size_t, std::size_t)> fits[] = {
        [&](std::size_t b, std::size_t i) { return sameVersion(b, i) && properties.isEqual(before[b], now[i]); },
        sameVersion, [](std::size_t, std::size_t) { return true; }};
    for (const auto& fit : fits) {
        for (std::size_t i = 0; i < now.size(); ++i) {
            const auto found = sameClass.find({idsNow[i], now[i].className});
            if (idsNow[i] == Velmor::NoRuntimeID || partner[i] != none || found == sameClass.end())
                continue;
            auto& candidates = found->second;
            const auto last =
                candidates.begin() + static_cast<std::ptrdiff_t>(std::min(candidates.size(), maxCopiesSearched));
            const auto candidate = std::find_if(candidates.begin(), last, [&](std::size_t b) { return fit(b, i); });
            if (candidate != last) {
                partner[i] = *candidate;
                taken[*candidate] = true;
                candidates.erase(candidate);
            }
        }
    }

    Unpaired<std::uint32_t, std::hash<std::uint32_t>> anyClass;
    for (std::size_t i = 0; i < before.size(); ++i)
        if (!taken[i])
            anyClass[idsBefore[i]].push_back(i);
    for (std::size_t i = 0; i < now.size(); ++i) {
        const auto found = anyClass.find(idsNow[i]);
        if (idsNow[i] != Velmor::NoRuntimeID && partner[i] == none && found != anyClass.end() && !found->second.empty()) {
            partner[i] = found->second.front();
            found->second.pop_front();
        }
    }
    return partner;
}

bool hasMoved(const ObjectRecord& a, const ObjectRecord& b) {
    const double* const centerA = a.spatialHash.getSpatialHash();
    const double* const centerB = b.spatialHash.getSpatialHash();
    return !std::equal(centerA, centerA + 3, centerB,
                       [](double x, double y) { return std::abs(x - y) <= positionTolerance; });
}

} // namespace

Comparison compare(const Model& modelBefore, const Model& modelNow, bool identifyByGeometry) {
    const auto& before = modelBefore.objects;
    const auto& now = modelNow.objects;
    PropertyComparison properties(modelBefore, modelNow);
    Velmor::ExternalGUIDDatabase database;
    const auto idsBefore = runtimeIds(database, before, identifyByGeometry);
    const auto idsNow = runtimeIds(database, now, identifyByGeometry);
    const auto partner = pair(before, idsBefore, now, idsNow, properties);

    Comparison result;
    const auto count = [&result](const std::string& className, auto&& change) {
        change(result.classes[className]);
        change(result.total);
    };
    std::vector<bool> hasPartner(before.size());
    for (std::size_t i = 0; i < now.size(); ++i) {
        const auto& object = now[i];
        if (idsNow[i] == Velmor::NoRuntimeID) {
            result.unidentified.push_back(i);
            continue;
        }
        count(object.className, [](ClassCounts& counts) { ++counts.objects; });
        const auto b = partner[i];
        if (b == none) {
            count(object.className, [](ClassCounts& counts) { ++counts.added; });
            result.changes.push_back({Change::Added, i, none});
            continue;
        }
        hasPartner[b] = true;
        const auto& old = before[b];
        Change change{Change::Modified, i, b};
        change.versionDiffers = object.version != old.version;
        change.propertiesDiffer = !properties.isEqual(old, object);
        if (change.versionDiffers || change.propertiesDiffer) {
            if (change.versionDiffers) {
                const double graded = object.version.similarity(old.version);
                change.similarity = std::isnan(graded) ? 0.0 : graded; // NaN: the numbers are too large for a ratio
            }
            count(object.className, [&change](ClassCounts& counts) {
                ++counts.modified;
                counts.lowestSimilarity = std::min(counts.lowestSimilarity, change.similarity);
            });
            result.changes.push_back(change);
        } else {
            count(object.className, [](ClassCounts& counts) { ++counts.unchanged; });
        }
        if (!change.versionDiffers && hasMoved(object, old))
            result.changes.push_back({Change::Moved, i, b});
        if (object.className != old.className)
            result.changes.push_back({Change::Reclassified, i, b});
        if (object.name != old.name)
            result.changes.push_back({Change::Renamed, i, b});
    }
    for (std::size_t b = 0; b < before.size(); ++b) {
        if (!hasPartner[b] && idsBefore[b] != Velmor::NoRuntimeID) {
            count(before[b].className, [](ClassCounts& counts) { ++counts.gone; });
            result.changes.push_back({Change::Gone, b, b});
        }
    }
    return result;
}

} // namespace importer::host
