#pragma once

/// @file
/// Change detection: geometric fingerprints of foreign objects, their byte stream and text form, and their comparison.

#include <Velmor/Export.h>

#include <cstddef>
#include <cstdint>

namespace Velmor {

struct CExternalVersion;

/// Geometric fingerprint of one foreign object. An importer stores it and compares it with the fingerprint of the same
/// object at the next import.
///
/// Units: lengths have the importer's length unit, which must be the same at every import. The tolerances below are
/// absolute values in that unit.
///
/// Failure: a getter for a field that the type does not have returns zeros. The first such call in the process, per getter,
/// also reports this to an attached debugger and breaks. A damaged byte stream breaks into an attached debugger once per
/// kind of damage. Only a failed allocation throws (`std::bad_alloc`).
///
/// Ownership: an object owns one heap record of 128 bytes. Copies are deep.
///
/// Threads: different objects can be used concurrently. Several threads can read one object concurrently.
///
/// Complexity: every operation is constant. Only construction, copy, assignment and the factories allocate.
class VELMOR_API ExternalVersion {
public:
    /// Defines which fields of the record are used. A byte stream can contain any other value.
    enum Type_t : std::uint32_t {
        Invalid = 0,     ///< No field.
        BoundingBox = 1, ///< The box.
        Solid = 2,       ///< Box, distances, volume and centroid.
        Geometry = 3     ///< Box and distances; volume and centroid are 0.
    };

    /// Creates a fingerprint of type `Invalid` with all numbers 0.
    ExternalVersion();

    /// Takes ownership of a record.
    /// @param record a block allocated with `malloc`, not null. The object frees it with `free`.
    ExternalVersion(CExternalVersion* record);

    /// Creates a record with the type and the fifteen numbers of `other`.
    ExternalVersion(const ExternalVersion& other);

    /// Frees the record.
    ~ExternalVersion();

    /// Replaces the record by a new one with the type and the numbers of `other`. Assignment of an object to itself has no
    /// effect. If the allocation fails, the object does not change.
    ExternalVersion& operator=(const ExternalVersion& other);

    /// Writes the byte stream (little-endian, no padding, see docs/formats.md).
    /// @param size capacity of `buf` in bytes. It must be at least 124, the size of the longest stream, for every type.
    /// @param[out] buf receives 4, 28, 124 or 92 bytes for type 0, 1, 2 or 3, and 4 bytes for any type above 3.
    /// @return the number of bytes written; 0 if `size` is less than 124, and then nothing is written.
    unsigned toByteStream(unsigned size, char* buf) const;

    /// Reads a byte stream into this fingerprint. Numbers that the stream does not contain keep their values.
    /// @param size length of the stream in bytes. If it is less than 4, the type becomes `Invalid` and nothing is read.
    /// @param buf  the stream. The type is set first. If the stream is too short, the groups of numbers before the damage
    ///             are read; if it is too long, all groups except the box are read. Each of the four bytes of the type is
    ///             read as a signed number, so a type with a byte above 127 differs from the type that was written.
    void fromByteStream(unsigned size, const char* buf);

    /// Writes one line of text: "invalid", or the diagonal of the box, the distances and the centroid as "bb=%e d1=%e ...".
    /// The volume is not part of the text.
    /// @param size capacity of `buf` in bytes. Longer text is truncated to `size` - 1 characters. 0 writes nothing.
    /// @param[out] buf receives NUL-terminated text. It is not changed for a type above 3.
    void toString(unsigned size, char* buf) const;

    /// Returns the extents of the bounding box along x, y and z; zeros for type `Invalid`.
    void getBoundingBox(double* x, double* y, double* z) const;

    /// Returns the centroid; zeros for types `Invalid`, `BoundingBox` and `Geometry`. The spelling of the name is part of
    /// the interface.
    void getCenteroid(double* x, double* y, double* z) const;

    /// Writes the distances d1 to d8 to `d8[0..7]`; zeros for types `Invalid` and `BoundingBox`.
    void getDistances(double* d8) const;

    /// Returns the volume; 0 for types `Invalid`, `BoundingBox` and `Geometry`.
    double getVolume() const;

    /// Returns the type of the record. It can have a value that `Type_t` does not name.
    Type_t getType() const;

    /// Compares two fingerprints within tolerances: volumes within 1e-6, each centroid coordinate and each distance within
    /// 0.001, boxes within a Euclidean distance of 0.001. A difference equal to the tolerance counts as equal, and so does a
    /// NaN. Fingerprints of different types are not equal. Two fingerprints of type `Invalid` are equal. A fingerprint of a
    /// type above 3 is not equal to any other, not even to itself.
    bool operator==(const ExternalVersion& other) const;

    /// Returns the similarity of two fingerprints, from 0 (different) to 1 (equal).
    ///
    /// The type of this fingerprint selects the fields that are compared. The type of `other` is not used, so the result is
    /// not symmetric for different types. For `BoundingBox` the deviation is the absolute distance of the boxes: from 0.3
    /// units the similarity is 0, whatever the size of the boxes. For `Solid` and `Geometry` all deviations are divided by
    /// the larger of the two mean distances; if that is 0, the result is NaN. Negative volumes can give a result above 1.
    /// @return the similarity; 0 if the type of this fingerprint is `Invalid` or above 3.
    double similarity(const ExternalVersion& other) const;

private:
    CExternalVersion* record_; // allocated with malloc
};

static_assert(sizeof(ExternalVersion) == sizeof(void*), "the layout of the class is part of the binary interface");

/// Record of an `ExternalVersion`. Lengths have the importer's length unit.
struct CExternalVersion {
    ExternalVersion::Type_t type; ///< Defines which of the other fields are used.
    double bb[3];                 ///< Extents of the bounding box along x, y and z.
    double d[8];                  ///< Distances d1 to d8. The importer defines what they measure.
    double volume;                ///< Volume of the solid.
    double centroid[3];           ///< Centroid of the solid: x, y, z.
};

static_assert(sizeof(CExternalVersion) == 128 && offsetof(CExternalVersion, type) == 0 &&
                  offsetof(CExternalVersion, bb) == 8 && offsetof(CExternalVersion, d) == 32 &&
                  offsetof(CExternalVersion, volume) == 96 && offsetof(CExternalVersion, centroid) == 104,
              "the layout of a version record is part of the binary interface");

/// Creates a fingerprint of type `BoundingBox`.
/// @param x,y,z extents of the box, stored unchanged.
/// @throws std::bad_alloc if the record cannot be allocated.
VELMOR_API ExternalVersion createFromBoundingBox(double x, double y, double z);

/// Creates a fingerprint of type `Geometry`.
/// @param x,y,z extents of the box, stored unchanged.
/// @param d     eight distances d1 to d8, stored unchanged.
/// @throws std::bad_alloc if the record cannot be allocated.
VELMOR_API ExternalVersion createFromGeometry(double x, double y, double z, double* const d);

/// Creates a fingerprint of type `Solid`.
/// @param x,y,z  extents of the box, stored unchanged.
/// @param d      eight distances d1 to d8, stored unchanged.
/// @param volume volume of the solid, stored unchanged.
/// @param c      centroid of the solid: three coordinates, stored unchanged.
/// @throws std::bad_alloc if the record cannot be allocated.
VELMOR_API ExternalVersion createFromSolid(double x, double y, double z, double* const d, double volume, double* const c);

} // namespace Velmor
