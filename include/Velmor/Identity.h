#pragma once

/// @file
/// Which foreign object is this: typed identities, and the database that maps them to compact runtime ids.

#include <Velmor/Export.h>

#include <cstdint>

namespace Velmor {

/// Opaque GUID of the host application: sixteen bytes that are copied and compared as bytes, never interpreted.
struct KXGUID_t {
    unsigned char bytes[16]; ///< The sixteen bytes, as the host wrote them.
};

static_assert(sizeof(KXGUID_t) == 16, "a host GUID is sixteen bytes in every record");

/// Identity of one object of a foreign model, whatever the source format gave it.
///
/// An object owns one heap record of 96 bytes, and that record is also its byte stream (little-endian; drawn in
/// docs/formats.md): the type tag at 0, four reserved bytes at 4, the payload at 8. Copies are deep.
///
/// Failure: a getter that the record's type does not answer returns its neutral value; the first time this happens in the
/// process, per getter, it breaks into an attached debugger (`getSpatialHash` never does). When the heap is exhausted, the
/// factories, the default constructor and the copy constructor throw `std::bad_alloc`.
///
/// Ownership: pointers and references returned by the getters point into the record and live as long as the object does and
/// is not assigned to.
///
/// Threads: distinct objects may be used concurrently; one object may be read concurrently.
class VELMOR_API ExternalGUID {
public:
    /// What the record holds: the tag at byte 0. A byte stream may carry any other value; it is kept as it stands.
    enum Type_t : std::uint32_t {
        Invalid = 0,     ///< Nothing.
        SpatialHash = 1, ///< Eleven doubles at 8..95, see `spatialHashFromVertexes`.
        IFCGlobalID = 2, ///< The 22 characters of an IFC GlobalId at 8..29, a zero byte at 30.
        KXGUID = 3,      ///< The sixteen bytes of a `KXGUID_t` at 8..23.
        CadmaticObi = 4, ///< A signed 32-bit Cadmatic object id at 8..11.
        DWGHandle = 5    ///< An unsigned 64-bit DWG handle at 8..15.
    };

    /// A record of type `Invalid`. Only the tag is set; the other 92 bytes are not initialised.
    ExternalGUID();

    /// A new record with all 96 bytes of the other's.
    ExternalGUID(const ExternalGUID& other);

    /// Frees the record.
    ~ExternalGUID();

    /// Copies all 96 bytes of the other's record into the record already owned.
    ExternalGUID& operator=(const ExternalGUID& other);

    /// The identity that a byte stream holds.
    /// @param size  number of bytes in `bytes`; bytes beyond 96 are not read, missing ones are taken as zero.
    /// @param bytes the stream, as `getBytes` gave it; may be null when `size` is 0.
    /// @return the record. Its tag is taken as it stands and not validated.
    static ExternalGUID fromByteStream(unsigned size, const char* bytes);

    /// The byte stream of this identity, which is the record itself.
    /// @param[out] size receives 96.
    /// @return the 96 bytes, owned by this object.
    const char* getBytes(unsigned* size) const;

    /// An identity of type `IFCGlobalID`.
    /// @param id at least 22 readable characters; exactly 22 are copied and nothing beyond them is read. Their length is not
    ///           checked: a caller with text of unknown length checks it first.
    static ExternalGUID fromIFCGlobalID(const char* id);

    /// An identity of type `KXGUID`.
    static ExternalGUID fromKX(const KXGUID_t& guid);

    /// An identity of type `CadmaticObi`.
    static ExternalGUID fromCadmaticObi(int obi);

    /// An identity of type `DWGHandle`.
    static ExternalGUID fromDWGHandle(unsigned long long handle);

    /// Turns this record into one of type `SpatialHash`; its reserved bytes 4..7 are left as they are.
    /// @param hash eleven doubles, stored unchanged.
    void fromSpatialHash(const double* hash);

    /// The spatial hash of a vertex cloud: the centre of its axis-aligned box, and for each of the eight octants around the
    /// centre the distance of the farthest vertex.
    ///
    /// The last vertex of the list never takes part, on purpose. Repeat one, or append any vertex, if all are to count.
    ///
    /// @param count number of vertices. 0 and 1 behave alike: the first vertex is the centre, all radii are 0.
    /// @param xyz   `count` vertices as consecutive triples x, y, z in the importer's length unit; at least one triple is
    ///              read, whatever `count` is. A NaN never becomes a bound of the box.
    /// @return a record of type `SpatialHash` holding centre x, y, z and then the radii of octants 0..7, in the unit of
    ///         `xyz`. Octant k = bx + 2 by + 4 bz, where bx is 1 for a vertex strictly beyond the centre along x (likewise
    ///         by, bz).
    static ExternalGUID spatialHashFromVertexes(unsigned count, const double* xyz);

