#include "importer/host/State.h"

#include "importer/exchange/PropertyRecords.h"
#include "importer/exchange/Text.h"

#include <memory>
#include <system_error>

namespace importer::host {

namespace {

namespace fs = std::filesystem;
using Velmor::FileStream;
using Stream = std::unique_ptr<FileStream>;

bool isOpen(const Stream& stream) {
    return stream->getHandle() != Velmor::ProcessOperations::InvalidHandle();
}

std::optional<Velmor::Sha1::Digest> digestOf(const fs::path& file) {
    std::error_code ignored;
    if (!fs::is_regular_file(file, ignored))
        return std::nullopt;
    // FromFile returns this digest for every file that cannot be opened.
    static const Velmor::Sha1::Digest unreadable(std::vector<unsigned char>(20));
    Velmor::Sha1::Digest digest = Velmor::Sha1::FromFile(wide(file));
    return digest == unreadable ? std::nullopt : std::optional(std::move(digest));
}

StateHeader readFile(const fs::path& file, const std::function<void(ObjectRecord&&)>& objectSink,
                     const std::function<void(std::string_view)>& setSink,
                     const std::function<void(Assignment&&)>& assignmentSink) {
    const Stream stream(FileStream::openFileForReading(wide(file)));
    if (!isOpen(stream))
        throw StateError("cannot open the state file " + utf8(file));
    try {
        RecordReader reader(*stream, utf8(file));
        std::string payload;
        reader.require(payload, "the header of a state file");
        StateHeader header;
        try {
            header = decodeStateHeader(payload);
        } catch (const VersionError& error) {
            throw StateError("the state file was written by another version of this program: " + reader.where() +
                             error.what() + "; remove it, and the next import will be the first");
        } catch (const FormatError& error) {
            throw FormatError(reader.where() + error.what());
        }
        readObjects(reader, header.objects, objectSink);
        readAttributes(reader, header.attributes, header.objects.records, setSink, assignmentSink);
        requireEnd(reader);
        return header;
    } catch (const FormatError& error) {
        throw StateError(std::string("the state file is damaged: ") + error.what());
    }
}

// Calls a function with each record of the property sets of a model.
template <typename Sink>
void encodeAttributes(const Model& model, const Sink& sink) {
    for (const std::string& set : model.propertySets)
        sink(set);
    for (std::size_t i = 0; i < model.objects.size(); ++i)
        if (!model.objects[i].propertySets.empty())
            sink(encode(Assignment{i, model.objects[i].propertySets}));
}

void writeFile(const fs::path& file, const Model& model, const std::optional<Origin>& origin) {
    const Stream stream(FileStream::createFileForWriting(wide(file)));
    if (!isOpen(stream))
        throw StateError("cannot create the new state file " + utf8(file));
    StateHeader header;
    header.origin = origin;
    for (const ObjectRecord& object : model.objects)
        header.objects.add(encode(object));
    encodeAttributes(model, [&header](std::string_view record) { header.attributes.add(record); });
    RecordWriter writer(*stream, "the new state file " + utf8(file));
    writer.write(encode(header));
    for (const ObjectRecord& object : model.objects)
        writer.write(encode(object));
    encodeAttributes(model, [&writer](std::string_view record) { writer.write(record); });
    writer.flush();
}

} // namespace

std::optional<Origin> originOf(const fs::path& model, const fs::path& importer) {
    std::optional<Velmor::Sha1::Digest> ofModel = digestOf(model);
    std::optional<Velmor::Sha1::Digest> ofImporter = digestOf(importer);
    if (!ofModel || !ofImporter)
        return std::nullopt;
    return Origin{std::move(*ofModel), std::move(*ofImporter)};
}

State::State(const fs::path& folder) : file_(folder / "import.state"), newFile_(folder / "import.state.new") {}

bool State::exists() const {
    std::error_code error;
    // Other errors (no permission, a file in place of the folder) are reported when the state is read or written.
    return fs::exists(fs::symlink_status(file_, error));
}

StoredImport State::read() const {
    StoredImport stored;
    Model& model = stored.model;
    const StateHeader header = readFile(
        file_, [&model](ObjectRecord&& object) { model.objects.push_back(std::move(object)); },
        [&model](std::string_view set) { model.propertySets.emplace_back(set); },
        [&model](Assignment&& assignment) { model.objects[assignment.object].propertySets = std::move(assignment.sets); });
    stored.origin = header.origin;
    return stored;
}

void State::write(const Model& model, const std::optional<Origin>& origin,
                  const std::function<void()>& beforeReplacing) const {
    try {
        fs::create_directories(file_.parent_path());
        writeFile(newFile_, model, origin);
        // A write may be shorter than requested without an error: read the file back.
        readFile(
            newFile_, [](ObjectRecord&&) {}, [](std::string_view) {}, [](Assignment&&) {});
        beforeReplacing();
        fs::rename(newFile_, file_);
    } catch (const std::exception& error) {
        std::error_code ignored;
        fs::remove(newFile_, ignored);
        throw StateError(std::string("cannot store the state: ") + error.what());
    }
}

} // namespace importer::host
