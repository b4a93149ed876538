// The properties of real models, compared with what a plain look at their text says. The folder is the one that the
// environment variable VELMOR_MODELS names; without it there is nothing to compare (the other tests of the suite say so).

#include "importer/ifc/property/PropertySupport.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velmor_tests {

using namespace importer::ifc;
namespace {

namespace fs = std::filesystem;

/// An instance as its line has it: its name and the texts of its arguments. Independent of the reader.
struct Line {
    std::string entity;
    std::vector<std::string> arguments;
};

/// Cuts at the commas that are in no parentheses and no text.
std::vector<std::string> split(const std::string& list) {
    std::vector<std::string> parts(1);
    int depth = 0;
    bool inText = false;
    for (const char c : list) {
        inText ^= c == '\'';
        depth += !inText && c == '(' ? 1 : !inText && c == ')' ? -1 : 0;
        if (c == ',' && depth == 0 && !inText)
            parts.emplace_back();
        else if (inText || c != ' ')
            parts.back() += c;
    }
    return parts;
}

/// "a(b)" without its "a(" and its ")".
std::string inner(const std::string& text) {
    const std::size_t open = text.find('(');
    return open == std::string::npos ? "" : text.substr(open + 1, text.rfind(')') - open - 1);
}

/// All instances that begin on a line of their own; "#12= IFCX(...);" up to the semicolon at the end of a line.
std::map<std::string, Line> scan(const std::string& text) {
    std::map<std::string, Line> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        std::size_t stop = end;
        if (text[at] == '#') {
            while (stop < text.size() && text.find_last_not_of(" \r", stop - 1) != text.rfind(';', stop - 1))
                stop = std::min(text.find('\n', stop + 1), text.size());
            const std::string statement = text.substr(at, stop - at);
            const std::size_t equals = statement.find('=');
            const std::size_t name = statement.find_first_not_of(' ', equals + 1);
            const std::string number = statement.substr(0, statement.find_first_of(" ="));
            lines[number] = {statement.substr(name, statement.find_first_of(" (", name) - name), split(inner(statement))};
        }
        at = stop + 1;
    }
    return lines;
}

/// A text of the models as it is meant: they have doubled apostrophes, and \X\ and \X2\ for a few letters.
std::string decoded(const std::string& quoted) {
    std::string text;
    const auto add = [&text](unsigned long unit) {
        if (unit < 0x80)
            text += static_cast<char>(unit);
        else if (unit < 0x800)
            text.append({static_cast<char>(0xC0 | unit >> 6), static_cast<char>(0x80 | (unit & 63))});
        else
            text.append({static_cast<char>(0xE0 | unit >> 12), static_cast<char>(0x80 | (unit >> 6 & 63)),
                         static_cast<char>(0x80 | (unit & 63))});
    };
    for (std::size_t i = 1; i + 1 < quoted.size(); ++i) {
        const std::string rest = quoted.substr(i, 4);
        if (rest.substr(0, 2) == "''") {
            text += '\'';
            ++i;
        } else if (rest.substr(0, 3) == "\\X\\") {
            add(std::stoul(quoted.substr(i + 3, 2), nullptr, 16));
            i += 4;
        } else if (rest == "\\X2\\") {
            for (i += 4; quoted[i] != '\\'; i += 4)
                add(std::stoul(quoted.substr(i, 4), nullptr, 16));
            i += 3;
        } else {
            text += quoted[i];
        }
    }
    return text;
}

std::string textOf(const std::string& argument) {
    return argument == "$" ? "" : decoded(argument);
}

/// How the models' types of values are to be carried.
const std::map<std::string, std::string> kinds = {{"IFCLABEL", "string"},
                                                  {"IFCTEXT", "string"},
                                                  {"IFCIDENTIFIER", "string"},
                                                  {"IFCBOOLEAN", "boolean"},
                                                  {"IFCLOGICAL", "logical"},
                                                  {"IFCINTEGER", "integer"},
                                                  {"IFCCOUNTMEASURE", "integer"},
                                                  {"IFCREAL", "real"},
                                                  {"IFCPOSITIVERATIOMEASURE", "real"},
                                                  {"IFCTHERMALTRANSMITTANCEMEASURE", "real"},
                                                  {"IFCLENGTHMEASURE", "length"},
                                                  {"IFCPOSITIVELENGTHMEASURE", "length"},
                                                  {"IFCAREAMEASURE", "area"},
                                                  {"IFCVOLUMEMEASURE", "volume"},
                                                  {"IFCPLANEANGLEMEASURE", "angle"},
                                                  {"IFCTHERMODYNAMICTEMPERATUREMEASURE", "unspecified"},
                                                  {"IFCTIMEMEASURE", "unspecified"}};