    /// The type tag, as it stands in the record.
    Type_t getType() const;

    /// The eleven doubles of a `SpatialHash`; for any other type eleven shared zeros.
    const double* getSpatialHash() const;

    /// The 22 characters of an `IFCGlobalID`, NUL-terminated; for any other type the empty string.
    const char* getIFCGlobalID() const;

    /// The host GUID of a `KXGUID`; for any other type a shared GUID of sixteen zero bytes.
    const KXGUID_t& getKXGUID() const;

    /// The object id of a `CadmaticObi`; for any other type 0.
    int getCadmaticObi() const;

    /// The handle of a `DWGHandle`; for any other type 0.
    unsigned long long getDWGHandle() const;

private:
    char* record_; // 96 bytes from malloc
};

static_assert(sizeof(ExternalGUID) == sizeof(void*), "an identity is one pointer");

/// Compact id of a foreign identity within one `ExternalGUIDDatabase`. Any 32-bit value may be held.
///
/// Spatial identities count up from 0, all keyed identities together count down from 0xFFFFFFFE; read as signed, a keyed id
/// is negative.
enum ExternalGUIDRuntimeID_e : std::uint32_t {
    FirstSpatialRuntimeID = 0x00000000u, ///< Id of the first spatial hash of a database.
    FirstKeyedRuntimeID = 0xFFFFFFFEu,   ///< Id of the first keyed identity of a database.
    NoRuntimeID = 0xFFFFFFFFu            ///< Not found, unsupported type, or failed insertion.
};

/// Maps foreign identities to compact runtime ids and back.
///
/// Keyed identities (IFC GlobalId, host GUID, Cadmatic object id, DWG handle) match exactly; of a DWG handle only the low 32
/// bits count. Spatial hashes match when their eleven numbers differ by less than 0.01 in sum, in the unit of the vertices.
/// Ids are never reused and identities never removed: the database grows until it is destroyed.
///
/// Failure: operations answer `NoRuntimeID`, or a record of type `Invalid`. When no memory is left for a spatial hash,
/// `insertGUID` answers 0, which is also the id of the first one; when none is left for a keyed identity, the store prints
/// one line to standard error. `std::bad_alloc` is thrown by the constructor without memory for the state, and by
/// `findGUID` of an id without memory for its result. A kind of keyed identities for which the constructor found no memory
/// takes none ever after: inserting one answers `NoRuntimeID` (its id is used up all the same).
///
/// Threads: none of its operations may run concurrently on one database; a caller that shares one serialises the calls.
class VELMOR_API ExternalGUIDDatabase {
public:
    /// An empty database.
    /// @throws std::bad_alloc without memory for its state; for what a lack of more memory means, see above.
    ExternalGUIDDatabase();

    /// Frees everything the database holds. Of databases that share their state by assignment only one may be destroyed.
    ~ExternalGUIDDatabase();

    ExternalGUIDDatabase(const ExternalGUIDDatabase&) = delete;

    /// Makes this database share the other's state. Deliberately shallow: the former state of this one is not freed, and
    /// afterwards only one of the two may ever be destroyed.
    ExternalGUIDDatabase& operator=(const ExternalGUIDDatabase& other);

    /// The id of an identity, which is added when it is new.
    /// @return its id; `NoRuntimeID` for an identity of no supported type or when the store refuses it (the id that it
    ///         would have got is used up all the same); 0 when no memory is left for a spatial hash.
    ExternalGUIDRuntimeID_e insertGUID(const ExternalGUID& guid);

    /// The id of an identity, which is never added.
    /// @return its id, or `NoRuntimeID`.
    ExternalGUIDRuntimeID_e findGUID(const ExternalGUID& guid);

    /// The identity that has an id.
    /// @return the identity, or a record of type `Invalid` when the id is unknown. A DWG handle comes back with its low 32
    ///         bits and an upper half of zeros. A spatial id is not compared with the number of ids given out: one that lies
    ///         in an allocated chunk of 1024 but was never given out yields a `SpatialHash` of whatever that place holds.
    /// @throws std::bad_alloc without memory for the result.
    ExternalGUID findGUID(ExternalGUIDRuntimeID_e id);

private:
    struct State;
    State* state_; // from malloc
};

static_assert(sizeof(ExternalGUIDDatabase) == sizeof(void*), "a database is one pointer");

} // namespace Velmor
