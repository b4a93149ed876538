#pragma once

// The peers of the keyed database, with the same three operations, and the identities that all of them store.

#include <Velmor/Identity.h>

#include <absl/container/flat_hash_map.h>

#include <time.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <unordered_map>

namespace benchmarks {

/// Number n of a pseudo-random sequence of IFC GlobalIds.
struct GlobalId {
    explicit GlobalId(std::uint64_t n) {
        static constexpr char digits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_$";
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (i % 10 == 0)
                bits = mix(3 * n + i / 10);
            text[i] = digits[bits & 63];
            bits >>= 6;
        }
        text[0] = digits[static_cast<unsigned char>(text[0]) & 3];
    }

    std::array<char, 22> text;

private:
    static std::uint64_t mix(std::uint64_t x) {
        x += 0x9E3779B97F4A7C15u;
        x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9u;
        x = (x ^ (x >> 27)) * 0x94D049BB133111EBu;
        return x ^ (x >> 31);
    }
};

/// A substitute for the database: two maps, key to id and id to key. The operations have the same arguments and results as
/// those of the database, so that only the look-up differs.
template <template <class Key, class Value, class Hash> class Map, template <class> class Hash>
class TwoMaps {
public:
    Velmor::ExternalGUIDRuntimeID_e insertGUID(const Velmor::ExternalGUID& guid) {
        const Key key(guid);
        const auto [entry, isNew] = ids_.try_emplace(key, next_);
        if (isNew)
            keys_.try_emplace(next_--, key);
        return static_cast<Velmor::ExternalGUIDRuntimeID_e>(entry->second);
    }

    Velmor::ExternalGUIDRuntimeID_e findGUID(const Velmor::ExternalGUID& guid) {
        const auto entry = ids_.find(Key(guid));
        return entry == ids_.end() ? Velmor::NoRuntimeID : static_cast<Velmor::ExternalGUIDRuntimeID_e>(entry->second);
    }

    Velmor::ExternalGUID findGUID(Velmor::ExternalGUIDRuntimeID_e id) {
        const auto entry = keys_.find(id);
        return entry == keys_.end() ? Velmor::ExternalGUID() : Velmor::ExternalGUID::fromIFCGlobalID(entry->second.text);
    }

private:
    struct Key {
        explicit Key(const Velmor::ExternalGUID& guid) { std::memcpy(text, guid.getIFCGlobalID(), sizeof text); }
        bool operator==(const Key& other) const { return std::memcmp(text, other.text, sizeof text) == 0; }

        char text[22];
    };

    struct KeyHash {
        std::size_t operator()(const Key& key) const {
            return Hash<std::string_view>()(std::string_view(key.text, sizeof key.text));
        }
    };

    Map<Key, std::uint32_t, KeyHash> ids_;
    Map<std::uint32_t, Key, Hash<std::uint32_t>> keys_;
    std::uint32_t next_ = Velmor::FirstKeyedRuntimeID;
};

template <class Key, class Value, class Hash>
using StandardMap = std::unordered_map<Key, Value, Hash>;
template <class Key>
using StandardHash = std::hash<Key>;
template <class Key, class Value, class Hash>
using FlatMap = absl::flat_hash_map<Key, Value, Hash>;
template <class Key>
using FlatHash = absl::Hash<Key>;

using StandardMaps = TwoMaps<StandardMap, StandardHash>;
using FlatMaps = TwoMaps<FlatMap, FlatHash>;

/// Processor time of this thread in seconds. Other programs on the machine do not affect it.
inline double processorSeconds() {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// Measures the peak memory of a number of identities, in a separate process for the database and each peer, and prints it.
void printPeakMemory(std::uint64_t count);

/// Registers the benchmarks of identity_keyed.cpp and identity_spatial.cpp.
void registerKeyed();
void registerSpatial();

} // namespace benchmarks
