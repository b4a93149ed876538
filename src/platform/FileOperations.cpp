#include <Velmor/Platform.h>
#include <Velmor/Text.h>

#include "diagnostics/Diagnostics.h"
#include "os/os.h"

#include <cstdlib>
#include <utility>

namespace Velmor {

using namespace diagnostics;

namespace {

/// A normalized path in a buffer of MAX_PATH units.
class FullPath {
public:
    static constexpr unsigned capacity = 260;

    explicit FullPath(const WideString& path, unsigned usedCapacity = capacity)
        : result_(os::getFullPathName(path.c_str(), usedCapacity, text_, &filePart_)) {}

    /// Whether the path was normalized.
    // Frozen: the limit is the size of the buffer in bytes, so a path of 260 to 519 units is accepted with an empty text.
    bool isAccepted() const { return result_ >= 1 && result_ <= sizeof text_; }

    WideString text() const { return text_; }

    /// The beginning of the file name; null if the path has no file name or does not fit.
    const WideChar* filePart() const { return filePart_; }

    /// The text before the file name. The path must have a file name.
    WideString folder() const { return {static_cast<const WideChar*>(text_), filePart()}; }

private:
    WideChar text_[capacity] = {};
    WideChar* filePart_ = nullptr;
    unsigned result_;
};

/// A search that is closed at the end of its scope.
class Search {
public:
    Search(const WideString& pattern, os::FoundFile& found) : handle_(os::findFirstFile(pattern.c_str(), found)) {}
    ~Search() {
        if (isOpen())
            os::findClose(handle_);
    }
    Search(const Search&) = delete;
    Search& operator=(const Search&) = delete;

