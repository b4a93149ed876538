#pragma once

/// @file
/// Has a foreign object changed: geometric fingerprints, their byte stream and text form, and their comparison.

#include <Velmor/Export.h>

#include <cstdint>

namespace Velmor {

struct CExternalVersion;

/// Geometric fingerprint of one foreign object, kept from one import to the next.
///
/// Lengths are in the importer's unit, the same at every import; the tolerances below are absolute in that unit.
///
/// Failure: a getter that the fingerprint's type does not answer gives zeros; the first time this happens in the process,
/// per getter, it reports so to an attached debugger and breaks. A damaged byte stream breaks into an attached debugger once
/// per kind of damage. Only a failed allocation throws (`std::bad_alloc`).
///
/// Ownership: an object owns one heap record; copies are deep.
///
/// Threads: distinct objects may be used concurrently; one object may be read concurrently.
class VELMOR_API ExternalVersion {
public:
    /// Which fields of the record carry data. A byte stream may carry any other value.
    enum Type_t : std::uint32_t {
        Invalid = 0,     ///< None.
        BoundingBox = 1, ///< The box.
        Solid = 2,       ///< Box, distances, volume and centroid.
        Geometry = 3     ///< Box and distances; volume and centroid are 0.
    };

    /// A fingerprint of type `Invalid`, all numbers 0.
    ExternalVersion();

    /// Adopts a record: the object owns it and frees it.
    /// @param record a block from `malloc`, not null.
    ExternalVersion(CExternalVersion* record);

    /// A new record with the other's type and its fifteen numbers.
    ExternalVersion(const ExternalVersion& other);

    /// Frees the record.
    ~ExternalVersion();

    /// Replaces this record by a new one with the other's type and numbers. Assigning an object to itself leaves it as it
    /// is.
    ExternalVersion& operator=(const ExternalVersion& other);

    /// Writes the byte stream (little-endian, no padding; drawn in docs/formats.md).
    /// @param size capacity of `buf` in bytes; less than 124, the longest stream, is refused whatever the type is.
    /// @param[out] buf receives 4, 28, 124 or 92 bytes for types 0, 1, 2 and 3, and 4 for any type above 3.
    /// @return the number of bytes written; 0 when refused, and then nothing is written.
    unsigned toByteStream(unsigned size, char* buf) const;

    /// Reads a byte stream into this fingerprint. Numbers that the stream does not give keep their values.
    /// @param size length of the stream in bytes; less than 4 sets the type to `Invalid` and reads nothing.
    /// @param buf  the stream. Its type is taken at once; a stream that is cut or has bytes left over before its box keeps
    ///             what was read before the damage. The four bytes of the type are taken as signed on purpose: one above
    ///             127 borrows from those over it, so that a type with such a byte is not read back as it was written.
    void fromByteStream(unsigned size, const char* buf);

    /// Writes one line of text: "invalid", or the diagonal of the box, the distances and the centroid as "bb=%e d1=%e ...".
    /// @param size capacity of `buf` in bytes; longer text is cut to `size` - 1 characters. 0 writes nothing.
    /// @param[out] buf always NUL-terminated; left untouched for a type above 3.
    void toString(unsigned size, char* buf) const;

    /// The extents of the bounding box along x, y and z; zeros for type `Invalid`.
    void getBoundingBox(double* x, double* y, double* z) const;

    /// The centroid; zeros for types `Invalid`, `BoundingBox` and `Geometry`. (The name is spelt so on purpose.)
    void getCenteroid(double* x, double* y, double* z) const;

    /// The distances d1..d8, written to `d8[0..7]`; zeros for types `Invalid` and `BoundingBox`.
    void getDistances(double* d8) const;

    /// The volume; 0 for types `Invalid`, `BoundingBox` and `Geometry`.
    double getVolume() const;

    /// The type, as it stands in the record.
    Type_t getType() const;

    /// Equality within tolerances: volumes within 1e-6, every centroid coordinate and distance within 0.001, boxes within a
    /// Euclidean distance of 0.001; a difference equal to its tolerance still counts as equal. Fingerprints of different
    /// types, or of a type above 3, are never equal; two of type `Invalid` always are.
    bool operator==(const ExternalVersion& other) const;

    /// How alike two fingerprints are, from 0 (different) to 1 (the same), judged by the fields that this one's type
    /// carries.
    ///
    /// The other's type is not looked at, so the result is not symmetric between types. Boxes of type `BoundingBox` are
    /// compared by their absolute distance: 0.3 units apart is 0, whatever their size. For `Solid` and `Geometry` all
    /// deviations are divided by the larger mean distance of the two; when that is 0 the result is NaN.
    /// @return 0 for type `Invalid` and for any type above 3.
    double similarity(const ExternalVersion& other) const;

private:
    CExternalVersion* record_; // from malloc
};

static_assert(sizeof(ExternalVersion) == sizeof(void*), "a fingerprint is one pointer");

/// The record of an `ExternalVersion`. Lengths are in the importer's unit.
struct CExternalVersion {
    ExternalVersion::Type_t type; ///< Which of the fields carry data.
    double bb[3];                 ///< Extents of the bounding box along x, y and z.
    double d[8];                  ///< Distances d1..d8; what they measure is the importer's choice.
    double volume;                ///< Volume of the solid.
    double centroid[3];           ///< Centroid of the solid, x, y, z.
};

static_assert(sizeof(CExternalVersion) == 128, "the layout of a version record is fixed");

/// A fingerprint of type `BoundingBox`.
/// @param x,y,z extents of the box.
VELMOR_API ExternalVersion createFromBoundingBox(double x, double y, double z);

/// A fingerprint of type `Geometry`.
/// @param x,y,z extents of the box.
/// @param d     eight distances d1..d8, stored as they are.
VELMOR_API ExternalVersion createFromGeometry(double x, double y, double z, double* const d);

/// A fingerprint of type `Solid`.
/// @param x,y,z  extents of the box.
/// @param d      eight distances d1..d8, stored as they are.
/// @param volume volume of the solid.
/// @param c      centroid of the solid: three coordinates.
VELMOR_API ExternalVersion createFromSolid(double x, double y, double z, double* const d, double volume, double* const c);

} // namespace Velmor
