// The comparison of two imports:
//   1. all objects of both imports are registered in one identity database, which gives each a runtime id;
//   2. objects with equal ids are paired, the best match first (see Comparison.h);
//   3. each pair is compared; an object without a partner is new or gone.
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

constexpr double positionTolerance = 0.001; // meters; ExternalVersion compares positions with the same tolerance
constexpr std::size_t none = static_cast<std::size_t>(-1);

const ExternalGUID& identityOf(const ObjectRecord& object, bool byGeometry) {
    const bool useGlobalId = !byGeometry && object.globalId.getType() == ExternalGUID::IFCGlobalID;
    return useGlobalId ? object.globalId : object.spatialHash;
}

// The runtime ids of all objects. The objects are registered in random order: if equal objects in a row were registered from
// one end to the other, the spatial tree of the database would degenerate into a list.
std::vector<std::uint32_t> runtimeIds(Velmor::ExternalGUIDDatabase& database, const std::vector<ObjectRecord>& objects,
                                      bool byGeometry) {
    std::vector<std::size_t> order(objects.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::mt19937_64 random(1); // fixed seed: always the same order
    for (std::size_t i = order.size(); i > 1; --i)
        std::swap(order[i - 1], order[random() % i]);
    std::vector<std::uint32_t> ids(objects.size());
    for (const std::size_t i : order)
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

// The objects of one import and their runtime ids.
struct IdentifiedObjects {
    const std::vector<ObjectRecord>& objects;
    std::vector<std::uint32_t> ids;

    bool isIdentified(std::size_t i) const { return ids[i] != Velmor::NoRuntimeID; }
};

// For each object of this import the index of its partner in the previous import, or `none`.
using Partners = std::vector<std::size_t>;

// Pairs objects of the same class, in three passes: equal version and properties, equal version, any version.
void pairWithinClasses(const IdentifiedObjects& before, const IdentifiedObjects& now, PropertyComparison& properties,
                       Partners& partners) {
    Unpaired<IdAndClass, IdAndClassHash> unpaired;
    for (std::size_t i = 0; i < before.objects.size(); ++i)
        unpaired[{before.ids[i], before.objects[i].className}].push_back(i);
    const auto hasEqualVersion = [&](std::size_t b, std::size_t i) {
        return before.objects[b].version == now.objects[i].version;
    };
    const std::function<bool(std::size_t, std::size_t)> passes[] = {
        [&](std::size_t b, std::size_t i) {
            return hasEqualVersion(b, i) && properties.isEqual(before.objects[b], now.objects[i]);
        },
        hasEqualVersion, [](std::size_t, std::size_t) { return true; }};
    for (const std::function<bool(std::size_t, std::size_t)>& isMatch : passes) {
        for (std::size_t i = 0; i < now.objects.size(); ++i) {
            const auto found = unpaired.find({now.ids[i], now.objects[i].className});
            if (!now.isIdentified(i) || partners[i] != none || found == unpaired.end())
                continue;
            std::deque<std::size_t>& candidates = found->second;
            const auto end =
                candidates.begin() + static_cast<std::ptrdiff_t>(std::min(candidates.size(), maxCopiesSearched));
            const auto candidate = std::find_if(candidates.begin(), end, [&](std::size_t b) { return isMatch(b, i); });
            if (candidate != end) {
                partners[i] = *candidate;
                candidates.erase(candidate);
            }
        }
    }
}

// Pairs the remaining objects with equal ids; their classes may differ.
void pairAcrossClasses(const IdentifiedObjects& before, const IdentifiedObjects& now, Partners& partners) {
    std::vector<bool> hasPartner(before.objects.size());
    for (const std::size_t b : partners)
        if (b != none)
            hasPartner[b] = true;
    Unpaired<std::uint32_t, std::hash<std::uint32_t>> unpaired;
    for (std::size_t i = 0; i < before.objects.size(); ++i)
        if (!hasPartner[i])
            unpaired[before.ids[i]].push_back(i);
    for (std::size_t i = 0; i < now.objects.size(); ++i) {
        const auto found = unpaired.find(now.ids[i]);
        if (now.isIdentified(i) && partners[i] == none && found != unpaired.end() && !found->second.empty()) {
            partners[i] = found->second.front();
            found->second.pop_front();
        }
    }
}

bool hasMoved(const ObjectRecord& before, const ObjectRecord& now) {
    const double* const centerBefore = before.spatialHash.getSpatialHash();
    const double* const centerNow = now.spatialHash.getSpatialHash();
    return !std::equal(centerBefore, centerBefore + 3, centerNow,
                       [](double x, double y) { return std::abs(x - y) <= positionTolerance; });
}

double similarityOf(const ObjectRecord& before, const ObjectRecord& now) {
    const double similarity = now.version.similarity(before.version);
    return std::isnan(similarity) ? 0.0 : similarity; // NaN: the ratio of two very large numbers
}

// Counts an object in its class and in the total.
template <typename Count>
void count(Comparison& comparison, const ObjectRecord& object, const Count& add) {
    add(comparison.classes[object.className]);
    add(comparison.total);
}

void addNew(Comparison& comparison, const ObjectRecord& object, std::size_t index) {
    count(comparison, object, [](ClassCounts& counts) { ++counts.objects, ++counts.added; });
    comparison.changes.push_back({Change::Added, index, none});
}

void addGone(Comparison& comparison, const ObjectRecord& object, std::size_t index) {
    count(comparison, object, [](ClassCounts& counts) { ++counts.gone; });
    comparison.changes.push_back({Change::Gone, index, index});
}

// Adds the objects before.objects[b] and now.objects[i], which are the same object in both imports.
void addPair(Comparison& comparison, const ObjectRecord& before, std::size_t b, const ObjectRecord& now, std::size_t i,
             PropertyComparison& properties) {
    Change change{Change::Modified, i, b};
    change.versionDiffers = now.version != before.version;
    change.propertiesDiffer = !properties.isEqual(before, now);
    if (change.versionDiffers)
        change.similarity = similarityOf(before, now);
    if (change.versionDiffers || change.propertiesDiffer) {
        count(comparison, now, [&change](ClassCounts& counts) {
            ++counts.objects, ++counts.modified;
            counts.lowestSimilarity = std::min(counts.lowestSimilarity, change.similarity);
        });
        comparison.changes.push_back(change);
    } else {
        count(comparison, now, [](ClassCounts& counts) { ++counts.objects, ++counts.unchanged; });
    }
    if (!change.versionDiffers && hasMoved(before, now))
        comparison.changes.push_back({Change::Moved, i, b});
    if (now.className != before.className)
        comparison.changes.push_back({Change::Reclassified, i, b});
    if (now.name != before.name)
        comparison.changes.push_back({Change::Renamed, i, b});
}

} // namespace

Comparison compare(const Model& modelBefore, const Model& modelNow, bool identifyByGeometry) {
    Velmor::ExternalGUIDDatabase database;
    const IdentifiedObjects before{modelBefore.objects, runtimeIds(database, modelBefore.objects, identifyByGeometry)};
    const IdentifiedObjects now{modelNow.objects, runtimeIds(database, modelNow.objects, identifyByGeometry)};
    PropertyComparison properties(modelBefore, modelNow);
    Partners partners(now.objects.size(), none);
    pairWithinClasses(before, now, properties, partners);
    pairAcrossClasses(before, now, partners);

    Comparison comparison;
    std::vector<bool> hasPartner(before.objects.size());
    for (std::size_t i = 0; i < now.objects.size(); ++i) {
        const std::size_t b = partners[i];
        if (!now.isIdentified(i)) {
            comparison.unidentified.push_back(i);
        } else if (b == none) {
            addNew(comparison, now.objects[i], i);
        } else {
            hasPartner[b] = true;
            addPair(comparison, before.objects[b], b, now.objects[i], i, properties);
        }
    }
    for (std::size_t b = 0; b < before.objects.size(); ++b)
        if (!hasPartner[b] && before.isIdentified(b))
            addGone(comparison, before.objects[b], b);
    return comparison;
}

} // namespace importer::host
