#include <Velmor/Platform.h>
#include <Velmor/Text.h>

#include "diagnostics/Diagnostics.h"
#include "os/os.h"

#include <memory>

namespace Velmor {

using namespace diagnostics;

namespace {

/// "for reading" is meant: both factories that open a path report with the same words.
void reportFailedOpening(const WideString& path) {
    reportDiagnostic(diagnosticLevel, "opening of file %s for reading failed.",
                     StringOperations::ConvertToCurrentLocale(path).c_str());
}

} // namespace

FileStream::FileStream() : FileStream(os::invalidHandle(), false) {}

FileStream::FileStream(HANDLE handle, bool owns) : handle_(handle), owns_(owns) {}

FileStream::~FileStream() {
    if (handle_ != os::invalidHandle() && owns_)
        os::closeHandle(handle_);
    handle_ = os::invalidHandle();
}

FileStream* FileStream::openFileForReading(const WideString& path) {
    std::unique_ptr<FileStream> stream(new FileStream(os::invalidHandle(), true)); // first: nothing is opened without it
    stream->handle_ = os::createFile(path.c_str(), {.read = true, .shareReading = true, .sequential = true});
    if (stream->handle_ == os::invalidHandle()) {
        static ReportOnce once;
        once([&] { reportFailedOpening(path); });
    }
    return stream.release();
}

FileStream* FileStream::createFileForWriting(const WideString& path) {
    std::unique_ptr<FileStream> stream(new FileStream(os::invalidHandle(), true)); // first: nothing is opened without it
    stream->handle_ = os::createFile(path.c_str(), {.write = true, .create = true, .sequential = true});
    if (stream->handle_ == os::invalidHandle()) {
        static ReportOnce once;
        once([&] { reportFailedOpening(path); });
    }
    return stream.release();
}

FileStream* FileStream::createTemporaryFile() {
    constexpr unsigned pathCapacity = 4096;
    WideChar folder[pathCapacity] = {};
    WideChar name[264] = {};
    os::getTempPath(pathCapacity, folder);
    os::getTempFileName(folder, VELMOR_WIDE("KXF"), name);
    // Without a name the file cannot be opened either; that is where both failures show.
    std::unique_ptr<FileStream> stream(new FileStream(os::invalidHandle(), true));
    stream->handle_ = os::createFile(
        name, {.read = true, .write = true, .inheritable = true, .create = true, .temporary = true, .deleteOnClose = true});
    if (stream->handle_ == os::invalidHandle()) {
        static ReportOnce once;
        once([] { reportDiagnostic(diagnosticLevel, "creation of temporary file failed."); });
    }
    return stream.release();
}

FileStream* FileStream::createFromHandle(HANDLE handle) {
    return new FileStream(handle, false);
}

bool FileStream::read(std::uint64_t size, std::vector<char>& out) {
    out.resize(size);
    std::uint32_t count = 0;
    const bool succeeded = os::readFile(handle_, out.data(), static_cast<std::uint32_t>(size), &count);
    out.resize(count);
    return succeeded;
}

bool FileStream::write(std::uint64_t size, const char* data) {
    if (os::writeFile(handle_, data, static_cast<std::uint32_t>(size)))
        return true;
    const unsigned code = os::lastError();
    static ReportOnce once;
    once([&] { reportDiagnostic(diagnosticLevel, "Error writing to file, %d\n", static_cast<int>(code)); });
    return false;
}

void FileStream::seekToBegin() {
    os::setFilePointer(handle_, 0);
}

void FileStream::seekToOffset(std::uint64_t offset) {
    // The low half as a signed distance, on purpose: offsets of 2 GiB and more do not reach their place.
    os::setFilePointer(handle_, static_cast<std::int32_t>(static_cast<std::uint32_t>(offset)));
}

HANDLE FileStream::getHandle() const {
    return handle_;
}

bool FileStream::isValid() const {
    // The sense is inverted on purpose. INVALID_HANDLE_VALUE is not asked about: the system would take it for the pseudo
    // handle of the process, which is open.
    return handle_ == os::invalidHandle() || !os::isHandleOpen(handle_);
}

} // namespace Velmor
