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

std::string inQuotes(const std::string& text) {
    return '"' + text + '"';
}

// The content of a file without carriage returns.
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

HostRun runHost(const std::vector<std::string>& arguments, [[maybe_unused]] const std::string& shell) {
    const TemporaryFolder folder;
    const auto output = folder / "output";
    const auto error = folder / "error";
    std::string command = inQuotes(program("import_host").string());
    for (const auto& argument : arguments)
        command += ' ' + inQuotes(argument);
    command += " >" + inQuotes(output.string()) + " 2>" + inQuotes(error.string());
    HostRun run;
#if defined(_WIN32)
    // The shell removes the outermost quotes.
    run.exitCode = std::system(inQuotes(command).c_str());
#else
    const int status = std::system((shell + ' ' + command).c_str());
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

std::string copyWithComment(const fs::path& model, const fs::path& copy) {
    writeFile(copy, readFile(model) + "/* a comment */\n");
    return copy.string();
}

} // namespace velmor_tests
