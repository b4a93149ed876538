// Property sets are numbered by their bytes: sets of equal bytes get the same number, so that most comparisons compare two
// numbers. Only sets of different bytes are parsed; their properties are sorted by name and merged. The result for each pair
// of numbers is stored.

#include "importer/host/PropertyComparison.h"

#include <algorithm>
#include <utility>

namespace importer::host {

namespace {

using Kind = PropertyDifference::Kind;
using Sink = std::function<void(const PropertyDifference&)>;

// A list of named items, stably sorted by name.
template <typename Item>
using Named = std::vector<std::pair<std::string_view, Item>>;

template <typename Item>
void sortByName(Named<Item>& list) {
    std::stable_sort(list.begin(), list.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
}

// Merges two sorted lists: calls `onlyOne` for each item without a partner, `both` for each pair of equal names.
template <typename Item, typename OnlyOne, typename Both>
void merge(const Named<Item>& before, const Named<Item>& now, const OnlyOne& onlyOne, const Both& both) {
    auto b = before.begin();
    auto n = now.begin();
    while (b != before.end() || n != now.end())
        if (n == now.end() || (b != before.end() && b->first < n->first))
            onlyOne(Kind::Removed, *b++);
        else if (b == before.end() || n->first < b->first)
            onlyOne(Kind::Added, *n++);
        else
            both((b++)->second, (n++)->second);
}

// The properties in a range of indices, without the properties nested in them.
Named<const EncodedProperty*> namedProperties(const EncodedSet& set, std::size_t begin, std::size_t end) {
    Named<const EncodedProperty*> list;
    for (std::size_t i = begin; i < end; i = set.properties[i].next)
        list.emplace_back(set.properties[i].name, &set.properties[i]);
    sortByName(list);
    return list;
}

Named<std::uint32_t> namedSets(const Model& model, const ObjectRecord& object) {
    Named<std::uint32_t> list;
    for (const std::uint32_t set : object.propertySets)
        list.emplace_back(nameOf(model.propertySets[set]), set);
    sortByName(list);
    return list;
}

// Compares two sets of the same name.
class SetComparison {
public:
    SetComparison(std::string_view before, std::string_view now, const Sink& sink)
        : before_(parsePropertySet(before)), now_(parsePropertySet(now)), sink_(sink), path_{before_.name} {}

    void run() { compare(0, before_.properties.size(), 0, now_.properties.size()); }

private:
    void compare(std::size_t beginBefore, std::size_t endBefore, std::size_t beginNow, std::size_t endNow) {
        merge(
            namedProperties(before_, beginBefore, endBefore), namedProperties(now_, beginNow, endNow),
            [this](Kind kind, const auto& property) {
                path_.push_back(property.first);
                report(kind, kind == Kind::Removed ? property.second : nullptr,
                       kind == Kind::Added ? property.second : nullptr);
                path_.pop_back();
            },
            [this](const EncodedProperty* before, const EncodedProperty* now) {
                path_.push_back(now->name);
                compare(*before, *now);
                path_.pop_back();
            });
    }

    void compare(const EncodedProperty& before, const EncodedProperty& now) {
        if (before.isComplex != now.isComplex || before.valueType != now.valueType || before.value != now.value)
            report(Kind::Changed, &before, &now);
        if (before.isComplex && now.isComplex)
            compare(indexAfter(before_, before), before.next, indexAfter(now_, now), now.next);
    }

    static std::size_t indexAfter(const EncodedSet& set, const EncodedProperty& property) {
        return static_cast<std::size_t>(&property - set.properties.data()) + 1;
    }

    void report(Kind kind, const EncodedProperty* before, const EncodedProperty* now) { sink_({kind, path_, before, now}); }

    EncodedSet before_;
    EncodedSet now_;
    const Sink& sink_;
    std::vector<std::string_view> path_;
};

} // namespace

void forEachPropertyDifference(const Model& before, const ObjectRecord& objectBefore, const Model& now,
                               const ObjectRecord& objectNow, const Sink& sink) {
    merge(
        namedSets(before, objectBefore), namedSets(now, objectNow),
        [&sink](Kind kind, const auto& set) {
            sink({kind, {set.first}, nullptr, nullptr});
        },
        [&](std::uint32_t setBefore, std::uint32_t setNow) {
            const std::string& bytesBefore = before.propertySets[setBefore];
            const std::string& bytesNow = now.propertySets[setNow];
            if (contentOf(bytesBefore) != contentOf(bytesNow))
                SetComparison(bytesBefore, bytesNow, sink).run();
        });
}

PropertyComparison::PropertyComparison(const Model& before, const Model& now) : before_(before), now_(now) {
    std::unordered_map<std::string_view, std::uint32_t> contents;
    const auto number = [&contents](const Model& model) {
        std::vector<std::uint32_t> numbers;
        for (const std::string& set : model.propertySets) {
            const auto next = static_cast<std::uint32_t>(contents.size());
            numbers.push_back(contents.emplace(contentOf(set), next).first->second);
        }
        return numbers;
    };
    contentsBefore_ = number(before);
    contentsNow_ = number(now);
}

bool PropertyComparison::isEqual(const ObjectRecord& objectBefore, const ObjectRecord& objectNow) {
    const auto sameContent = [this](std::uint32_t b, std::uint32_t n) { return contentsBefore_[b] == contentsNow_[n]; };
    if (std::equal(objectBefore.propertySets.begin(), objectBefore.propertySets.end(), objectNow.propertySets.begin(),
                   objectNow.propertySets.end(), sameContent))
        return true;
    bool equal = objectBefore.propertySets.size() == objectNow.propertySets.size();
    if (equal) {
        merge(
            namedSets(before_, objectBefore), namedSets(now_, objectNow), [&equal](Kind, const auto&) { equal = false; },
            [&](std::uint32_t setBefore, std::uint32_t setNow) { equal = equal && isEqualSet(setBefore, setNow); });
    }
    return equal;
}

bool PropertyComparison::isEqualSet(std::uint32_t setBefore, std::uint32_t setNow) {
    const std::uint32_t contentBefore = contentsBefore_[setBefore];
    const std::uint32_t contentNow = contentsNow_[setNow];
    if (contentBefore == contentNow)
        return true;
    const auto [pair, isNew] = equalPairs_.emplace(std::uint64_t{contentBefore} << 32 | contentNow, true);
    if (isNew) {
        bool& equal = pair->second;
        const Sink setUnequal = [&equal](const PropertyDifference&) { equal = false; };
        SetComparison(before_.propertySets[setBefore], now_.propertySets[setNow], setUnequal).run();
    }
    return pair->second;
}

} // namespace importer::host
