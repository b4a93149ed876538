// Where an image comes from.
//
// An IfcBlobTexture contains the PNG file as a binary. An IfcImageTexture contains the name of a file, and a model from an
// untrusted source must not be able to make the importer read any other file of the user. The name is therefore checked in
// three steps:
//
// 1. By its text: it must be relative, without "..", drives, URLs, device names of Windows, control characters, and parts
//    that Windows would change. The rules of all systems hold on every system. They are applied to the name as it is and to
//    the name with its URL escapes decoded.
// 2. By the file: after all links are resolved it must be in the folder of the model or below it. Only a file with a size
//    is opened. Pipes and devices, which may block, have none.
// 3. By its content: it must begin with the signature of a PNG file.

#include "importer/ifc/Textures.h"

#include <Velmor/Platform.h>
#include <Velmor/Text.h>

#include "importer/ifc/Attributes.h"
#include "importer/step/Text.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

namespace importer::ifc {

using namespace attribute;

namespace {

namespace fs = std::filesystem;
using Velmor::FileOperations;
using Velmor::FileStream;
using Velmor::WideChar;
using Velmor::WideString;
using WideView = std::basic_string_view<WideChar>;

constexpr std::string_view signature("\x89PNG\r\n\x1A\n", 8);

bool isPng(const std::vector<char>& image) {
    return std::string_view(image.data(), image.size()).starts_with(signature);
}

/// A name for a message.
std::string quoted(const WideString& name) {
    constexpr std::size_t maxLength = 80;
    const std::string text = Velmor::StringOperations::ConvertToUTF8(name.substr(0, maxLength));
    return "'" + text + (name.size() > maxLength ? "...'" : "'");
}

bool isSeparator(WideChar unit) {
    return unit == VELMOR_WIDE('/') || unit == VELMOR_WIDE('\\');
}

/// Whether a part of a path is the name of a device on Windows, in any folder and with any extension: "nul", "COM1.png".
bool isDevice(WideView part) {
    part = part.substr(0, part.find(VELMOR_WIDE('.')));
    part = part.substr(0, part.find_last_not_of(VELMOR_WIDE(' ')) + 1);
    std::string name;
    for (const WideChar unit : part) {
        // Windows treats the superscript digits 1 to 3 as digits in these names.
        const bool superscript = unit == 0xB9 || unit == 0xB2 || unit == 0xB3;
        name += superscript ? '1' : unit <= '~' ? static_cast<char>(unit) : '?';
    }
    name = capitals(name);
    if (name.size() == 4 && (name.starts_with("COM") || name.starts_with("LPT")))
        return isDigit(name[3]);
    static constexpr std::string_view devices[] = {"AUX", "CON", "CONIN$", "CONOUT$", "NUL", "PRN"};
    return std::find(std::begin(devices), std::end(devices), name) != std::end(devices);
}

/// The path of a file in the folder of the model or below it.
struct RelativePath {
    WideString path;
    WideString file; // its last part
};

/// Checks a name against the rules of all systems. A valid name denotes the same file on each of them.
/// @throws EntityError
RelativePath relativePath(const Record& record, const WideString& name, const std::string& shownName) {
    const auto refuse = [&](const char* why) {
        record.fail(shownName + " " + why + "; expected the relative path of a file in the folder of the model");
    };
    if (name.empty())
        refuse("is empty");
    if (isSeparator(name.front()))
        refuse("is absolute");
    if (name.find(VELMOR_WIDE(':')) != WideString::npos)
        refuse("contains a colon, like a drive or a URL");
    if (std::any_of(name.begin(), name.end(), [](WideChar unit) { return unit < ' ' || unit == 0x7F; }))
        refuse("contains control characters");
    RelativePath result;
    for (auto begin = name.begin(); begin != name.end();) {
        const auto end = std::find_if(begin, name.end(), isSeparator);
        const WideString part(begin, end);
        begin = end == name.end() ? end : end + 1;
        result.file.clear();
        if (part.empty() || part == VELMOR_WIDE("."))
            continue;
        if (part == VELMOR_WIDE(".."))
            refuse("leaves the folder of the model");
        if (part.back() == VELMOR_WIDE('.') || part.back() == VELMOR_WIDE(' '))
            refuse("has a part that ends with a dot or a space, which Windows removes");
        if (isDevice(part))
            refuse("is the name of a device on Windows");
        if (end == name.end())
            result.file = part;
        result.path += part;
        if (end != name.end())
            result.path += VELMOR_WIDE('/');
    }
    if (result.file.empty())
        refuse("does not name a file");
    return result;
}

/// Whether a file is in a folder or below it after all links are resolved. Both must exist.
bool isWithin(const WideString& folder, const WideString& file) {
    try {
        const fs::path outer = fs::canonical(systemPath(folder).parent_path()); // without its ending separator
        const fs::path inner = fs::canonical(systemPath(file));
        return std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end()).first == outer.end();
    } catch (const fs::filesystem_error&) {
        return false;
    }
}

/// Decodes the escapes of URLs, such as %20, as UTF-8. A percent sign without two digits is kept.
WideString withoutEscapes(const WideString& name) {
    const auto digitAt = [&name](std::size_t index) {
        return index < name.size() && name[index] <= '~' ? hexDigit(static_cast<char>(name[index])) : -1;
    };
    WideString result;
    std::string bytes; // of consecutive escapes: one character may take several
    for (std::size_t i = 0; i < name.size();) {
        if (name[i] == VELMOR_WIDE('%') && digitAt(i + 1) >= 0 && digitAt(i + 2) >= 0) {
            bytes += static_cast<char>(digitAt(i + 1) << 4 | digitAt(i + 2));
            i += 3;
            continue;
        }
        result += decodeUtf8(bytes);
        bytes.clear();
        result += name[i++];
    }
    return result + decodeUtf8(bytes);
}

} // namespace

