#include "importer/host/Report.h"

#include "importer/exchange/Text.h"
#include "importer/host/PropertyComparison.h"
#include "importer/host/PropertyText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace importer::host {

namespace {

constexpr std::size_t maxReportedChanges = 20;
constexpr std::size_t maxReportedProperties = 5; // of one object
constexpr std::size_t maxNameBytes = 60;         // longer names and texts are cut

// Three decimals, rounded down, so that different versions never show as 1.000.
std::string formatSimilarity(double similarity) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", std::floor(similarity * 1000.0) / 1000.0);
    return text;
}

std::string padded(const std::string& text, std::size_t width, bool alignRight) {
    const std::string blanks(width > text.size() ? width - text.size() : 0, ' ');
    return alignRight ? blanks + text : text + blanks;
}

// One line of the table.
std::vector<std::string> row(const std::string& name, const ClassCounts& counts) {
    return {name,
            std::to_string(counts.objects),
            std::to_string(counts.added),
            std::to_string(counts.unchanged),
            std::to_string(counts.modified),
            counts.modified > 0 ? formatSimilarity(counts.lowestSimilarity) : "-",
            std::to_string(counts.gone)};
}

std::string table(const Comparison& comparison) {
    std::vector<std::vector<std::string>> rows = {
        {"class", "objects", "new", "unchanged", "modified", "lowest similarity", "gone"}};
    for (const auto& [name, counts] : comparison.classes)
        rows.push_back(row(printable(name), counts));
    rows.push_back(row("total", comparison.total));

    std::vector<std::size_t> widths(rows.front().size());
    for (const std::vector<std::string>& cells : rows)
        for (std::size_t i = 0; i < cells.size(); ++i)
            widths[i] = std::max(widths[i], cells[i].size());
    std::string text;
    for (const std::vector<std::string>& cells : rows) {
        for (std::size_t i = 0; i < cells.size(); ++i)
            text += "  " + padded(cells[i], widths[i], i > 0);
        text += '\n';
    }
    return text;
}

