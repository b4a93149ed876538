#pragma once

// Writes the solids and textures of an import as files for other programs.

#include "importer/exchange/SolidRecords.h"
#include "importer/host/ImporterRun.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace importer::host {

/// Turns a name of the model into a part of a file name: ASCII letters, digits, '-' and '_' stay, each run of other
/// characters becomes one '_'. The result begins with a letter or a digit and has at most 40 characters; it may be empty.
std::string fileNamePart(std::string_view name);

/// Makes the names of all files with the same ending. All names differ, also on file systems that ignore case.
class FileNames {
public:
    /// @param prefix the beginning of each name. A number follows it, so that no file has the name of a Windows device.
    /// @param ending the end of each name: ".obj".
    FileNames(std::string prefix, std::string ending) : prefix_(std::move(prefix)), ending_(std::move(ending)) {}

    /// The name of the next file: "workshop_123_Beam_B2.obj".
    /// @param instance number of the instance. The second file of the same number is "workshop_123-2_Beam_B2.obj".
    /// @param name     the name of the object; any text.
    std::string next(std::uint64_t instance, std::string_view name);

private:
    std::string prefix_;
    std::string ending_;
    std::map<std::uint64_t, std::uint64_t> uses_; // by instance number
};

/// Makes the prefixes of the file names of each model. All prefixes differ, also on file systems that ignore case.
class ModelPrefixes {
public:
    /// The prefix of the next model, from its file name: "my-model_", the second time "my-model-2_". A prefix contains no
    /// other '_' than the one at its end, so that the file names of two models cannot be equal.
    std::string next(const std::filesystem::path& model);

private:
    std::set<std::string> used_; // in lower case
};

/// The text of an OBJ file: a comment, the vertices, the triangles.
/// @param comment any text; it becomes one comment line.
std::string objFile(const Mesh& mesh, std::string_view comment);

/// Writes a file. An existing file or link of that name is removed first; links are not followed.
/// @throws ImportError. No file of that name is then left.
void writeExported(const std::filesystem::path& file, std::string_view content);

/// Writes the solids and textures of the models of one run.
class Exporter {
public:
    /// @param folder created if missing. Without a folder nothing is written.
    explicit Exporter(std::optional<std::filesystem::path> folder) : folder_(std::move(folder)) {}

    /// Writes each solid of a model as an OBJ file and each texture as a PNG file.
    /// @return the line of the report.
    /// @throws ImportError when a file cannot be written or the host is interrupted. Files already written stay.
    std::string write(const std::filesystem::path& model, const ImportResult& result);

private:
    std::optional<std::filesystem::path> folder_;
    ModelPrefixes prefixes_;
};

} // namespace importer::host
