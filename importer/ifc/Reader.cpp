#include "importer/ifc/Reader.h"

#include <Velmor/Platform.h>
#include <Velmor/Text.h>

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

namespace {

/// Share of the work that is done when the file's instances are known.
constexpr double scanned = 0.3;

/// Problems beyond this many are only counted.
constexpr std::uint64_t mostProblems = 100000;

/// With an account of their own, so that what is no shape spoils none, and no shape spoils it: properties, textures.
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
    void readModel();
    void readSets();
    void readRelations();
    void readTextures();
    void read(std::size_t place);
    void readAttributes(const Record& record, Product& product);
    void step();
    void tell(const Problem& problem);
    void tell(const Instance& instance, const std::string& reason);
    void tellNotes(IfcContext& context, const std::string& owner);

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
    std::vector<std::uint32_t> setNames_; // per set, a number for its name
    std::uint64_t steps_;                 // sets, textures and products, each of them one
    std::uint64_t stepsDone_ = 0;
    std::uint64_t problems_ = 0;
};

void ModelReader::readAll() {
    sink_.schema(file_.schema());
    for (const Problem& problem : file_.problems())
        tell(problem);
    readModel();
    sink_.progress(scanned);
    readSets();
    readRelations();
    readTextures();
    for (std::size_t place = 0; place < products_.size(); ++place) {
        read(place);
        step();
    }
    if (problems_ > mostProblems)
        sink_.problem({0, 0, "and " + std::to_string(problems_ - mostProblems) + " more problems"});
    sink_.progress(1.0);
}

/// What holds for the model as a whole.
void ModelReader::readModel() {
    context_.beginProduct();
    context_.attempt(wholeModel, [&] { readUnits(context_); });
    tellNotes(context_, "the model's units");
    propertyContext_.angleUnit = context_.angleUnit;

    propertyContext_.beginProduct();
    propertyContext_.attempt(wholeModel, [&] {
        if (const auto georeference = readGeoreference(propertyContext_))
            sink_.georeference(*georeference);
    });
    tellNotes(propertyContext_, "the model's georeference");
}

/// One set after the other: in the library's form a property takes more than 1 KiB.
void ModelReader::readSets() {
    PropertyReader reader(propertyContext_);
    std::unordered_map<Velmor::WideString, std::uint32_t> numbers;
    for (const Instance* instance : sets_) {
        NamedSet read{};
        reader.read(*instance, read);
        tellNotes(propertyContext_, "IFCPROPERTYSET #" + std::to_string(instance->number));
        setNames_.push_back(numbers.try_emplace(read.name, static_cast<std::uint32_t>(numbers.size())).first->second);
        sink_.propertySet(std::move(read.set));
        step();
    }
    for (const Problem& remark : reader.remarks())
        tell(remark);
}

void ModelReader::readRelations() {
    for (const Instance* relation :
         instancesOf(file_, {Entity::RelDefinesByProperties, Entity::RelOverridesProperties, Entity::RelDefinesByType})) {
        relations_.read(*relation);
        tellNotes(propertyContext_, "the relation #" + std::to_string(relation->number));
    }
    relations_.order();
}

/// One after the other too: an image may be large.
void ModelReader::readTextures() {
    TextureReader reader(textureContext_, folder_);
    for (const Instance* instance : textures_) {
        textureContext_.attempt(*instance, [&] {
            if (auto texture = reader.read(*instance))
                sink_.texture(std::move(*texture));
        });
        tellNotes(textureContext_, "the model's textures");
        step();
    }
    for (const Problem& remark : reader.remarks())
        tell(remark);
}

void ModelReader::read(std::size_t place) {
    const Instance& instance = *products_[place];
    Product product;
    product.instance = instance.number;
    product.line = file_.lineAt(instance.offset);
    product.className = capitals(file_.nameOf(instance));
    product.objectClass = classNamed(product.className);
    context_.beginProduct();
    const Outcome outcome = context_.attempt(instance, [&] {
        const Record record(context_, instance);
        readAttributes(record, product);
        const Instance* placement = record.optionalReference(5);
        const Transform inModel = placement ? readObjectPlacement(context_, *placement) : Transform();
        if (const Instance* shape = record.optionalReference(6))
            readShape(context_, *shape, Transform::scaling(context_.lengthUnit) * inModel, product);
    });
    if (outcome == Outcome::LimitExceeded) {
        // Part of a shape would look like another one.
        product.shape = Shape::None;
        product.vertices = {};
        product.triangles = {};
        product.volume = 0.0;
    }
    context_.attempt(instance, [&] { product.propertySets = relations_.setsOf(place, setNames_); });
    tellNotes(context_, product.className + " #" + std::to_string(product.instance));
    sink_.product(std::move(product));
}

void ModelReader::readAttributes(const Record& record, Product& product) {
    product.globalId = Velmor::StringOperations::ConvertToUTF8(record.text(0, "its GlobalId"));
    product.name = record.text(2, "its name");
    constexpr std::size_t fewest = 7;
    if (record.count() < fewest)
        record.fail("has " + std::to_string(record.count()) + " arguments; expected " + std::to_string(fewest) + " or more");
}

void ModelReader::step() {
    constexpr std::uint64_t reports = 200;
    const std::uint64_t before = stepsDone_++;
    if (stepsDone_ * reports / steps_ != before * reports / steps_)
        sink_.progress(scanned + (1.0 - scanned) * static_cast<double>(stepsDone_) / static_cast<double>(steps_));
}

void ModelReader::tell(const Problem& problem) {
    if (problems_++ < mostProblems)
        sink_.problem(problem);
}

void ModelReader::tell(const Instance& instance, const std::string& reason) {
    tell(Problem{file_.lineAt(instance.offset), instance.number, reason});
}

void ModelReader::tellNotes(IfcContext& context, const std::string& owner) {
    for (const EntityError& note : context.notes()) {
        const std::string name = capitals(file_.nameOf(*note.instance));
        std::string reason = name.empty() ? name : name + ": ";
        reason.append(note.reason).append(" (in ").append(owner).append(")");
        tell(*note.instance, reason);
    }
    if (context.moreNotes() != 0)
        tell(*context.notes().back().instance, "and " + std::to_string(context.moreNotes()) + " more (in " + owner + ")");
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