std::string formatCount(std::uint64_t count, const char* one, const char* many) {
    return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

// "... and 12 more": the last line of a list whose first `shown` entries are printed.
std::string omittedLine(std::uint64_t all, std::size_t shown) {
    return all > shown ? "  ... and " + std::to_string(all - shown) + " more\n" : std::string();
}

// "line 106, #233"; without the number if there is no instance.
std::string formatPlace(std::uint64_t line, std::uint64_t instance) {
    return "line " + std::to_string(line) + (instance == 0 ? std::string() : ", #" + std::to_string(instance));
}

std::string quoted(const std::string& name) {
    return '\'' + shortened(printable(name), maxNameBytes) + '\'';
}

// "IFCBEAM 'Beam B2' (line 106, #233)"
std::string formatObject(const ObjectRecord& object) {
    return printable(object.className) + ' ' + quoted(object.name) + " (" + formatPlace(object.line, object.instance) + ")";
}

// "integer 5"; without the type "5".
std::string propertyValue(const EncodedProperty& property, bool withType) {
    if (property.isComplex)
        return "complex " + quoted(std::string(property.value));
    const Velmor::IFC2X3Property decoded = decodeSingleValue(property);
    const Velmor::IFC2X3PropertySingleValue& value = decoded.getPropertySingleValue();
    return (withType ? valueTypeName(value.getValueType()) + std::string(" ") : std::string()) +
           formatValue(value, maxNameBytes);
}

// "Pset_BeamCommon.Span 6000 -> 6200"
std::string propertyDifference(const PropertyDifference& difference) {
    std::string path;
    for (const std::string_view name : difference.path)
        path += (path.empty() ? "" : ".") + shortened(printable(name), maxNameBytes);
    const EncodedProperty* const before = difference.before;
    const EncodedProperty* const now = difference.now;
    if (difference.kind != PropertyDifference::Changed) {
        const EncodedProperty* const property = before != nullptr ? before : now;
        return (property != nullptr ? path + ' ' + propertyValue(*property, false) : "property set " + path) +
               (difference.kind == PropertyDifference::Added ? " added" : " removed");
    }
    const bool withType = before->isComplex != now->isComplex || before->valueType != now->valueType;
    const std::string oldValue = propertyValue(*before, withType);
    const std::string newValue = propertyValue(*now, withType);
    path += ' ' + oldValue + " -> " + newValue;
    if (oldValue == newValue) { // they differ in text that is cut off, or in characters that are printed as a question mark
        const auto firstDifference =
            std::mismatch(before->value.begin(), before->value.end(), now->value.begin(), now->value.end());
        path += " (first difference at byte " + std::to_string(firstDifference.first - before->value.begin() + 1) + ")";
    }
    return path;
}

// ", Pset_BeamCommon.Span 6000 -> 6200; Pset_BeamCommon.Slope 0.5 removed; ... and 2 more"
std::string propertyDifferences(const Change& change, const Model& before, const Model& now) {
    std::string text;
    std::size_t count = 0;
    forEachPropertyDifference(before, before.objects[change.before], now, now.objects[change.object],
                              [&](const PropertyDifference& difference) {
                                  if (count++ < maxReportedProperties)
                                      text += (text.empty() ? ", " : "; ") + propertyDifference(difference);
                              });
    return count > maxReportedProperties ? text + "; ... and " + std::to_string(count - maxReportedProperties) + " more"
                                         : text;
}

std::string changeLine(const Change& change, const Model& before, const Model& now) {
    const ObjectRecord& object = change.kind == Change::Gone ? before.objects[change.object] : now.objects[change.object];
    const std::string label = formatObject(object);
    switch (change.kind) {
    case Change::Modified:
        return "modified      " + label +
               (change.versionDiffers ? ", similarity " + formatSimilarity(change.similarity) : std::string()) +
               (change.propertiesDiffer ? propertyDifferences(change, before, now) : std::string());
    case Change::Added:
        return "new           " + label;
    case Change::Gone:
        return "gone          " + label + " of the previous model";
    case Change::Renamed:
        return "renamed       " + label + ", was " + quoted(before.objects[change.before].name);
    case Change::Reclassified:
        return "reclassified  " + label + ", was " + printable(before.objects[change.before].className);
    case Change::Moved:
        return "moved         " + label + ", its shape is unchanged";
    }
    return label;
}

std::string changeList(const Comparison& comparison, const Model& before, const Model& now) {
    const std::vector<Change>& changes = comparison.changes;
    if (changes.empty())
        return {};
    const auto countOf = [&changes](Change::Kind kind) {
        const auto count = std::count_if(changes.begin(), changes.end(), [kind](const Change& c) { return c.kind == kind; });
        return std::to_string(count);
    };
    const auto withProperties =
        std::count_if(changes.begin(), changes.end(), [](const Change& change) { return change.propertiesDiffer; });
    std::string text = "changes: renamed " + countOf(Change::Renamed) + ", reclassified " + countOf(Change::Reclassified) +
                       ", moved without a change of shape " + countOf(Change::Moved) + ", with changed properties " +
                       std::to_string(withProperties) + '\n';
    const std::size_t shown = std::min(changes.size(), maxReportedChanges);
    for (std::size_t i = 0; i < shown; ++i)
        text += "  " + changeLine(changes[i], before, now) + '\n';
    return text + omittedLine(changes.size(), shown);
}

std::string unidentifiedList(const Comparison& comparison, const std::vector<ObjectRecord>& now) {
    const std::vector<std::size_t>& unidentified = comparison.unidentified;
    if (unidentified.empty())
        return {};
    std::string text = "not identified (not compared and not counted above): " + std::to_string(unidentified.size()) + '\n';
    const std::size_t shown = std::min(unidentified.size(), maxReportedProblems);
    for (std::size_t i = 0; i < shown; ++i)
        text += "  " + formatObject(now[unidentified[i]]) + '\n';
    return text + omittedLine(unidentified.size(), shown);
}

std::string problemList(const ImportResult& result) {
    if (result.problemCount == 0)
        return {};
    std::string text = "problems: " + std::to_string(result.problemCount) + '\n';
    for (const ProblemRecord& problem : result.problems)
        text += "  " + formatPlace(problem.line, problem.instance) + ": " + printable(problem.reason) + '\n';
    return text + omittedLine(result.problemCount, result.problems.size());
}

} // namespace

std::string report(const std::filesystem::path& model, const ImportResult& result, const Model* before,
                   const Comparison& comparison) {
    const std::vector<ObjectRecord>& objects = result.model.objects;
    std::string text = utf8(model.filename()) + ": " + printable(result.schema) + ", " +
                       formatCount(objects.size(), "object", "objects") + ", " +
                       (before ? "compared with the " + std::to_string(before->objects.size()) + " of the previous import"
                               : std::string("first import")) +
                       '\n';
    text += table(comparison);
    if (result.objectsWithoutClass > 0) {
        text += "objects of entities without a class name, reported as IFCINVALID: " +
                std::to_string(result.objectsWithoutClass) + '\n';
    }
    text += unidentifiedList(comparison, objects);
    if (before)
        text += changeList(comparison, *before, result.model);
    return text + problemList(result);
}

std::string reportUnchanged(const std::filesystem::path& model) {
    return utf8(model.filename()) + ": unchanged since the last import\n";
}

std::string reportProperties(const Model& model, const std::string& globalId) {
    const auto object = std::find_if(model.objects.begin(), model.objects.end(), [&globalId](const ObjectRecord& each) {
        return each.globalId.getType() == Velmor::ExternalGUID::IFCGlobalID && each.globalId.getIFCGlobalID() == globalId;
    });
    if (object == model.objects.end())
        throw ImportError("the model has no object with the GlobalId '" + printable(globalId) + '\'');
    std::string text = "properties of " + globalId + ": " + printable(object->className) + " '" + printable(object->name) +
                       "' (" + formatPlace(object->line, object->instance) + "), " +
                       formatCount(object->propertySets.size(), "property set", "property sets") + '\n';
    for (const std::uint32_t set : object->propertySets)
        text += formatPropertySet(decodePropertySet(model.propertySets[set]));
    return text;
}

std::string reportGeoreference(const ImportResult& result) {
    return result.georeference ? formatGeoreference(*result.georeference) : "no georeference\n";
}

} // namespace importer::host
