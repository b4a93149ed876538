#pragma once

/// @file
/// Identity of foreign objects: typed identities, and the database that maps them to compact runtime ids.

#include <Velmor/Export.h>

#include <cstdint>

namespace Velmor {

/// GUID of the host application: sixteen bytes that are copied and compared as bytes and never interpreted.
struct KXGUID_t {
    unsigned char bytes[16]; ///< The sixteen bytes as the host wrote them.
};

static_assert(sizeof(KXGUID_t) == 16, "a host GUID occupies sixteen bytes in every record");

/// Identity of one object of a foreign model.
///
/// The identity is a record of 96 bytes, and the record is also its byte stream (little-endian, see docs/formats.md):
/// the type tag at offset 0, four reserved bytes at 4, the payload at 8. Copies are deep.
///
/// Failure: a getter whose type differs from the type of the record returns a neutral value. The first such call in the
/// process, per getter, also breaks into an attached debugger; `getSpatialHash` never breaks. The default constructor, the
/// copy constructor and the factories throw `std::bad_alloc` when memory is exhausted.
///
/// Ownership: an object owns one heap block of 96 bytes. Pointers and references that the getters return point into this
/// block; they are valid until the object is assigned to, changed by `fromSpatialHash`, or destroyed.
///
/// Threads: different objects can be used concurrently. Several threads can read one object concurrently.
///
/// Complexity: every operation is constant, except `spatialHashFromVertexes`. Construction, copy and the factories allocate
/// one block; assignment and the getters do not allocate.
class VELMOR_API ExternalGUID {
public:
    /// Type of the payload: the tag at offset 0. A byte stream can contain any other value; the record keeps it.
    enum Type_t : std::uint32_t {
        Invalid = 0,     ///< No payload.
        SpatialHash = 1, ///< Eleven doubles at 8..95, see `spatialHashFromVertexes`.
        IFCGlobalID = 2, ///< The 22 characters of an IFC GlobalId at 8..29 and a zero byte at 30.
        KXGUID = 3,      ///< The sixteen bytes of a `KXGUID_t` at 8..23.
        CadmaticObi = 4, ///< A signed 32-bit Cadmatic object id at 8..11.
        DWGHandle = 5    ///< An unsigned 64-bit DWG handle at 8..15.
    };

    /// Creates a record of type `Invalid`. Only the tag is set; the other 92 bytes are not initialized.
    ExternalGUID();

    /// Creates a record with a copy of all 96 bytes of `other`.
    ExternalGUID(const ExternalGUID& other);

    /// Frees the record.
    ~ExternalGUID();

    /// Copies all 96 bytes of `other` into the existing record, which is not reallocated.
    ExternalGUID& operator=(const ExternalGUID& other);

    /// Creates an identity from a byte stream.
    /// @param size  number of bytes in `bytes`. Bytes after the 96th are not read; missing bytes are set to zero.
    /// @param bytes the stream, as returned by `getBytes`; can be null when `size` is 0.
    /// @return the identity. Its type tag is not validated.
    static ExternalGUID fromByteStream(unsigned size, const char* bytes);

    /// Returns the byte stream of this identity, which is the record itself.
    /// @param[out] size receives 96.
    /// @return the 96 bytes, owned by this object.
    const char* getBytes(unsigned* size) const;

    /// Creates an identity of type `IFCGlobalID`.
    /// @param id at least 22 readable characters. Exactly 22 are copied; the length is not checked.
    static ExternalGUID fromIFCGlobalID(const char* id);

    /// Creates an identity of type `KXGUID`.
    static ExternalGUID fromKX(const KXGUID_t& guid);

    /// Creates an identity of type `CadmaticObi`.
    static ExternalGUID fromCadmaticObi(int obi);

    /// Creates an identity of type `DWGHandle`.
    static ExternalGUID fromDWGHandle(unsigned long long handle);

    /// Changes this record to type `SpatialHash`. The reserved bytes 4..7 keep their values.
    /// @param hash eleven doubles, stored unchanged.
    void fromSpatialHash(const double* hash);

    /// Computes the spatial hash of a set of vertices: the center of the axis-aligned bounding box, and for each of the
    /// eight octants around the center the distance to the farthest vertex.
    ///
    /// The last vertex is not used. To include all vertices, append one more, for example a copy of the first.
    ///
    /// Units: the result has the length unit of `xyz`.
    ///
    /// Complexity: linear in `count`; the vertices are read twice.
    ///
    /// @param count number of vertices. 0 has the same effect as 1: the first vertex is the center and all radii are 0.
    /// @param xyz   the vertices as consecutive triples x, y, z. At least one triple is read, for any `count`. A NaN never
    ///              becomes a bound of the box.
    /// @return a record of type `SpatialHash`: center x, y, z, then the radii of octants 0 to 7. The number of an octant is
    ///         bx + 2 by + 4 bz, where bx is 1 if x of the vertex is greater than x of the center, else 0; by and bz are
    ///         defined in the same way for y and z.
    static ExternalGUID spatialHashFromVertexes(unsigned count, const double* xyz);

    /// Returns the type tag of the record. It can have a value that `Type_t` does not name.
    Type_t getType() const;

    /// Returns the eleven doubles of a `SpatialHash`; for any other type a shared array of eleven zeros.
    const double* getSpatialHash() const;

    /// Returns the 22 characters of an `IFCGlobalID`, NUL-terminated; for any other type an empty string.
    const char* getIFCGlobalID() const;

    /// Returns the host GUID of a `KXGUID`; for any other type a shared GUID of sixteen zero bytes.
    const KXGUID_t& getKXGUID() const;