/// One property by the text: "Name (description) = kind value". @param radians the unit of angles
std::string expected(const Line& line, double radians) {
    std::string text = textOf(line.arguments.at(0));
    if (const std::string description = textOf(line.arguments.at(1)); !description.empty())
        text += " (" + description + ")";
    const std::string& value = line.arguments.at(2);
    if (value == "$")
        return text + " = string ''";
    const std::string type = value.substr(0, value.find('('));
    EXPECT_EQ(kinds.count(type), 1u) << type;
    const std::string kind = kinds.count(type) != 0 ? kinds.at(type) : "";
    const std::string content = inner(value);
    if (kind == "string")
        return text + " = string '" + decoded(content) + "'";
    if (kind == "boolean")
        return text + " = boolean " + (content == ".T." ? "true" : "false");
    if (kind == "logical")
        return text + " = logical " + (content == ".T." ? "1" : content == ".F." ? "0" : "2");
    if (kind == "integer")
        return text + " = integer " + content;
    return text + " = " + kind + " " + shown(std::strtod(content.c_str(), nullptr) * (kind == "angle" ? radians : 1.0));
}

/// The unit of angles that the project names, by the text.
double radiansOf(const std::map<std::string, Line>& lines) {
    for (const auto& [number, project] : lines) {
        if (project.entity != "IFCPROJECT")
            continue;
        for (const std::string& unit : split(inner(lines.at(project.arguments.at(8)).arguments.at(0)))) {
            const Line& line = lines.at(unit);
            if (line.entity == "IFCCONVERSIONBASEDUNIT" && line.arguments.at(1) == ".PLANEANGLEUNIT.")
                return std::strtod(inner(lines.at(line.arguments.at(3)).arguments.at(0)).c_str(), nullptr);
        }
    }
    return 1.0;
}

const std::set<std::string> fourteen = {"Pset_BeamCommon",
                                        "Pset_ColumnCommon",
                                        "Pset_CurtainWallCommon",
                                        "Pset_DoorCommon",
                                        "Pset_DoorWindowGlazingType",
                                        "Pset_DoorWindowShadingType",
                                        "Pset_MemberCommon",
                                        "Pset_RailingCommon",
                                        "Pset_RampCommon",
                                        "Pset_RoofCommon",
                                        "Pset_SlabCommon",
                                        "Pset_StairCommon",
                                        "Pset_WallCommon",
                                        "Pset_WindowCommon"};

/// What the reader gave, as far as it is not found yet.
std::multiset<std::string> contentOf(const Velmor::IFC2X3_PSet_Custom_s& set) {
    std::multiset<std::string> content;
    for (unsigned i = 0; i < set.properties.getCount(); ++i)
        content.insert(shown(set.properties.getProperty(i)));
    return content;
}

bool isWrittenByATemplate(const std::string& property) {
    return property.ends_with(" = string ''") || property.ends_with(" = boolean false") ||
           property == "FireExit = boolean true" || property == "GlassLayers = integer 0";
}

