// Properties of real models, compared with an independent scan of their text.

#include "importer/ifc/RealModels.h"
#include "importer/ifc/property/PropertySupport.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

namespace fs = std::filesystem;

/// One instance of the text. It is scanned without any code of the reader.
struct Line {
    std::string entity;
    std::vector<std::string> arguments;
};

/// Splits a list at its commas. Those within parentheses or texts do not count.
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

/// The part between the outer parentheses: "b" of "a(b)".
std::string inner(const std::string& text) {
    const std::size_t open = text.find('(');
    return open == std::string::npos ? "" : text.substr(open + 1, text.rfind(')') - open - 1);
}

/// All instances, by "#12". Each begins at the start of a line and ends with a semicolon at the end of a line.
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

/// Decodes a text to UTF-8. The models contain doubled apostrophes, \X\ and \X2\, and no other directives.
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

/// The expected value type of each defined type that occurs in the models.
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

/// One property by the text: "Name (description) = kind value".
/// @param radians the unit of angles, in radians.
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

/// The unit of angles of the project by the text, in radians.
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

/// A real model: what the reader returns and what a scan of its text finds.
struct ScannedModel {
    explicit ScannedModel(const fs::path& path) : name(path.filename().string()) {
        const std::string text = readFile(path);
        lines = scan(text);
        taken = readText(text);
        for (const auto& [number, line] : lines)
            if (line.entity == "IFCPROPERTYSET")
                globalIds[number] = decoded(line.arguments.at(0));
    }

    std::string name;
    std::map<std::string, Line> lines;
    std::map<std::string, std::string> globalIds; ///< Of the property sets, by "#12".
    Taken taken;
};

/// The properties of a set by the text, in its order. Only single values: the models have no properties of other kinds.
std::vector<std::string> expectedProperties(const std::map<std::string, Line>& lines, const Line& set, double radians) {
    std::vector<std::string> result;
    for (const std::string& reference : split(inner(set.arguments.at(4)))) {
        const Line& property = lines.at(reference);
        EXPECT_EQ(property.entity, "IFCPROPERTYSINGLEVALUE") << reference;
        result.push_back(expected(property, radians));
    }
    return result;
}

std::vector<std::string> propertiesOf(const Velmor::IFC2X3_PSet_Custom_s& set) {
    std::vector<std::string> result;
    for (unsigned i = 0; i < set.properties.getCount(); ++i)
        result.push_back(shown(set.properties.getProperty(i)));
    return result;
}

TEST(ModelProperties, SetsEqualThoseOfTheText) {
    for (const fs::path& path : realModels()) {
        const ScannedModel model(path);
        SCOPED_TRACE(model.name);
        const double radians = radiansOf(model.lines);
        std::map<std::string, const Velmor::IFC2X3_PSet_Custom_s*> byGlobalId;
        for (const auto& set : model.taken.sets)
            EXPECT_TRUE(byGlobalId.emplace(std::string(set.globalId, 22), &set).second) << "a GlobalId occurs twice";
        std::size_t values = 0;
        for (const auto& [number, globalId] : model.globalIds) {
            SCOPED_TRACE(number);
            const Line& line = model.lines.at(number);
            const auto found = byGlobalId.find(globalId);
            ASSERT_NE(found, byGlobalId.end());
            EXPECT_EQ(utf8(found->second->name), textOf(line.arguments.at(2)));
            EXPECT_EQ(utf8(found->second->description), textOf(line.arguments.at(3)));
            EXPECT_EQ(propertiesOf(*found->second), expectedProperties(model.lines, line, radians));
            values += found->second->properties.getCount();
        }
        EXPECT_EQ(model.taken.sets.size(), model.globalIds.size());
        std::printf("%s: %zu property sets, %zu single values\n", model.name.c_str(), model.globalIds.size(), values);
    }
}

using SetsOfObjects = std::map<std::string, std::set<std::string>>;

/// The sets that relations of this entity give to objects, by the text: numbers of sets by the number of the object.
SetsOfObjects relatedSets(const ScannedModel& model, const std::string& relation) {
    SetsOfObjects result;
    for (const auto& [number, line] : model.lines) {
        if (line.entity != relation)
            continue;
        const std::string& definition = line.arguments.at(5);
        const bool byType = relation == "IFCRELDEFINESBYTYPE";
        const std::string list = byType ? inner(model.lines.at(definition).arguments.at(5)) : definition;
        for (const std::string& object : split(inner(line.arguments.at(4)))) {
            for (const std::string& set : split(list))
                if (model.globalIds.count(set) != 0)
                    result[object].insert(set);
        }
    }
    return result;
}

TEST(ModelProperties, ProductsHaveTheSetsThatTheTextRelatesToThem) {
    for (const fs::path& path : realModels()) {
        const ScannedModel model(path);
        SetsOfObjects own = relatedSets(model, "IFCRELDEFINESBYPROPERTIES");
        SetsOfObjects ofType = relatedSets(model, "IFCRELDEFINESBYTYPE");
        std::size_t related = 0;
        for (const Product& product : model.taken.products) {
            const std::string number = "#" + std::to_string(product.instance);
            std::set<std::string> expectedSets;
            std::set<std::string> ownNames;
            for (const std::string& set : own[number]) {
                expectedSets.insert(model.globalIds.at(set));
                ownNames.insert(model.lines.at(set).arguments.at(2));
            }
            for (const std::string& set : ofType[number])
                if (ownNames.count(model.lines.at(set).arguments.at(2)) == 0)
                    expectedSets.insert(model.globalIds.at(set));
            std::set<std::string> readSets;
            for (const std::uint32_t set : product.propertySets)
                readSets.insert(std::string(model.taken.sets.at(set).globalId, 22));
            EXPECT_EQ(readSets, expectedSets) << model.name << " " << number;
            EXPECT_EQ(readSets.size(), product.propertySets.size()) << model.name << " " << number;
            related += readSets.size();
        }
        std::printf("%s: %zu products have %zu sets\n", model.name.c_str(), model.taken.products.size(), related);
    }
}

TEST(ModelProperties, GeoreferenceOfAKnownModelArrives) {
    const fs::path path = realModel("geographic-referencing-utm.ifc");
    if (path.empty())
        return;
    const Taken taken = readText(readFile(path));
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
