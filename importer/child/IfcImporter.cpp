// ifc_importer: reads an IFC model and hands its objects over. A host starts it; by itself it has nothing to write to.

#include <Velmor/Velmor.h>

#include "importer/child/Fingerprint.h"
#include "importer/exchange/InfoRecords.h"
#include "importer/exchange/ObjectRecords.h"
#include "importer/exchange/ProblemRecords.h"
#include "importer/exchange/Progress.h"
#include "importer/exchange/PropertyRecords.h"
#include "importer/exchange/SolidRecords.h"
#include "importer/exchange/Streams.h"
#include "importer/ifc/Model.h"

#include <cstdio>
#include <exception>
#include <map>
#include <memory>

namespace {

using namespace importer;
using namespace importer::child;
using namespace importer::exchange;
using namespace importer::ifc;
using Stream = std::unique_ptr<Velmor::FileStream>;

Stream openStream(const ForeignObjectEnv_t& environment, Velmor::ForeignObjectStream_e stream) {
    return Stream(Velmor::FileStream::createFromHandle(environment.handles[stream]));
}

/// Turns what is read into records.
class StreamSink : public ModelSink {
public:
    explicit StreamSink(const ForeignObjectEnv_t& environment)
        : objectsStream_(openStream(environment, Velmor::ObjectsStream)),
          attributesStream_(openStream(environment, Velmor::AttributesStream)),
          solidsStream_(openStream(environment, Velmor::SolidsStream)),
          texturesStream_(openStream(environment, Velmor::TexturesStream)),
          logStream_(openStream(environment, Velmor::LogStream)),
          progressStream_(openStream(environment, Velmor::ProgressStream)), objects_(*objectsStream_, "the objects stream"),
          attributes_(*attributesStream_, "the attributes stream"), solids_(*solidsStream_, "the solids stream"),
          textures_(*texturesStream_, "the textures stream"), problems_(*logStream_, "the log stream"),
          progress_(*progressStream_) {}

    void schema(const std::string& name) override { info_.schema = name; }

    void georeference(const Velmor::IFC4_MapConversion& conversion) override { info_.georeference = conversion; }

    void propertySet(Velmor::IFC2X3_PSet_Custom_s&& set) override { attributes_.write(encode(set)); }

    void texture(Texture&& texture) override {
        textures_.write(encode(TextureRecord{texture.instance, texture.name, texture.png}));
    }

    void product(Product&& product) override {
        ObjectRecord record;
        record.line = product.line;
        record.instance = product.instance;
        record.className = className(product);
        record.name = Velmor::StringOperations::ConvertToUTF8(product.name);

        const auto geometry = fingerprint(product);
        record.spatialHash = geometry.spatialHash;
        record.version = geometry.version;
        if (!geometry.finite) {
            problem({product.line, product.instance,
                     "its coordinates are beyond what numbers can hold; taken as without geometry"});
        }
        std::string reason;
        record.globalId = globalIds_.identify(product, reason);
        if (!reason.empty()) {
            const bool hasGeometry = record.spatialHash.getType() == Velmor::ExternalGUID::SpatialHash;
            problem(
                {product.line, product.instance,
                 reason + (hasGeometry ? "; identified by its geometry" : "; without geometry it cannot be identified")});
        }
        if (!product.propertySets.empty())
            attributes_.write(encode(Assignment{objects_.totals().records, std::move(product.propertySets)}));
        if (record.version.getType() == Velmor::ExternalVersion::Solid && !product.triangles.empty()) {
            const auto mesh = meshOf(product.vertices, product.triangles);
            solids_.write(encode(SolidRecord{objects_.totals().records, encode(mesh)}));
        }
        objects_.write(encode(record));
    }

    void problem(const step::Problem& problem) override {
        problems_.write({problem.line, problem.instance, problem.reason});
    }

    void progress(double done) override { progress_.report(done); }

    /// Hands over what is still held back.
    void flush() {
        for (const auto& [entity, first] : withoutClass_) {
            problem({first.line, first.instance,
                     entity + " has no row in the class tables; objects of it, taken as IFCINVALID: " +
                         std::to_string(first.count)});
        }
        objects_.flush();
        attributes_.flush();
        solids_.flush();
        textures_.flush();
        problems_.flush();
    }

    /// The last words: how it went, and what the other streams hold.
    void finish(const ForeignObjectEnv_t& environment, const std::string& error) {
        info_.error = error;
        info_.objects = objects_.totals();
        info_.attributes = attributes_.totals();
        info_.solids = solids_.totals();
        info_.textures = textures_.totals();
        info_.problems = problems_.totals();
        info_.problemsOmitted = problems_.omitted();
        const auto stream = openStream(environment, Velmor::InfoStream);
        RecordWriter writer(*stream, "the info stream");
        writer.write(encode(info_));
        writer.flush();
    }

private:
    // Objects of one entity that the class tables do not have.
    struct WithoutClass {
        std::uint64_t line = 0; // of the first one, as the instance
        std::uint64_t instance = 0;
        std::uint64_t count = 0;
    };

    std::string className(const Product& product) {
        if (product.objectClass == Velmor::AttributeClassIFC_e::IFCINVALID) {
            const WithoutClass first{product.line, product.instance, 0};
            ++withoutClass_.try_emplace(product.className, first).first->second.count;
            ++info_.objectsWithoutClass;
        }
        char name[64];
        Velmor::ReferenceObjectClass::asString(product.objectClass, name, sizeof name);
        return name;
    }

    Stream objectsStream_;
    Stream attributesStream_;
    Stream solidsStream_;
    Stream texturesStream_;
    Stream logStream_;
    Stream progressStream_;
    RecordWriter objects_;
    RecordWriter attributes_;
    RecordWriter solids_;
    RecordWriter textures_;
    ProblemWriter problems_;
    ProgressWriter progress_;
    GlobalIds globalIds_;
    std::map<std::string, WithoutClass> withoutClass_; // by the entity's name
    InfoRecord info_;
};

int fail(const char* message, int exitCode) {
    std::fprintf(stderr, "ifc_importer: %s\n", message);
    return exitCode;
}

} // namespace

int main() {
    ForeignObjectEnv_t environment;
    if (!foreignobject_env_deserialize(environment))
        return fail("no host has prepared the environment; start import_host", 2);
    try {
        StreamSink sink(environment);
        std::string error;
        try {
            readIfcModel(environment.filename, sink);
            sink.flush();
        } catch (const std::exception& failure) {
            error = failure.what();
        }
        sink.finish(environment, error);
        return error.empty() ? 0 : 1;
    } catch (const std::exception& failure) {
        // Not even the last words got through; the host sees that they are missing.
        return fail(failure.what(), 1);
    }
}
