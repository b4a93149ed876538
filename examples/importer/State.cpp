#include "State.h"

#include "Text.h"

#include <memory>
#include <system_error>

namespace importer {
namespace {

namespace fs = std::filesystem;
using Velmor::FileStream;
using Stream = std::unique_ptr<FileStream>;

bool isOpen(const Stream& stream) {
    return stream->getHandle() != FileStream().getHandle();
}

void readFile(const fs::path& file, const std::function<void(ObjectRecord&&)>& sink) {
    const Stream stream(FileStream::openFileForReading(wide(file)));
    if (!isOpen(stream)) {
        throw StateError("the state file " + utf8(file) + " cannot be opened");
    }
    try {
        RecordReader reader(*stream, utf8(file));
        std::string payload;
        reader.require(payload, "the header of a state file");
        StateHeader header;
        try {
            header = decodeStateHeader(payload);
        } catch (const FormatError& error) {
            throw FormatError(reader.where() + error.what());
        }
        readObjects(reader, header.objects, sink);
    } catch (const FormatError& error) {
        throw StateError(std::string("the state file is damaged: ") + error.what());
    }
}

void writeFile(const fs::path& file, const std::vector<ObjectRecord>& objects) {
    const Stream stream(FileStream::createFileForWriting(wide(file)));
    if (!isOpen(stream)) {
        throw StateError("the new state file " + utf8(file) + " cannot be created");
    }
    StateHeader header;
    for (const auto& object : objects) {
        header.objects.add(encode(object));
    }
    RecordWriter writer(*stream, "the new state file " + utf8(file));
    writer.write(encode(header));
    for (const auto& object : objects) {
        writer.write(encode(object));
    }
    writer.flush();
}

} // namespace

State::State(const fs::path& folder) : file_(folder / "import.state"), newFile_(folder / "import.state.new") {}

bool State::exists() const {
    std::error_code error;
    // Whatever hinders the look (no right, a file where the folder should be) shows when the state is read or kept.
    return fs::exists(fs::symlink_status(file_, error));
}

std::vector<ObjectRecord> State::read() const {
    std::vector<ObjectRecord> objects;
    readFile(file_, [&objects](ObjectRecord&& object) { objects.push_back(std::move(object)); });
    return objects;
}

void State::write(const std::vector<ObjectRecord>& objects, const std::function<void()>& beforeReplacing) const {
    try {
        fs::create_directories(file_.parent_path());
        writeFile(newFile_, objects);
        // The writer cannot see a write that came out short; whoever reads the file can.
        readFile(newFile_, [](ObjectRecord&&) {});
        beforeReplacing();
        fs::rename(newFile_, file_);
    } catch (const std::exception& error) {
        std::error_code ignored;
        fs::remove(newFile_, ignored);
        throw StateError(std::string("the state is not kept: ") + error.what());
    }
}

} // namespace importer
