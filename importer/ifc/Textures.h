#pragma once

// The images of a model: embedded images and image files.

#include "importer/ifc/Record.h"

#include <optional>
#include <vector>

namespace importer::ifc {

/// Reads the textures of a model one after the other. Only PNG images are imported.
class TextureReader {
public:
    /// @param folder of the model, with its ending separator. If it is empty, image files cannot be read.
    TextureReader(IfcContext& context, Velmor::WideString folder) : context_(context), folder_(std::move(folder)) {}

    /// Reads an IfcBlobTexture, IfcImageTexture or IfcPixelTexture.
    ///
    /// A model may come from an untrusted source. An image file is therefore read only from the folder of the model or from
    /// a folder below it. A symbolic link is followed only if its target is in that folder. (The standard library of mingw
    /// does not resolve links; there the system follows them.)
    /// @return nothing for a texture that is not imported and only counted for `remarks`.
    /// @throws EntityError if the texture has no valid PNG image.
    /// @throws LimitExceeded
    std::optional<Texture> read(const Instance& instance);

    /// The textures that were not imported: one problem for each kind, at the first texture of that kind.
    std::vector<Problem> remarks() const;

private:
    struct Count {
        std::uint64_t textures = 0;
        const Instance* first = nullptr;

        void add(const Instance& instance) {
            if (textures++ == 0)
                first = &instance;
        }
    };

    bool readBlob(const Record& record, Texture& texture);
    void readImage(const Record& record, Texture& texture);
    std::size_t positionOf(std::size_t attribute) const;
    Velmor::WideString findFile(const Record& record, const Velmor::WideString& name, Texture& texture) const;
    void readFile(const Record& record, const Velmor::WideString& path, const std::string& shownName, Texture& texture);
    void checkSize(const Record& record, std::uint64_t size) const;

    IfcContext& context_;
    const Velmor::WideString folder_;
    Count otherFormats_;
    Count pixels_;
};

} // namespace importer::ifc
