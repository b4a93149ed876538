// import_host: imports IFC models through an importer that runs as a child process, and tells what has changed since the
// previous import. Exit codes: 0 done, 1 the import failed, 2 the command line is not understood.

#include "ImportHost.h"

#include "Comparison.h"
#include "ImportHostExport.h"
#include "State.h"
#include "Text.h"

#include <cstdio>
#include <exception>

namespace {

using namespace importer;
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
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
        throw ImportError("standard output cannot be written; is the disk full, or its reader gone?");
    }
}

void importModel(const Options& options, const fs::path& model, Exporter& exporter) {
    const State state(options.state ? *options.state : fs::path("import-state") / model.filename());
    const bool first = !state.exists();
    // Before anything else, so that a damaged state costs no import.
    const auto before = first ? Model() : state.read();

    const auto handedOver = runImporter(options.importer, model);
    const auto comparison = compare(before, handedOver.model, options.identifyByGeometry);
    auto text = report(model, handedOver, first ? nullptr : &before, comparison);
    for (const auto& globalId : options.properties) {
        text += propertiesOf(handedOver.model, globalId);
    }
    if (options.georeference) {
        text += georeferenceOf(handedOver);
    }
    text += exporter.write(model, handedOver);
    // What has changed is told only once: who has not been told gets it at the next import.
    state.write(handedOver.model, [&text] {
        checkInterruption();
        print(text);
    });
}

// "model.ifc: ", for a message that does not name the model itself.
std::string modelPrefix(const fs::path& model, const std::string& message) {
    std::error_code ignored;
    const auto whole = utf8(fs::absolute(model, ignored)); // as the importer is told
    return !whole.empty() && message.find(whole) != std::string::npos ? std::string() : utf8(model) + ": ";
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
            importModel(options, each, exporter);
        }
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "import_host: %s%s\n", model ? modelPrefix(*model, error.what()).c_str() : "", error.what());
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
