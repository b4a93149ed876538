#include "importer/ifc/property/Relations.h"

#include <algorithm>

namespace importer::ifc {

namespace {

/// Place of an instance among those that are in the order of the file.
std::size_t placeOf(const std::vector<const Instance*>& ordered, const Instance& instance) {
    const auto found = std::lower_bound(ordered.begin(), ordered.end(), instance.offset,
                                        [](const Instance* entry, std::uint64_t offset) { return entry->offset < offset; });
    return static_cast<std::size_t>(found - ordered.begin());
}

void sortUnique(std::vector<std::uint32_t>& places) {
    std::sort(places.begin(), places.end());
    places.erase(std::unique(places.begin(), places.end()), places.end());
}

} // namespace

void PropertyRelations::read(const Instance& instance) {
    context_.beginProduct();
    context_.attempt(instance, [&] {
        const Record record(context_, instance);
        const bool ofType = entityOf(instance) == Entity::RelDefinesByType;
        const auto relation = static_cast<std::uint64_t>(relations_.size());
        relations_.push_back({ofType ? listOfType(record.reference(5)) : listOfDefinitions(record), ofType});
        record.forEachReference(record.list(4), [&](const Instance& object) {
            // Projects, groups, processes and the like are no products; their sets are read, but nobody asks for them.
            if (entityOf(object) == Entity::Product)
                pairs_.push_back(static_cast<std::uint64_t>(placeOf(products_, object)) << 32 | relation);
        });
        if (entityOf(instance) == Entity::RelOverridesProperties)
            context_.note(instance, "its overriding properties are not carried");
    });
}

std::uint32_t PropertyRelations::endList() {
    lists_.push_back(listed_.size());
    return static_cast<std::uint32_t>(lists_.size() - 2);
}

/// The definition, or the set of definitions, that a relation names.
std::uint32_t PropertyRelations::listOfDefinitions(const Record& relation) {
    const Value& value = relation[5];
    if (value.kind != ValueKind::Typed) {
        addDefinition(relation, relation.reference(5));
        return endList();
    }
    Value list;
    ValueReader(contentOf(value)).next(list);
    if (list.kind != ValueKind::List)
        relation.fail("names neither a property set nor a list of them");
    addDefinitions(relation, ValueReader(list.text));
    return endList();
}

std::uint32_t PropertyRelations::listOfType(const Instance& type) {
    const auto [known, isNew] = listsOfTypes_.try_emplace(&type, 0);
    if (!isNew)
        return known->second;
    known->second = endList();
    const Record record(context_, type);
    constexpr std::size_t fewest = 6;
    if (record.count() < fewest)
        record.fail("is no type of objects");
    if (record.given(5))
        addDefinitions(record, record.list(5));
    lists_.back() = listed_.size();
    return known->second;
}

void PropertyRelations::addDefinitions(const Record& owner, ValueReader list) {
    owner.forEachReference(list, [&](const Instance& definition) { addDefinition(owner, definition); });
}

void PropertyRelations::addDefinition(const Record& owner, const Instance& definition) {
    if (entityOf(definition) == Entity::PropertySet)
        listed_.push_back(static_cast<std::uint32_t>(placeOf(sets_, definition)));
    else if (entityOf(definition) != Entity::PropertyDefinition)
        context_.note(owner.instance(), "names #" + std::to_string(definition.number) + ", which is no property set");
}

void PropertyRelations::order() {
    std::sort(pairs_.begin(), pairs_.end());
    pairs_.erase(std::unique(pairs_.begin(), pairs_.end()), pairs_.end());
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
    if (sets > context_.limits.setsOfProducts - setsOfProducts_)
        throw LimitExceeded{"the products have more property sets than those of a file of this size may have"};
    setsOfProducts_ += sets;
    std::vector<std::uint32_t> own;
    std::vector<std::uint32_t> ofTypes;
    for (auto pair = first; pair != last; ++pair) {
        const Relation& relation = relations_[static_cast<std::uint32_t>(*pair)];
        std::vector<std::uint32_t>& found = relation.ofType ? ofTypes : own;
        for (std::size_t i = lists_[relation.list]; i != lists_[relation.list + 1]; ++i)
            found.push_back(listed_[i]);
    }
    sortUnique(own);
    sortUnique(ofTypes);
    std::vector<std::uint32_t> ownNames(own.size());
    std::transform(own.begin(), own.end(), ownNames.begin(), [&names](std::uint32_t set) { return names[set]; });
    std::sort(ownNames.begin(), ownNames.end());
    for (const std::uint32_t set : ofTypes) {
        if (!std::binary_search(ownNames.begin(), ownNames.end(), names[set]))
            own.push_back(set);
    }
    return own;
}

} // namespace importer::ifc
