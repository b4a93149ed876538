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

constexpr double placeTolerance = 0.001; // metres, as that of the versions' centroids
constexpr std::size_t none = static_cast<std::size_t>(-1);

const ExternalGUID& identityOf(const ObjectRecord& object, bool byGeometry) {
    const bool keyed = !byGeometry && object.globalId.getType() == ExternalGUID::IFCGlobalID;
    return keyed ? object.globalId : object.spatialHash;
}

// The runtime ids of all objects. They are registered in a shuffled order: along a row of equal objects, as files list them,
// the database's spatial tree would become one long branch.
std::vector<std::uint32_t> runtimeIds(Velmor::ExternalGUIDDatabase& database, const std::vector<ObjectRecord>& objects,
                                      bool byGeometry) {
    std::vector<std::size_t> order(objects.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::mt19937_64 random(1); // always the same order
    for (std::size_t i = order.size(); i > 1; --i)
        std::swap(order[i - 1], order[random() % i]);
    std::vector<std::uint32_t> ids(objects.size());
    for (const auto i : order)
        ids[i] = database.insertGUID(identityOf(objects[i], byGeometry));
    return ids;
}

// Objects of the previous import that still wait for their counterpart, by a key that both must share.
template <typename Key, typename Hash>
using Waiting = std::unordered_map<Key, std::deque<std::size_t>, Hash>;

struct IdAndClass {
    std::uint32_t id;
    std::string className;

    bool operator==(const IdAndClass&) const = default;
};

struct IdAndClassHash {
    std::size_t operator()(const IdAndClass& key) const { return std::hash<std::string>()(key.className) * 31 + key.id; }
};

// For each object of this import its counterpart in the previous one, or `none`.
std::vector<std::size_t> pair(const std::vector<ObjectRecord>& before, const std::vector<std::uint32_t>& idsBefore,
                              const std::vector<ObjectRecord>& now, const std::vector<std::uint32_t>& idsNow,
                              PropertyComparison& properties) {
    std::vector<std::size_t> partner(now.size(), none);
    std::vector<bool> taken(before.size());

    Waiting<IdAndClass, IdAndClassHash> sameClass;
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
            const auto last = candidates.begin() + static_cast<std::ptrdiff_t>(std::min(candidates.size(), copiesSearched));
            const auto candidate = std::find_if(candidates.begin(), last, [&](std::size_t b) { return fit(b, i); });
            if (candidate != last) {
                partner[i] = *candidate;
                taken[*candidate] = true;
                candidates.erase(candidate);
            }
        }
    }

    Waiting<std::uint32_t, std::hash<std::uint32_t>> anyClass;
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

bool isElsewhere(const ObjectRecord& a, const ObjectRecord& b) {
    const double* const centreA = a.spatialHash.getSpatialHash();
    const double* const centreB = b.spatialHash.getSpatialHash();
    return !std::equal(centreA, centreA + 3, centreB, [](double x, double y) { return std::abs(x - y) <= placeTolerance; });
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
    std::vector<bool> stillThere(before.size());
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
        stillThere[b] = true;
        const auto& old = before[b];
        Change change{Change::Modified, i, b};
        change.otherVersion = object.version != old.version;
        change.otherProperties = !properties.isEqual(old, object);
        if (change.otherVersion || change.otherProperties) {
            if (change.otherVersion) {
                const double graded = object.version.similarity(old.version);
                change.similarity = std::isnan(graded) ? 0.0 : graded; // numbers too large to be divided by one another
            }
            count(object.className, [&change](ClassCounts& counts) {
                ++counts.modified;
                counts.lowestSimilarity = std::min(counts.lowestSimilarity, change.similarity);
            });
            result.changes.push_back(change);
        } else {
            count(object.className, [](ClassCounts& counts) { ++counts.unchanged; });
        }
        if (!change.otherVersion && isElsewhere(object, old))
            result.changes.push_back({Change::Moved, i, b});
        if (object.className != old.className)
            result.changes.push_back({Change::Reclassified, i, b});
        if (object.name != old.name)
            result.changes.push_back({Change::Renamed, i, b});
    }
    for (std::size_t b = 0; b < before.size(); ++b) {
        if (!stillThere[b] && idsBefore[b] != Velmor::NoRuntimeID) {
            count(before[b].className, [](ClassCounts& counts) { ++counts.gone; });
            result.changes.push_back({Change::Gone, b, b});
        }
    }
    return result;
}

} // namespace importer::host
