#include "ImportHost.h"

#include "Text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace importer {
namespace {

constexpr std::size_t changesTold = 20;
constexpr std::size_t nameBytes = 60;

// Three decimals, cut: what was modified never shows as 1.000.
std::string shownSimilarity(double similarity) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", std::floor(similarity * 1000.0) / 1000.0);
    return text;
}

std::string padded(const std::string& text, std::size_t width, bool toTheRight) {
    const std::string blanks(width > text.size() ? width - text.size() : 0, ' ');
    return toTheRight ? blanks + text : text + blanks;
}

// One line of the table.
std::vector<std::string> row(const std::string& name, const ClassCounts& counts) {
    return {name,
            std::to_string(counts.objects),
            std::to_string(counts.added),
            std::to_string(counts.unchanged),
            std::to_string(counts.modified),
            counts.modified > 0 ? shownSimilarity(counts.lowestSimilarity) : "-",
            std::to_string(counts.gone)};
}

std::string table(const Comparison& comparison) {
    std::vector<std::vector<std::string>> rows = {
        {"class", "objects", "new", "unchanged", "modified", "lowest similarity", "gone"}};
    for (const auto& [name, counts] : comparison.classes) {
        rows.push_back(row(printable(name), counts));
    }
    rows.push_back(row("total", comparison.total));

    std::vector<std::size_t> widths(rows.front().size());
    for (const auto& cells : rows) {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            widths[i] = std::max(widths[i], cells[i].size());
        }
    }
    std::string text;
    for (const auto& cells : rows) {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            text += "  " + padded(cells[i], widths[i], i > 0);
        }
        text += '\n';
    }
    return text;
}

std::string counted(std::uint64_t count, const char* one, const char* many) {
    return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

// "... and 12 more" under a list that shows only its first entries.
std::string rest(std::uint64_t all, std::size_t shown) {
    return all > shown ? "  ... and " + std::to_string(all - shown) + " more\n" : std::string();
}

// "line 106, #233"; the number 0 is no instance's.
std::string place(std::uint64_t line, std::uint64_t instance) {
    return "line " + std::to_string(line) + (instance == 0 ? std::string() : ", #" + std::to_string(instance));
}

std::string quoted(const std::string& name) {
    return '\'' + shortened(printable(name), nameBytes) + '\'';
}

// "IFCBEAM 'Beam B2' (line 106, #233)"
std::string subject(const ObjectRecord& object) {
    return printable(object.className) + ' ' + quoted(object.name) + " (" + place(object.line, object.instance) + ")";
}

std::string changeLine(const Change& change, const std::vector<ObjectRecord>& before, const std::vector<ObjectRecord>& now) {
    const auto& object = change.kind == Change::Gone ? before[change.object] : now[change.object];
    std::string who = subject(object);
    switch (change.kind) {
    case Change::Modified:
        return "modified      " + who + ", similarity " + shownSimilarity(change.similarity);
    case Change::Added:
        return "new           " + who;
    case Change::Gone:
        return "gone          " + who + " of the previous model";
    case Change::Renamed:
        return "renamed       " + who + ", was " + quoted(before[change.before].name);
    case Change::Reclassified:
        return "reclassified  " + who + ", was " + printable(before[change.before].className);
    case Change::Moved:
        return "moved         " + who + ", its shape is unchanged";
    }
    return who;
}

std::string changeList(const Comparison& comparison, const std::vector<ObjectRecord>& before,
                       const std::vector<ObjectRecord>& now) {
    const auto& changes = comparison.changes;
    if (changes.empty()) {
        return {};
    }
    const auto countOf = [&changes](Change::Kind kind) {
        const auto count = std::count_if(changes.begin(), changes.end(), [kind](const Change& c) { return c.kind == kind; });
        return std::to_string(count);
    };
    std::string text = "changes: renamed " + countOf(Change::Renamed) + ", reclassified " + countOf(Change::Reclassified) +
                       ", moved without a change of shape " + countOf(Change::Moved) + '\n';
    const auto shown = std::min(changes.size(), changesTold);
    for (std::size_t i = 0; i < shown; ++i) {
        text += "  " + changeLine(changes[i], before, now) + '\n';
    }
    return text + rest(changes.size(), shown);
}

std::string unidentifiedList(const Comparison& comparison, const std::vector<ObjectRecord>& now) {
    const auto& unidentified = comparison.unidentified;
    if (unidentified.empty()) {
        return {};
    }
    std::string text = "not identified, neither compared nor counted above: " + std::to_string(unidentified.size()) + '\n';
    const auto shown = std::min(unidentified.size(), problemsTold);
    for (std::size_t i = 0; i < shown; ++i) {
        text += "  " + subject(now[unidentified[i]]) + '\n';
    }
    return text + rest(unidentified.size(), shown);
}

std::string problemList(const HandedOver& handedOver) {
    if (handedOver.problemCount == 0) {
        return {};
    }
    std::string text = "problems: " + std::to_string(handedOver.problemCount) + '\n';
    for (const auto& problem : handedOver.problems) {
        text += "  " + place(problem.line, problem.instance) + ": " + printable(problem.reason) + '\n';
    }
    return text + rest(handedOver.problemCount, handedOver.problems.size());
}

} // namespace

std::string report(const std::filesystem::path& model, const HandedOver& handedOver, const std::vector<ObjectRecord>* before,
                   const Comparison& comparison) {
    std::string text = utf8(model.filename()) + ": " + printable(handedOver.schema) + ", " +
                       counted(handedOver.objects.size(), "object", "objects") + ", " +
                       (before ? "compared with the " + std::to_string(before->size()) + " of the previous import"
                               : std::string("first import")) +
                       '\n';
    text += table(comparison);
    text += unidentifiedList(comparison, handedOver.objects);
    if (before) {
        text += changeList(comparison, *before, handedOver.objects);
    }
    return text + problemList(handedOver);
}

} // namespace importer
