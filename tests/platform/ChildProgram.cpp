// The child of the suites. It works off the script in the folder that a variable names, one step a line, and leaves what it
// found there as lines "key=value". Without a script it ends with the number that its last argument is.

#include <Velmor/Platform.h>

#include "Tools.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <vector>

#if defined(_WIN32)
    #include <shellapi.h>
    #include <windows.h>
#else
    #include <sys/resource.h>
    #include <unistd.h>
#endif

using namespace velmor_tests;

namespace {

std::string report;
std::vector<std::unique_ptr<Velmor::FileStream>> streams; // what the library opened stays open to the end

void tell(const std::string& key, const std::string& value) {
    report += key + "=" + value + "\n";
}

void publish(const std::filesystem::path& folder, const char* name) {
    writeFile(folder / "part", report);
    std::filesystem::rename(folder / "part", folder / name);
}

[[noreturn]] void end(const std::filesystem::path& folder, unsigned exitCode) {
    publish(folder, "report");
    std::_Exit(static_cast<int>(exitCode));
}

void describe(const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments)
        tell("argument", argument);
    tell("folder", narrow(std::filesystem::current_path()));
#if defined(_WIN32)
    tell("process", std::to_string(GetCurrentProcessId()));
    tell("class", std::to_string(GetPriorityClass(GetCurrentProcess())));
    const HANDLE console =
        CreateFileW(L"CONOUT$", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    tell("console", console == noHandle() && GetConsoleWindow() == nullptr ? "no" : "yes");
#else
    tell("process", std::to_string(getpid()));
    tell("session", std::to_string(getsid(0)));
    tell("nice", std::to_string(getpriority(PRIO_PROCESS, 0)));
#endif
}

#if !defined(_WIN32)
void tellDescriptors() {
    std::vector<std::filesystem::path> links;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        links.push_back(entry.path());
    for (const auto& link : links) {
        std::error_code gone;
        const auto target = std::filesystem::read_symlink(link, gone);
        if (!gone) // the one that read the folder is closed by now
            tell(std::stoi(link.filename()) <= 2 ? "standard" : "handle", link.filename().string() + " " + target.string());
    }
}
#endif

HANDLE nextHandle(std::istringstream& step) {
    long long value = 0;
    step >> value;
    step.ignore(1);
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(value));
}

std::string rest(std::istringstream& step) {
    std::string text;
    std::getline(step >> std::ws, text);
    return text;
}

void keep(const char* key, Velmor::FileStream* stream) {
    tell(key, stream->getHandle() == noHandle() ? "refused" : "done");
    streams.emplace_back(stream);
}

void perform(const std::filesystem::path& folder, const std::vector<std::string>& arguments, const std::string& line) {
    std::istringstream step(line);
    std::string name;
    step >> name;
    if (name == "describe") {
        describe(arguments);
    } else if (name == "variable") {
        const auto value = variable(rest(step).c_str());
        tell("variable", value ? "'" + *value + "'" : "missing");
    } else if (name == "is-file") {
        tell("is-file", isOpenFile(nextHandle(step)) ? "yes" : "no");
    } else if (name == "read") {
        const HANDLE handle = nextHandle(step);
        std::size_t size = 0;
        step >> size;
        tell("read", readHandle(handle, size).value_or("failed"));
    } else if (name == "write") {
        const HANDLE handle = nextHandle(step);
        tell("write", writeHandle(handle, rest(step)) ? "done" : "failed");
    } else if (name == "open") {
        keep("open", Velmor::FileStream::openFileForReading(wide(rest(step))));
    } else if (name == "create") {
        keep("create", Velmor::FileStream::createFileForWriting(wide(rest(step))));
    } else if (name == "temporary") {
        keep("temporary", Velmor::FileStream::createTemporaryFile());
    } else if (name == "ready") {
        publish(folder, "ready");
    } else if (name == "wait") {
        if (!eventually([&] { return std::filesystem::exists(folder / "proceed"); }))
            end(folder, childWaitedInVain);
    } else if (name == "exit") {
        end(folder, static_cast<unsigned>(std::stoul(rest(step))));
#if !defined(_WIN32)
    } else if (name == "descriptors") {
        tellDescriptors();
#endif
    } else {
        end(folder, childUnknownStep);
    }
}

int run(const std::vector<std::string>& arguments) {
    const std::string script = variable(childFolderVariable).value_or("");
    if (script.empty())
        return static_cast<int>(std::strtoul(arguments.back().c_str(), nullptr, 10));
    const std::filesystem::path folder = pathOf(script);
    std::istringstream steps(readFile(folder / "script"));
    for (std::string line; std::getline(steps, line);)
        perform(folder, arguments, line);
    end(folder, 0);
}

} // namespace

int main(int argumentCount, char** argumentValues) {
    std::vector<std::string> arguments;
#if defined(_WIN32)
    static_cast<void>(argumentValues);
    LPWSTR* values = CommandLineToArgvW(GetCommandLineW(), &argumentCount);
    for (int i = 0; i < argumentCount; ++i)
        arguments.push_back(narrow(std::wstring(values[i])));
    LocalFree(values);
#else
    arguments.assign(argumentValues, argumentValues + argumentCount);
#endif
    return run(arguments);
}
