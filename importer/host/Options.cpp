#include "importer/exchange/Text.h"
#include "importer/host/ImportHost.h"

#include <algorithm>

namespace importer::host {

const char* const usageText =
    "usage: import_host MODEL... [--state DIR] [--identify-by-geometry] [--importer PROGRAM]\n"
    "                   [--properties GLOBALID]... [--georeference] [--export DIR]\n"
    "\n"
    "Imports IFC models one after another and tells what has changed since the previous import of each. A model that\n"
    "has the same content as then is not imported again, unless --properties, --georeference or --export is given.\n"
    "A folder stands for the models in it, *.ifc in the order of their names, without the folders in it; one that\n"
    "fails does not keep the others of its folder from being imported.\n"
    "\n"
    "  --state DIR             keep what is imported in DIR; the models are then revisions of one another.\n"
    "                          Otherwise it is import-state/<file name> in the current folder, by the name alone:\n"
    "                          a/model.ifc and b/model.ifc are then revisions of one another, too.\n"
    "  --identify-by-geometry  ignore GlobalIds; objects are the same when their geometry is in the same place\n"
    "  --properties GLOBALID   show the class, the name and all property sets of the object with that GlobalId, which\n"
    "                          every model must have; may be given for several objects\n"
    "  --georeference          show the map conversion and the projected coordinate reference system\n"
    "  --export DIR            write each closed solid as an OBJ file and each texture as a PNG file into DIR\n"
    "  --importer PROGRAM      the program that reads the models; otherwise ifc_importer beside this program\n"
    "  --help                  print this text\n";

Options parseArguments(const std::vector<std::filesystem::path>& arguments, const std::filesystem::path& importer) {
    Options options;
    options.importer = importer;
    for (const auto& argument : arguments) {
        try {
            wide(argument);
        } catch (const std::filesystem::filesystem_error&) {
            throw UsageError("argument '" + utf8(argument) + "' is not UTF-8 text");
        }
    }
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const auto argument = utf8(arguments[i]);
        const auto value = [&] {
            if (i + 1 == arguments.size() || arguments[i + 1].empty())
                throw UsageError(argument + " needs a value");
            return arguments[++i];
        };
        if (argument == "--state")
            options.state = value();
        else if (argument == "--importer")
            options.importer = value();
        else if (argument == "--properties")
            options.properties.push_back(utf8(value()));
        else if (argument == "--georeference")
            options.georeference = true;
        else if (argument == "--export")
            options.exportFolder = value();
        else if (argument == "--identify-by-geometry")
            options.identifyByGeometry = true;
        else if (argument == "--help")
            options.help = true;
        else if (argument.empty())
            throw UsageError("a model's name is empty");
        else if (argument.starts_with("--"))
            throw UsageError("there is no option " + argument);
        else
            options.models.push_back(arguments[i]);
    }
    if (options.models.empty() && !options.help)
        throw UsageError("no model is named");
    return options;
}

std::vector<Velmor::WideString> modelsIn(const std::filesystem::path& folder) {
    constexpr std::size_t endingSize = 4; // of ".ifc"
    auto names = Velmor::FileOperations::ScanFilesInDirectory(wide(folder));
    std::erase_if(names, [](const Velmor::WideString& name) {
        // The matching never looks at the first character of a name, and takes a short one by its tail alone: "ifc", "xifc".
        return name.size() <= endingSize || !Velmor::FileOperations::MatchExtension(name, VELMOR_WIDE("*.ifc|*.IFC"));
    });
    std::sort(names.begin(), names.end()); // the system's order means nothing
    return names;
}

} // namespace importer::host
