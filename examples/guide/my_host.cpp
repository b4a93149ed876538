#include <Velmor/Velmor.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <vector>

using namespace Velmor;

// One object in the objects stream. Importer and host agree on this layout.
struct Record {
    char identity[96];
    std::uint32_t versionSize;
    char version[124];
};

static bool readRecord(FileStream& in, Record& record) {
    std::vector<char> bytes;
    if (!in.read(sizeof record, bytes) || bytes.size() != sizeof record)
        return false; // end of the stream
    std::memcpy(&record, bytes.data(), sizeof record);
    return record.versionSize <= sizeof record.version;
}

static ExternalVersion versionOf(const Record& record) {
    ExternalVersion version;
    version.fromByteStream(record.versionSize, record.version); // exact length: extra bytes are rejected
    return version;
}

static WideString wide(const char* text) {
    return StringOperations::ConvertFromUTF8(reinterpret_cast<const unsigned char*>(text));
}

int main(int argc, char** argv) {
    if (argc != 3) {
        std::puts("usage: my_host IMPORTER STATE");
        return 2;
    }
    // 1. Prepare the environment of the importer.
    EnvironmentVariables::SetInt(VELMOR_WIDE("fo_handle_version"), 1);
    EnvironmentVariables::SetString(VELMOR_WIDE("fo_string_filename"), VELMOR_WIDE("plates.ifc"));
    EnvironmentVariables::SetString(VELMOR_WIDE("fo_string_module"), VELMOR_WIDE("my_importer"));
    EnvironmentVariables::SetString(VELMOR_WIDE("fo_string_path"), VELMOR_WIDE("."));
    std::unique_ptr<FileStream> streams[ForeignObjectStreamCount];
    for (std::size_t slot = 0; slot < ForeignObjectStreamCount; ++slot) {
        streams[slot].reset(FileStream::createTemporaryFile());
        if (streams[slot]->getHandle() == ProcessOperations::InvalidHandle())
            return 3;
        EnvironmentVariables::SetFileStreamHandle(ForeignObjectStreamVariables[slot], streams[slot]->getHandle());
    }

    // 2. Run the importer with handle inheritance.
    const WideString importer = wide(argv[1]);
    const HANDLE child = ProcessOperations::createProcess(importer, VELMOR_WIDE("my_importer"), true);
    if (child == ProcessOperations::InvalidHandle())
        return 3;
    unsigned exitCode = 0;
    while (!ProcessOperations::hasEnded(child, &exitCode))
        ThreadOperations::usleep(10);
    ProcessOperations::closeProcess(child);
    if (exitCode != 0)
        return 4;

    // 3. Read the state of the previous import. It holds the same records.
    ExternalGUIDDatabase database;
    std::map<ExternalGUIDRuntimeID_e, ExternalVersion> known;
    const WideString statePath = wide(argv[2]);
    Record record;
    {
        const std::unique_ptr<FileStream> state(FileStream::openFileForReading(statePath)); // no file: no records
        while (readRecord(*state, record))
            known[database.insertGUID(ExternalGUID::fromByteStream(96, record.identity))] = versionOf(record);
    }

    // 4. Compare each object, and write it to a new file, which replaces the old one at the end.
    const WideString newPath = statePath + VELMOR_WIDE(".new");
    std::unique_ptr<FileStream> state(FileStream::createFileForWriting(newPath));
    FileStream& objects = *streams[ObjectsStream];
    objects.seekToBegin();
    while (readRecord(objects, record)) {
        const ExternalGUIDRuntimeID_e id = database.insertGUID(ExternalGUID::fromByteStream(96, record.identity));
        const ExternalVersion version = versionOf(record);
        const auto previous = known.find(id);
        if (previous == known.end())
            std::puts("new");
        else if (version == previous->second)
            std::puts("unchanged");
        else
            std::printf("modified, similarity %.2f\n", version.similarity(previous->second));
        char bytes[sizeof record];
        std::memcpy(bytes, &record, sizeof record);
        if (!state->write(sizeof bytes, bytes))
            return 3;
    }
    state.reset(); // closes the file
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
        return 3; // the changes were not printed, so keep the old state: the next run prints them
    std::error_code error;
    std::filesystem::rename(newPath, statePath, error);
    return error ? 3 : 0;
}
