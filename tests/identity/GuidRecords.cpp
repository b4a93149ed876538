#include "GuidRecords.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

using namespace Velmor;

namespace velmor_tests {

namespace {

void putTag(Record& record, std::uint32_t tag) {
    for (unsigned i = 0; i < 4; ++i)
        record[i] = static_cast<unsigned char>(tag >> (8 * i));
}

} // namespace

Record recordOf(const ExternalGUID& guid) {
    unsigned size = 0;
    const char* bytes = guid.getBytes(&size);
    EXPECT_EQ(size, guidRecordSize);
    Record record;
    std::memcpy(record.data(), bytes, record.size());
    return record;
}

const void* blockOf(const ExternalGUID& guid) {
    unsigned size = 0;
    return guid.getBytes(&size);
}

ExternalGUID withTag(std::uint32_t tag) {
    Record record;
    for (unsigned i = 0; i < guidRecordSize; ++i)
        record[i] = static_cast<unsigned char>(0x40 + i);
    putTag(record, tag);
    return ExternalGUID::fromByteStream(guidRecordSize, reinterpret_cast<const char*>(record.data()));
}

Record expectedRecord(std::uint32_t tag, const std::vector<unsigned char>& payload) {
    Record record{};
    putTag(record, tag);
    std::copy(payload.begin(), payload.end(), record.begin() + guidPayloadOffset);
    return record;
}

KXGUID_t hostGUID(unsigned char first) {
    KXGUID_t guid;
    for (unsigned i = 0; i < 16; ++i)
        guid.bytes[i] = static_cast<unsigned char>(first + i);
    return guid;
}

std::unique_ptr<double[]> specialHash() {
    auto hash = std::make_unique<double[]>(11);
    std::memcpy(hash.get(), specialDoubles, sizeof specialDoubles);
    return hash;
}

std::vector<unsigned char> specialHashBytes() {
    std::vector<unsigned char> bytes;
    for (std::uint64_t bits : specialDoubles)
        for (unsigned i = 0; i < 8; ++i)
            bytes.push_back(static_cast<unsigned char>(bits >> (8 * i)));
    return bytes;
}

} // namespace velmor_tests
