#include "IfcReader.h"

#include "IfcPlacement.h"
#include "IfcShape.h"
#include "IfcUnits.h"
#include "StepText.h"

#include <Velmor/Text.h>

#include <string>

namespace importer {

namespace {

/// Share of the work that is done when the file's instances are known.
constexpr double scanned = 0.3;

/// Problems beyond this many are only counted.
constexpr std::uint64_t mostProblems = 100000;

class ProductReader {
public:
    ProductReader(const StepFile& file, const Limits& limits, ModelSink& sink)
        : context_(file, limits), file_(file), sink_(sink) {}

    void readAll();

private:
    void read(const Instance& instance);
    void readAttributes(const Record& record, Product& product);
    void tell(const Problem& problem);
    void tell(const Instance& instance, const std::string& reason);
    void tellNotes(const std::string& owner);

    IfcContext context_;
    const StepFile& file_;
    ModelSink& sink_;
    std::uint64_t problems_ = 0;
};

void ProductReader::readAll() {
    sink_.schema(file_.schema());
    for (const Problem& problem : file_.problems())
        tell(problem);
    context_.beginProduct();
    try {
        readUnits(context_);
    } catch (const TooMuch&) {
        context_.note(file_.instances().front(), "the units take more work than a file of this size may ask for");
    }
    tellNotes("the model's units");
    sink_.progress(scanned);
    const auto& products = file_.products();
    constexpr std::size_t steps = 200;
    for (std::size_t i = 0; i < products.size(); ++i) {
        read(*products[i]);
        if ((i + 1) * steps / products.size() != i * steps / products.size())
            sink_.progress(scanned + (1.0 - scanned) * static_cast<double>(i + 1) / static_cast<double>(products.size()));
    }
    if (problems_ > mostProblems)
        sink_.problem({0, 0, "and " + std::to_string(problems_ - mostProblems) + " more problems"});
    sink_.progress(1.0);
}

void ProductReader::read(const Instance& instance) {
    Product product;
    product.instance = instance.number;
    product.line = file_.lineAt(instance.offset);
    product.className = capitals(file_.nameOf(instance));
    context_.beginProduct();
    try {
        const Record record(context_, instance);
        readAttributes(record, product);
        const Instance* placement = record.optionalReference(5);
        const Transform inModel = placement ? readObjectPlacement(context_, *placement) : Transform();
        if (const Instance* shape = record.optionalReference(6))
            readShape(context_, *shape, Transform::scaling(context_.lengthUnit) * inModel, product);
    } catch (const Fault& fault) {
        context_.note(*fault.instance, fault.reason);
    } catch (const TooMuch& tooMuch) {
        // Part of a shape would look like another one.
        product.shape = Shape::None;
        product.vertexes = {};
        product.volume = 0.0;
        context_.note(instance, tooMuch.reason);
    }
    tellNotes(product.className + " #" + std::to_string(product.instance));
    sink_.product(std::move(product));
}

void ProductReader::readAttributes(const Record& record, Product& product) {
    const auto text = [&](std::size_t index, const char* what) {
        const Value& value = record[index];
        if (value.kind != ValueKind::Text && value.kind != ValueKind::Omitted)
            context_.note(record.instance(), std::string(what) + " is no text");
        return value.kind == ValueKind::Text ? decodeText(value.text) : Velmor::WideString();
    };
    product.globalId = Velmor::StringOperations::ConvertToUTF8(text(0, "its GlobalId"));
    product.name = text(2, "its name");
    constexpr std::size_t fewest = 7;
    if (record.count() < fewest)
        record.fault("has " + std::to_string(record.count()) + " arguments; expected " + std::to_string(fewest) +
                     " or more");
}

void ProductReader::tell(const Problem& problem) {
    if (problems_++ < mostProblems)
        sink_.problem(problem);
}

void ProductReader::tell(const Instance& instance, const std::string& reason) {
    tell(Problem{file_.lineAt(instance.offset), instance.number, reason});
}

void ProductReader::tellNotes(const std::string& owner) {
    for (const Fault& note : context_.notes()) {
        const std::string name = capitals(file_.nameOf(*note.instance));
        std::string reason = name.empty() ? name : name + ": ";
        reason.append(note.reason).append(" (in ").append(owner).append(")");
        tell(*note.instance, reason);
    }
    if (context_.moreNotes() != 0)
        tell(*context_.notes().back().instance, "and " + std::to_string(context_.moreNotes()) + " more (in " + owner + ")");
}

} // namespace

void readProducts(const StepFile& file, const Limits& limits, ModelSink& sink) {
    ProductReader(file, limits, sink).readAll();
}

void readIfcModel(const Velmor::WideString& path, ModelSink& sink) {
    const StepFile file = StepFile::open(path);
    readProducts(file, Limits::forFile(file.size()), sink);
}

} // namespace importer
