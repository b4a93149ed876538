// Time and peak memory of an import of models of several megabytes. No other program reads into the same streams, so the
// peak memory is reported as a multiple of the size of the file.
//
//   importer       ifc_importer alone, from start to end
//   first_import   import_host and its child process, without a state
//   reimport       import_host and its child process, with the state of the same model
//
// The models are a generated one (2400 faceted breps, 4 MB) and those of at least one megabyte in the folder that the
// environment variable VELMOR_MODELS names.

#include <Velmor/Velmor.h>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path workFolder = fs::temp_directory_path() / ("velmor-import-benchmark-" + std::to_string(getpid()));
const fs::path programs = VELMOR_PROGRAMS;

constexpr int bodies = 2400;
constexpr std::uintmax_t minModelSize = 1000000;

// Writes instances with ascending numbers.
class InstanceWriter {
public:
    InstanceWriter(std::ofstream& out, int first) : out_(out), next_(first) {}

    // Returns the reference to the new instance: "#123".
    std::string add(const std::string& text) {
        out_ << '#' << next_ << '=' << text << ";\n";
        return '#' + std::to_string(next_++);
    }

private:
    std::ofstream& out_;
    int next_;
};

std::string brep(InstanceWriter& instances, double length) {
    constexpr int faces[6][4] = {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4}, {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}};
    std::vector<std::string> points;
    for (int corner = 0; corner < 8; ++corner) {
        const bool x = corner % 4 == 1 || corner % 4 == 2;
        const bool y = corner % 4 >= 2;
        char text[96];
        std::snprintf(text, sizeof text, "IFCCARTESIANPOINT((%.6f,%.6f,%.6f))", x ? length : 0.0, y ? 240.25 : 0.0,
                      corner >= 4 ? 2750.125 : 0.0);
        points.push_back(instances.add(text));
    }
    std::string shell;
    for (const auto& face : faces) {
        std::string loop;
        for (const int corner : face) {
            loop += loop.empty() ? "" : ",";
            loop += points[static_cast<std::size_t>(corner)];
        }
        const std::string bound =
            instances.add("IFCFACEOUTERBOUND(" + instances.add("IFCPOLYLOOP((" + loop + "))") + ",.T.)");
        shell += shell.empty() ? "" : ",";
        shell += instances.add("IFCFACE((" + bound + "))");
    }
    return instances.add("IFCFACETEDBREP(" + instances.add("IFCCLOSEDSHELL((" + shell + "))") + ')');
}

void writeModel(const fs::path& file) {
    std::ofstream out(file);
    out << "ISO-10303-21;\nHEADER;\nFILE_DESCRIPTION((''),'2;1');\n"
           "FILE_NAME('generated','2026-02-02T08:00:00',(''),(''),'','','');\nFILE_SCHEMA(('IFC4'));\nENDSEC;\nDATA;\n"
           "#1=IFCSIUNIT(*,.LENGTHUNIT.,.MILLI.,.METRE.);\n#2=IFCUNITASSIGNMENT((#1));\n"
           "#3=IFCCARTESIANPOINT((0.,0.,0.));\n#4=IFCAXIS2PLACEMENT3D(#3,$,$);\n"
           "#5=IFCGEOMETRICREPRESENTATIONCONTEXT($,'Model',3,0.01,#4,$);\n"
           "#6=IFCPROJECT('0Generated0Project0000',$,$,$,$,$,$,(#5),#2);\n";
    for (int i = 0; i < bodies; ++i) {
        InstanceWriter instances(out, 1000 + 100 * i);
        const std::string item = brep(instances, 1200.5 + i);
        const std::string body = instances.add("IFCSHAPEREPRESENTATION(#5,'Body','Brep',(" + item + "))");
        const std::string shape = instances.add("IFCPRODUCTDEFINITIONSHAPE($,$,(" + body + "))");
        const std::string origin = instances.add("IFCCARTESIANPOINT((" + std::to_string(3000 * (i % 60)) + ".," +
                                                 std::to_string(3000 * (i / 60)) + ".,0.))");
        const std::string placement =
            instances.add("IFCLOCALPLACEMENT($," + instances.add("IFCAXIS2PLACEMENT3D(" + origin + ",$,$)") + ')');
        char id[32];
        std::snprintf(id, sizeof id, "0Generated%012d", i);
        instances.add("IFCBUILDINGELEMENTPROXY('" + std::string(id) + "',$,'Block " + std::to_string(i) + "',$,$," +
                      placement + ',' + shape + ",$,$)");
    }
    out << "ENDSEC;\nEND-ISO-10303-21;\n";
}

