#include <Velmor/Identity.h>

#include "diagnostics/Diagnostics.h"
#include "identity/Record.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace Velmor {

using namespace diagnostics;

namespace {

static_assert(sizeof(int) == 4 && sizeof(unsigned long long) == 8 && sizeof(double) == 8);

char* allocateRecord() {
    void* record = std::malloc(recordSize);
    if (!record)
        throw std::bad_alloc();
    return static_cast<char*>(record);
}

void setType(char* record, ExternalGUID::Type_t type) {
    std::memcpy(record + tagOffset, &type, sizeof type);
}

// A copy of zeros: compilers turn a short memset into a string instruction, which is slower by far.
void clearRecord(char* record) {
    static constexpr char zeros[recordSize] = {};
    std::memcpy(record, zeros, recordSize);
}

void fillRecord(char* record, ExternalGUID::Type_t type, const void* payload, std::size_t payloadSize) {
    clearRecord(record);
    setType(record, type);
    std::memcpy(record + payloadOffset, payload, payloadSize);
}

} // namespace

ExternalGUID::ExternalGUID() : record_(allocateRecord()) {
    setType(record_, Invalid);
}

ExternalGUID::ExternalGUID(const ExternalGUID& other) : record_(allocateRecord()) {
    std::memcpy(record_, other.record_, recordSize);
}

ExternalGUID::~ExternalGUID() {
    std::free(record_);
    record_ = nullptr;
}

ExternalGUID& ExternalGUID::operator=(const ExternalGUID& other) {
    if (record_ && this != &other)
        std::memcpy(record_, other.record_, recordSize);
    return *this;
}

ExternalGUID ExternalGUID::fromByteStream(unsigned size, const char* bytes) {
    ExternalGUID guid;
    clearRecord(guid.record_);
    if (size > 0)
        std::memcpy(guid.record_, bytes, std::min<std::size_t>(size, recordSize));
    return guid;
}

const char* ExternalGUID::getBytes(unsigned* size) const {
    *size = recordSize;
    return record_;
}

ExternalGUID ExternalGUID::fromIFCGlobalID(const char* id) {
    ExternalGUID guid;
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
    setType(record_, SpatialHash);
    std::memmove(record_ + payloadOffset, hash, spatialHashSize);
}

ExternalGUID ExternalGUID::spatialHashFromVertexes(unsigned count, const double* xyz) {
    double hash[identity::spatialHashDimension];
    identity::computeSpatialHash(count, xyz, hash);
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
    static constexpr double none[identity::spatialHashDimension] = {};
    // Silent on purpose, unlike the other getters.
    return getType() == SpatialHash ? reinterpret_cast<const double*>(record_ + payloadOffset) : none;
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
    static constexpr KXGUID_t none = {};
    return none;
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
