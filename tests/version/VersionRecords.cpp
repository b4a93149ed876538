#include "VersionRecords.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>

using namespace Velmor;

namespace velmor_tests {

namespace {

Numbers numbersOf(const CExternalVersion& record) {
    Numbers numbers;
    std::copy_n(record.bb, 3, numbers.begin() + boxAt);
    std::copy_n(record.d, 8, numbers.begin() + distancesAt);
    numbers[volumeAt] = record.volume;
    std::copy_n(record.centroid, 3, numbers.begin() + centroidAt);
    return numbers;
}

void append(Bytes& bytes, double number) {
    const auto bits = std::bit_cast<std::uint64_t>(number);
    for (unsigned i = 0; i < 8; ++i)
        bytes.push_back(static_cast<unsigned char>(bits >> (8 * i)));
}

void callBoundingBox(const ExternalVersion& v) {
    double box[3];
    v.getBoundingBox(box, box + 1, box + 2);
}

void callDistances(const ExternalVersion& v) {
    double distances[8];
    v.getDistances(distances);
}

void callVolume(const ExternalVersion& v) {
    v.getVolume();
}

void callCentroid(const ExternalVersion& v) {
    double centroid[3];
    v.getCenteroid(centroid, centroid + 1, centroid + 2);
}

} // namespace

const std::array<Getter, 4> getters = {{
    {callBoundingBox, "box", "no bounding box in this type", {1, 2, 3, 4, 0xFFFFFFFF}, {0}},
    {callDistances, "distances", "no distances in this type", {2, 3, 4, 0xFFFFFFFF}, {0, 1}},
    {callVolume, "volume", "no volume in this type", {2, 4, 0xFFFFFFFF}, {0, 1, 3}},
    {callCentroid, "centroid", "no centeroid in this type", {2, 4, 0xFFFFFFFF}, {0, 1, 3}},
}};

std::vector<std::uint32_t> allTypes() {
    std::vector<std::uint32_t> types = {0, 1, 2, 3};
    types.insert(types.end(), std::begin(typesAboveThree), std::end(typesAboveThree));
    return types;
}

CExternalVersion* newRecord(std::uint32_t type, const Numbers& numbers) {
    auto* record = static_cast<CExternalVersion*>(std::malloc(sizeof(CExternalVersion)));
    if (!record)
        std::abort();
    record->type = static_cast<ExternalVersion::Type_t>(type);
    std::copy_n(numbers.begin() + boxAt, 3, record->bb);
    std::copy_n(numbers.begin() + distancesAt, 8, record->d);
    record->volume = numbers[volumeAt];
    std::copy_n(numbers.begin() + centroidAt, 3, record->centroid);
    return record;
}

ExternalVersion makeVersion(std::uint32_t type, const Numbers& numbers) {
    return ExternalVersion(newRecord(type, numbers));
}

const CExternalVersion* recordOf(const ExternalVersion& v) {
    const CExternalVersion* record;
    std::memcpy(&record, static_cast<const void*>(&v), sizeof record);
    return record;
}

std::array<std::uint64_t, 15> bitsOf(const Numbers& numbers) {
    return std::bit_cast<std::array<std::uint64_t, 15>>(numbers);
}

Numbers numbersFromBits(const std::array<std::uint64_t, 15>& bits) {
    return std::bit_cast<Numbers>(bits);
}

void expectRecord(const ExternalVersion& v, std::uint32_t type, const Numbers& numbers) {
    EXPECT_EQ(static_cast<std::uint32_t>(v.getType()), type);
    EXPECT_EQ(static_cast<std::uint32_t>(recordOf(v)->type), type);
    EXPECT_EQ(bitsOf(numbersOf(*recordOf(v))), bitsOf(numbers));
}

Bytes streamOf(std::uint32_t type, const Numbers& numbers) {
    Bytes bytes;
    for (unsigned i = 0; i < 4; ++i)
        bytes.push_back(static_cast<unsigned char>(type >> (8 * i)));
    std::vector<std::size_t> fields;
    if (type == 2)
        fields = {11, 12, 13, 14};
    if (type == 2 || type == 3)
        fields.insert(fields.end(), {3, 4, 5, 6, 7, 8, 9, 10});
    if (type >= 1 && type <= 3)
        fields.insert(fields.end(), {0, 1, 2});
    for (std::size_t field : fields)
        append(bytes, numbers[field]);
    return bytes;
}

void readStream(ExternalVersion& v, const Bytes& bytes) {
    const std::unique_ptr<char[]> exact(new char[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), exact.get());
    v.fromByteStream(static_cast<unsigned>(bytes.size()), exact.get());
}

std::string textOf(const ExternalVersion& v) {
    char text[1000] = "unchanged";
    v.toString(sizeof text, text);
    return text;
}

} // namespace velmor_tests