// Runs a program without output and returns its peak memory in bytes, or that of its largest child process if that is
// larger. The result is at least the memory of this benchmark at the time of the fork, a few megabytes.
double peakMemoryOf(benchmark::State& state, const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& word : command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(open("/dev/null", O_WRONLY), 1);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    if (child < 0 || wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        state.SkipWithError("the program failed");
    return static_cast<double>(usage.ru_maxrss) * 1024.0;
}

void report(benchmark::State& state, const fs::path& model, double peak) {
    const std::uintmax_t size = fs::file_size(model);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
    state.counters["file_MB"] = static_cast<double>(size) / 1e6;
    state.counters["peak_MB"] = peak / 1e6;
    state.counters["peak_per_file"] = peak / static_cast<double>(size);
}

void runImporter(benchmark::State& state, const fs::path& model) {
    using Velmor::EnvironmentVariables;
    EnvironmentVariables::SetInt(VELMOR_WIDE("fo_handle_version"), 1);
    EnvironmentVariables::SetString(VELMOR_WIDE("fo_string_filename"), model.u16string());
    double peak = 0;
    for ([[maybe_unused]] const auto iteration : state) {
        std::vector<std::unique_ptr<Velmor::FileStream>> streams;
        for (const Velmor::WideChar* const name : Velmor::ForeignObjectStreamVariables) {
            streams.emplace_back(Velmor::FileStream::createTemporaryFile());
            EnvironmentVariables::SetFileStreamHandle(name, streams.back()->getHandle());
        }
        peak = std::max(peak, peakMemoryOf(state, {(programs / "ifc_importer").string()}));
    }
    report(state, model, peak);
}

void runHost(benchmark::State& state, const fs::path& model, bool first) {
    const fs::path stateFolder = workFolder / "state";
    const std::vector<std::string> command = {(programs / "import_host").string(), model.string(), "--state",
                                              stateFolder.string()};
    fs::remove_all(stateFolder);
    if (!first)
        peakMemoryOf(state, command);
    double peak = 0;
    for ([[maybe_unused]] const auto iteration : state) {
        if (first) {
            state.PauseTiming();
            fs::remove_all(stateFolder);
            state.ResumeTiming();
        }
        peak = std::max(peak, peakMemoryOf(state, command));
    }
    report(state, model, peak);
}

void add(const fs::path& model) {
    const std::string name = model.stem().string();
    const auto measure = [&name](const char* what, auto&& function) {
        benchmark::RegisterBenchmark((std::string(what) + '/' + name).c_str(), function)
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond);
    };
    measure("importer", [model](benchmark::State& state) { runImporter(state, model); });
    measure("first_import", [model](benchmark::State& state) { runHost(state, model, true); });
    measure("reimport", [model](benchmark::State& state) { runHost(state, model, false); });
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    fs::create_directories(workFolder);
    writeModel(workFolder / "generated.ifc");
    add(workFolder / "generated.ifc");
    if (const char* const folder = std::getenv("VELMOR_MODELS"); folder != nullptr && *folder != 0) {
        for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
            if (entry.path().extension() == ".ifc" && entry.file_size() >= minModelSize)
                add(entry.path());
        }
    }
    benchmark::RunSpecifiedBenchmarks();
    fs::remove_all(workFolder);
}
