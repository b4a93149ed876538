// The order of reading. Everything that products refer to is read before the products, so that the sink can process each
// product when it receives it. Only the text of the file stays in memory:
//
// 1. the schema, and the damaged instances that the scanner found,
// 2. the units and the georeference,
// 3. the property sets, in the order of the file, which numbers them,
// 4. the relations between products and property sets,
// 5. the textures, in the order of the file,
// 6. the products, in the order of the file: attributes, placement, shape, and the numbers of their property sets.
//
// Each object is read on its own. An error is noted in the context while the object is read; afterwards the notes become
// problems, with the object that they belong to: "IFCCARTESIANPOINT: ... (in IFCBEAM #10)". Shapes, properties and textures
// have separate contexts, so that the work of one kind does not use up the limit of another.

#include "importer/ifc/Reader.h"

#include <Velmor/Platform.h>
#include <Velmor/Text.h>

#include "importer/ifc/Attributes.h"
#include "importer/ifc/Classes.h"
#include "importer/ifc/Georeference.h"
#include "importer/ifc/Placement.h"
#include "importer/ifc/Textures.h"
#include "importer/ifc/Units.h"
#include "importer/ifc/property/Properties.h"
#include "importer/ifc/property/Relations.h"
#include "importer/ifc/shape/Shape.h"

#include <string>
#include <unordered_map>

namespace importer::ifc {

using namespace attribute;

namespace {

/// The share of the work that is done when the file is scanned.
constexpr double shareOfScan = 0.3;

/// Further problems are only counted.
constexpr std::uint64_t maxProblems = 100000;

Limits withWork(Limits limits, std::uint64_t work) {
    limits.work = work;
    limits.workPerProduct = work;
    return limits;
}

class ModelReader {
public:
    ModelReader(const step::File& file, const Limits& limits, ModelSink& sink, const Velmor::WideString& folder)
        : context_(file, limits), propertyContext_(file, withWork(limits, limits.workOfProperties)),
          textureContext_(file, withWork(limits, limits.workOfTextures)), file_(file), sink_(sink), folder_(folder),
          products_(instancesOf(file, {Entity::Product})), sets_(instancesOf(file, {Entity::PropertySet})),
          textures_(instancesOf(file, {Entity::BlobTexture, Entity::ImageTexture, Entity::PixelTexture})),
          relations_(propertyContext_, products_, sets_), steps_(sets_.size() + textures_.size() + products_.size()) {}

    void readAll();

private:
    void readUnitsOfModel();
    void readGeoreferenceOfModel();
    void readSets();
    void readRelations();
    void readTextures();
    void readProduct(std::size_t index);
    void readAttributes(const Record& record, Product& product);
    void readPlacedShape(const Record& record, Product& product);
    void finishStep();
    void report(const Problem& problem);
    void report(const Instance& instance, const std::string& reason);
    void reportNotes(IfcContext& context, const std::string& owner);

