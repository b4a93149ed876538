// Spatial identities: the tree of the database compared with a uniform grid, and the computation of a spatial hash compared
// with simple loops and with a sum over the same numbers.

#include "identity_peers.h"

#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace benchmarks {

namespace {

using Hash = std::array<double, 11>;

// The usual structure for this purpose: cells with an edge of twice the tolerance, selected by the center. Hashes within the
// tolerance are in at most two cells along each axis.
class UniformGrid {
public:
    std::uint32_t insert(const double* key) {
        std::uint32_t found = find(key);
        if (found != none)
            return found;
        const std::uint32_t id = static_cast<std::uint32_t>(nodes_.size());
        Node node;
        std::copy_n(key, 11, node.key.begin());
        std::uint32_t& head = cells_.try_emplace(Cell{cellOf(key[0]), cellOf(key[1]), cellOf(key[2])}, none).first->second;
        node.next = head;
        head = id;
        nodes_.push_back(node);
        return id;
    }

    std::uint32_t find(const double* key) const {
        for (std::int64_t x = cellOf(key[0] - tolerance); x <= cellOf(key[0] + tolerance); ++x) {
            for (std::int64_t y = cellOf(key[1] - tolerance); y <= cellOf(key[1] + tolerance); ++y) {
                for (std::int64_t z = cellOf(key[2] - tolerance); z <= cellOf(key[2] + tolerance); ++z) {
                    const auto cell = cells_.find(Cell{x, y, z});
                    if (cell == cells_.end())
                        continue;
                    for (std::uint32_t id = cell->second; id != none; id = nodes_[id].next) {
                        double sum = 0;
                        for (std::size_t i = 0; i < 11; ++i)
                            sum += std::fabs(nodes_[id].key[i] - key[i]);
                        if (sum < tolerance)
                            return id;
                    }
                }
            }
        }
        return none;
    }

private:
    using Cell = std::array<std::int64_t, 3>;

    struct Node {
        Hash key;
        std::uint32_t next;
    };

    static constexpr double tolerance = 0.01;
    static constexpr std::uint32_t none = 0xFFFFFFFFu;

    static std::int64_t cellOf(double coordinate) {
        return static_cast<std::int64_t>(std::floor(coordinate / (2 * tolerance)));
    }

