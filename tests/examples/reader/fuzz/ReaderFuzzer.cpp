// Any bytes as a model: the reader hands over finite numbers or refuses, and neither crashes nor hangs.

#include "IfcReader.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

class Checker : public importer::ModelSink {
public:
    void schema(const std::string&) override {}
    void product(importer::Product&& product) override {
        for (const double coordinate : product.vertexes) {
            if (!std::isfinite(coordinate))
                std::abort();
        }
        if (product.shape == importer::Shape::Solid && !(product.volume > 0.0))
            std::abort();
    }
    void problem(const importer::Problem& problem) override {
        if (problem.reason.empty())
            std::abort();
    }
    void progress(double done) override {
        if (!(done >= last_ && done <= 1.0))
            std::abort();
        last_ = done;
    }

private:
    double last_ = 0.0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Checker checker;
    try {
        const importer::StepFile file(std::vector<char>(data, data + size), "fuzzed");
        importer::readProducts(file, {10000, 1 << 22, 1 << 23}, checker);
    } catch (const importer::ModelError&) {
        // What makes the import meaningless.
    }
    return 0;
}
