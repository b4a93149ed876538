#pragma once

// Which objects have which property sets.

#include "importer/ifc/Record.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace importer::ifc {

/// The property sets of products, by themselves and by their types. Sets and products are known by their places in the order
/// of the file.
///
/// The text of a relation names each object and each set once; what it says is their product, and is only multiplied out for
/// one product at a time.
class PropertyRelations {
public:
    PropertyRelations(IfcContext& context, const std::vector<const Instance*>& products,
                      const std::vector<const Instance*>& sets)
        : context_(context), products_(products), sets_(sets) {}

    /// Reads an IfcRelDefinesByProperties or IfcRelDefinesByType. What is wrong with it is noted.
    void read(const Instance& relation);

    /// Call it when all are read, and before asking.
    void order();

    /// The sets of a product: its own, then those of its types whose names it does not have itself; both by their places.
    /// @param names a number for each set, the same for the same name.
    /// @throws LimitExceeded when the products have too many sets.
    std::vector<std::uint32_t> setsOf(std::size_t product, const std::vector<std::uint32_t>& names);

private:
    struct Relation {
        std::uint32_t list;
        bool ofType;
    };

    std::uint32_t listOfDefinitions(const Record& relation);
    std::uint32_t listOfType(const Instance& type);
    std::uint32_t endList();
    void addDefinitions(const Record& owner, ValueReader list);
    void addDefinition(const Record& owner, const Instance& definition);

    IfcContext& context_;
    const std::vector<const Instance*>& products_;
    const std::vector<const Instance*>& sets_;
    std::vector<Relation> relations_;
    std::vector<std::uint64_t> pairs_;     // product << 32 | relation
    std::vector<std::uint32_t> listed_;    // the sets of all lists, one list behind the other
    std::vector<std::size_t> lists_ = {0}; // list i begins at lists_[i] and ends at lists_[i + 1]
    std::unordered_map<const Instance*, std::uint32_t> listsOfTypes_;
    std::uint64_t setsOfProducts_ = 0;
};

} // namespace importer::ifc
