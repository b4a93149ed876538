#include <Velmor/Version.h>

#include "diagnostics/Diagnostics.h"
#include "version/Euclid.h"
#include "version/VersionRecord.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// The record is a CExternalVersion. The byte stream is the type, four bytes with the lowest first, followed by the groups of
// numbers that the type has, without padding: volume and centroid, then the distances, then the box.
//
// Equality compares each group with an absolute tolerance. All comparisons are "difference > tolerance", so a difference
// equal to the tolerance, or a NaN, counts as equal. The graded comparison is in Similarity.cpp.

namespace Velmor {

using namespace diagnostics;
using namespace version;

namespace {

static_assert(std::endian::native == std::endian::little && sizeof(double) == 8, "numbers are copied to the stream");

constexpr unsigned typeSize = 4;
constexpr unsigned boxSize = coordinateCount * sizeof(double);
constexpr unsigned distancesSize = distanceCount * sizeof(double);
constexpr unsigned solidSize = sizeof(double) + coordinateCount * sizeof(double); // volume and centroid
constexpr unsigned longestStream = typeSize + solidSize + distancesSize + boxSize;

static_assert(longestStream == 124);

constexpr double volumeTolerance = 1e-6;
constexpr double lengthTolerance = 0.001;

bool hasNoFields(ExternalVersion::Type_t type) {
    return type == ExternalVersion::Invalid || type > ExternalVersion::Geometry;
}

bool hasDistances(ExternalVersion::Type_t type) {
    return type == ExternalVersion::Solid || type == ExternalVersion::Geometry;
}

// Frozen: the getters of volume and centroid also return the fields of a type above 3.
bool gettersReturnSolidFields(ExternalVersion::Type_t type) {
    return type == ExternalVersion::Solid || type > ExternalVersion::Geometry;
}

char* write(char* to, const double* numbers, std::size_t count) {
    std::memcpy(to, numbers, count * sizeof(double));
    return to + count * sizeof(double);
}

const char* read(const char* from, double* numbers, std::size_t count) {
    std::memcpy(numbers, from, count * sizeof(double));
    return from + count * sizeof(double);
}

// Frozen: the bytes are signed, so a byte above 127 subtracts 1 from the bytes above it.
std::uint32_t readType(const char* from) {
    std::uint32_t type = 0;
    for (int i = typeSize - 1; i >= 0; --i)
        type = type * 256 + static_cast<std::uint32_t>(static_cast<signed char>(from[i]));
    return type;
}

// Frozen: a NaN counts as no difference.
bool differByMore(const double* a, const double* b, std::size_t count, double tolerance) {
    for (std::size_t i = 0; i < count; ++i) {
        if (std::fabs(a[i] - b[i]) > tolerance)
            return true;
    }
    return false;
}

} // namespace

ExternalVersion::ExternalVersion() : record_(allocateVersionRecord()) {}

ExternalVersion::ExternalVersion(CExternalVersion* record) : record_(record) {}

ExternalVersion::ExternalVersion(const ExternalVersion& other) : record_(allocateVersionRecord()) {
    *record_ = *other.record_;
}

ExternalVersion::~ExternalVersion() {
    std::free(record_);
    record_ = nullptr;
}

ExternalVersion& ExternalVersion::operator=(const ExternalVersion& other) {
    if (this != &other) {
        CExternalVersion* record = allocateVersionRecord();
        *record = *other.record_;
        std::free(record_);
        record_ = record;
    }
    return *this;
}

unsigned ExternalVersion::toByteStream(unsigned size, char* buf) const {
    // Frozen: the size of the longest stream is required for every type.
    if (size < longestStream)
        return 0;
    const Type_t type = record_->type;
    for (unsigned i = 0; i < typeSize; ++i)
        buf[i] = static_cast<char>(type >> (8 * i) & 0xFF);
    char* end = buf + typeSize;
    if (!hasNoFields(type)) {
        if (type == Solid) {
            end = write(end, &record_->volume, 1);
            end = write(end, record_->centroid, coordinateCount);
        }
        if (hasDistances(type))
            end = write(end, record_->d, distanceCount);
        end = write(end, record_->bb, coordinateCount);
    }
    return static_cast<unsigned>(end - buf);
}

void ExternalVersion::fromByteStream(unsigned size, const char* buf) {
    if (size < typeSize) {
        // Frozen: the numbers keep their values.
        record_->type = Invalid;
        return;
    }
    const Type_t type = static_cast<Type_t>(readType(buf));
    // Frozen: the type and the groups before the damage are stored although the rest of the stream is refused.
    record_->type = type;
    buf += typeSize;
    size -= typeSize;
    if (hasNoFields(type))
        return;
    if (type == Solid) {
        if (size < solidSize) {
            static ReportOnce once;
            once();
            return;
        }
        buf = read(buf, &record_->volume, 1);
        buf = read(buf, record_->centroid, coordinateCount);
        size -= solidSize;
    }
    if (hasDistances(type)) {
        if (size < distancesSize) {
            static ReportOnce once;
            once();
            return;
        }
        buf = read(buf, record_->d, distanceCount);
        size -= distancesSize;
    }
    // Frozen: the box is not read if bytes follow it.
    if (size != boxSize) {
        static ReportOnce once;
        once();
        return;
    }
    read(buf, record_->bb, coordinateCount);
}

void ExternalVersion::toString(unsigned size, char* buf) const {
    const double* d = record_->d;
    const double* c = record_->centroid;
    const double diagonal = length(record_->bb[0], record_->bb[1], record_->bb[2]);
    switch (record_->type) {
    case Invalid:
        std::snprintf(buf, size, "invalid");
        break;
    case BoundingBox:
        std::snprintf(buf, size, "bb=%e", diagonal);
        break;
    case Solid: // Frozen: the volume is not printed.
        std::snprintf(buf, size, "bb=%e d1=%e d2=%e d3=%e d4=%e d5=%e d6=%e d7=%e d8=%e c1=%e c2=%e c3=%e", diagonal, d[0],
                      d[1], d[2], d[3], d[4], d[5], d[6], d[7], c[0], c[1], c[2]);
        break;
    case Geometry:
        std::snprintf(buf, size, "bb=%e d1=%e d2=%e d3=%e d4=%e d5=%e d6=%e d7=%e d8=%e", diagonal, d[0], d[1], d[2], d[3],
                      d[4], d[5], d[6], d[7]);
        break;
    default: // Frozen: the buffer is not changed for a type above 3.
        break;
    }
}

void ExternalVersion::getBoundingBox(double* x, double* y, double* z) const {
    if (record_->type == Invalid) {
        static ReportOnce once;
        once([] { reportDiagnostic(diagnosticLevel, "no bounding box in this type"); });
        *x = *y = *z = 0.0;
        return;
    }
    *x = record_->bb[0];
    *y = record_->bb[1];
    *z = record_->bb[2];
}

void ExternalVersion::getCenteroid(double* x, double* y, double* z) const {
    if (!gettersReturnSolidFields(record_->type)) {
        static ReportOnce once;
        once([] { reportDiagnostic(diagnosticLevel, "no centeroid in this type"); });
        *x = *y = *z = 0.0;
        return;
    }
    *x = record_->centroid[0];
    *y = record_->centroid[1];
    *z = record_->centroid[2];
}

void ExternalVersion::getDistances(double* d8) const {
    if (record_->type <= BoundingBox) {
        static ReportOnce once;
        once([] { reportDiagnostic(diagnosticLevel, "no distances in this type"); });
        std::fill_n(d8, distanceCount, 0.0);
        return;
    }
    std::copy_n(record_->d, distanceCount, d8);
}

double ExternalVersion::getVolume() const {
    if (!gettersReturnSolidFields(record_->type)) {
        static ReportOnce once;
        once([] { reportDiagnostic(diagnosticLevel, "no volume in this type"); });
        return 0.0;
    }
    return record_->volume;
}

ExternalVersion::Type_t ExternalVersion::getType() const {
    return record_->type;
}

bool ExternalVersion::operator==(const ExternalVersion& other) const {
    const CExternalVersion& a = *record_;
    const CExternalVersion& b = *other.record_;
    if (a.type != b.type)
        return false;
    // Frozen: a type above 3 is not equal to itself.
    if (hasNoFields(a.type))
        return a.type == Invalid;
    if (a.type == Solid) {
        if (differByMore(&a.volume, &b.volume, 1, volumeTolerance))
            return false;
        if (differByMore(a.centroid, b.centroid, coordinateCount, lengthTolerance))
            return false;
    }
    if (hasDistances(a.type) && differByMore(a.d, b.d, distanceCount, lengthTolerance))
        return false;
    return !(distance(a.bb, b.bb) > lengthTolerance);
}

} // namespace Velmor
