// Keyed identities: insertion, look-up by key (present and absent) and look-up by id. The peers are two std::unordered_map
// and two absl::flat_hash_map.
//
// Every pass uses all identities in another order than that of insertion. In memory they have the order of the pass, so that
// reading them has the same small cost for all peers. The time of insertion does not include the construction of the
// database, which has its own benchmark. A look-up by id creates an ExternalGUID for every peer.

#include "identity_peers.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace benchmarks {

namespace {

// Returns the numbers begin .. begin + count - 1 in random order.
std::vector<std::uint64_t> shuffled(std::uint64_t begin, std::size_t count) {
    std::vector<std::uint64_t> numbers(count);
    for (std::size_t i = 0; i < count; ++i)
        numbers[i] = begin + i;
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937_64(count));
    return numbers;
}

std::vector<Velmor::ExternalGUID> identities(std::uint64_t begin, std::size_t count) {
    std::vector<Velmor::ExternalGUID> guids;
    guids.reserve(count);
    for (const std::uint64_t number : shuffled(begin, count))
        guids.push_back(Velmor::ExternalGUID::fromIFCGlobalID(GlobalId(number).text.data()));
    return guids;
}

void report(benchmark::State& state, std::size_t count) {
    state.SetItemsProcessed(static_cast<std::int64_t>(count) * state.iterations());
}

template <class Database>
std::unique_ptr<Database> filled(std::size_t count) {
    auto database = std::make_unique<Database>();
    for (std::uint64_t i = 0; i < count; ++i)
        database->insertGUID(Velmor::ExternalGUID::fromIFCGlobalID(GlobalId(i).text.data()));
    return database;
}

template <class Database>
void construct(benchmark::State& state) {
    for (auto _ : state) {
        Database database;
        benchmark::DoNotOptimize(database);
    }
    report(state, 1);
}

template <class Database>
void insert(benchmark::State& state) {
    const std::size_t count = static_cast<std::size_t>(state.range(0));
    const std::vector<Velmor::ExternalGUID> guids = identities(0, count);
    for (auto _ : state) {
        Database database;
        const double begin = processorSeconds();
        for (const Velmor::ExternalGUID& guid : guids)
            benchmark::DoNotOptimize(database.insertGUID(guid));
        state.SetIterationTime(processorSeconds() - begin);
    }
    report(state, count);
}

template <class Database>
void findKeys(benchmark::State& state, std::uint64_t begin) {
    const std::size_t count = static_cast<std::size_t>(state.range(0));
    const std::unique_ptr<Database> database = filled<Database>(count);
    const std::vector<Velmor::ExternalGUID> guids = identities(begin, count);
    for (auto _ : state) {
        const double start = processorSeconds();
        for (const Velmor::ExternalGUID& guid : guids)
            benchmark::DoNotOptimize(database->findGUID(guid));
        state.SetIterationTime(processorSeconds() - start);
    }
    report(state, count);
}

template <class Database>
void findHit(benchmark::State& state) {
    findKeys<Database>(state, 0);
}

template <class Database>
void findMiss(benchmark::State& state) {
    findKeys<Database>(state, static_cast<std::uint64_t>(state.range(0)));
}

template <class Database>
void findById(benchmark::State& state) {
    const std::size_t count = static_cast<std::size_t>(state.range(0));
    const std::unique_ptr<Database> database = filled<Database>(count);
    const std::vector<std::uint64_t> ids = shuffled(Velmor::FirstKeyedRuntimeID + 1 - std::uint64_t{count}, count);
    for (auto _ : state) {
        const double start = processorSeconds();
        for (const std::uint64_t id : ids)
            benchmark::DoNotOptimize(database->findGUID(static_cast<Velmor::ExternalGUIDRuntimeID_e>(id)));
        state.SetIterationTime(processorSeconds() - start);
    }
    report(state, count);
}

template <class Database>
void registerPeer(const std::string& name, std::int64_t count) {
    const auto add = [&](const std::string& operation, void (*function)(benchmark::State&)) {
        benchmark::RegisterBenchmark((operation + "/" + name).c_str(), function)->Arg(count)->UseManualTime();
    };
    add("insert", insert<Database>);
    add("find hit", findHit<Database>);
    add("find miss", findMiss<Database>);
    add("find by id", findById<Database>);
}

} // namespace

void registerKeyed() {
    benchmark::RegisterBenchmark("construct/velmor", construct<Velmor::ExternalGUIDDatabase>)->Arg(0);
    benchmark::RegisterBenchmark("construct/unordered_map", construct<StandardMaps>)->Arg(0);
    benchmark::RegisterBenchmark("construct/flat_hash_map", construct<FlatMaps>)->Arg(0);
    for (const std::int64_t count : {1'000, 100'000, 1'000'000, 4'000'000}) {
        registerPeer<Velmor::ExternalGUIDDatabase>("velmor", count);
        registerPeer<StandardMaps>("unordered_map", count);
        registerPeer<FlatMaps>("flat_hash_map", count);
    }
}

} // namespace benchmarks
