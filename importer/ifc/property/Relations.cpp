// The relations as a sparse matrix.
//
// A relation assigns each set of a list to each object of another list. Written out, n objects with m sets are n * m pairs,
// so that a file of a few megabytes could describe billions of them. The two lists are therefore stored as they are in the
// file: the sets of all relations in one array (`listed_`, with the bounds in `lists_`), and one pair (product, relation)
// for each object of a relation, sorted by product. The list of a type is stored once for all relations that refer to that
// type. Only setsOf multiplies out, for one product at a time, and it counts the sets that it returns for all products.

#include "importer/ifc/property/Relations.h"

#include "importer/ifc/Attributes.h"

#include <algorithm>

namespace importer::ifc {

using namespace attribute;

namespace {

/// The index of an instance among instances in the order of the file.
std::size_t indexOf(const std::vector<const Instance*>& ordered, const Instance& instance) {
    const auto found = std::lower_bound(ordered.begin(), ordered.end(), instance.offset,
                                        [](const Instance* entry, std::uint64_t offset) { return entry->offset < offset; });
    return static_cast<std::size_t>(found - ordered.begin());
}

void sortUnique(std::vector<std::uint32_t>& indices) {
    std::sort(indices.begin(), indices.end());
    indices.erase(std::unique(indices.begin(), indices.end()), indices.end());
}

} // namespace

void PropertyRelations::read(const Instance& instance) {
    using namespace IfcRelDefinesByType;
    context_.beginObject();
    context_.attempt(instance, [&] {
        const Record record(context_, instance);
        const bool ofType = entityOf(instance) == Entity::RelDefinesByType;
        const auto relation = static_cast<std::uint64_t>(relations_.size());
        relations_.push_back({ofType ? listOfType(record.reference(RelatingType)) : listOfDefinitions(record), ofType});
        record.forEachReference(record.list(RelatedObjects), [&](const Instance& object) {
            // Projects, groups, processes and the like are not products, and nothing uses their sets.
            if (entityOf(object) == Entity::Product)
                pairs_.push_back(static_cast<std::uint64_t>(indexOf(products_, object)) << 32 | relation);
        });
        if (entityOf(instance) == Entity::RelOverridesProperties)
            context_.note(instance, "its overriding properties are not imported");
    });
}

/// Ends the current list and begins the next one.
/// @return the index of the ended list.
std::uint32_t PropertyRelations::endList() {
    lists_.push_back(listed_.size());
    return static_cast<std::uint32_t>(lists_.size() - 2);
}

/// Adds the definition, or the set of definitions, that a relation refers to.
std::uint32_t PropertyRelations::listOfDefinitions(const Record& relation) {
    using namespace IfcRelDefinesByProperties;
    const Value& value = relation[RelatingPropertyDefinition];
    if (value.kind != ValueKind::Typed) {
        addDefinition(relation, relation.reference(RelatingPropertyDefinition));
        return endList();
    }
    Value list;
    ValueReader(contentOf(value)).next(list);
    if (list.kind != ValueKind::List)
        relation.fail("refers to neither a property set nor a list of property sets");
    addDefinitions(relation, ValueReader(list.text));
    return endList();
}

/// Adds the list of a type, unless it is known. An error is thrown only for the first relation of a type; afterwards the
/// type has an empty list.
std::uint32_t PropertyRelations::listOfType(const Instance& type) {
    const auto [known, isNew] = listsOfTypes_.try_emplace(&type, 0);
    if (!isNew)
        return known->second;
    known->second = endList();
    const Record record(context_, type);
    if (record.count() < IfcTypeObject::Count)
        record.fail("is not a type object");
    if (record.given(IfcTypeObject::HasPropertySets))
        addDefinitions(record, record.list(IfcTypeObject::HasPropertySets));
    lists_.back() = listed_.size();
    return known->second;
}

void PropertyRelations::addDefinitions(const Record& owner, ValueReader list) {
    owner.forEachReference(list, [&](const Instance& definition) { addDefinition(owner, definition); });
}

void PropertyRelations::addDefinition(const Record& owner, const Instance& definition) {
    if (entityOf(definition) == Entity::PropertySet)
        listed_.push_back(static_cast<std::uint32_t>(indexOf(sets_, definition)));
    else if (entityOf(definition) != Entity::PropertyDefinition)
        context_.note(owner.instance(), "refers to #" + std::to_string(definition.number) + ", which is not a property set");
}

void PropertyRelations::sort() {
    std::sort(pairs_.begin(), pairs_.end());
    pairs_.erase(std::unique(pairs_.begin(), pairs_.end()), pairs_.end());
}

void PropertyRelations::charge(std::uint64_t sets) {
    if (sets > context_.limits.setsOfProducts - setsOfProducts_)
        throw LimitExceeded{"the products have more property sets than the limit for a file of this size"};
    setsOfProducts_ += sets;
}

std::vector<std::uint32_t> PropertyRelations::setsOf(std::size_t product, const std::vector<std::uint32_t>& names) {
    const std::uint64_t key = static_cast<std::uint64_t>(product) << 32;
    const auto first = std::lower_bound(pairs_.begin(), pairs_.end(), key);
    auto last = first;
    std::uint64_t sets = 0;
    for (; last != pairs_.end() && *last >> 32 == product; ++last) {
        const std::uint32_t list = relations_[static_cast<std::uint32_t>(*last)].list;
        sets += lists_[list + 1] - lists_[list];
    }
    charge(sets);
    std::vector<std::uint32_t> own;
    std::vector<std::uint32_t> ofTypes;
    for (auto pair = first; pair != last; ++pair) {
        const Relation& relation = relations_[static_cast<std::uint32_t>(*pair)];
        std::vector<std::uint32_t>& target = relation.ofType ? ofTypes : own;
        for (std::size_t i = lists_[relation.list]; i != lists_[relation.list + 1]; ++i)
            target.push_back(listed_[i]);
    }
    sortUnique(own);
    sortUnique(ofTypes);
    std::vector<std::uint32_t> ownNames(own.size());
    std::transform(own.begin(), own.end(), ownNames.begin(), [&names](std::uint32_t set) { return names[set]; });
    std::sort(ownNames.begin(), ownNames.end());
    for (const std::uint32_t set : ofTypes)
        if (!std::binary_search(ownNames.begin(), ownNames.end(), names[set]))
            own.push_back(set);
    return own;
}

} // namespace importer::ifc