std::optional<Texture> TextureReader::read(const Instance& instance) {
    context_.beginObject();
    if (entityOf(instance) == Entity::PixelTexture) {
        pixels_.add(instance);
        return std::nullopt;
    }
    const Record record(context_, instance);
    Texture texture;
    texture.instance = instance.number;
    texture.line = context_.file.lineAt(instance.offset);
    if (entityOf(instance) == Entity::ImageTexture)
        readImage(record, texture);
    else if (!readBlob(record, texture))
        return std::nullopt;
    return texture;
}

std::vector<Problem> TextureReader::remarks() const {
    std::vector<Problem> problems;
    const auto add = [&](const Count& count, const char* text) {
        if (count.first)
            problems.push_back({context_.file.lineAt(count.first->offset), count.first->number,
                                std::string(text) + std::to_string(count.textures)});
    };
    add(otherFormats_, "IFCBLOBTEXTURE: only PNG images are imported; textures in other formats: ");
    add(pixels_, "IFCPIXELTEXTURE: textures of this kind are not imported: ");
    return problems;
}

/// The position of an attribute after Parameter, which IFC2X3 does not have.
std::size_t TextureReader::positionOf(std::size_t attribute) const {
    return context_.file.schema().starts_with("IFC2X3") ? attribute - 1 : attribute;
}

/// @return false for another format than PNG.
bool TextureReader::readBlob(const Record& record, Texture& texture) {
    if (capitals(record.encodedText(positionOf(IfcBlobTexture::RasterFormat))) != "PNG") {
        otherFormats_.add(record.instance());
        return false;
    }
    const std::string_view code = record.binary(positionOf(IfcBlobTexture::RasterCode));
    checkSize(record, code.size() / 2);
    std::optional<std::vector<char>> image = decodeBinary(code);
    if (!image)
        record.fail("its binary is damaged; expected 0 and two hexadecimal digits for each byte");
    if (!isPng(*image))
        record.fail("its image does not begin with the signature of a PNG file");
    texture.png = std::move(*image);
    return true;
}

void TextureReader::readImage(const Record& record, Texture& texture) {
    const WideString name = decodeText(record.encodedText(positionOf(IfcImageTexture::URLReference)));
    readFile(record, findFile(record, name, texture), quoted(name), texture);
}

/// The path of an existing file in the folder of the model. Sets the name of the texture.
WideString TextureReader::findFile(const Record& record, const WideString& name, Texture& texture) const {
    const std::string shownName = quoted(name);
    RelativePath file = relativePath(record, name, shownName);
    const RelativePath unescaped = relativePath(record, withoutEscapes(name), shownName);
    if (folder_.empty())
        record.fail(shownName + " cannot be read: the folder of the model is unknown");
    // A file may have a percent sign in its name: escapes are decoded only if there is no file with the name as it is.
    if (!FileOperations::Exists(folder_ + file.path))
        file = unescaped;
    const WideString path = folder_ + file.path;
    if (!FileOperations::Exists(path))
        record.fail(shownName + ": file not found in the folder of the model");
    if (!isWithin(folder_, path))
        record.fail(shownName +
                    " leaves the folder of the model through a link; expected the relative path of a file in that folder");
    texture.name = Velmor::StringOperations::ConvertToUTF8(file.file);
    return path;
}

void TextureReader::readFile(const Record& record, const WideString& path, const std::string& shownName, Texture& texture) {
    // Folders, pipes and devices have no size. They are not opened: reading from them may block.
    const auto size = static_cast<std::uint64_t>(FileOperations::GetFileSize(path));
    if (size < signature.size())
        record.fail(shownName + " is not a PNG file");
    const std::unique_ptr<FileStream> stream(FileStream::openFileForReading(path));
    if (stream->getHandle() == Velmor::ProcessOperations::InvalidHandle() || !stream->read(signature.size(), texture.png))
        record.fail(shownName + " cannot be read");
    if (!isPng(texture.png))
        record.fail(shownName + " is not a PNG file");
    checkSize(record, size);
    context_.charge(size);
    stream->seekToBegin();
    if (!stream->read(size, texture.png) || texture.png.size() != size)
        record.fail(shownName + " cannot be read");
}

void TextureReader::checkSize(const Record& record, std::uint64_t size) const {
    if (size > context_.limits.bytesPerTexture)
        record.fail("the image has " + std::to_string(size) + " bytes; expected at most " +
                    std::to_string(context_.limits.bytesPerTexture));
}

} // namespace importer::ifc
