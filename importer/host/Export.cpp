#include "importer/host/Export.h"

#include "importer/exchange/Text.h"
#include "importer/host/Interruption.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <memory>
#include <system_error>

namespace importer::host {

namespace {

namespace fs = std::filesystem;
using Velmor::FileStream;

constexpr std::size_t maxPartLength = 40;       // of a name in a file name, in characters
constexpr std::size_t maxNameBytes = 200;       // of a name in a comment
constexpr std::size_t writeBlockSize = 1 << 20; // bytes per call of the system

template <typename Number>
void appendNumber(std::string& out, Number number) {
    char text[32]; // to_chars writes the shortest text that parses back to the same double
    out += ' ';
    out.append(text, std::to_chars(std::begin(text), std::end(text), number).ptr);
}

std::string globalIdOf(const ObjectRecord& object) {
    const bool hasGlobalId = object.globalId.getType() == Velmor::ExternalGUID::IFCGlobalID;
    return hasGlobalId ? object.globalId.getIFCGlobalID() : "no GlobalId";
}

// "IFCBEAM 'Beam B2' (0Workshop0Beam000000B2)"
std::string description(const ObjectRecord& object) {
    return object.className + " '" + shortened(object.name, maxNameBytes) + "' (" + globalIdOf(object) + ')';
}

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c); });
    return text;
}

// A write may be shorter than requested without an error, so the size of the file is checked.
bool writeBlocks(const fs::path& file, std::string_view content) {
    {
        const std::unique_ptr<FileStream> stream(FileStream::createFileForWriting(wide(file)));
        if (stream->getHandle() == Velmor::ProcessOperations::InvalidHandle())
            return false;
        for (std::size_t at = 0; at < content.size(); at += writeBlockSize) {
            const std::string_view block = content.substr(at, writeBlockSize);
            if (!stream->write(block.size(), block.data()))
                return false;
        }
    }
    std::error_code error;
    return fs::file_size(file, error) == content.size();
}

} // namespace

std::string fileNamePart(std::string_view name) {
    const auto isAlphanumeric = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    };
    std::string part;
    for (const char c : name) {
        if (isAlphanumeric(c) || (!part.empty() && (c == '-' || c == '_')))
            part += c;
        else if (!part.empty() && part.back() != '_')
            part += '_';
        if (part.size() == maxPartLength)
            break;
    }
    part.erase(part.find_last_not_of('_') + 1);
    return part;
}

std::string FileNames::next(std::uint64_t instance, std::string_view name) {
    const std::uint64_t use = ++uses_[instance];
    const std::string part = fileNamePart(name);
    return prefix_ + std::to_string(instance) + (use > 1 ? '-' + std::to_string(use) : std::string()) +
           (part.empty() ? part : '_' + part) + ending_;
}

std::string ModelPrefixes::next(const fs::path& model) {
    std::string part = fileNamePart(utf8(model.stem()));
    if (part.empty())
        part = "model";
    std::replace(part.begin(), part.end(), '_', '-');
    std::string unique = part;
    for (std::uint64_t use = 2; !used_.insert(lowerCase(unique)).second; ++use)
        unique = part + '-' + std::to_string(use);
    return unique + '_';
}

std::string objFile(const Mesh& mesh, std::string_view comment) {
    // The # at the end: a backslash at the end would continue the comment on the next line.
    std::string out = "# " + printable(comment) + " #\n";
    for (std::size_t i = 0; i < mesh.vertices.size(); i += 3) {
        out += 'v';
        std::for_each_n(&mesh.vertices[i], 3, [&out](double coordinate) { appendNumber(out, coordinate); });
        out += '\n';
    }
    for (std::size_t i = 0; i < mesh.triangles.size(); i += 3) {
        out += 'f';
        std::for_each_n(&mesh.triangles[i], 3, [&out](std::uint64_t index) { appendNumber(out, index + 1); });
        out += '\n';
    }
    return out;
}

// Not safe against another process that can write to the folder: it could create a link after the old file is removed and
// before the new one is created. FileStream has no mode that fails if the file exists.
void writeExported(const fs::path& file, std::string_view content) {
    std::error_code error;
    if (fs::is_directory(fs::symlink_status(file, error)))
        throw ImportError("cannot export to " + utf8(file) + ": a folder of that name exists");
    // Removes a link itself, not its target.
    fs::remove(file, error);
    if (error)
        throw ImportError("cannot export to " + utf8(file) + ": the existing file cannot be removed: " + error.message());
    if (!writeBlocks(file, content)) {
        fs::remove(file, error);
        throw ImportError("cannot export to " + utf8(file) + "; check that the disk is not full and the folder is writable");
    }
}

std::string Exporter::write(const fs::path& model, const ImportResult& result) {
    if (!folder_)
        return {};
    const fs::path& folder = *folder_;
    const std::string prefix = prefixes_.next(model);
    std::error_code error;
    fs::create_directories(folder, error);
    std::error_code ignored;
    if (!fs::is_directory(folder, ignored))
        throw ImportError("cannot export to " + utf8(folder) + ": the folder cannot be created: " + error.message());
    FileNames objNames(prefix, ".obj");
    RecordReader solids(*result.solids.stream, "the solids stream");
    const std::vector<ObjectRecord>& objects = result.model.objects;
    readSolids(solids, result.solids.totals, objects.size(), [&](std::uint64_t number, const Mesh& mesh) {
        checkInterruption();
        const ObjectRecord& object = objects[static_cast<std::size_t>(number)];
        writeExported(folder / objNames.next(object.instance, object.name), objFile(mesh, description(object)));
    });
    FileNames pngNames(prefix, ".png");
    RecordReader textures(*result.textures.stream, "the textures stream");
    readTextures(textures, result.textures.totals, [&](const TextureRecord& texture) {
        checkInterruption();
        const std::vector<char>& png = texture.png.getData();
        const std::string_view name =
            std::string_view(texture.name).substr(0, texture.name.rfind('.')); // without its extension
        writeExported(folder / pngNames.next(texture.instance, name), {png.data(), png.size()});
    });
    return "exported to " + utf8(folder) + ": solids " + std::to_string(solids.totals().records) + ", textures " +
           std::to_string(textures.totals().records) + '\n';
}

} // namespace importer::host
