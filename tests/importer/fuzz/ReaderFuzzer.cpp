// Reads any bytes as a model. The reader must reject them with a FileError or pass valid objects on, without crashing or
// hanging.

#include "importer/ifc/Reader.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::string_view signature("\x89PNG\r\n\x1A\n", 8);

void writeImage(const std::filesystem::path& path, const char* tail) {
    std::ofstream(path, std::ios::binary) << signature << tail;
}

/// A folder for the models with images in it and below it. Another image is outside and must never be read.
Velmor::WideString folderOfModels() {
    const auto folder = std::filesystem::temp_directory_path() / "velmor-reader-fuzzer";
    std::filesystem::create_directories(folder / "model" / "textures");
    writeImage(folder / "o.png", "outside");
    writeImage(folder / "model" / "i.png", "inside");
    writeImage(folder / "model" / "textures" / "i.png", "inside");
    return (folder / "model" / "").u16string();
}

/// Aborts if an object is invalid.
class Checker : public importer::ifc::ModelSink {
public:
    void schema(const std::string&) override {}
    void georeference(const Velmor::IFC4_MapConversion& conversion) override {
        if (!std::isfinite(conversion.getEastings()) || !(conversion.getMapProjection().getScaleToMetric() > 0.0))
            std::abort();
    }
    void propertySet(Velmor::IFC2X3_PSet_Custom_s&& set) override {
        ++sets_;
        check(set.properties);
    }
    void texture(importer::ifc::Texture&& texture) override {
        const std::string_view png(texture.png.data(), texture.png.size());
        if (!png.starts_with(signature) || (!texture.name.empty() && png != std::string(signature) + "inside"))
            std::abort();
    }
    void product(importer::ifc::Product&& product) override {
        for (const std::uint32_t set : product.propertySets) {
            if (set >= sets_)
                std::abort();
        }
        for (const double coordinate : product.vertices) {
            if (!std::isfinite(coordinate))
                std::abort();
        }
        if (product.shape == importer::ifc::Shape::Solid && !(product.volume > 0.0))
            std::abort();
    }
    void problem(const importer::step::Problem& problem) override {
        if (problem.reason.empty())
            std::abort();
    }
    void progress(double done) override {
        if (!(done >= last_ && done <= 1.0))
            std::abort();
        last_ = done;
    }

private:
    static void check(const Velmor::IFC2X3PropertySet& set) {
        for (unsigned i = 0; i < set.getCount(); ++i) {
            const Velmor::IFC2X3Property& property = set.getProperty(i);
            const auto type = property.getPropertySingleValue().getValueType();
            if (type == Velmor::IFC2X3PropertySingleValue::Real &&
                !std::isfinite(property.getPropertySingleValue().getRealValue()))
                std::abort();
            check(property.getPropertyComplex().getPropertySet());
        }
    }

    std::uint32_t sets_ = 0;
    double last_ = 0.0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Velmor::WideString folder = folderOfModels();
    Checker checker;
    try {
        const importer::step::File file(std::vector<char>(data, data + size), "fuzzed", importer::ifc::application);
        importer::ifc::readProducts(file, {10000, 1 << 22, 1 << 23, 1000, 1 << 22, 1000}, checker, folder);
    } catch (const importer::step::FileError&) {
        // The bytes are not a STEP file.
    }
    return 0;
}