    IfcContext context_;
    IfcContext propertyContext_;
    IfcContext textureContext_;
    const step::File& file_;
    ModelSink& sink_;
    const Velmor::WideString& folder_;
    const std::vector<const Instance*> products_;
    const std::vector<const Instance*> sets_;
    const std::vector<const Instance*> textures_;
    PropertyRelations relations_;
    std::vector<std::uint32_t> setNames_; // a number for the name of each set; equal names have equal numbers
    std::uint64_t steps_;                 // one for each set, texture and product
    std::uint64_t stepsDone_ = 0;
    std::uint64_t problems_ = 0;
};

void ModelReader::readAll() {
    sink_.schema(file_.schema());
    for (const Problem& problem : file_.problems())
        report(problem);
    readUnitsOfModel();
    readGeoreferenceOfModel();
    sink_.progress(shareOfScan);
    readSets();
    readRelations();
    readTextures();
    for (std::size_t index = 0; index < products_.size(); ++index) {
        readProduct(index);
        finishStep();
    }
    if (problems_ > maxProblems)
        sink_.problem({0, 0, "and " + std::to_string(problems_ - maxProblems) + " more problems"});
    sink_.progress(1.0);
}

void ModelReader::readUnitsOfModel() {
    context_.beginObject();
    context_.attempt(wholeModel, [&] { readUnits(context_); });
    reportNotes(context_, "the model's units");
    propertyContext_.angleUnit = context_.angleUnit;
}

void ModelReader::readGeoreferenceOfModel() {
    propertyContext_.beginObject();
    propertyContext_.attempt(wholeModel, [&] {
        if (const auto georeference = readGeoreference(propertyContext_))
            sink_.georeference(*georeference);
    });
    reportNotes(propertyContext_, "the model's georeference");
}

/// Reads one set after the other and passes it on: each property takes more than 1 KiB.
void ModelReader::readSets() {
    PropertyReader reader(propertyContext_);
    std::unordered_map<Velmor::WideString, std::uint32_t> numbers;
    for (const Instance* instance : sets_) {
        NamedSet read{};
        reader.read(*instance, read);
        reportNotes(propertyContext_, "IFCPROPERTYSET #" + std::to_string(instance->number));
        setNames_.push_back(numbers.try_emplace(read.name, static_cast<std::uint32_t>(numbers.size())).first->second);
        sink_.propertySet(std::move(read.set));
        finishStep();
    }
    for (const Problem& remark : reader.remarks())
        report(remark);
}

void ModelReader::readRelations() {
    for (const Instance* relation :
         instancesOf(file_, {Entity::RelDefinesByProperties, Entity::RelOverridesProperties, Entity::RelDefinesByType})) {
        relations_.read(*relation);
        reportNotes(propertyContext_, "the relation #" + std::to_string(relation->number));
    }
    relations_.sort();
}

/// Reads one image after the other and passes it on: an image may be large.
void ModelReader::readTextures() {
    TextureReader reader(textureContext_, folder_);
    for (const Instance* instance : textures_) {
        textureContext_.attempt(*instance, [&] {
            if (auto texture = reader.read(*instance))
                sink_.texture(std::move(*texture));
        });
        reportNotes(textureContext_, "the model's textures");
        finishStep();
    }
    for (const Problem& remark : reader.remarks())
        report(remark);
}

void ModelReader::readProduct(std::size_t index) {
    const Instance& instance = *products_[index];
    Product product;
    product.instance = instance.number;
    product.line = file_.lineAt(instance.offset);
    product.className = capitals(file_.nameOf(instance));
    product.objectClass = classNamed(product.className);
    context_.beginObject();
    const Outcome outcome = context_.attempt(instance, [&] {
        const Record record(context_, instance);
        readAttributes(record, product);
        readPlacedShape(record, product);
    });
    if (outcome == Outcome::LimitExceeded) {
        // An incomplete shape would look like another shape.
        product.shape = Shape::None;
        product.vertices = {};
        product.triangles = {};
        product.volume = 0.0;
    }
    context_.attempt(instance, [&] { product.propertySets = relations_.setsOf(index, setNames_); });
    reportNotes(context_, product.className + " #" + std::to_string(product.instance));
    sink_.product(std::move(product));
}

void ModelReader::readAttributes(const Record& record, Product& product) {
    product.globalId = Velmor::StringOperations::ConvertToUTF8(record.text(IfcProduct::GlobalId, "its GlobalId"));
    product.name = record.text(IfcProduct::Name, "its name");
    if (record.count() < IfcProduct::Count)
        record.fail("has " + std::to_string(record.count()) + " arguments; expected " + std::to_string(IfcProduct::Count) +
                    " or more");
}

/// Without a valid placement there is no shape.
void ModelReader::readPlacedShape(const Record& record, Product& product) {
    const Instance* placement = record.optionalReference(IfcProduct::ObjectPlacement);
    const Transform inModel = placement ? readObjectPlacement(context_, *placement) : Transform();
    if (const Instance* shape = record.optionalReference(IfcProduct::Representation))
        readShape(context_, *shape, Transform::scaling(context_.lengthUnit) * inModel, product);
}

void ModelReader::finishStep() {
    constexpr std::uint64_t maxReports = 200;
    const std::uint64_t before = stepsDone_++;
    if (stepsDone_ * maxReports / steps_ != before * maxReports / steps_)
        sink_.progress(shareOfScan + (1.0 - shareOfScan) * static_cast<double>(stepsDone_) / static_cast<double>(steps_));
}

void ModelReader::report(const Problem& problem) {
    if (problems_++ < maxProblems)
        sink_.problem(problem);
}

void ModelReader::report(const Instance& instance, const std::string& reason) {
    report(Problem{file_.lineAt(instance.offset), instance.number, reason});
}

/// Reports the notes of the object that was read last.
/// @param owner that object, for the messages.
void ModelReader::reportNotes(IfcContext& context, const std::string& owner) {
    for (const EntityError& note : context.notes()) {
        const std::string name = capitals(file_.nameOf(*note.instance));
        std::string reason = name.empty() ? name : name + ": ";
        reason.append(note.reason).append(" (in ").append(owner).append(")");
        report(*note.instance, reason);
    }
    if (context.omittedNotes() != 0)
        report(*context.notes().back().instance,
               "and " + std::to_string(context.omittedNotes()) + " more problems (in " + owner + ")");
}

} // namespace

void readProducts(const step::File& file, const Limits& limits, ModelSink& sink, const Velmor::WideString& folder) {
    ModelReader(file, limits, sink, folder).readAll();
}

void readIfcModel(const Velmor::WideString& path, ModelSink& sink) {
    const step::File file = step::File::open(path, application);
    readProducts(file, Limits::forFile(file.size()), sink, Velmor::FileOperations::GetFullFolder(path));
}

} // namespace importer::ifc
