#pragma once

// The host's parts: what it was asked for, the child that reads the model, and the report.

#include <Velmor/Velmor.h>

#include "importer/exchange/ProblemRecords.h"
#include "importer/host/Comparison.h"
#include "importer/host/Model.h"

#include <array>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace importer::host {

/// The import cannot be done: the message says why.
class ImportError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The command line is not understood: the message says why.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What the host was asked for.
struct Options {
    std::vector<std::filesystem::path> models;  ///< Or folders of them; in the order in which they are imported.
    std::optional<std::filesystem::path> state; ///< One folder for all of them, which makes them revisions of one another.
    std::filesystem::path importer;             ///< The program that reads the models.
    bool identifyByGeometry = false;            ///< Whether GlobalIds are ignored.
    std::vector<std::string> properties;        ///< GlobalIds of the objects whose properties are to be shown.
    bool georeference = false;                  ///< Whether the georeference is to be shown.
    std::optional<std::filesystem::path> exportFolder; ///< Where solids and textures are written; none: they are not.
    bool help = false;                                 ///< Whether only the usage is asked for.
};

/// What the usage error and --help print.
extern const char* const usageText;

/// Understands a command line.
/// @param arguments without the program's name.
/// @param importer  the importer when none is named.
/// @throws UsageError
Options parseArguments(const std::vector<std::filesystem::path>& arguments, const std::filesystem::path& importer);

/// The models of a folder, not of the folders in it: the names of its files that end in ".ifc", in capitals or not, and have
/// something before that. In their order, by the units of UTF-16.
/// @return empty when the folder cannot be read.
std::vector<Velmor::WideString> modelsIn(const std::filesystem::path& folder);

/// A stream that an importer has filled, for whoever needs it: its records were checked and come to the totals.
struct CheckedStream {
    std::unique_ptr<Velmor::FileStream> stream;
    StreamTotals totals;
};

/// What an importer handed over.
struct ImportResult {
    std::string schema;
    Model model;
    std::optional<Velmor::IFC4_MapConversion> georeference;
    std::uint64_t objectsWithoutClass = 0; ///< That came as IFCINVALID.
    std::vector<ProblemRecord> problems;   ///< The first of them.
    std::uint64_t problemCount = 0;        ///< Of all.
    CheckedStream solids;                  ///< SolidRecords.h tells how to read them.
    CheckedStream textures;
};

/// How many problems are kept for the report.
inline constexpr std::size_t maxReportedProblems = 10;

/// From now on a signal that asks the program to end (Ctrl-C, SIGTERM, SIGHUP) does not end it at once, but by the next call
/// of checkInterruption. A signal that is ignored stays ignored.
void catchInterruptions();

/// @throws ImportError when such a signal has come.
void checkInterruption();

/// Lets an importer read a model: the contract's environment with its sixteen streams, the child, its progress, the streams.
/// @throws ImportError when it does not come to its end, what it handed over is incomplete, or the host is interrupted. The
/// child has ended whatever happens.
ImportResult runImporter(const std::filesystem::path& importer, const std::filesystem::path& model);

/// What the host says about one import.
/// @param before what the previous import left; null at the first.
std::string report(const std::filesystem::path& model, const ImportResult& result, const Model* before,
                   const Comparison& comparison);

/// What the host says about a model that needs no import.
std::string reportUnchanged(const std::filesystem::path& model);

/// What the host says about the properties of one object.
/// @throws ImportError when the model has no object of this GlobalId.
std::string propertiesOf(const Model& model, const std::string& globalId);

/// What the host says about the georeference.
std::string georeferenceOf(const ImportResult& result);

} // namespace importer::host
