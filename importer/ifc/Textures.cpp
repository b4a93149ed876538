#include "importer/ifc/Textures.h"

#include <Velmor/Platform.h>
#include <Velmor/Text.h>

#include "importer/step/Text.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

namespace importer::ifc {

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
    constexpr std::size_t most = 80;
    const std::string text = Velmor::StringOperations::ConvertToUTF8(name.substr(0, most));
    return "'" + text + (name.size() > most ? "...'" : "'");
}

bool isSeparator(WideChar unit) {
    return unit == VELMOR_WIDE('/') || unit == VELMOR_WIDE('\\');
}

/// Whether a part of a path names a device on Windows, in every folder and with any extension: "nul", "COM1.png".
bool isDevice(WideView part) {
    part = part.substr(0, part.find(VELMOR_WIDE('.')));
    part = part.substr(0, part.find_last_not_of(VELMOR_WIDE(' ')) + 1);
    std::string name;
    for (const WideChar unit : part) {
        // Superscript digits are digits to Windows.
        const bool superscript = unit == 0xB9 || unit == 0xB2 || unit == 0xB3;
        name += superscript ? '1' : unit <= '~' ? static_cast<char>(unit) : '?';
    }
    name = capitals(name);
    if (name.size() == 4 && (name.starts_with("COM") || name.starts_with("LPT")))
        return isDigit(name[3]);
    static constexpr std::string_view devices[] = {"AUX", "CON", "CONIN$", "CONOUT$", "NUL", "PRN"};
    return std::find(std::begin(devices), std::end(devices), name) != std::end(devices);
}

/// A file in the folder of the model or below it.
struct PathBeside {
    WideString path; // relative
    WideString file; // the last part
};

/// Checks a name against the rules of all systems, so that it leads to the same file on each of them or to none.
/// @throws EntityError
PathBeside pathBeside(const Record& record, const WideString& name, const std::string& shown) {
    const auto refuse = [&](const char* why) {
        record.fail(shown + " " + why + "; expected the relative path of a file beside the model");
    };
    if (name.empty())
        refuse("is empty");
    if (isSeparator(name.front()))
        refuse("is absolute");
    if (name.find(VELMOR_WIDE(':')) != WideString::npos)
        refuse("has a colon, as drives and URLs have");
    if (std::any_of(name.begin(), name.end(), [](WideChar unit) { return unit < ' ' || unit == 0x7F; }))
        refuse("has control characters");
    PathBeside result;
    for (auto begin = name.begin(); begin != name.end();) {
        const auto end = std::find_if(begin, name.end(), isSeparator);
        const WideString part(begin, end);
        begin = end == name.end() ? end : end + 1;
        result.file.clear();
        if (part.empty() || part == VELMOR_WIDE("."))
            continue;
        if (part == VELMOR_WIDE(".."))
            refuse("leads out of its folder");
        if (part.back() == VELMOR_WIDE('.') || part.back() == VELMOR_WIDE(' '))
            refuse("has a part that ends with a dot or a space, which Windows would drop");
        if (isDevice(part))
            refuse("names a device");
        if (end == name.end())
            result.file = part;
        result.path += part;
        if (end != name.end())
            result.path += VELMOR_WIDE('/');
    }
    if (result.file.empty())
        refuse("names no file");
    return result;
}

/// Whether a file lies in a folder or below it when all links on the way are followed. Both must exist.
bool liesWithin(const WideString& folder, const WideString& file) {
    try {
        const fs::path outer = fs::canonical(systemPath(folder).parent_path()); // without its ending separator
        const fs::path inner = fs::canonical(systemPath(file));
        return std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end()).first == outer.end();
    } catch (const fs::filesystem_error&) {
        return false; // nobody can tell
    }
}

