#include "importer/host/Models.h"

#include "importer/host/HostRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

namespace velmor_tests {

std::string changedWorkshop(const std::filesystem::path& file, const std::string& part, const std::string& by) {
    writeFile(file, replaced(readFile(exampleModel("workshop.ifc")), part, by));
    return file.string();
}

std::string manyWalls(unsigned count) {
    std::string text =
        "ISO-10303-21;\nHEADER;\nFILE_DESCRIPTION((''),'2;1');\n"
        "FILE_NAME('many','2026-02-02T08:00:00',(''),(''),'','','');\nFILE_SCHEMA(('IFC4'));\nENDSEC;\nDATA;\n"
        "#1=IFCSIUNIT(*,.LENGTHUNIT.,$,.METRE.);\n#2=IFCUNITASSIGNMENT((#1));\n"
        "#3=IFCCARTESIANPOINT((0.,0.,0.));\n#4=IFCAXIS2PLACEMENT3D(#3,$,$);\n"
        "#5=IFCGEOMETRICREPRESENTATIONCONTEXT($,'Model',3,0.01,#4,$);\n"
        "#6=IFCPROJECT('0Many000Project0000000',$,$,$,$,$,$,(#5),#2);\n"
        "#7=IFCCARTESIANPOINT((0.,0.));\n#8=IFCAXIS2PLACEMENT2D(#7,$);\n#9=IFCDIRECTION((0.,0.,1.));\n"
        "#10=IFCRECTANGLEPROFILEDEF(.AREA.,$,#8,1.,0.2);\n#11=IFCEXTRUDEDAREASOLID(#10,#4,#9,3.);\n"
        "#12=IFCSHAPEREPRESENTATION(#5,'Body','SweptSolid',(#11));\n"
        "#13=IFCPRODUCTDEFINITIONSHAPE($,$,(#12));\n";
    for (unsigned i = 0; i < count; ++i) {
        const auto id = [i](unsigned k) { return '#' + std::to_string(100 + 10 * i + k); };
        char guid[23];
        std::snprintf(guid, sizeof guid, "0Many000Wall%010u", i);
        text += id(0) + "=IFCCARTESIANPOINT((" + std::to_string(2 * i) + ".,0.,0.));\n" + id(1) + "=IFCAXIS2PLACEMENT3D(" +
                id(0) + ",$,$);\n" + id(2) + "=IFCLOCALPLACEMENT($," + id(1) + ");\n" + id(3) + "=IFCWALL('" + guid +
                "',$,'Wall " + std::to_string(i) + "',$,$," + id(2) + ",#13,$,$);\n";
    }
    return text + "ENDSEC;\nEND-ISO-10303-21;\n";
}

std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++count;
    return count;
}

std::string place(const std::string& text, const std::string& instance) {
    const auto at = text.find('\n' + instance + '=');
    EXPECT_NE(at, std::string::npos) << instance;
    const auto line = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n') + 2;
    return "line " + std::to_string(line) + ", " + instance;
}

} // namespace velmor_tests
