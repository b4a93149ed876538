#pragma once

// The images of a model, those within it and those beside it.

#include "importer/ifc/Record.h"

#include <optional>
#include <vector>

namespace importer::ifc {

/// Reads the textures of a model one after the other. PNG images alone are carried.
class TextureReader {
public:
    /// @param folder where the images beside the model are, with its ending separator; empty when they cannot be had.
    TextureReader(IfcContext& context, Velmor::WideString folder) : context_(context), folder_(std::move(folder)) {}

    /// Reads an IfcBlobTexture, IfcImageTexture or IfcPixelTexture.
    ///
    /// A model comes from anywhere: the name of an image leads to a file in the folder of the model, or in one below it, and
    /// nowhere else. Links within that folder are followed only where they stay in it (on Windows, where the standard
    /// library does not see through them, as the system does it).
    /// @return nothing for what is only counted.
    /// @throws EntityError when there is no PNG image.
    /// @throws LimitExceeded
    std::optional<Texture> read(const Instance& instance);

    /// What was met up to now and is not carried: one problem for each kind, at the first one.
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

    bool readBlob(const Record& record, std::size_t index, Texture& texture);
    void readImage(const Record& record, std::size_t index, Texture& texture);
    void checkSize(const Record& record, std::uint64_t size) const;

    IfcContext& context_;
    const Velmor::WideString folder_;
    Count otherFormats_;
    Count pixels_;
};

} // namespace importer::ifc
