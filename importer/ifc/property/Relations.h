#pragma once

// The relations between objects and property sets.

#include "importer/ifc/Record.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace importer::ifc {

/// The property sets of products: those assigned to the products themselves, and those of their types. Sets and products are
/// identified by their indices in the order of the file.
class PropertyRelations {
public:
    /// @param products, sets in the order of the file.
    PropertyRelations(IfcContext& context, const std::vector<const Instance*>& products,
                      const std::vector<const Instance*>& sets)
        : context_(context), products_(products), sets_(sets) {}

    /// Reads an IfcRelDefinesByProperties or IfcRelDefinesByType. Errors are noted.
    void read(const Instance& relation);

    /// Must be called after the last relation is read and before `setsOf`.
    void sort();

    /// The sets of a product, in the order of the file: its own, then those of its types whose names differ from those of
    /// its own. Linear in the number of its relations and sets.
    /// @param names a number for the name of each set; equal names have equal numbers.
    /// @throws LimitExceeded if all products together have too many sets.
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
    void charge(std::uint64_t sets);

    IfcContext& context_;
    const std::vector<const Instance*>& products_;
    const std::vector<const Instance*>& sets_;
    std::vector<Relation> relations_;
    std::vector<std::uint64_t> pairs_;     // product << 32 | relation
    std::vector<std::uint32_t> listed_;    // the sets of all lists, one list after the other
    std::vector<std::size_t> lists_ = {0}; // list i begins at lists_[i] and ends at lists_[i + 1]
    std::unordered_map<const Instance*, std::uint32_t> listsOfTypes_;
    std::uint64_t setsOfProducts_ = 0;
};

} // namespace importer::ifc