TEST(ModelProperties, AreThoseOfTheirText) {
    const char* folder = std::getenv("VELMOR_MODELS");
    if (!folder || !*folder)
        return;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() != ".ifc")
            continue;
        const std::string model = entry.path().filename().string();
        std::ifstream in(entry.path(), std::ios::binary);
        const std::string text(std::istreambuf_iterator<char>(in), {});
        const std::map<std::string, Line> lines = scan(text);
        const double radians = radiansOf(lines);
        const Taken taken = readText(text);
        std::map<std::string, const Velmor::IFC2X3_PSet_Custom_s*> byGlobalId;
        for (const auto& set : taken.sets)
            EXPECT_TRUE(byGlobalId.emplace(std::string(set.globalId, 22), &set).second) << model << " has a GlobalId twice";

        std::size_t sets = 0, singles = 0, complex = 0, notCarried = 0, byTemplates = 0;
        std::set<std::string> singlesOfSets;
        std::map<std::string, std::string> globalIdOf; // by the set's number
        for (const auto& [number, line] : lines) {
            complex += line.entity == "IFCCOMPLEXPROPERTY";
            notCarried += line.entity.compare(0, 11, "IFCPROPERTY") == 0 && line.entity != "IFCPROPERTYSET" &&
                          line.entity != "IFCPROPERTYSINGLEVALUE";
            if (line.entity != "IFCPROPERTYSET")
                continue;
            ++sets;
            const std::string globalId = decoded(line.arguments.at(0));
            globalIdOf[number] = globalId;
            const auto found = byGlobalId.find(globalId);
            ASSERT_NE(found, byGlobalId.end()) << model << " " << number;
            EXPECT_EQ(utf8(found->second->name), textOf(line.arguments.at(2))) << model << " " << number;
            EXPECT_EQ(utf8(found->second->description), textOf(line.arguments.at(3))) << model << " " << number;
            std::multiset<std::string> read = contentOf(*found->second);
            for (const std::string& reference : split(inner(line.arguments.at(4)))) {
                const Line& property = lines.at(reference);
                if (property.entity != "IFCPROPERTYSINGLEVALUE")
                    continue;
                ++singles;
                singlesOfSets.insert(reference);
                const std::string said = expected(property, radians);
                auto same = read.find(said);
                if (same == read.end())
                    same = read.find("Is" + said); // as the templates call LoadBearing and HandicapAccessible
                ASSERT_NE(same, read.end())
                    << model << " " << number << ": " << said << " is not in " << shown(*found->second);
                read.erase(same);
            }
            byTemplates += read.size();
            EXPECT_TRUE(read.empty() || fourteen.count(textOf(line.arguments.at(2))) != 0) << model << " " << number;
            for (const std::string& more : read)
                EXPECT_TRUE(isWrittenByATemplate(more)) << model << " " << number << ": " << more;
        }
        EXPECT_EQ(taken.sets.size(), sets) << model;
        const auto instances = std::count_if(
            lines.begin(), lines.end(), [](const auto& line) { return line.second.entity == "IFCPROPERTYSINGLEVALUE"; });
        std::printf("%s: %zu property sets, %zu single values in them (%zu of the %zu instances), %zu complex, %zu not "
                    "carried, %zu written by templates\n",
                    model.c_str(), sets, singles, singlesOfSets.size(), static_cast<std::size_t>(instances), complex,
                    notCarried, byTemplates);

        // Whose they are.
        std::map<std::string, std::set<std::string>> own;
        std::map<std::string, std::set<std::string>> ofType;
        for (const auto& [number, line] : lines) {
            const bool byType = line.entity == "IFCRELDEFINESBYTYPE";
            if (!byType && line.entity != "IFCRELDEFINESBYPROPERTIES")
                continue;
            const std::string& definition = line.arguments.at(5);
            const std::string list = byType ? inner(lines.at(definition).arguments.at(5)) : definition;
            for (const std::string& object : split(inner(line.arguments.at(4)))) {
                for (const std::string& set : split(list)) {
                    if (globalIdOf.count(set) != 0)
                        (byType ? ofType : own)[object].insert(set);
                }
            }
        }
        std::size_t related = 0;
        for (const Product& product : taken.products) {
            const std::string number = "#" + std::to_string(product.instance);
            std::set<std::string> expectedSets;
            std::set<std::string> ownNames;
            for (const std::string& set : own[number]) {
                expectedSets.insert(globalIdOf.at(set));
                ownNames.insert(lines.at(set).arguments.at(2));
            }
            for (const std::string& set : ofType[number]) {
                if (ownNames.count(lines.at(set).arguments.at(2)) == 0)
                    expectedSets.insert(globalIdOf.at(set));
            }
            std::set<std::string> readSets;
            for (const std::uint32_t set : product.propertySets)
                readSets.insert(std::string(taken.sets.at(set).globalId, 22));
            EXPECT_EQ(readSets, expectedSets) << model << " " << number;
            EXPECT_EQ(readSets.size(), product.propertySets.size()) << model << " " << number;
            related += readSets.size();
        }
        std::printf("%s: its %zu products have %zu sets\n", model.c_str(), taken.products.size(), related);
    }
}

TEST(ModelProperties, AKnownGeoreferenceArrives) {
    const char* folder = std::getenv("VELMOR_MODELS");
    const fs::path path = fs::path(folder ? folder : "") / "geographic-referencing-utm.ifc";
    if (!folder || !fs::exists(path))
        return;
    std::ifstream in(path, std::ios::binary);
    const Taken taken = readText(std::string(std::istreambuf_iterator<char>(in), {}));
    ASSERT_EQ(taken.georeferences.size(), 1u);
    const Velmor::IFC4_MapConversion& conversion = taken.georeferences[0];
    EXPECT_EQ(conversion.getSourceOrigin().x, 0.0);
    EXPECT_EQ(conversion.getEastings(), 458657.30);
    EXPECT_EQ(conversion.getNorthings(), 5438232.25);
    EXPECT_EQ(conversion.getOrthogonalHeight(), 113.7);
    EXPECT_EQ(conversion.getXAxisAbscissa(), 0.270600445976);
    EXPECT_EQ(conversion.getXAxisOrdinate(), 0.962691746426);
    EXPECT_EQ(conversion.getScaleToMapProjection(), 1000.0);
    EXPECT_EQ(utf8(conversion.getMapProjection().getName()), "EPSG:25832");
    EXPECT_EQ(utf8(conversion.getMapProjection().getDescription()), "UTM in band 32");
    EXPECT_EQ(utf8(conversion.getMapProjection().getGeodeticDatum()), "ETRS89");
    EXPECT_EQ(utf8(conversion.getMapProjection().getVerticalDatum()), "");
    EXPECT_EQ(utf8(conversion.getMapProjection().getProjectionType()), "UTM");
    EXPECT_EQ(utf8(conversion.getMapProjection().getZone()), "UTM32");
    EXPECT_EQ(utf8(conversion.getMapProjection().getUnitName()), "METRE");
    EXPECT_EQ(conversion.getMapProjection().getScaleToMetric(), 1.0);
}

} // namespace
} // namespace velmor_tests
