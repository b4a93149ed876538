// import_host: imports IFC models with an importer that runs as a child process, and reports what changed since the previous
// import. Exit codes: 0 success, 1 an import failed, 2 invalid command line.

#include "importer/exchange/Text.h"
#include "importer/host/Comparison.h"
#include "importer/host/Export.h"
#include "importer/host/ImporterRun.h"
#include "importer/host/Interruption.h"
#include "importer/host/Options.h"
#include "importer/host/Report.h"
#include "importer/host/State.h"

#include <cstdio>
#include <exception>
#include <optional>

namespace {

using namespace importer::host;
using namespace importer::exchange;
namespace fs = std::filesystem;

// ifc_importer in the folder of this program.
fs::path defaultImporter() {
#if defined(_WIN32)
    // The path of this program; the C runtime sets it before wmain.
    return fs::path(_wpgmptr).replace_filename(L"ifc_importer.exe");
#else
    return fs::read_symlink("/proc/self/exe").replace_filename("ifc_importer");
#endif
}

// Writes and flushes standard output.
void print(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        throw ImportError(
            "cannot write to standard output; check that the disk is not full and its reader is still running");
}

// Whether the options require an import even if the model has not changed.
bool requiresImport(const Options& options) {
    return !options.properties.empty() || options.georeference || options.exportFolder;
}

void importModel(const Options& options, const fs::path& model, Exporter& exporter) {
    const State state(options.state ? *options.state : fs::path("import-state") / model.filename());
    const bool first = !state.exists();
    // Read first: a damaged state is reported before the import.
    const StoredImport before = first ? StoredImport() : state.read();

    const std::optional<Origin> origin = originOf(model, options.importer);
    if (origin && origin == before.origin && !requiresImport(options)) {
        checkInterruption();
        print(reportUnchanged(model));
        return;
    }
    const ImportResult result = runImporter(options.importer, model);
    // If a file was changed during the import, it is unknown which content the importer read.
    const std::optional<Origin> knownOrigin = originOf(model, options.importer) == origin ? origin : std::nullopt;
    const Comparison comparison = compare(before.model, result.model, options.identifyByGeometry);
    std::string text = report(model, result, first ? nullptr : &before.model, comparison);
    for (const std::string& globalId : options.properties)
        text += reportProperties(result.model, globalId);
    if (options.georeference)
        text += reportGeoreference(result);
    text += exporter.write(model, result);
    // The report is printed before the state is replaced: if that fails, the next import reports the same changes.
    state.write(result.model, knownOrigin, [&text] {
        checkInterruption();
        print(text);
    });
}

// The text of a file name for messages; the name may be invalid UTF-16.
std::string printableName(const Velmor::WideString& name) {
    return printable(Velmor::StringOperations::ConvertToUTF8(name));
}

// "model.ifc: ", unless the message contains the path of the model.
std::string modelPrefix(const fs::path& model, const std::string& message) {
    std::error_code ignored;
    const std::string path = utf8(fs::absolute(model, ignored)); // as runImporter passes it to the importer
    return !path.empty() && message.find(path) != std::string::npos ? std::string() : utf8(model) + ": ";
}

void printError(const fs::path* model, const std::exception& error) {
    std::fprintf(stderr, "import_host: %s%s\n", model ? modelPrefix(*model, error.what()).c_str() : "", error.what());
}

// A file name as a path.
fs::path pathOf(const Velmor::WideString& name) {
    try {
        return name;
    } catch (const fs::filesystem_error&) {
        throw ImportError("the file name " + printableName(name) + " is not UTF-8 text");
    }
}

// Imports all models of a folder. If one fails, the import continues with the next one.
void importFolder(const Options& options, const fs::path& folder, Exporter& exporter) {
    const std::vector<Velmor::WideString> names = modelsIn(folder);
    if (names.empty())
        throw ImportError("the folder contains no model (*.ifc) or cannot be read");
    std::vector<std::string> failed;
    for (const Velmor::WideString& name : names) {
        fs::path model = folder;
        try {
            model /= pathOf(name);
            importModel(options, model, exporter);
        } catch (const std::exception& error) {
            checkInterruption();
            if (std::ferror(stdout) != 0)
                throw; // no further report can be printed
            printError(&model, error);
            failed.push_back(printableName(name));
        }
    }
    if (!failed.empty()) {
        std::string text = std::to_string(failed.size()) + " of " + std::to_string(names.size()) + " models failed: ";
        for (const std::string& name : failed)
            text += (&name == failed.data() ? "" : ", ") + name;
        throw ImportError(text);
    }
}

int run(const std::vector<fs::path>& arguments) {
    Options options;
    try {
        options = parseArguments(arguments, defaultImporter());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "import_host: %s\n\n%s", error.what(), usageText);
        return 2;
    }
    catchInterruptions();
    const fs::path* model = nullptr;
    try {
        if (options.help) {
            print(usageText);
            return 0;
        }
        Exporter exporter(options.exportFolder);
        for (const fs::path& each : options.models) {
            model = &each;
            const bool isFolder = Velmor::FileOperations::IsDirectory(wide(each));
            (isFolder ? importFolder : importModel)(options, each, exporter);
        }
        return 0;
    } catch (const std::exception& error) {
        printError(model, error);
        return 1;
    }
}

} // namespace

#if defined(_WIN32)
int wmain(int argc, wchar_t** argv) {
#else
int main(int argc, char** argv) {
#endif
    return run({argv + (argc > 0 ? 1 : 0), argv + argc});
}
