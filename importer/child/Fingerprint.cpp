#include "importer/child/Fingerprint.h"

#include "importer/exchange/Text.h"

#include <algorithm>
#include <cmath>

namespace importer::child {

namespace {

using Velmor::ExternalGUID;
using Velmor::ExternalVersion;

constexpr std::size_t globalIdLength = 22;
constexpr char globalIdCharacters[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_$";
constexpr std::size_t maxGlobalIdInMessage = 40; // bytes

// The numbers of a spatial hash.
constexpr std::size_t centerCount = 3;
constexpr std::size_t octantCount = 8;
constexpr std::size_t hashCount = centerCount + octantCount;

bool isFinite(double value) {
    return std::isfinite(value);
}

} // namespace

Fingerprint fingerprint(Product& product) {
    std::vector<double>& xyz = product.vertices;
    Fingerprint result{noIdentity(), ExternalVersion(), true};
    if (product.shape == Shape::None || xyz.size() < 3)
        return result;
    double low[3] = {xyz[0], xyz[1], xyz[2]};
    double high[3] = {xyz[0], xyz[1], xyz[2]};
    for (std::size_t i = 0; i < xyz.size(); ++i) {
        low[i % 3] = std::min(low[i % 3], xyz[i]);
        high[i % 3] = std::max(high[i % 3], xyz[i]);
    }
    xyz.insert(xyz.end(), {xyz[0], xyz[1], xyz[2]});
    const ExternalGUID hash = ExternalGUID::spatialHashFromVertexes(static_cast<unsigned>(xyz.size() / 3), xyz.data());

    const double* const numbers = hash.getSpatialHash();
    double distances[octantCount];
    std::copy_n(numbers + centerCount, octantCount, distances);
    if (!std::all_of(numbers, numbers + hashCount, isFinite) || !std::all_of(xyz.begin(), xyz.end(), isFinite)) {
        result.finite = false;
        return result;
    }
    result.spatialHash = hash;
    const double box[3] = {high[0] - low[0], high[1] - low[1], high[2] - low[2]};
    const bool hasVolume = product.shape == Shape::Solid && isFinite(product.volume) &&
                           std::all_of(product.centroid, product.centroid + 3, isFinite);
    if (std::all_of(distances, distances + octantCount, [](double d) { return d == 0.0; }))
        result.version = Velmor::createFromBoundingBox(box[0], box[1], box[2]);
    else if (hasVolume)
        result.version = Velmor::createFromSolid(box[0], box[1], box[2], distances, product.volume, product.centroid);
    else
        result.version = Velmor::createFromGeometry(box[0], box[1], box[2], distances);
    return result;
}

ExternalGUID GlobalIds::identify(const Product& product, std::string& reason) {
    const std::string& id = product.globalId;
    if (id.empty()) {
        reason = "it has no GlobalId";
        return noIdentity();
    }
    if (id.size() != globalIdLength || id.find_first_not_of(globalIdCharacters) != std::string::npos) {
        reason = "'" + shortened(id, maxGlobalIdInMessage) + "' is not a GlobalId of 22 characters (0-9, A-Z, a-z, _, $)";
        return noIdentity();
    }
    const ExternalGUID identity = ExternalGUID::fromIFCGlobalID(id.c_str());
    const auto known = seen_.findGUID(identity);
    if (known != Velmor::NoRuntimeID) {
        reason = "its GlobalId '" + id + "' is already used by #" +
                 std::to_string(instances_[Velmor::FirstKeyedRuntimeID - known]);
        return noIdentity();
    }
    seen_.insertGUID(identity);
    instances_.push_back(product.instance);
    return identity;
}

} // namespace importer::child