    bool isOpen() const { return handle_ != os::invalidHandle(); }
    bool next(os::FoundFile& found) { return os::findNextFile(handle_, found); }

private:
    HANDLE handle_;
};

constexpr WideChar tokenSeparator = VELMOR_WIDE('|');

std::uint64_t joinWords(std::uint32_t high, std::uint32_t low) {
    return std::uint64_t{high} << 32 | low;
}

/// Formats a time with a time picture.
// Frozen: the fields are shifted. The day is used as day of the week, the hour as day, the minute as hour, the second as
// minute.
WideString formatShifted(const SystemTime_s& time, bool force24Hours, const WideChar* picture) {
    const os::SystemTime shifted = {.year = time.year,
                                    .month = time.month,
                                    .dayOfWeek = time.day,
                                    .day = time.hour,
                                    .hour = time.minute,
                                    .minute = time.second,
                                    .second = 0,
                                    .milliseconds = 0};
    constexpr int capacity = 1024;
    WideChar text[capacity] = {};
    os::getTimeFormat(shifted, force24Hours, picture, text, capacity - 1);
    return text;
}

} // namespace

WideString FileOperations::GetFullPath(const WideString& path) {
    const FullPath full(path);
    if (!full.isAccepted()) {
        static ReportOnce once;
        once([] { reportDiagnostic(diagnosticLevel, "Invalid directory."); });
        return {};
    }
    return full.text();
}

WideString FileOperations::GetFullFolder(const WideString& path) {
    const FullPath full(path);
    if (full.filePart() == nullptr || !full.isAccepted()) {
        static ReportOnce once;
        once([] { reportDiagnostic(diagnosticLevel, "Invalid directory."); });
        return {};
    }
    return full.folder();
}

WideString FileOperations::GetFileWithoutPath(const WideString& path) {
    // Frozen: the capacity is two units less than the buffer has.
    const FullPath full(path, FullPath::capacity - 2);
    if (!full.isAccepted()) {
        static ReportOnce once;
        once([] { reportDiagnostic(diagnosticLevel, "Invalid pathName, GetFullPathName failed."); });
        return {};
    }
    if (full.filePart() == nullptr) {
        static ReportOnce once;
        once([] { reportDiagnostic(diagnosticLevel, "Invalid pathName."); });
        return {};
    }
    return full.filePart();
}

WideString FileOperations::GetFileWithoutExtenstion(const WideString& path) {
    const FullPath full(path);
    if (!full.isAccepted()) {
        static ReportOnce once;
        // Frozen: the wide path is printed as narrow text, so the message contains it up to the first zero byte.
        once([&] {
            reportDiagnostic(diagnosticLevel, "Invalid cache file name; filename = %s",
                             reinterpret_cast<const char*>(path.c_str()));
        });
    }
    if (full.filePart() == nullptr)
        return {}; // the contract requires a file name
    const WideString name = full.filePart();
    return name.substr(0, name.find(VELMOR_WIDE('.')));
}

WideString FileOperations::InsertEndingDirectorySlash(const WideString& path) {
    if (path.empty() || path.back() == VELMOR_WIDE('\\') || path.back() == VELMOR_WIDE('/'))
        return path;
    return path + VELMOR_WIDE('\\');
}

bool FileOperations::MatchExtension(const WideString& fileName, const WideString& extensions) {
    if (extensions.empty())
        return true;
    const WideChar* token = extensions.c_str();
    // Frozen: an empty pattern ends the list; the patterns after it are not tried.
    while (const unsigned length = ParseExtension(token)) {
        if (MatchExtension(fileName, token, length))
            return true;
        token += length;
        if (*token == tokenSeparator)
            ++token;
    }
    return false;
}

bool FileOperations::MatchExtension(const WideString& fileName, const WideChar* token, unsigned length) {
    if (fileName.empty())
        return false;
    // Frozen: the first character of the pattern (its asterisk) and of the name are not compared.
    std::size_t tokenIndex = length - 1;
    std::size_t nameIndex = fileName.size() - 1;
    for (; tokenIndex != 0 && nameIndex != 0; --tokenIndex, --nameIndex)
        if (MyToUpper(fileName[nameIndex]) != MyToUpper(token[tokenIndex]))
            return false;
    return true;
}

unsigned FileOperations::ParseExtension(const WideChar* text) {
    unsigned length = 0;
    while (text[length] != 0 && text[length] != tokenSeparator)
        ++length;
    return length;
}

int FileOperations::MyToUpper(int c) {
    return c >= 'a' && c <= 'z' ? c - 32 : c;
}

std::vector<WideString> FileOperations::ScanFilesInDirectory(const WideString& directory) {
    std::vector<WideString> names;
    os::FoundFile found;
    Search search(InsertEndingDirectorySlash(directory) + VELMOR_WIDE('*'), found);
    if (!search.isOpen())
        return names;
    do {
        if ((found.attributes & os::directoryAttribute) == 0)
            names.push_back(std::move(found.name));
    } while (search.next(found));
    return names;
}

bool FileOperations::Exists(const WideString& path) {
    return os::getFileAttributes(path.c_str()) != os::invalidFileAttributes;
}

bool FileOperations::IsDirectory(const WideString& path) {
    const std::uint32_t attributes = os::getFileAttributes(path.c_str());
    return attributes != os::invalidFileAttributes && (attributes & os::directoryAttribute) != 0;
}

bool FileOperations::MakeDirectory(const WideString& path) {
    return os::createDirectory(path.c_str());
}

bool FileOperations::Delete(const WideString& path) {
    if (os::deleteFile(path.c_str()))
        return true;
    static ReportOnce once;
    once([&] {
        reportDiagnostic(diagnosticLevel, "Unable to delete file %s\n",
                         StringOperations::ConvertToCurrentLocale(path).c_str());
    });
    return false;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes the path by value
bool FileOperations::DeleteDirectory(WideString path) {
    return os::removeDirectory(path.c_str());
}

std::int64_t FileOperations::GetFileSize(const WideString& path) {
    os::FileInformation information = {};
    os::getFileAttributesEx(path.c_str(), &information);
    return static_cast<std::int64_t>(joinWords(information.sizeHigh, information.sizeLow));
}

std::uint64_t FileOperations::GetFileLastWriteTime(const WideString& path) {
    os::FileInformation information = {};
    os::getFileAttributesEx(path.c_str(), &information);
    return joinWords(information.lastWriteTimeHigh, information.lastWriteTimeLow);
}

std::int64_t FileOperations::GetFreeBytesAvailable(const WideString& path) {
    std::uint64_t available = 0;
    os::getDiskFreeSpace(path.c_str(), &available);
    return static_cast<std::int64_t>(available);
}

WideString FileOperations::GetModuleByAddress(const void* address) {
    void* const module = os::moduleOfAddress(address);
    if (module == nullptr)
        return {};
    constexpr unsigned capacity = 260;
    WideChar name[capacity] = {};
    if (os::getModuleFileName(module, name, capacity) == 0) {
        static ReportOnce once;
        once([] { reportDiagnostic(diagnosticLevel, "Invalid module"); });
        return {};
    }
    return name;
}

bool FileOperations::GetProductVersion(const WideString& path, unsigned* major, unsigned* minor, unsigned* build,
                                       unsigned* revision) {
    *major = *minor = *build = *revision = 0;
    const std::uint32_t size = os::getFileVersionInfoSize(path.c_str());
    if (size == 0)
        return false;
    void* const block = std::malloc(size);
    if (block == nullptr)
        return false;
    std::uint32_t high = 0;
    std::uint32_t low = 0;
    // Frozen: the block is not freed on failure.
    if (!os::getFileVersionInfo(path.c_str(), size, block) || !os::queryProductVersion(block, size, &high, &low))
        return false;
    *major = high >> 16;
    *minor = high & 0xFFFF;
    *build = low >> 16;
    *revision = low & 0xFFFF;
    std::free(block);
    return true;
}

bool FileOperations::HasReadAccess(const WideString& path) {
    bool read = false;
    bool write = false;
    oe_file_access_core(path, &read, &write);
    return read;
}

bool FileOperations::HasWriteAccess(const WideString& path) {
    bool read = false;
    bool write = false;
    oe_file_access_core(path, &read, &write);
    return write;
}

void FileOperations::oe_file_access_core(const WideString& path, bool* read, bool* write) {
    *read = false;
    *write = false;
    os::checkFileAccess(path.c_str(), read, write);
}

SystemTime_s FileOperations::ConvertToSystemTime(std::uint64_t fileTime) {
    os::SystemTime time = {};
    os::fileTimeToSystemTime(fileTime, &time);
    return {time.year, time.month, time.day, time.hour, time.minute, time.second};
}

WideString FileOperations::ConvertSystemTimeToDateString(const SystemTime_s& time) {
    return formatShifted(time, false, VELMOR_WIDE("ddd',' MMM dd yy"));
}

WideString FileOperations::ConvertSystemTimeToTimeString(const SystemTime_s& time) {
    return formatShifted(time, true, VELMOR_WIDE("HH':'mm':'ss"));
}

} // namespace Velmor
