// SHA-1 of data and of a file, compared to OpenSSL's EVP interface, whose algorithm and context are created before the
// measurement.
//
//   data/SIZE      a message in memory, in one piece
//   file           a file of 256 MiB in pieces of 1 MiB
//   over_4GiB      a message of 4.1 GiB in pieces of 64 MiB
//
// The rates are bytes per second of processor time, the best of the repetitions, which alternate between the two libraries.
// On a processor with SHA instructions the program measures everything a second time without them in both libraries. OpenSSL
// reads OPENSSL_ia32cap when it starts, so the program restarts itself. All digests are compared.

#include <Velmor/Digest.h>

#include "ProcessMemory.h"
#include "digest/Sha1Compression.h"

#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

using Velmor::Sha1;
using Digest = std::vector<unsigned char>;

constexpr std::size_t KiB = 1024;
constexpr std::size_t MiB = KiB * KiB;
constexpr std::size_t filePieceSize = MiB;
constexpr std::size_t fileSize = 256 * MiB;

/// Makes OpenSSL ignore the SHA instructions.
constexpr const char* maskVariable = "OPENSSL_ia32cap";
constexpr const char* mask = ":~0x20000000";

/// The name of the kernel that uses the SHA instructions.
constexpr std::string_view shaExtensions = "sha extensions";

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "%s\n", what);
    std::exit(EXIT_FAILURE);
}

/// Random bytes, as many as the largest message has.
const std::vector<char>& bytes() {
    static const std::vector<char> result = [] {
        std::vector<char> filled(64 * MiB);
        std::mt19937_64 random(20240229);
        for (std::size_t i = 0; i < filled.size(); i += 8) {
            const auto word = random();
            std::memcpy(&filled[i], &word, sizeof word);
        }
        return filled;
    }();
    return result;
}

/// The file to hash. It is removed when the program ends. It is a static object, because `fail` destroys only these.
class HashedFile {
public:
    HashedFile() = default;
    ~HashedFile() { remove(); }
    HashedFile(const HashedFile&) = delete;
    HashedFile& operator=(const HashedFile&) = delete;

    const std::string& path() const { return path_; }

    void write() const {
        std::ofstream out(path_, std::ios::binary);
        for (std::size_t i = 0; i < fileSize; i += bytes().size())
            out.write(bytes().data(), static_cast<std::streamsize>(bytes().size()));
        if (!out.flush())
            fail("cannot write the file");
    }

    void remove() const {
        std::error_code ignored;
        fs::remove(path_, ignored);
    }

private:
    std::string path_ = fs::temp_directory_path() / ("velmor-digest-benchmark-" + std::to_string(getpid()));
};

const HashedFile& hashedFile() {
    static const HashedFile file;
    return file;
}

class Evp {
public:
    Evp() { begin(); }

    void begin() { check(EVP_DigestInit_ex(context_.get(), algorithm_.get(), nullptr)); }
    void append(const char* data, std::size_t size) { check(EVP_DigestUpdate(context_.get(), data, size)); }

    Digest finish() {
        Digest digest(20);
        check(EVP_DigestFinal_ex(context_.get(), digest.data(), nullptr));
        return digest;
    }

private:
    static void check(int result) {
        if (result != 1)
            fail("EVP failed");
    }

    std::unique_ptr<EVP_MD, decltype(&EVP_MD_free)> algorithm_{EVP_MD_fetch(nullptr, "SHA1", nullptr), &EVP_MD_free};
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context_{EVP_MD_CTX_new(), &EVP_MD_CTX_free};
};

Evp& evp() {
    static Evp evp;
    return evp;
}

Digest velmorData(const std::vector<char>& data) {
    return Sha1::FromData(data).asBytes();
}

Digest evpData(const std::vector<char>& data) {
    evp().begin();
    evp().append(data.data(), data.size());
    return evp().finish();
}

Digest velmorFile() {
    return Sha1::FromFile(fs::path(hashedFile().path()).u16string()).asBytes();
}

Digest evpFile() {
    std::vector<char> piece(filePieceSize);
    const int file = open(hashedFile().path().c_str(), O_RDONLY);
    evp().begin();
    for (ssize_t count = 0; (count = read(file, piece.data(), piece.size())) > 0;)
        evp().append(piece.data(), static_cast<std::size_t>(count));
    close(file);
    return evp().finish();
}

constexpr int longPieces = 66;

Digest velmorLong() {
    Sha1 hasher;
    for (int i = 0; i < longPieces; ++i)
        hasher.appendData(bytes());
    return hasher.calculateDigest().asBytes();
}

Digest evpLong() {
    evp().begin();
    for (int i = 0; i < longPieces; ++i)
        evp().append(bytes().data(), bytes().size());
    return evp().finish();
}

using Compute = std::function<Digest()>;

