#include "os/posix/paths.h"

#include "os/os.h"
#include "os/posix/handles.h"
#include "os/posix/names.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

// Normalization works on the text only:
//
//   1. The beginning of the path determines its kind.
//   2. A path on a drive that ends in the name of a device ("C:\x\NUL.txt") becomes the path of the device.
//   3. The root is copied, of a share with the names of server and share. Then each part is appended to the result. Empty
//      and "." parts are skipped; ".." removes the last part, but nothing of the root.
//   4. In a Windows path, dots and blanks at the end of the path and one dot at the end of a folder name are removed.

namespace Velmor::os {

namespace {

using WideView = std::basic_string_view<WideChar>;

/// The kinds of paths.
enum class PathKind {
    native, ///< a path of this system
    drive,  ///< C:...
    share,  ///< \\server\share...
    device, ///< \\.\... or \\?\...
};

PathKind kindOf(WideView path) {
    if (path.size() < 2)
        return PathKind::native;
    const WideChar first = path[0];
    const bool letter =
        (first >= VELMOR_WIDE('A') && first <= VELMOR_WIDE('Z')) || (first >= VELMOR_WIDE('a') && first <= VELMOR_WIDE('z'));
    if (letter && path[1] == VELMOR_WIDE(':'))
        return PathKind::drive;
    if (first != VELMOR_WIDE('\\') || path[1] != VELMOR_WIDE('\\'))
        return PathKind::native; // also a path with two slashes, which are one slash for the system
    const bool device =
        path.size() > 3 && (path[2] == VELMOR_WIDE('.') || path[2] == VELMOR_WIDE('?')) && posix::isSeparator(path[3]);
    return device ? PathKind::device : PathKind::share;
}

/// Returns the device that a path refers to. On a drive this depends on the file name without its extension: "NUL" for
/// "C:\x\NUL .txt".
/// @return empty if the path does not refer to a device.
WideView deviceName(WideView path, PathKind kind) {
    static constexpr WideView names[] = {VELMOR_WIDE("AUX"), VELMOR_WIDE("CON"),    VELMOR_WIDE("NUL"),
                                         VELMOR_WIDE("PRN"), VELMOR_WIDE("CONIN$"), VELMOR_WIDE("CONOUT$")};
    static constexpr WideView ports[] = {VELMOR_WIDE("COM"), VELMOR_WIDE("LPT")};
    const auto upper = [](WideChar unit) {
        return unit >= VELMOR_WIDE('a') && unit <= VELMOR_WIDE('z') ? static_cast<WideChar>(unit - 0x20) : unit;
    };
    const auto equal = [&](WideView text, WideView name) {
        return std::equal(text.begin(), text.end(), name.begin(), name.end(),
                          [&](WideChar unit, WideChar letter) { return upper(unit) == letter; });
    };

    if (kind != PathKind::drive) // the only other path that is treated as a device name
        return equal(path, VELMOR_WIDE("\\\\.\\CON")) ? path.substr(4) : WideView();
    const std::size_t separator = path.find_last_of(VELMOR_WIDE("/\\"));
    path.remove_prefix(separator == WideView::npos ? 2 : separator + 1);
    path = path.substr(0, path.find_first_of(VELMOR_WIDE(".:")));
    path = path.substr(0, path.find_last_not_of(VELMOR_WIDE(' ')) + 1);
    for (const WideView name : names)
        if (equal(path, name))
            return path;
    for (const WideView port : ports)
        if (path.size() == 4 && equal(path.substr(0, 3), port) && path[3] >= VELMOR_WIDE('1') && path[3] <= VELMOR_WIDE('9'))
            return path;
    return {};
}

/// Returns the length of the root of a Windows path, which ".." cannot leave.
std::size_t rootLength(WideView path, PathKind kind) {
    if (kind == PathKind::drive)
        return 3;
    if (kind == PathKind::device)
        return 4;
    std::size_t length = 2;
    for (int part = 0; part < 2; ++part) { // the server and the share, each with the separators that follow it
        length = std::min(path.find(VELMOR_WIDE('\\'), length), path.size());
        length = std::min(path.find_first_not_of(VELMOR_WIDE('\\'), length), path.size());
    }
    return length;
}

/// Removes the last part of a path that ends in a separator. A path that is only a root is not changed.
void removeLastPart(WideString& path, std::size_t root) {
    if (path.size() == root)
        return;
    path.pop_back();
    while (path.size() > root && !posix::isSeparator(path.back()))
        path.pop_back();
}

/// Removes the empty, "." and ".." parts of a path.
/// @param path       an absolute path with one kind of separator.
/// @param root       the length of its root, which is copied.
/// @param appendPart called with the result, the next part, and whether it is the last part; appends the part.
template <class AppendPart>
WideString collapsed(WideView path, std::size_t root, const AppendPart& appendPart) {
    const WideChar separator = path[0] == VELMOR_WIDE('/') ? VELMOR_WIDE('/') : VELMOR_WIDE('\\');
    WideString result(path.substr(0, root));
    for (std::size_t begin = root; begin < path.size();) {
        const std::size_t end = std::min(path.find(separator, begin), path.size());
        const WideView part = path.substr(begin, end - begin);
        const bool last = end == path.size();
        begin = end + 1;
        if (part.empty())
            continue;
        if (part == VELMOR_WIDE(".") || part == VELMOR_WIDE("..")) {
            if (part.size() == 2)
                removeLastPart(result, root);
            if (last && result.size() > root)
                result.pop_back(); // the separator: the path refers to the folder itself
            continue;
        }
        appendPart(result, part, last);
        if (!last)
            result.push_back(separator);
    }
    return result;
}

/// Normalizes a Windows path that does not refer to a device.
WideString windowsPath(WideString path, PathKind kind) {
    std::replace(path.begin(), path.end(), VELMOR_WIDE('/'), VELMOR_WIDE('\\'));
    // Drives have no current folder on this system: a relative path starts at the root.
    if (kind == PathKind::drive && (path.size() == 2 || path[2] != VELMOR_WIDE('\\')))
        path.insert(2, 1, VELMOR_WIDE('\\'));
    if (path == VELMOR_WIDE("\\\\.") || path == VELMOR_WIDE("\\\\?"))
        return VELMOR_WIDE("\\\\.\\");
    const std::size_t root = rootLength(path, kind);
    WideString result = collapsed(path, root, [](WideString& all, WideView part, bool last) {
        all += part;
        if (!last && part.back() == VELMOR_WIDE('.'))
            all.pop_back(); // one dot at the end of a folder name
    });
    while (result.size() > root && (result.back() == VELMOR_WIDE(' ') || result.back() == VELMOR_WIDE('.')))
        result.pop_back();
    return result;
}

} // namespace

namespace posix {

std::optional<std::string> systemPath(const WideChar* path) {
    if (*path == 0 || kindOf(path) == PathKind::drive) {
        setLastError(errorPathNotFound);
        return std::nullopt;
    }
    std::string bytes = narrowName(path);
    std::replace(bytes.begin(), bytes.end(), '\\', '/');
    return bytes;
}

std::optional<WideString> absolutePath(WideString path) {
    if (path.empty() || path.front() != VELMOR_WIDE('/')) {
        const std::unique_ptr<char, void (*)(void*)> folder(getcwd(nullptr, 0), std::free);
        if (folder == nullptr) {
            setLastErrorFromErrno(errno);
            return std::nullopt;
        }
        path = wideName(folder.get()) + VELMOR_WIDE('/') + path;
    }
    return collapsed(path, 1, [](WideString& all, WideView part, bool /*last*/) { all += part; });
}

} // namespace posix

unsigned getFullPathName(const WideChar* path, unsigned capacity, WideChar* buffer, WideChar** filePart) {
    *filePart = nullptr;
    const PathKind kind = kindOf(path);
    WideString full;
    bool hasFilePart = true;
    if (kind == PathKind::native) {
        if (*path == 0) {
            posix::setLastError(posix::errorInvalidName);
            return 0;
        }
        WideString text = path;
        std::replace(text.begin(), text.end(), VELMOR_WIDE('\\'), VELMOR_WIDE('/'));
        const auto absolute = posix::absolutePath(std::move(text));
        if (!absolute)
            return 0;
        full = *absolute;
    } else if (const WideView device = deviceName(path, kind); !device.empty()) {
        full = VELMOR_WIDE("\\\\.\\");
        full += device;
        hasFilePart = false;
    } else {
        full = windowsPath(path, kind);
    }

    const unsigned length = static_cast<unsigned>(full.size());
    if (length >= capacity) {
        posix::setLastError(posix::errorInsufficientBuffer);
        return length + 1;
    }
    std::copy_n(full.c_str(), length + 1, buffer);
    const WideChar separator = kind == PathKind::native ? VELMOR_WIDE('/') : VELMOR_WIDE('\\');
    const std::size_t name = full.rfind(separator) + 1;
    const bool isAfterRoot = kind == PathKind::native || name > 2; // "\\server" has no file name
    if (hasFilePart && isAfterRoot && name < full.size())
        *filePart = buffer + name;
    return length;
}

} // namespace Velmor::os
