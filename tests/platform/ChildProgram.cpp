// The child program of the suites. A variable names the folder with its script, which has one step per line. The child
// writes its report there, as lines "key=value". Without a script its exit code is the number in its last argument.

#include <Velmor/Platform.h>

#include "Tools.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <vector>

#if defined(_WIN32)
    #include <windows.h>
    // Needs windows.h.
    #include <shellapi.h>
#else
    #include <sys/resource.h>
    #include <unistd.h>
#endif

using namespace velmor_tests;

namespace {

std::string report;
std::vector<std::unique_ptr<Velmor::FileStream>> streams; // files that the library opened; they stay open until the end

void add(const std::string& key, const std::string& value) {
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
        add("argument", argument);
    add("folder", narrow(std::filesystem::current_path()));
#if defined(_WIN32)
    add("process", std::to_string(GetCurrentProcessId()));
    add("class", std::to_string(GetPriorityClass(GetCurrentProcess())));
    const HANDLE console =
        CreateFileW(L"CONOUT$", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    add("console", console == noHandle() && GetConsoleWindow() == nullptr ? "no" : "yes");
#else
    add("process", std::to_string(getpid()));
    add("session", std::to_string(getsid(0)));
    add("nice", std::to_string(getpriority(PRIO_PROCESS, 0)));
#endif
}

#if !defined(_WIN32)
void describeDescriptors() {
    std::vector<std::filesystem::path> links;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        links.push_back(entry.path());
    for (const auto& link : links) {
        std::error_code error;
        const auto target = std::filesystem::read_symlink(link, error);
        if (!error) // the descriptor that read the folder is closed now
            add(std::stoi(link.filename()) <= 2 ? "standard" : "handle", link.filename().string() + " " + target.string());
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

void addStream(const char* key, Velmor::FileStream* stream) {
    add(key, stream->getHandle() == noHandle() ? "refused" : "done");
    streams.emplace_back(stream);
}

/// Performs a step about the state of the process: its description, its variables or its handles.
/// @return whether the step is one of these.
bool performInspection(const std::string& name, std::istringstream& step, const std::vector<std::string>& arguments) {
    if (name == "describe") {
        describe(arguments);
    } else if (name == "variable") {
        const auto value = variable(rest(step).c_str());
        add("variable", value ? "'" + *value + "'" : "missing");
    } else if (name == "is-file") {
        add("is-file", isOpenFile(nextHandle(step)) ? "yes" : "no");
    } else if (name == "read") {
        const HANDLE handle = nextHandle(step);
        std::size_t size = 0;
        step >> size;
        add("read", readHandle(handle, size).value_or("failed"));
    } else if (name == "write") {
        const HANDLE handle = nextHandle(step);
        add("write", writeHandle(handle, rest(step)) ? "done" : "failed");
#if !defined(_WIN32)
    } else if (name == "descriptors") {
        describeDescriptors();
#endif
    } else {
        return false;
    }
    return true;
}

void perform(const std::filesystem::path& folder, const std::vector<std::string>& arguments, const std::string& line) {
    std::istringstream step(line);
    std::string name;
    step >> name;
    if (performInspection(name, step, arguments))
        return;
    if (name == "open") {
        addStream("open", Velmor::FileStream::openFileForReading(wide(rest(step))));
    } else if (name == "create") {
        addStream("create", Velmor::FileStream::createFileForWriting(wide(rest(step))));
    } else if (name == "temporary") {
        addStream("temporary", Velmor::FileStream::createTemporaryFile());
    } else if (name == "ready") {
        publish(folder, "ready");
    } else if (name == "wait") {
        if (!eventually([&] { return std::filesystem::exists(folder / "proceed"); }))
            end(folder, childWaitTimedOut);
    } else if (name == "exit") {
        end(folder, static_cast<unsigned>(std::stoul(rest(step))));
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
