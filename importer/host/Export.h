#pragma once

// The host's export: what was handed over of solids and textures, as files for other programs.

#include "importer/exchange/SolidRecords.h"
#include "importer/host/ImportHost.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace importer::host {

/// A name of a model as a part of a file name: letters of ASCII, digits, '-' and '_' as they are, one '_' for whatever
/// stands between them. It begins with a letter or a digit and is of bounded length; empty when nothing is left.
std::string fileNamePart(std::string_view name);

/// Gives the files of one kind their names: none is given twice, neither is any when upper and lower case are one.
class FileNames {
public:
    /// @param prefix what each name begins with; with a number behind it no name is that of a device.
    /// @param ending what each name ends with: ".obj".
    FileNames(std::string prefix, std::string ending) : prefix_(std::move(prefix)), ending_(std::move(ending)) {}

    /// The name of the next file: "workshop_123_Beam_B2.obj".
    /// @param instance number of its instance. When it was given before, "workshop_123-2_Beam_B2.obj".
    /// @param name     of the object, whatever it holds.
    std::string next(std::uint64_t instance, std::string_view name);

private:
    std::string prefix_;
    std::string ending_;
    std::map<std::uint64_t, std::uint64_t> uses_; // by the number of the instance
};

/// Tells models apart: gives each what the names of its files begin with, never the same, also when upper and lower case are
/// one.
class ModelPrefixes {
public:
    /// The prefix of the next model, by its file name: "my-model_". When it was given before, "my-model-2_". Its only '_' is
    /// its end, so that no file of another model is called like one of this.
    std::string next(const std::filesystem::path& model);

private:
    std::set<std::string> given_; // in lower case
};

/// A mesh as an OBJ file: a comment, the vertices, the triangles.
/// @param comment one line; nothing in it becomes more than a comment.
std::string objFile(const Mesh& mesh, std::string_view comment);

/// Writes a whole file. What stands there under its name, a link too, is removed before and never written through.
/// @throws ImportError when that fails; nothing is then left under the name.
void writeExported(const std::filesystem::path& file, std::string_view content);

/// Writes the solids and textures of the models of one run.
class Exporter {
public:
    /// @param folder made when it is missing; none: nothing is written.
    explicit Exporter(std::optional<std::filesystem::path> folder) : folder_(std::move(folder)) {}

    /// Writes each solid of a model as an OBJ file and each texture as a PNG file.
    /// @return what the host says about it: how many.
    /// @throws ImportError when a file cannot be written, or the host is interrupted. Those that are written stay.
    std::string write(const std::filesystem::path& model, const ImportResult& result);

private:
    std::optional<std::filesystem::path> folder_;
    ModelPrefixes prefixes_;
};

} // namespace importer::host