/// A name with the escapes of URLs, such as %20, decoded as UTF-8. A percent sign without two digits stands for itself.
WideString withoutEscapes(const WideString& name) {
    const auto digitAt = [&name](std::size_t index) {
        return index < name.size() && name[index] <= '~' ? hexDigit(static_cast<char>(name[index])) : -1;
    };
    WideString result;
    std::string bytes; // of the escapes that follow each other: one character may take several
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
    context_.beginProduct();
    if (entityOf(instance) == Entity::PixelTexture) {
        pixels_.add(instance);
        return std::nullopt;
    }
    const Record record(context_, instance);
    Texture texture;
    texture.instance = instance.number;
    texture.line = context_.file.lineAt(instance.offset);
    // Before what is their own, textures have four attributes in IFC2X3, and a list of parameters as well since IFC4.
    const std::size_t own = context_.file.schema().starts_with("IFC2X3") ? 4 : 5;
    if (entityOf(instance) == Entity::ImageTexture)
        readImage(record, own, texture);
    else if (!readBlob(record, own, texture))
        return std::nullopt;
    return texture;
}

std::vector<Problem> TextureReader::remarks() const {
    std::vector<Problem> problems;
    const auto add = [&](const Count& count, const char* text) {
        if (count.first)
            problems.push_back({context_.file.lineAt(count.first->offset), count.first->number,
                                std::string(text) + ": " + std::to_string(count.textures)});
    };
    add(otherFormats_, "IFCBLOBTEXTURE: formats other than PNG are not carried");
    add(pixels_, "IFCPIXELTEXTURE: textures of this kind are not carried");
    return problems;
}

/// @return whether it is a PNG image.
bool TextureReader::readBlob(const Record& record, std::size_t index, Texture& texture) {
    if (capitals(record.encodedText(index)) != "PNG") {
        otherFormats_.add(record.instance());
        return false;
    }
    const std::string_view code = record.binary(index + 1);
    checkSize(record, code.size() / 2);
    std::optional<std::vector<char>> image = decodeBinary(code);
    if (!image)
        record.fail("its binary is damaged; expected 0 and two hexadecimal digits for each byte");
    if (!isPng(*image))
        record.fail("it does not begin as a PNG image does");
    texture.png = std::move(*image);
    return true;
}

void TextureReader::readImage(const Record& record, std::size_t index, Texture& texture) {
    const WideString name = decodeText(record.encodedText(index));
    const std::string shown = quoted(name);
    PathBeside beside = pathBeside(record, name, shown);
    const PathBeside unescaped = pathBeside(record, withoutEscapes(name), shown);
    if (folder_.empty())
        record.fail(shown + " cannot be had: the folder of the model is not known");
    // A file may well have a percent sign in its name: the name as it stands goes first, and only when nothing is there does
    // it count with its escapes decoded.
    if (!FileOperations::Exists(folder_ + beside.path))
        beside = unescaped;
    const WideString path = folder_ + beside.path;
    if (!FileOperations::Exists(path))
        record.fail(shown + ": there is no such file beside the model");
    // A model may come with links of its own making; whatever else they lead to is none of its images.
    if (!liesWithin(folder_, path))
        record.fail(shown + " leads out of its folder by a link; expected the relative path of a file beside the model");
    // Folders and what is no file but waits for somebody, a pipe for instance, have no size; they are not opened.
    const auto size = static_cast<std::uint64_t>(FileOperations::GetFileSize(path));
    if (size < signature.size())
        record.fail(shown + " is no PNG file");
    const std::unique_ptr<FileStream> stream(FileStream::openFileForReading(path));
    if (stream->getHandle() == Velmor::ProcessOperations::InvalidHandle() || !stream->read(signature.size(), texture.png))
        record.fail(shown + " cannot be read");
    if (!isPng(texture.png))
        record.fail(shown + " is no PNG file");
    checkSize(record, size);
    context_.charge(size);
    stream->seekToBegin();
    if (!stream->read(size, texture.png) || texture.png.size() != size)
        record.fail(shown + " cannot be read");
    texture.name = Velmor::StringOperations::ConvertToUTF8(beside.file);
}

void TextureReader::checkSize(const Record& record, std::uint64_t size) const {
    if (size > context_.limits.bytesPerTexture)
        record.fail("the image has " + std::to_string(size) + " bytes; expected at most " +
                    std::to_string(context_.limits.bytesPerTexture));
}

} // namespace importer::ifc
