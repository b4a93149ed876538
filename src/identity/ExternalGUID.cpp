#include <Velmor/Identity.h>

#include "diagnostics/Diagnostics.h"
#include "identity/GuidRecord.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

// An identity is one heap block in the layout of GuidRecord.h. Fields are read and written with memcpy: the block has no
// C++ type, and a byte stream can put any value into any field.

namespace Velmor {

using namespace diagnostics;
using namespace identity;

namespace {

char* allocateGuidRecord() {
    void* record = std::malloc(guidRecordSize);
    if (!record)
        throw std::bad_alloc();
    return static_cast<char*>(record);
}

void setType(char* record, ExternalGUID::Type_t type) {
    std::memcpy(record + tagOffset, &type, sizeof type);
}

// Copies zeros: compilers turn a short memset into a string instruction, which is much slower.
void clearRecord(char* record) {
    static constexpr char zeros[guidRecordSize] = {};
    std::memcpy(record, zeros, guidRecordSize);
}

void fillRecord(char* record, ExternalGUID::Type_t type, const void* payload, std::size_t payloadSize) {
    clearRecord(record);
    setType(record, type);
    std::memcpy(record + payloadOffset, payload, payloadSize);
}

} // namespace

ExternalGUID::ExternalGUID() : record_(allocateGuidRecord()) {
    // Frozen: the other 92 bytes are not initialized.
    setType(record_, Invalid);
}

ExternalGUID::ExternalGUID(const ExternalGUID& other) : record_(allocateGuidRecord()) {
    std::memcpy(record_, other.record_, guidRecordSize);
}

ExternalGUID::~ExternalGUID() {
    std::free(record_);
    record_ = nullptr;
}

ExternalGUID& ExternalGUID::operator=(const ExternalGUID& other) {
    // Frozen: the bytes go into the existing block; an object without a block is left unchanged.
    if (record_ && this != &other)
        std::memcpy(record_, other.record_, guidRecordSize);
    return *this;
}

ExternalGUID ExternalGUID::fromByteStream(unsigned size, const char* bytes) {
    ExternalGUID guid;
    clearRecord(guid.record_);
    // Frozen: any length and any type tag is accepted; bytes after the 96th are ignored.
    if (size > 0)
        std::memcpy(guid.record_, bytes, std::min<std::size_t>(size, guidRecordSize));
    return guid;
}

const char* ExternalGUID::getBytes(unsigned* size) const {
    *size = guidRecordSize;
    return record_;
}

ExternalGUID ExternalGUID::fromIFCGlobalID(const char* id) {
    ExternalGUID guid;
    // Frozen: 22 characters are copied without a check of their length.
    fillRecord(guid.record_, IFCGlobalID, id, ifcGlobalIDSize);
    return guid;
}

ExternalGUID ExternalGUID::fromKX(const KXGUID_t& kxguid) {
    ExternalGUID guid;
    fillRecord(guid.record_, KXGUID, &kxguid, sizeof kxguid);
    return guid;
}

ExternalGUID ExternalGUID::fromCadmaticObi(int obi) {
    ExternalGUID guid;
    fillRecord(guid.record_, CadmaticObi, &obi, sizeof obi);
    return guid;
}

ExternalGUID ExternalGUID::fromDWGHandle(unsigned long long handle) {
    ExternalGUID guid;
    fillRecord(guid.record_, DWGHandle, &handle, sizeof handle);
    return guid;
}

void ExternalGUID::fromSpatialHash(const double* hash) {
    // Frozen: the reserved bytes 4..7 keep their values.
    setType(record_, SpatialHash);
    std::memmove(record_ + payloadOffset, hash, spatialHashSize);
}

ExternalGUID ExternalGUID::spatialHashFromVertexes(unsigned count, const double* xyz) {
    double hash[spatialHashDimension];
    computeSpatialHash(count, xyz, hash);
    ExternalGUID guid;
    fillRecord(guid.record_, SpatialHash, hash, sizeof hash);
    return guid;
}

ExternalGUID::Type_t ExternalGUID::getType() const {
    std::uint32_t type;
    std::memcpy(&type, record_ + tagOffset, sizeof type);
    return static_cast<Type_t>(type);
}

const double* ExternalGUID::getSpatialHash() const {
    static constexpr double neutral[spatialHashDimension] = {};
    // Frozen: a wrong type is not reported, unlike in the other getters.
    return getType() == SpatialHash ? reinterpret_cast<const double*>(record_ + payloadOffset) : neutral;
}

const char* ExternalGUID::getIFCGlobalID() const {
    if (getType() == IFCGlobalID)
        return record_ + payloadOffset;
    static ReportOnce once;
    once();
    return "";
}

const KXGUID_t& ExternalGUID::getKXGUID() const {
    if (getType() == KXGUID)
        return *reinterpret_cast<const KXGUID_t*>(record_ + payloadOffset);
    static ReportOnce once;
    once();
    static constexpr KXGUID_t neutral = {};
    return neutral;
}

int ExternalGUID::getCadmaticObi() const {
    if (getType() != CadmaticObi) {
        static ReportOnce once;
        once();
        return 0;
    }
    int obi;
    std::memcpy(&obi, record_ + payloadOffset, sizeof obi);
    return obi;
}

unsigned long long ExternalGUID::getDWGHandle() const {
    if (getType() != DWGHandle) {
        static ReportOnce once;
        once();
        return 0;
    }
    unsigned long long handle;
    std::memcpy(&handle, record_ + payloadOffset, sizeof handle);
    return handle;
}

} // namespace Velmor