    /// Returns the object id of a `CadmaticObi`; for any other type 0.
    int getCadmaticObi() const;

    /// Returns the handle of a `DWGHandle`; for any other type 0.
    unsigned long long getDWGHandle() const;

private:
    char* record_; // 96 bytes, allocated with malloc
};

static_assert(sizeof(ExternalGUID) == sizeof(void*), "the layout of the class is part of the binary interface");

/// Compact id of an identity within one `ExternalGUIDDatabase`. Any 32-bit value is valid.
///
/// Ids of spatial hashes count up from 0. Ids of keyed identities (all four key types share one counter) count down from
/// 0xFFFFFFFE; such an id is negative when it is read as a signed number.
enum ExternalGUIDRuntimeID_e : std::uint32_t {
    FirstSpatialRuntimeID = 0x00000000u, ///< Id of the first spatial hash of a database.
    FirstKeyedRuntimeID = 0xFFFFFFFEu,   ///< Id of the first keyed identity of a database.
    NoRuntimeID = 0xFFFFFFFFu            ///< Not found, unsupported type, or failed insertion.
};

/// Maps foreign identities to compact runtime ids and back.
///
/// Keyed identities (IFC GlobalId, host GUID, Cadmatic object id, DWG handle) match exactly. Only the low 32 bits of a DWG
/// handle are compared. Spatial hashes match with a tolerance: the sum of the absolute differences of their eleven numbers
/// must be less than 0.01, in the length unit of the vertices. A search follows a single path of the tree, so it can miss a
/// stored hash within the tolerance.
///
/// Ids are never reused and identities are never removed: the database grows until it is destroyed.
///
/// Failure: operations return `NoRuntimeID` or a record of type `Invalid`. If memory for a spatial hash is exhausted,
/// `insertGUID` returns 0, which is also the id of the first spatial hash. If memory for a keyed identity is exhausted, one
/// line is printed to standard error. If the constructor cannot allocate the table of a key type, the database stays
/// usable, but every insertion of that type returns `NoRuntimeID`.
///
/// Ownership: a database owns its contents and copies the identities that are inserted. Assignment does not copy the
/// contents, see `operator=`.
///
/// Threads: one database must not be used by two threads at the same time. Different databases are independent.
///
/// Complexity, where n is the number of stored identities of the same kind:
/// - Insert or find a keyed identity: constant on average, linear in n if all keys have the same hash value. An insertion
///   that enlarges the hash is linear in n, which is constant per insertion over many insertions.
/// - Insert or find a spatial hash: one comparison per node on a path of the tree. The path has about log n nodes if the
///   hashes are well distributed, and n nodes at worst, for example if the hashes are inserted in sorted order.
/// - Find the identity of a keyed id: constant on average.
/// - Find the identity of a spatial id: id / 1024 steps.
///
/// Memory: an empty database takes about 0.8 MB. A spatial hash takes 112 bytes, allocated in chunks of 1024. A keyed
/// identity takes one row (IFC GlobalId 32 bytes, host GUID 24, Cadmatic object id 8, DWG handle 16; allocated in blocks of
/// 2000 rows) and 32 to 128 bytes in two hash indexes. While the hash grows, the old and the new indexes exist together.
class VELMOR_API ExternalGUIDDatabase {
public:
    /// Creates an empty database.
    /// @throws std::bad_alloc if the state cannot be allocated. Other failed allocations do not throw, see above.
    ExternalGUIDDatabase();

    /// Frees the contents. If databases share their contents by assignment, only one of them may be destroyed.
    ~ExternalGUIDDatabase();

    ExternalGUIDDatabase(const ExternalGUIDDatabase&) = delete;

    /// Shares the contents of `other` without a copy. The former contents of this database are not freed. After the
    /// assignment only one of the two databases may be destroyed.
    ExternalGUIDDatabase& operator=(const ExternalGUIDDatabase& other);

    /// Returns the id of an identity, and adds the identity if it is new.
    ///
    /// Complexity: see the class. A keyed identity is hashed and searched once. A new one that needs more rows or a larger
    /// hash allocates; a known one does not. A spatial hash allocates once per 1024 nodes.
    /// @return the id; `NoRuntimeID` if the type is not supported, or if memory for a keyed identity is exhausted (the id
    ///         that it would have received is then skipped); 0 if memory for a spatial hash is exhausted.
    ExternalGUIDRuntimeID_e insertGUID(const ExternalGUID& guid);

    /// Returns the id of an identity. Does not add the identity and does not allocate.
    ///
    /// Complexity: see the class.
    /// @return the id, or `NoRuntimeID` if the identity is not found.
    ExternalGUIDRuntimeID_e findGUID(const ExternalGUID& guid);

    /// Returns the identity of an id.
    ///
    /// Complexity: see the class. A keyed id is found by position if the identities of its type were inserted one after
    /// another, else through up to four hash indexes. A spatial id is found by following the list of chunks.
    /// @return the identity, or a record of type `Invalid` if the id is unknown. The upper 32 bits of a DWG handle are zero.
    ///         A spatial id is not compared with the number of stored hashes: for an unused id within an allocated chunk of
    ///         1024 the result is a `SpatialHash` with the current content of that slot.
    /// @throws std::bad_alloc if the result cannot be allocated.
    ExternalGUID findGUID(ExternalGUIDRuntimeID_e id);

private:
    struct State;
    State* state_; // allocated with malloc
};

static_assert(sizeof(ExternalGUIDDatabase) == sizeof(void*), "the layout of the class is part of the binary interface");

} // namespace Velmor
