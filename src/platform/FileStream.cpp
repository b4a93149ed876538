#include <Velmor/Platform.h>
#include <Velmor/Text.h>

#include "diagnostics/Diagnostics.h"
#include "os/os.h"

#include <memory>

namespace Velmor {

using namespace diagnostics;

namespace {

// Frozen: the message contains "for reading" also for a file that could not be opened for writing.
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
    std::unique_ptr<FileStream> stream(new FileStream(os::invalidHandle(), true)); // before the file is opened: may throw
    stream->handle_ = os::createFile(path.c_str(), {.read = true, .shareReading = true, .sequential = true});
    if (stream->handle_ == os::invalidHandle()) {
        static ReportOnce once;
        once([&] { reportFailedOpening(path); });
    }
    return stream.release();
}

FileStream* FileStream::createFileForWriting(const WideString& path) {
    std::unique_ptr<FileStream> stream(new FileStream(os::invalidHandle(), true)); // before the file is opened: may throw
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
    // If one of these calls fails, the name is empty and createFile fails too.
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
    // Frozen: the size of the system call is used modulo 2^32.
    out.resize(size);
    std::uint32_t count = 0;
    const bool succeeded = os::readFile(handle_, out.data(), static_cast<std::uint32_t>(size), &count);
    out.resize(count);
    return succeeded;
}

bool FileStream::write(std::uint64_t size, const char* data) {
    // Frozen: the size is used modulo 2^32, and the number of bytes written is not checked.
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
    // Frozen: the low 32 bits are a signed distance, so offsets of 2 GiB and more do not reach their position.
    os::setFilePointer(handle_, static_cast<std::int32_t>(static_cast<std::uint32_t>(offset)));
}

HANDLE FileStream::getHandle() const {
    return handle_;
}

bool FileStream::isValid() const {
    // Frozen: the result is inverted. INVALID_HANDLE_VALUE is tested here, because for the system it is the pseudo handle of
    // the process, which is open.
    return handle_ == os::invalidHandle() || !os::isHandleOpen(handle_);
}

} // namespace Velmor
