// import_host: imports IFC models through an importer that runs as a child process, and tells what has changed since the
// previous import. Exit codes: 0 done, 1 the import failed, 2 the command line is not understood.

#include "ImportHost.h"

#include "Comparison.h"
#include "State.h"
#include "Text.h"

#include <cstdio>
#include <cstdlib>
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

void importModel(const Options& options, const fs::path& model) {
    const State state(options.state ? *options.state : fs::path("import-state") / model.filename());
    const bool first = !state.exists();
    // Before anything else, so that a damaged state costs no import.
    const auto before = first ? std::vector<ObjectRecord>() : state.read();

    const auto handedOver = runImporter(options.importer, model);
    const auto comparison = compare(before, handedOver.objects, options.identifyByGeometry);
    state.write(handedOver.objects);
    const auto text = report(model, handedOver, first ? nullptr : &before, comparison);
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

int run(const std::vector<fs::path>& arguments) {
    Options options;
    try {
        options = parseArguments(arguments, defaultImporter());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "import_host: %s\n\n%s", error.what(), usageText);
        return 2;
    }
    if (options.help) {
        std::fputs(usageText, stdout);
        return 0;
    }
    for (const auto& model : options.models) {
        try {
            importModel(options, model);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "import_host: %s: %s\n", utf8(model).c_str(), error.what());
            return 1;
        }
    }
    return 0;
}

} // namespace

#if defined(_WIN32)
int wmain(int argc, wchar_t** argv) {
#else
int main(int argc, char** argv) {
#endif
    return run({argv + (argc > 0 ? 1 : 0), argv + argc});
}