    absl::flat_hash_map<Cell, std::uint32_t> cells_;
    std::vector<Node> nodes_;
};

// Both are called with identities.
struct Grid {
    void insertGUID(const Velmor::ExternalGUID& guid) { benchmark::DoNotOptimize(grid.insert(guid.getSpatialHash())); }
    void findGUID(const Velmor::ExternalGUID& guid) { benchmark::DoNotOptimize(grid.find(guid.getSpatialHash())); }
    UniformGrid grid;
};

struct Tree {
    void insertGUID(const Velmor::ExternalGUID& guid) { benchmark::DoNotOptimize(database.insertGUID(guid)); }
    void findGUID(const Velmor::ExternalGUID& guid) { benchmark::DoNotOptimize(database.findGUID(guid)); }
    Velmor::ExternalGUIDDatabase database;
};

using Hashes = std::vector<Hash> (*)(std::size_t);

// Objects of different sizes at random positions in a cube of 1000 units.
std::vector<Hash> randomHashes(std::size_t count) {
    std::mt19937_64 random(count);
    std::uniform_real_distribution<double> coordinate(0, 1000);
    std::uniform_real_distribution<double> radius(0.1, 10);
    std::vector<Hash> hashes(count);
    for (Hash& hash : hashes) {
        for (std::size_t i = 0; i < hash.size(); ++i)
            hash[i] = i < 3 ? coordinate(random) : radius(random);
    }
    return hashes;
}

// Equal objects on a grid of one unit, in random order.
std::vector<Hash> gridHashes(std::size_t count) {
    const std::size_t side = static_cast<std::size_t>(std::ceil(std::cbrt(static_cast<double>(count)) - 1e-9));
    std::vector<Hash> hashes(count);
    for (std::size_t i = 0; i < count; ++i) {
        hashes[i] = {static_cast<double>(i % side), static_cast<double>(i / side % side),
                     static_cast<double>(i / side / side)};
        std::fill(hashes[i].begin() + 3, hashes[i].end(), 0.5);
    }
    std::shuffle(hashes.begin(), hashes.end(), std::mt19937_64(count));
    return hashes;
}

std::vector<Velmor::ExternalGUID> identities(std::vector<Hash> hashes, bool shuffleAgain) {
    if (shuffleAgain)
        std::shuffle(hashes.begin(), hashes.end(), std::mt19937_64(1));
    std::vector<Velmor::ExternalGUID> guids;
    guids.reserve(hashes.size());
    for (const Hash& hash : hashes) {
        guids.push_back(Velmor::ExternalGUID());
        guids.back().fromSpatialHash(hash.data());
    }
    return guids;
}

template <class Database>
void insertHashes(benchmark::State& state, Hashes hashes) {
    const std::size_t count = static_cast<std::size_t>(state.range(0));
    const std::vector<Velmor::ExternalGUID> guids = identities(hashes(count), false);
    for (auto _ : state) {
        Database database;
        const double begin = processorSeconds();
        for (const Velmor::ExternalGUID& guid : guids)
            database.insertGUID(guid);
        state.SetIterationTime(processorSeconds() - begin);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(count) * state.iterations());
}

template <class Database>
void findHashes(benchmark::State& state, Hashes hashes) {
    const std::size_t count = static_cast<std::size_t>(state.range(0));
    Database database;
    for (const Velmor::ExternalGUID& guid : identities(hashes(count), false))
        database.insertGUID(guid);
    const std::vector<Velmor::ExternalGUID> guids = identities(hashes(count), true);
    for (auto _ : state) {
        const double begin = processorSeconds();
        for (const Velmor::ExternalGUID& guid : guids)
            database.findGUID(guid);
        state.SetIterationTime(processorSeconds() - begin);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(count) * state.iterations());
}

std::vector<double> vertices(std::size_t count) {
    std::mt19937_64 random(count);
    std::normal_distribution<double> coordinate(0, 100);
    std::vector<double> xyz(3 * count);
    std::generate(xyz.begin(), xyz.end(), [&] { return coordinate(random); });
    return xyz;
}

void hashOfLibrary(unsigned count, const double* xyz) {
    benchmark::DoNotOptimize(Velmor::ExternalGUID::spatialHashFromVertexes(count, xyz));
}

// Two loops that follow the definition.
void hashOfSimpleLoops(unsigned count, const double* xyz) {
    double low[3] = {xyz[0], xyz[1], xyz[2]};
    double high[3] = {xyz[0], xyz[1], xyz[2]};
    for (std::size_t i = 0; i + 1 < count; ++i) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double value = xyz[3 * i + axis];
            low[axis] = value < low[axis] ? value : low[axis];
            high[axis] = value > high[axis] ? value : high[axis];
        }
    }
    Hash hash = {(high[0] + low[0]) * 0.5, (high[1] + low[1]) * 0.5, (high[2] + low[2]) * 0.5};
    for (std::size_t i = 0; i + 1 < count; ++i) {
        const double dx = xyz[3 * i] - hash[0];
        const double dy = xyz[3 * i + 1] - hash[1];
        const double dz = xyz[3 * i + 2] - hash[2];
        const std::size_t octant = (dx > 0 ? 1u : 0u) + (dy > 0 ? 2u : 0u) + (dz > 0 ? 4u : 0u);
        const double squared = (dy * dy + dx * dx) + dz * dz;
        if (squared > hash[3 + octant])
            hash[3 + octant] = squared;
    }
    for (std::size_t i = 3; i < hash.size(); ++i)
        hash[i] = std::sqrt(hash[i]);
    benchmark::DoNotOptimize(hash);
}

void sumOfVertices(unsigned count, const double* xyz) {
    double sum = 0;
    for (std::size_t i = 0; i < 3 * std::size_t{count}; ++i)
        sum += xyz[i];
    benchmark::DoNotOptimize(sum);
}

void reduceVertices(benchmark::State& state, void (*reduce)(unsigned, const double*)) {
    const std::size_t count = static_cast<std::size_t>(state.range(0));
    const std::vector<double> xyz = vertices(count);
    for (auto _ : state)
        reduce(static_cast<unsigned>(count), xyz.data());
    state.SetItemsProcessed(static_cast<std::int64_t>(count) * state.iterations());
}

void registerHashes(const std::string& kind, Hashes hashes, std::int64_t count) {
    const auto add = [&](const std::string& name, void (*function)(benchmark::State&, Hashes)) {
        benchmark::RegisterBenchmark(name.c_str(), function, hashes)->Arg(count)->UseManualTime();
    };
    add("insert " + kind + "/velmor", insertHashes<Tree>);
    add("insert " + kind + "/uniform grid", insertHashes<Grid>);
    add("find " + kind + "/velmor", findHashes<Tree>);
    add("find " + kind + "/uniform grid", findHashes<Grid>);
}

} // namespace

void registerSpatial() {
    for (const std::int64_t count : {10'000, 100'000, 1'000'000}) {
        registerHashes("random hashes", randomHashes, count);
        registerHashes("grid of objects", gridHashes, count);
    }
    for (const std::int64_t count : {1'000, 10'000, 100'000, 1'000'000, 10'000'000}) {
        benchmark::RegisterBenchmark("hash of vertices/velmor", reduceVertices, hashOfLibrary)->Arg(count);
        benchmark::RegisterBenchmark("hash of vertices/simple loops", reduceVertices, hashOfSimpleLoops)->Arg(count);
        benchmark::RegisterBenchmark("hash of vertices/sum", reduceVertices, sumOfVertices)->Arg(count);
    }
}

} // namespace benchmarks