/// Registers the benchmarks of both libraries for one message.
void add(const std::string& name, std::size_t size, int repetitions, const Compute& velmor, const Compute& peer) {
    const auto known = std::make_shared<Digest>();
    for (const auto& [library, compute] : {std::pair{"/Velmor", velmor}, std::pair{"/EVP", peer}}) {
        const auto measure = [size, known, compute = compute](benchmark::State& state) {
            Digest digest;
            for ([[maybe_unused]] auto iteration : state)
                digest = compute();
            if (known->empty())
                *known = digest;
            if (digest != *known)
                fail("wrong digest");
            state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
        };
        benchmark::RegisterBenchmark((name + library).c_str(), measure)->MinTime(0.1)->Repetitions(repetitions);
    }
}

/// Prints one line per message: the best rate of each library, and their ratio.
class Table : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& context) override {
        PrintBasicContext(&GetErrorStream(), context);
        return true;
    }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration)
                continue;
            const std::string& name = run.run_name.function_name;
            Row& row = rows_[run.family_index / 2];
            row.name = name.substr(0, name.rfind('/'));
            const bool isVelmor = name.ends_with("Velmor");
            double& best = isVelmor ? row.velmor : row.peer;
            best = std::max(best, double{run.counters.at("bytes_per_second")});
        }
    }

    void Finalize() override {
        std::printf("%-12s %12s %12s %8s\n", "SHA-1", "Velmor MB/s", "EVP MB/s", "ratio");
        for (const auto& [index, row] : rows_)
            std::printf("%-12s %12.0f %12.0f %8.3f\n", row.name.c_str(), row.velmor / 1e6, row.peer / 1e6,
                        row.velmor / row.peer);
    }

private:
    struct Row {
        std::string name;
        double velmor = 0;
        double peer = 0;
    };

    std::map<std::int64_t, Row> rows_; ///< In the order of registration. The two benchmarks of a message are adjacent.
};

/// Prints the memory that hashing the file needs in addition to the memory of the program.
void printPeakMemoryOf(const char* name, const Compute& compute) {
    std::fflush(stdout);
    const pid_t child = fork();
    if (child != 0) {
        int status = 0;
        if (waitpid(child, &status, 0) != child || status != 0)
            fail("cannot measure the peak memory");
        return;
    }
    const long before = benchmarks::memoryStatus("VmRSS");
    compute();
    std::printf("%-8s %6.2f MiB\n", name, static_cast<double>(benchmarks::memoryStatus("VmHWM") - before) / 1024.0);
    std::fflush(stdout);
    _exit(0);
}

/// The fastest kernel; if `masked`, the fastest one without SHA instructions.
const Velmor::digest::Kernel& fastest(bool masked) {
    const auto kernels = Velmor::digest::compressDispatch.kernels(); // the first one is plain and always suitable
    return *std::find_if(kernels.rbegin(), kernels.rend() - 1,
                         [masked](const auto& kernel) { return !masked || kernel.name != shaExtensions; });
}

} // namespace

int main(int argc, char** argv) {
    // Interleaved, so that other load of the machine affects both libraries.
    std::vector<char*> arguments(argv, argv + argc);
    std::string interleaved = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, interleaved.data());
    int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return EXIT_FAILURE;

    const char* const masking = std::getenv(maskVariable);
    const bool masked = masking && std::string(masking) == mask;
    const Velmor::digest::Kernel& kernel = fastest(masked);
    Velmor::digest::compressDispatch.force(&kernel);
    std::printf("Kernel: %s\n", kernel.name);

    hashedFile().write();
    std::printf("Peak memory of a file of 256 MiB\n");
    printPeakMemoryOf("Velmor", velmorFile);
    printPeakMemoryOf("EVP", evpFile);
    std::fflush(stdout);

    for (const std::size_t size : {std::size_t{64}, KiB, MiB, 64 * MiB}) {
        const auto data =
            std::make_shared<std::vector<char>>(bytes().begin(), bytes().begin() + static_cast<std::ptrdiff_t>(size));
        const std::string unit = size < KiB   ? std::to_string(size) + "B"
                                 : size < MiB ? "1KiB"
                                              : std::to_string(size / MiB) + "MiB";
        add(
            "data/" + unit, size, 20, [data] { return velmorData(*data); }, [data] { return evpData(*data); });
    }
    add("file", fileSize, 5, velmorFile, evpFile);
    add("over_4GiB", longPieces * bytes().size(), 1, velmorLong, evpLong);

    Table table;
    benchmark::RunSpecifiedBenchmarks(&table);

    if (kernel.name == shaExtensions) {
        hashedFile().remove(); // execv runs no destructors
        std::fflush(stdout);
        setenv(maskVariable, mask, 1);
        execv("/proc/self/exe", argv);
        fail("cannot restart the program");
    }
    return EXIT_SUCCESS;
}
