// UTF-8 to wide text and back, compared to ICU and iconv, with 1 MiB of text.
//
// "String" creates a new string. "Buffer" converts into an existing buffer, as the interfaces of ICU and iconv do. Their
// strings are created in the fastest way that these interfaces offer without a first pass that measures the text.

#include <Velmor/Text.h>

#include <benchmark/benchmark.h>
#include <unicode/ustring.h>

#include <iconv.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

using Velmor::StringOperations;
using Velmor::WideChar;
using Velmor::WideString;

namespace {

constexpr std::size_t textSize = std::size_t{1} << 20;

enum Script { ascii, latin, cjk };

constexpr const char* scriptNames[] = {"ASCII", "Latin", "CJK"};

/// Words of 2 to 10 letters, separated by blanks. In Latin text about one letter in eight has an accent. In CJK text only
/// the blanks are ASCII.
WideString makeText(Script script) {
    std::mt19937 random(20240229);
    const auto below = [&random](unsigned bound) { return static_cast<unsigned>(random() % bound); };
    WideString text;
    std::size_t size = 0;
    const auto add = [&](unsigned unit) {
        text += static_cast<WideChar>(unit);
        size += unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
    };
    while (size < textSize - 64) {
        for (unsigned letters = 2 + below(9); letters > 0; --letters) {
            if (script == cjk)
                add(0x4E00 + below(0x5000));
            else if (script == latin && below(8) == 0)
                add(0xC0 + below(0x40));
            else
                add('a' + below(26));
        }
        add(' ');
    }
    return text;
}

struct Sample {
    WideString wide;
    std::string narrow;
};

const Sample& sample(Script script) {
    static const std::vector<Sample> samples = [] {
        std::vector<Sample> result;
        for (const Script each : {ascii, latin, cjk}) {
            const WideString wide = makeText(each);
            result.push_back({wide, StringOperations::ConvertToUTF8(wide)});
        }
        return result;
    }();
    return samples[script];
}

const unsigned char* bytesOf(const Sample& text) {
    return reinterpret_cast<const unsigned char*>(text.narrow.data());
}

[[noreturn]] void fail(const char* what) {
    std::fputs(what, stderr);
    std::exit(EXIT_FAILURE);
}

// The conversions of each library. The buffer conversions return the number of units written.

std::size_t velmorDecode(const Sample& text, WideChar* buffer, std::size_t capacity) {
    return StringOperations::ConvertFromUTF8(bytesOf(text), text.narrow.size(), buffer, capacity);
}

WideString velmorDecodeString(const Sample& text) {
    return StringOperations::ConvertFromUTF8(bytesOf(text), text.narrow.size());
}

std::string velmorEncodeString(const Sample& text) {
    return StringOperations::ConvertToUTF8(text.wide);
}

std::size_t icuDecode(const Sample& text, WideChar* buffer, std::size_t capacity) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t written = 0;
    u_strFromUTF8(buffer, static_cast<int32_t>(capacity), &written, text.narrow.data(),
                  static_cast<int32_t>(text.narrow.size()), &status);
    return U_SUCCESS(status) ? static_cast<std::size_t>(written) : 0;
}

WideString icuDecodeString(const Sample& text) {
    WideString result(text.narrow.size(), WideChar{});
    result.resize(icuDecode(text, result.data(), result.size()));
    return result;
}

std::size_t icuEncode(const Sample& text, char* buffer, std::size_t capacity) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t written = 0;
    u_strToUTF8(buffer, static_cast<int32_t>(capacity), &written, text.wide.data(), static_cast<int32_t>(text.wide.size()),
                &status);
    return U_SUCCESS(status) ? static_cast<std::size_t>(written) : 0;
}

std::string icuEncodeString(const Sample& text) {
    std::string result(3 * text.wide.size(), '\0');
    result.resize(icuEncode(text, result.data(), result.size()));
    return result;
}

