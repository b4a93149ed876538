#pragma once

// Turns the model that the reader reports into the records of the streams.

#include <Velmor/ForeignObject.h>
#include <Velmor/Platform.h>

#include "importer/child/Fingerprint.h"
#include "importer/exchange/InfoRecords.h"
#include "importer/exchange/ProblemRecords.h"
#include "importer/exchange/Progress.h"
#include "importer/exchange/Streams.h"
#include "importer/ifc/Model.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace importer::child {

/// Writes a model to the streams of an environment. docs/importer/streams.md describes the records. All functions throw
/// WriteError when a stream cannot be written.
class StreamSink : public ModelSink {
public:
    /// @param environment its stream handles must stay open while the sink exists.
    explicit StreamSink(const ForeignObjectEnv_t& environment);

    void schema(const std::string& name) override { info_.schema = name; }

    void georeference(const Velmor::IFC4_MapConversion& conversion) override { info_.georeference = conversion; }

    void propertySet(Velmor::IFC2X3_PSet_Custom_s&& set) override;
    void texture(Texture&& texture) override;
    void product(Product&& product) override;
    void problem(const step::Problem& problem) override;

    void progress(double done) override { progress_.report(done); }

    /// Reports the entities without a class, and writes the bytes that are still buffered.
    void flush();

    /// Writes the info record: the result of the import, and the totals of the other streams.
    /// @param error why the import failed as a whole; empty if it is complete.
    void finish(const ForeignObjectEnv_t& environment, const std::string& error);

private:
    using Stream = std::unique_ptr<Velmor::FileStream>;

    // The objects of an entity that the class tables do not contain.
    struct WithoutClass {
        std::uint64_t line = 0;     // of the first object
        std::uint64_t instance = 0; // of the first object
        std::uint64_t count = 0;
    };

    std::string classNameOf(const Product& product);
    void identify(Product& product, ObjectRecord& record);
    void writeSolid(const Product& product);

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
    std::map<std::string, WithoutClass> withoutClass_; // by the name of the entity
    InfoRecord info_;
};

} // namespace importer::child
