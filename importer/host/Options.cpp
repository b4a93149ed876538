#include "importer/host/Options.h"

#include <Velmor/Files.h>

#include "importer/exchange/Text.h"

#include <algorithm>

namespace importer::host {

using namespace exchange;

const char* const usageText =
    "usage: import_host MODEL... [--state DIR] [--identify-by-geometry] [--importer PROGRAM]\n"
    "                   [--properties GLOBALID]... [--georeference] [--export DIR]\n"
    "\n"
    "Imports IFC models and reports what changed since the previous import of each model. A model whose content has\n"
    "not changed is not imported again, unless --properties, --georeference or --export is given. If MODEL is a folder,\n"
    "all models in it (*.ifc, sorted by name, without subfolders) are imported; if one of them fails, the import\n"
    "continues with the next one.\n"
    "\n"
    "  --state DIR             store the imported model in DIR. All models of this run are then revisions of one another.\n"
    "                          Default: import-state/<file name> in the current folder. Only the file name counts:\n"
    "                          a/model.ifc and b/model.ifc are revisions of one another.\n"
    "  --identify-by-geometry  ignore GlobalIds; objects are the same if they have the same geometry in the same place\n"
    "  --properties GLOBALID   print class, name and all property sets of the object with this GlobalId, which must exist\n"
    "                          in every model; may be repeated\n"
    "  --georeference          print the map conversion and the projected coordinate reference system\n"
    "  --export DIR            write each closed solid as an OBJ file and each texture as a PNG file to DIR\n"
    "  --importer PROGRAM      the program that reads the models. Default: ifc_importer in the folder of this program\n"
    "  --help                  print this text\n";

Options parseArguments(const std::vector<std::filesystem::path>& arguments, const std::filesystem::path& importer) {
    Options options;
    options.importer = importer;
    for (const std::filesystem::path& argument : arguments) {
        try {
            wide(argument);
        } catch (const std::filesystem::filesystem_error&) {
            throw UsageError("argument '" + utf8(argument) + "' is not UTF-8 text");
        }
    }
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string argument = utf8(arguments[i]);
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
            throw UsageError("the name of a model is empty");
        else if (argument.starts_with("--"))
            throw UsageError("unknown option " + argument);
        else
            options.models.push_back(arguments[i]);
    }
    if (options.models.empty() && !options.help)
        throw UsageError("no model is given");
    return options;
}

std::vector<Velmor::WideString> modelsIn(const std::filesystem::path& folder) {
    constexpr std::size_t endingLength = 4; // of ".ifc"
    std::vector<Velmor::WideString> names = Velmor::FileOperations::ScanFilesInDirectory(wide(folder));
    std::erase_if(names, [](const Velmor::WideString& name) {
        // MatchExtension ignores the first character of a name, and accepts names that are too short, such as "ifc".
        return name.size() <= endingLength || !Velmor::FileOperations::MatchExtension(name, VELMOR_WIDE("*.ifc|*.IFC"));
    });
    std::sort(names.begin(), names.end()); // the order of the file system is arbitrary
    return names;
}

} // namespace importer::host
