#pragma once

// Versions with known content, and their expected byte streams.

#include <Velmor/Version.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace velmor_tests {

inline constexpr double infinity = std::numeric_limits<double>::infinity();
inline constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

using Bytes = std::vector<unsigned char>;

/// The fifteen numbers of a record in its order: box, distances, volume, centroid.
using Numbers = std::array<double, 15>;

inline constexpr std::size_t boxAt = 0, distancesAt = 3, volumeAt = 11, centroidAt = 12;

inline constexpr Numbers someNumbers = {1.5, 2.5, 3.5, 10, 20, 30, 40, 50, 60, 70, 80, 99.5, -1, -2, -3};

inline constexpr std::uint32_t typesAboveThree[] = {4,     5,          7,          100,        255,       256,
                                                    0x102, 0x7FFFFFFF, 0x80000000, 0x80000001, 0xFFFFFFFF};

/// Types 0 to 3 and `typesAboveThree`.
std::vector<std::uint32_t> allTypes();

/// A record from `malloc`.
Velmor::CExternalVersion* newRecord(std::uint32_t type, const Numbers& numbers);

Velmor::ExternalVersion makeVersion(std::uint32_t type, const Numbers& numbers = someNumbers);

/// The record that a version owns.
const Velmor::CExternalVersion* recordOf(const Velmor::ExternalVersion& v);

std::array<std::uint64_t, 15> bitsOf(const Numbers& numbers);
Numbers numbersFromBits(const std::array<std::uint64_t, 15>& bits);

/// Checks the type and the bits of all numbers.
void expectRecord(const Velmor::ExternalVersion& v, std::uint32_t type, const Numbers& numbers);

/// The byte stream of a version.
Bytes streamOf(std::uint32_t type, const Numbers& numbers);

/// Reads a stream from a heap block of its exact size, so that AddressSanitizer detects a read after its end.
void readStream(Velmor::ExternalVersion& v, const Bytes& bytes);

std::string textOf(const Velmor::ExternalVersion& v);

/// A getter and the types for which it returns zeros and reports a text.
struct Getter {
    void (*call)(const Velmor::ExternalVersion& v);
    const char* name;
    const char* text;
    std::vector<std::uint32_t> silentFor;
    std::vector<std::uint32_t> reportsFor;
};

extern const std::array<Getter, 4> getters;

} // namespace velmor_tests
