#include "importer/exchange/InfoRecords.h"
#include "importer/exchange/Progress.h"
#include "importer/exchange/PropertyRecords.h"
#include "importer/exchange/SolidRecords.h"
#include "importer/exchange/Text.h"
#include "importer/host/ImportHost.h"

#include <csignal>

namespace importer::host {
namespace {

namespace fs = std::filesystem;
using Velmor::EnvironmentVariables;
using Velmor::FileStream;
using Velmor::ProcessOperations;

constexpr int pollMilliseconds = 5;

volatile std::sig_atomic_t interrupted = 0;

extern "C" void noteInterruption(int) {
    interrupted = 1;
}

/// The sixteen streams of one import. They stay open until the child has ended; then the files vanish with them.
class Streams {
public:
    Streams() {
        for (auto& stream : streams_) {
            stream.reset(FileStream::createTemporaryFile());
            if (stream->getHandle() == ProcessOperations::InvalidHandle())
                throw ImportError("a temporary file cannot be created; does the temporary folder exist, and is there room?");
        }
    }

    FileStream& operator[](Velmor::ForeignObjectStream_e stream) { return *streams_[stream]; }

    /// Hands out a stream of a child that has ended.
    std::unique_ptr<FileStream> release(Velmor::ForeignObjectStream_e stream) { return std::move(streams_[stream]); }

    /// Publishes the streams and the three strings for the child.
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

/// A child process; one that still runs is ended with its object.
class Child {
public:
    explicit Child(const fs::path& program) {
        // The program is named by its path; its command line holds nothing that had to be quoted.
        process_ = ProcessOperations::createProcess(wide(program), VELMOR_WIDE("importer"), true);
        if (process_ == ProcessOperations::InvalidHandle())
            throw ImportError("the importer " + utf8(program) + " cannot be started");
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

// The importer's last words, if it came to them.
std::optional<InfoRecord> readInfo(FileStream& stream) {
    RecordReader reader(stream, "the info stream");
    std::string payload;
    if (!reader.next(payload))
        return std::nullopt;
    return decodeInfo(payload);
}

void readProblems(FileStream& stream, const StreamTotals& expected, ImportResult& result) {
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
                          " in " + std::to_string(reader.totals().bytes) + ", or others");
    }
}

} // namespace

void catchInterruptions() {
    for (const int signal : {
             SIGINT, SIGTERM,
#if defined(SIGBREAK)
                 SIGBREAK, // Ctrl-Break of a Windows console
#endif
#if defined(SIGHUP)
                 SIGHUP,
#endif
#if defined(SIGPIPE)
                 SIGPIPE, // the reader of the report has gone: the writing fails, and says so
#endif
         }) {
        if (std::signal(signal, noteInterruption) == SIG_IGN)
            std::signal(signal, SIG_IGN);
    }
}

void checkInterruption() {
    if (interrupted != 0)
        throw ImportError("interrupted");
}

ImportResult runImporter(const fs::path& importer, const fs::path& model) {
    Streams streams;
    streams.publish(fs::absolute(importer), fs::absolute(model));
    const Child child(fs::absolute(importer));
    const unsigned exitCode = waitFor(child, streams[Velmor::ProgressStream]);

    const auto incomplete = [&](const std::string& what) {
        return ImportError("the importer ended with code " + std::to_string(exitCode) + "; " + what);
    };
    try {
        const auto info = readInfo(streams[Velmor::InfoStream]);
        if (!info)
            throw incomplete("it did not come to its end (it crashed, was ended, or had no room left on the disk)");
        if (!info->error.empty())
            throw ImportError(printable(info->error));
        if (exitCode != 0)
            throw incomplete("what it handed over is not trusted");
        ImportResult result;
        result.schema = info->schema;
        readProblems(streams[Velmor::LogStream], info->problems, result);
        result.problemCount += info->problemsOmitted;
        result.objectsWithoutClass = info->objectsWithoutClass;
        result.georeference = info->georeference;
        auto& kept = result.model;
        RecordReader objects(streams[Velmor::ObjectsStream], "the objects stream");
        readObjects(objects, info->objects, [&kept](ObjectRecord&& object) { kept.objects.push_back(std::move(object)); });
        requireEnd(objects);
        RecordReader attributes(streams[Velmor::AttributesStream], "the attributes stream");
        readAttributes(
            attributes, info->attributes, kept.objects.size(),
            [&kept](std::string_view set) { kept.propertySets.emplace_back(set); },
            [&kept](Assignment&& assignment) { kept.objects[assignment.object].propertySets = std::move(assignment.sets); });
        requireEnd(attributes);
        // They may be large, so they stay where they are until somebody needs them.
        result.solids = {streams.release(Velmor::SolidsStream), info->solids};
        RecordReader solids(*result.solids.stream, "the solids stream");
        readSolids(solids, info->solids, kept.objects.size(), [](std::uint64_t, const Mesh&) {});
        requireEnd(solids);
        result.textures = {streams.release(Velmor::TexturesStream), info->textures};
        RecordReader textures(*result.textures.stream, "the textures stream");
        readTextures(textures, info->textures, [](const TextureRecord&) {});
        requireEnd(textures);
        return result;
    } catch (const VersionError& error) {
        throw ImportError("the importer " + utf8(importer) + " does not fit this program: " + error.what() +
                          "; both must come from one build");
    } catch (const FormatError& error) {
        throw incomplete(std::string("what it handed over is incomplete: ") + error.what());
    }
}

} // namespace importer::host