/// @return the number of bytes written.
std::size_t convertWithIconv(const char* to, const char* from, const void* source, std::size_t sourceSize, void* buffer,
                             std::size_t bufferSize) {
    const iconv_t descriptor = iconv_open(to, from);
    char* in = static_cast<char*>(const_cast<void*>(source));
    char* out = static_cast<char*>(buffer);
    std::size_t left = bufferSize;
    const bool converted = iconv(descriptor, &in, &sourceSize, &out, &left) != static_cast<std::size_t>(-1);
    iconv_close(descriptor);
    return converted ? bufferSize - left : 0;
}

std::size_t iconvDecode(const Sample& text, WideChar* buffer, std::size_t capacity) {
    return convertWithIconv("UTF-16LE", "UTF-8", text.narrow.data(), text.narrow.size(), buffer,
                            capacity * sizeof(WideChar)) /
           sizeof(WideChar);
}

WideString iconvDecodeString(const Sample& text) {
    WideString result(text.narrow.size(), WideChar{});
    result.resize(iconvDecode(text, result.data(), result.size()));
    return result;
}

std::size_t iconvEncode(const Sample& text, char* buffer, std::size_t capacity) {
    return convertWithIconv("UTF-8", "UTF-16LE", text.wide.data(), text.wide.size() * sizeof(WideChar), buffer, capacity);
}

std::string iconvEncodeString(const Sample& text) {
    std::string result(3 * text.wide.size(), '\0');
    result.resize(iconvEncode(text, result.data(), result.size()));
    return result;
}

void measureString(benchmark::State& state, Script script, WideString (*decode)(const Sample&)) {
    const Sample& text = sample(script);
    if (decode(text) != text.wide)
        fail("wrong text\n");
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(decode(text).data());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.narrow.size()));
}

void measureString(benchmark::State& state, Script script, std::string (*encode)(const Sample&)) {
    const Sample& text = sample(script);
    if (encode(text) != text.narrow)
        fail("wrong text\n");
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(encode(text).data());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.narrow.size()));
}

template <class Unit>
void measureBuffer(benchmark::State& state, Script script, std::size_t (*convert)(const Sample&, Unit*, std::size_t)) {
    const Sample& text = sample(script);
    std::vector<Unit> buffer(3 * text.wide.size() + 1);
    if (convert(text, buffer.data(), buffer.size()) != (sizeof(Unit) == 1 ? text.narrow.size() : text.wide.size()))
        fail("wrong length\n");
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(convert(text, buffer.data(), buffer.size()));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.narrow.size()));
}

template <class Convert>
void add(const std::string& what, Script script, void (*measure)(benchmark::State&, Script, Convert), Convert convert) {
    benchmark::RegisterBenchmark((what + "/" + scriptNames[script]).c_str(), [measure, script,
                                                                              convert](benchmark::State& state) {
        measure(state, script, convert);
    })->Unit(benchmark::kMicrosecond);
}

} // namespace

int main(int argc, char** argv) {
    for (const Script script : {ascii, latin, cjk}) {
        add("DecodeBuffer/Velmor", script, measureBuffer<WideChar>, velmorDecode);
        add("DecodeBuffer/ICU", script, measureBuffer<WideChar>, icuDecode);
        add("DecodeBuffer/iconv", script, measureBuffer<WideChar>, iconvDecode);
        add("DecodeString/Velmor", script, measureString, velmorDecodeString);
        add("DecodeString/ICU", script, measureString, icuDecodeString);
        add("DecodeString/iconv", script, measureString, iconvDecodeString);
        // Velmor has no public encoder into a buffer. Compare these to its EncodeString.
        add("EncodeString/Velmor", script, measureString, velmorEncodeString);
        add("EncodeString/ICU", script, measureString, icuEncodeString);
        add("EncodeString/iconv", script, measureString, iconvEncodeString);
        add("EncodeBuffer/ICU", script, measureBuffer<char>, icuEncode);
        add("EncodeBuffer/iconv", script, measureBuffer<char>, iconvEncode);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return EXIT_FAILURE;
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
