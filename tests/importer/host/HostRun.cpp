#include "importer/host/HostRun.h"

#include <algorithm>
#include <cstdlib>
#include <ostream>
#include <sstream>

#if !defined(_WIN32)
    #include <sys/wait.h>
#endif

namespace velmor_tests {
namespace {

namespace fs = std::filesystem;

std::string quoted(std::string text) {
    return '"' + text + '"';
}

std::string textOf(const fs::path& file) {
    auto text = readFile(file);
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    return text;
}

} // namespace

void PrintTo(const TableRow& row, std::ostream* stream) {
    *stream << "{objects " << row.objects << ", new " << row.added << ", unchanged " << row.unchanged << ", modified "
            << row.modified << " (" << row.lowestSimilarity << "), gone " << row.gone << '}';
}

std::map<std::string, TableRow> HostRun::table() const {
    std::map<std::string, TableRow> rows;
    std::istringstream lines(output);
    std::string line;
    bool inTable = false;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string name;
        words >> name;
        if (name == "class" && line.ends_with("gone")) {
            inTable = true;
            rows.clear();
        } else if (inTable) {
            TableRow row;
            words >> row.objects >> row.added >> row.unchanged >> row.modified >> row.lowestSimilarity >> row.gone;
            rows[name] = row;
            inTable = name != "total";
        }
    }
    return rows;
}

HostRun runHost(const std::vector<std::string>& arguments, [[maybe_unused]] const std::string& before) {
    const TemporaryFolder folder;
    const auto output = folder / "output";
    const auto error = folder / "error";
    std::string command = quoted(program("import_host").string());
    for (const auto& argument : arguments)
        command += ' ' + quoted(argument);
    command += " >" + quoted(output.string()) + " 2>" + quoted(error.string());
    HostRun run;
#if defined(_WIN32)
    // The shell takes off the outermost quotes.
    run.exitCode = std::system(quoted(command).c_str());
#else
    const int status = std::system((before + ' ' + command).c_str());
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
    run.output = textOf(output);
    run.error = textOf(error);
    return run;
}

fs::path program(const std::string& name) {
#if defined(_WIN32)
    return fs::path(VELMOR_PROGRAMS) / (name + ".exe");
#else
    return fs::path(VELMOR_PROGRAMS) / name;
#endif
}

fs::path exampleModel(const std::string& name) {
    return fs::path(VELMOR_EXAMPLE_MODELS) / name;
}

std::string commented(const fs::path& model, const fs::path& copy) {
    writeFile(copy, readFile(model) + "/* the same again */\n");
    return copy.string();
}

} // namespace velmor_tests
