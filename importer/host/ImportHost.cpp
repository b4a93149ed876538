// import_host: imports IFC models through an importer that runs as a child process, and tells what has changed since the
// previous import. Exit codes: 0 done, 1 an import failed, 2 the command line is not understood.

#include "importer/host/ImportHost.h"

#include "importer/exchange/Text.h"
#include "importer/host/Comparison.h"
#include "importer/host/Export.h"
#include "importer/host/State.h"

#include <cstdio>
#include <exception>
#include <optional>

namespace {

using namespace importer::host;
using namespace importer::exchange;
namespace fs = std::filesystem;

// The importer lies beside this program.
fs::path defaultImporter() {
#if defined(_WIN32)
    // The C runtime's name of the program, which is a whole path once wmain has been called.
    return fs::path(_wpgmptr).replace_filename(L"ifc_importer.exe");
#else
    return fs::read_symlink("/proc/self/exe").replace_filename("ifc_importer");
#endif
}

// Writes to standard output, down to the system.
void print(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        throw ImportError("standard output cannot be written; is the disk full, or its reader gone?");
}

// Whether something is asked for that only an importer can tell.
bool needsImporter(const Options& options) {
    return !options.properties.empty() || options.georeference || options.exportFolder;
}

void importModel(const Options& options, const fs::path& model, Exporter& exporter) {
    const State state(options.state ? *options.state : fs::path("import-state") / model.filename());
    const bool first = !state.exists();
    // Before anything else, so that a damaged state costs no import.
    const auto before = first ? StoredImport() : state.read();

    const auto origin = originOf(model, options.importer);
    if (origin && origin == before.origin && !needsImporter(options)) {
        checkInterruption();
        print(reportUnchanged(model));
        return;
    }
    const auto result = runImporter(options.importer, model);
    // A file that was written to in the meantime may have been read as it was or as it is, or in parts.
    const auto known = originOf(model, options.importer) == origin ? origin : std::nullopt;
    const auto comparison = compare(before.model, result.model, options.identifyByGeometry);
    auto text = report(model, result, first ? nullptr : &before.model, comparison);
    for (const auto& globalId : options.properties)
        text += propertiesOf(result.model, globalId);
    if (options.georeference)
        text += georeferenceOf(result);
    text += exporter.write(model, result);
    // What has changed is told only once: who has not been told gets it at the next import.
    state.write(result.model, known, [&text] {
        checkInterruption();
        print(text);
    });
}

// A name for a message, whatever its units are.
std::string shownName(const Velmor::WideString& name) {
    return printable(Velmor::StringOperations::ConvertToUTF8(name));
}

// "model.ifc: ", for a message that does not name the model itself.
std::string modelPrefix(const fs::path& model, const std::string& message) {
    std::error_code ignored;
    const auto whole = utf8(fs::absolute(model, ignored)); // as the importer is told
    return !whole.empty() && message.find(whole) != std::string::npos ? std::string() : utf8(model) + ": ";
}

void tellFailure(const fs::path* model, const std::exception& error) {
    std::fprintf(stderr, "import_host: %s%s\n", model ? modelPrefix(*model, error.what()).c_str() : "", error.what());
}

// The name of a file as a path.
fs::path pathOf(const Velmor::WideString& name) {
    try {
        return name;
    } catch (const fs::filesystem_error&) {
        throw ImportError("the file name " + shownName(name) + " is not UTF-8 text");
    }
}

// Imports all models of a folder; one that fails does not keep the others from it.
void importFolder(const Options& options, const fs::path& folder, Exporter& exporter) {
    const auto names = modelsIn(folder);
    if (names.empty())
        throw ImportError("there is no model (*.ifc) in this folder, or it cannot be read");
    std::vector<std::string> failed;
    for (const auto& name : names) {
        fs::path model = folder;
        try {
            model /= pathOf(name);
            importModel(options, model, exporter);
        } catch (const std::exception& error) {
            checkInterruption();
            if (std::ferror(stdout) != 0)
                throw; // no other model could be reported either
            tellFailure(&model, error);
            failed.push_back(shownName(name));
        }
    }
    if (!failed.empty()) {
        std::string text = std::to_string(failed.size()) + " of " + std::to_string(names.size()) + " models failed: ";
        for (const auto& name : failed)
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
    const std::filesystem::path* model = nullptr;
    try {
        if (options.help) {
            print(usageText);
            return 0;
        }
        Exporter exporter(options.exportFolder);
        for (const auto& each : options.models) {
            model = &each;
            const bool isFolder = Velmor::FileOperations::IsDirectory(wide(each));
            (isFolder ? importFolder : importModel)(options, each, exporter);
        }
        return 0;
    } catch (const std::exception& error) {
        tellFailure(model, error);
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
