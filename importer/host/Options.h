#pragma once

#include <Velmor/WideText.h>

#include "importer/host/Errors.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace importer::host {

/// The command line of the host.
struct Options {
    std::vector<std::filesystem::path> models;         ///< Models and folders of models, in the order of the import.
    std::optional<std::filesystem::path> state;        ///< One state folder for all models.
    std::filesystem::path importer;                    ///< The program that reads the models.
    bool identifyByGeometry = false;                   ///< Ignore GlobalIds.
    std::vector<std::string> properties;               ///< GlobalIds of the objects whose properties are printed.
    bool georeference = false;                         ///< Print the georeference.
    std::optional<std::filesystem::path> exportFolder; ///< Folder for solids and textures.
    bool help = false;                                 ///< Print the usage only.
};

/// The text of --help, which also follows a usage error.
extern const char* const usageText;

/// Parses a command line.
/// @param arguments without the program's name.
/// @param importer  the importer program if no option names one.
/// @throws UsageError
Options parseArguments(const std::vector<std::filesystem::path>& arguments, const std::filesystem::path& importer);

/// The models of a folder, without its subfolders: the names of the files that end in ".ifc" (case-insensitive) and are
/// longer than that, sorted by UTF-16 code units.
/// @return empty when the folder cannot be read.
std::vector<Velmor::WideString> modelsIn(const std::filesystem::path& folder);

} // namespace importer::host
