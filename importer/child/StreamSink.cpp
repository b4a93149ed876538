#include "importer/child/StreamSink.h"

#include <Velmor/ReferenceObjectClass.h>
#include <Velmor/Text.h>

#include "importer/exchange/PropertyRecords.h"
#include "importer/exchange/SolidRecords.h"

#include <utility>

namespace importer::child {

namespace {

std::unique_ptr<Velmor::FileStream> openStream(const ForeignObjectEnv_t& environment, Velmor::ForeignObjectStream_e stream) {
    return std::unique_ptr<Velmor::FileStream>(Velmor::FileStream::createFromHandle(environment.handles[stream]));
}

} // namespace

StreamSink::StreamSink(const ForeignObjectEnv_t& environment)
    : objectsStream_(openStream(environment, Velmor::ObjectsStream)),
      attributesStream_(openStream(environment, Velmor::AttributesStream)),
      solidsStream_(openStream(environment, Velmor::SolidsStream)),
      texturesStream_(openStream(environment, Velmor::TexturesStream)),
      logStream_(openStream(environment, Velmor::LogStream)),
      progressStream_(openStream(environment, Velmor::ProgressStream)), objects_(*objectsStream_, "the objects stream"),
      attributes_(*attributesStream_, "the attributes stream"), solids_(*solidsStream_, "the solids stream"),
      textures_(*texturesStream_, "the textures stream"), problems_(*logStream_, "the log stream"),
      progress_(*progressStream_) {}

void StreamSink::propertySet(Velmor::IFC2X3_PSet_Custom_s&& set) {
    attributes_.write(encode(set));
}

void StreamSink::texture(Texture&& texture) {
    textures_.write(encode(TextureRecord{texture.instance, texture.name, texture.png}));
}

void StreamSink::product(Product&& product) {
    ObjectRecord record;
    record.line = product.line;
    record.instance = product.instance;
    record.className = classNameOf(product);
    record.name = Velmor::StringOperations::ConvertToUTF8(product.name);
    identify(product, record);
    if (!product.propertySets.empty())
        attributes_.write(encode(Assignment{objects_.totals().records, std::move(product.propertySets)}));
    if (record.version.getType() == Velmor::ExternalVersion::Solid && !product.triangles.empty())
        writeSolid(product);
    objects_.write(encode(record));
}

void StreamSink::problem(const step::Problem& problem) {
    problems_.write({problem.line, problem.instance, problem.reason});
}

void StreamSink::flush() {
    for (const auto& [entity, objects] : withoutClass_)
        problem(
            {objects.line, objects.instance,
             entity + " has no row in the class tables; objects imported as IFCINVALID: " + std::to_string(objects.count)});
    objects_.flush();
    attributes_.flush();
    solids_.flush();
    textures_.flush();
    problems_.flush();
}

void StreamSink::finish(const ForeignObjectEnv_t& environment, const std::string& error) {
    info_.error = error;
    info_.objects = objects_.totals();
    info_.attributes = attributes_.totals();
    info_.solids = solids_.totals();
    info_.textures = textures_.totals();
    info_.problems = problems_.totals();
    info_.problemsOmitted = problems_.omitted();
    const Stream stream = openStream(environment, Velmor::InfoStream);
    RecordWriter writer(*stream, "the info stream");
    writer.write(encode(info_));
    writer.flush();
}

std::string StreamSink::classNameOf(const Product& product) {
    if (product.objectClass == Velmor::AttributeClassIFC_e::IFCINVALID) {
        const WithoutClass first{product.line, product.instance, 0};
        ++withoutClass_.try_emplace(product.className, first).first->second.count;
        ++info_.objectsWithoutClass;
    }
    char name[64];
    Velmor::ReferenceObjectClass::asString(product.objectClass, name, sizeof name);
    return name;
}

void StreamSink::identify(Product& product, ObjectRecord& record) {
    const Fingerprint geometry = fingerprint(product);
    record.spatialHash = geometry.spatialHash;
    record.version = geometry.version;
    if (!geometry.finite)
        problem({product.line, product.instance, "its coordinates exceed the range of numbers; imported without geometry"});
    std::string reason;
    record.globalId = globalIds_.identify(product, reason);
    if (reason.empty())
        return;
    const bool hasGeometry = record.spatialHash.getType() == Velmor::ExternalGUID::SpatialHash;
    problem({product.line, product.instance,
             reason + (hasGeometry ? "; identified by its geometry" : "; without geometry it cannot be identified")});
}

void StreamSink::writeSolid(const Product& product) {
    const Mesh mesh = meshOf(product.vertices, product.triangles);
    solids_.write(encode(SolidRecord{objects_.totals().records, encode(mesh)}));
}

} // namespace importer::child
