// One run of an importer:
//   1. create the sixteen streams (temporary files) and publish them in the environment;
//   2. start the child process; poll its exit code, its progress stream and the interruption flag until it ends;
//   3. read the info stream, which the importer writes last: without it the output is incomplete;
//   4. read the other streams. Each must match the number of records, of bytes and the checksum in the info record.

#include "importer/host/ImporterRun.h"

#include "importer/exchange/InfoRecords.h"
#include "importer/exchange/Progress.h"
#include "importer/exchange/PropertyRecords.h"
#include "importer/exchange/Text.h"
#include "importer/host/Interruption.h"

#include <array>

namespace importer::host {

namespace {

namespace fs = std::filesystem;
using Velmor::EnvironmentVariables;
using Velmor::FileStream;
using Velmor::ProcessOperations;

constexpr int pollMilliseconds = 5;

/// The sixteen streams of one import: temporary files, removed when they are closed.
class Streams {
public:
    Streams() {
        for (std::unique_ptr<FileStream>& stream : streams_) {
            stream.reset(FileStream::createTemporaryFile());
            if (stream->getHandle() == ProcessOperations::InvalidHandle())
                throw ImportError("cannot create a temporary file; check that the temporary folder exists and the disk is "
                                  "not full");
        }
    }

    FileStream& operator[](Velmor::ForeignObjectStream_e stream) { return *streams_[stream]; }

    /// Passes the ownership of a stream to the caller. The child must have ended.
    std::unique_ptr<FileStream> release(Velmor::ForeignObjectStream_e stream) { return std::move(streams_[stream]); }

    /// Sets the environment variables of the child.
    void publish(const fs::path& importer, const fs::path& model) const {
        EnvironmentVariables::SetInt(VELMOR_WIDE("fo_handle_version"), 1);
        EnvironmentVariables::SetString(VELMOR_WIDE("fo_string_filename"), wide(model));
        EnvironmentVariables::SetString(VELMOR_WIDE("fo_string_module"), wide(importer));
        EnvironmentVariables::SetString(VELMOR_WIDE("fo_string_path"), wide(model.parent_path()));
        for (std::size_t i = 0; i < streams_.size(); ++i)
            EnvironmentVariables::SetFileStreamHandle(Velmor::ForeignObjectStreamVariables[i], streams_[i]->getHandle());
    }

private:
    std::array<std::unique_ptr<FileStream>, Velmor::ForeignObjectStreamCount> streams_;
};

/// A child process. The destructor terminates it if it is still running.
class Child {
public:
    explicit Child(const fs::path& program) {
        // The path of the program is passed separately, so the command line needs no quoting.
        process_ = ProcessOperations::createProcess(wide(program), VELMOR_WIDE("importer"), true);
        if (process_ == ProcessOperations::InvalidHandle())
            throw ImportError("cannot start the importer " + utf8(program));
    }

    ~Child() {
        unsigned exitCode = 0;
        if (!hasEnded(exitCode))
            ProcessOperations::terminateProcess(process_, 1);
        ProcessOperations::closeProcess(process_);
    }

    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    bool hasEnded(unsigned& exitCode) const { return ProcessOperations::hasEnded(process_, &exitCode); }

private:
    HANDLE process_;
};

/// @return the exit code.
unsigned waitFor(const Child& child, FileStream& progress) {
    ProgressReader reader(progress);
    ProgressBar bar;
    unsigned exitCode = 0;
    while (!child.hasEnded(exitCode)) {
        checkInterruption();
        bar.show(reader.perMille());
        Velmor::ThreadOperations::usleep(pollMilliseconds);
    }
    return exitCode;
}

/// @return nothing if the importer ended before it wrote the record.
std::optional<InfoRecord> readInfo(FileStream& stream) {
    RecordReader reader(stream, "the info stream");
    std::string payload;
    if (!reader.next(payload))
        return std::nullopt;
    return decodeInfo(payload);
}

void readProblems(FileStream& stream, const InfoRecord& info, ImportResult& result) {
    const StreamTotals& expected = info.problems;
    RecordReader reader(stream, "the log stream");
    std::string payload;
    while (reader.next(payload)) {
        ++result.problemCount;
        if (result.problems.size() < maxReportedProblems)
            result.problems.push_back(decodeProblem(payload));
    }
    if (reader.totals() != expected) {
        throw FormatError("the log stream: expected " + std::to_string(expected.records) + " problems in " +
                          std::to_string(expected.bytes) + " bytes, found " + std::to_string(reader.totals().records) +
                          " in " + std::to_string(reader.totals().bytes) + ", or with other content");
    }
    result.problemCount += info.problemsOmitted;
}

void readModel(Streams& streams, const InfoRecord& info, Model& model) {
    RecordReader objects(streams[Velmor::ObjectsStream], "the objects stream");
    readObjects(objects, info.objects, [&model](ObjectRecord&& object) { model.objects.push_back(std::move(object)); });
    requireEnd(objects);
    RecordReader attributes(streams[Velmor::AttributesStream], "the attributes stream");
    readAttributes(
        attributes, info.attributes, model.objects.size(),
        [&model](std::string_view set) { model.propertySets.emplace_back(set); },
        [&model](Assignment&& assignment) { model.objects[assignment.object].propertySets = std::move(assignment.sets); });
    requireEnd(attributes);
}

/// Checks solids and textures and leaves them in their files: they may be large, and only an export reads them.
void checkPayloads(Streams& streams, const InfoRecord& info, ImportResult& result) {
    result.solids = {streams.release(Velmor::SolidsStream), info.solids};
    RecordReader solids(*result.solids.stream, "the solids stream");
    readSolids(solids, info.solids, result.model.objects.size(), [](std::uint64_t, const Mesh&) {});
    requireEnd(solids);
    result.textures = {streams.release(Velmor::TexturesStream), info.textures};
    RecordReader textures(*result.textures.stream, "the textures stream");
    readTextures(textures, info.textures, [](const TextureRecord&) {});
    requireEnd(textures);
}

ImportResult readResult(Streams& streams, const InfoRecord& info) {
    ImportResult result;
    result.schema = info.schema;
    result.objectsWithoutClass = info.objectsWithoutClass;
    result.georeference = info.georeference;
    readProblems(streams[Velmor::LogStream], info, result);
    readModel(streams, info, result.model);
    checkPayloads(streams, info, result);
    return result;
}

} // namespace

ImportResult runImporter(const fs::path& importer, const fs::path& model) {
    Streams streams;
    streams.publish(fs::absolute(importer), fs::absolute(model));
    const Child child(fs::absolute(importer));
    const unsigned exitCode = waitFor(child, streams[Velmor::ProgressStream]);

    const auto incomplete = [&](const std::string& what) {
        return ImportError("the importer ended with code " + std::to_string(exitCode) + "; " + what);
    };
    try {
        const std::optional<InfoRecord> info = readInfo(streams[Velmor::InfoStream]);
        if (!info)
            throw incomplete("it did not finish (it crashed, was terminated, or the disk is full)");
        if (!info->error.empty())
            throw ImportError(printable(info->error));
        if (exitCode != 0)
            throw incomplete("its output is discarded");
        return readResult(streams, *info);
    } catch (const VersionError& error) {
        throw ImportError("the importer " + utf8(importer) + " is not compatible with this program: " + error.what() +
                          "; use programs of the same build");
    } catch (const FormatError& error) {
        throw incomplete(std::string("its output is incomplete: ") + error.what());
    }
}

} // namespace importer::host
