// Scanning folders and matching names. Beside the scan stands the standard library's, beside the matching the C library's.

#include <Velmor/Velmor.h>

#include <benchmark/benchmark.h>

#include <fnmatch.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Velmor::FileOperations;

constexpr int fileCount = 100000;
constexpr std::size_t nameCount = 1000000;

/// A folder of empty files and some folders, as long as the program runs.
class Folder {
public:
    Folder() : path_(fs::temp_directory_path() / ("velmor-files-benchmark-" + std::to_string(getpid()))) {
        fs::create_directory(path_);
        for (int i = 0; i < fileCount; ++i)
            std::ofstream(path_ / ("model-" + std::to_string(i) + (i % 3 == 0 ? ".ifc" : ".dwg")));
        for (int i = 0; i < 100; ++i)
            fs::create_directory(path_ / ("folder-" + std::to_string(i)));
    }
    ~Folder() { fs::remove_all(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const fs::path& path() const { return path_; }

private:
    fs::path path_;
};

const Folder& folder() {
    static const Folder folder;
    return folder;
}

/// Names of 1 to 40 characters with one of six endings.
const std::vector<std::string>& names() {
    static const std::vector<std::string> names = [] {
        const char* const endings[] = {".ifc", ".IFC", ".ifczip", ".dwg", ".txt", ""};
        std::mt19937 random(1);
        std::vector<std::string> result;
        for (std::size_t i = 0; i < nameCount; ++i) {
            std::string name(1 + random() % 40, 'n');
            for (char& c : name)
                c = static_cast<char>('a' + random() % 26);
            result.push_back(name.append(endings[random() % 6]));
        }
        return result;
    }();
    return names;
}

void require(bool condition, const char* what) {
    if (condition)
        return;
    std::fprintf(stderr, "wrong: %s\n", what);
    std::abort();
}

void each(benchmark::State& state, std::size_t pieces) {
    state.counters["each"] = benchmark::Counter(static_cast<double>(state.iterations() * pieces),
                                                benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void Scan_Velmor(benchmark::State& state) {
    const Velmor::WideString path = folder().path().u16string();
    for (auto _ : state) {
        const auto files = FileOperations::ScanFilesInDirectory(path);
        require(files.size() == fileCount, "number of files");
    }
    each(state, fileCount);
}
BENCHMARK(Scan_Velmor)->Unit(benchmark::kMillisecond);

void Scan_StandardLibrary(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<std::u16string> files;
        for (const auto& entry : fs::directory_iterator(folder().path())) {
            if (!entry.is_directory())
                files.push_back(entry.path().filename().u16string());
        }
        require(files.size() == fileCount, "number of files");
    }
    each(state, fileCount);
}
BENCHMARK(Scan_StandardLibrary)->Unit(benchmark::kMillisecond);

void Match_Velmor(benchmark::State& state) {
    std::vector<Velmor::WideString> wide;
    for (const std::string& name : names())
        wide.emplace_back(name.begin(), name.end());
    const Velmor::WideString list = u"*.ifc|*.ifczip";
    std::size_t matches = 0;
    for (auto _ : state) {
        matches = 0;
        for (const Velmor::WideString& name : wide)
            matches += FileOperations::MatchExtension(name, list) ? 1 : 0;
    }
    require(matches > nameCount / 3, "number of matches");
    each(state, nameCount);
}
BENCHMARK(Match_Velmor)->Unit(benchmark::kMillisecond);

void Match_CLibrary(benchmark::State& state) {
    std::size_t matches = 0;
    for (auto _ : state) {
        matches = 0;
        for (const std::string& name : names()) {
            const bool match =
                fnmatch("*.ifc", name.c_str(), FNM_CASEFOLD) == 0 || fnmatch("*.ifczip", name.c_str(), FNM_CASEFOLD) == 0;
            matches += match ? 1 : 0;
        }
    }
    require(matches > nameCount / 3, "number of matches");
    each(state, nameCount);
}
BENCHMARK(Match_CLibrary)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
