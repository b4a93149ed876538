#pragma once

// Reference model of the GUID database: nodes in a vector with indexes for children, keys in ordered maps.

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velmor_tests {

using Hash = std::array<double, 11>;

class ReferenceSpatialTree {
public:
    static constexpr std::size_t chunkSize = 1024;

    std::uint32_t insert(const Hash& key) {
        // A chunk is added before the walk, even if the key then matches.
        if (nodes_.size() == slots_.size())
            slots_.resize(slots_.size() + chunkSize, Hash{});
        slots_[nodes_.size()] = key;
        int child = 0;
        std::size_t end = 0;
        if (!nodes_.empty()) {
            if (const auto match = walk(key, end, child))
                return *match;
            nodes_[end].children[child] = nodes_.size();
        }
        nodes_.push_back({key, {none, none}});
        return static_cast<std::uint32_t>(nodes_.size() - 1);
    }

    std::uint32_t find(const Hash& key) const {
        int child = 0;
        std::size_t end = 0;
        return nodes_.empty() ? 0xFFFFFFFF : walk(key, end, child).value_or(0xFFFFFFFF);
    }

    /// Content of the slot of an id, committed or not; nothing if the chunk does not exist.
    std::optional<Hash> slot(std::uint32_t id) const {
        return id < slots_.size() ? std::optional<Hash>(slots_[id]) : std::nullopt;
    }

    std::size_t size() const { return nodes_.size(); }

private:
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    struct Node {
        Hash key;
        std::size_t children[2]; // low, high
    };

    std::optional<std::uint32_t> walk(const Hash& key, std::size_t& node, int& child) const {
        node = 0;
        for (std::size_t depth = 0;; ++depth) {
            double distance = 0;
            for (std::size_t i = 0; i < 11; ++i)
                distance += std::fabs(nodes_[node].key[i] - key[i]);
            if (0.01 > distance)
                return static_cast<std::uint32_t>(node);
            const std::size_t axis = depth % 11;
            child = key[axis] - nodes_[node].key[axis] >= -0.04 ? 1 : 0;
            if (nodes_[node].children[child] == none)
                return std::nullopt;
            node = nodes_[node].children[child];
        }
    }

    std::vector<Node> nodes_;
    std::vector<Hash> slots_ = std::vector<Hash>(chunkSize, Hash{});
};

/// Keyed identities by type tag 2 to 5 and the bytes that are compared.
class ReferenceKeys {
public:
    std::uint32_t insert(std::uint32_t type, const std::string& key) {
        const auto [entry, isNew] = ids_.try_emplace({type, key}, next_);
        if (isNew) {
            keys_[next_] = {type, key};
            --next_;
        }
        return entry->second;
    }

    std::uint32_t find(std::uint32_t type, const std::string& key) const {
        const auto entry = ids_.find({type, key});
        return entry == ids_.end() ? 0xFFFFFFFF : entry->second;
    }

    /// Type and key of an id; type 0 if the id is not in use.
    std::pair<std::uint32_t, std::string> at(std::uint32_t id) const {
        const auto entry = keys_.find(id);
        return entry == keys_.end() ? std::pair<std::uint32_t, std::string>() : entry->second;
    }

    std::uint32_t next() const { return next_; }

private:
    std::uint32_t next_ = 0xFFFFFFFE;
    std::map<std::pair<std::uint32_t, std::string>, std::uint32_t> ids_;
    std::map<std::uint32_t, std::pair<std::uint32_t, std::string>> keys_;
};

} // namespace velmor_tests
