#pragma once

/// @file
/// The environment that a host sets up for its child importer, with the streams between them, and two payloads that these
/// streams carry: solids and textures.

#include <Velmor/Export.h>
#include <Velmor/Platform.h>
#include <Velmor/WideText.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Velmor {

/// The sixteen streams of an import. A value is the index of the stream in `ForeignObjectEnv_t::handles`. The library does
/// not define the content of the streams; host and importer do.
enum ForeignObjectStream_e : std::uint32_t {
    ForeignObjectsStream = 0, ///< "fo_handle_foreignobjects"
    ObjectsStream = 1,        ///< "fo_handle_objects"
    MaterialsStream = 2,      ///< "fo_handle_materials"
    LayersStream = 3,         ///< "fo_handle_layers"
    ZkitStream = 4,           ///< "fo_handle_zkit"
    PolygonsStream = 5,       ///< "fo_handle_polygons"
    AttributesStream = 6,     ///< "fo_handle_attributes"
    SolidsStream = 7,         ///< "fo_handle_solids"
    XrefsStream = 8,          ///< "fo_handle_xrefs"
    LogStream = 9,            ///< "fo_handle_log"
    InfoStream = 10,          ///< "fo_handle_info"
    HierarchyStream = 11,     ///< "fo_handle_hierarchy"
    ProgressStream = 12,      ///< "fo_handle_progress"
    InstancesStream = 13,     ///< "fo_handle_instances"
    DefinitionsStream = 14,   ///< "fo_handle_definitions"
    TexturesStream = 15       ///< "fo_handle_textures"
};

/// The number of streams.
inline constexpr std::size_t ForeignObjectStreamCount = 16;

/// The environment variable of each stream, indexed by `ForeignObjectStream_e`. The host sets them to its handles.
inline constexpr const WideChar* ForeignObjectStreamVariables[ForeignObjectStreamCount] = {
    VELMOR_WIDE("fo_handle_foreignobjects"), VELMOR_WIDE("fo_handle_objects"),
    VELMOR_WIDE("fo_handle_materials"),      VELMOR_WIDE("fo_handle_layers"),
    VELMOR_WIDE("fo_handle_zkit"),           VELMOR_WIDE("fo_handle_polygons"),
    VELMOR_WIDE("fo_handle_attributes"),     VELMOR_WIDE("fo_handle_solids"),
    VELMOR_WIDE("fo_handle_xrefs"),          VELMOR_WIDE("fo_handle_log"),
    VELMOR_WIDE("fo_handle_info"),           VELMOR_WIDE("fo_handle_hierarchy"),
    VELMOR_WIDE("fo_handle_progress"),       VELMOR_WIDE("fo_handle_instances"),
    VELMOR_WIDE("fo_handle_definitions"),    VELMOR_WIDE("fo_handle_textures")};

namespace foreign { // internal
struct Layouts;
} // namespace foreign

} // namespace Velmor

/// The input of a child importer, as its host specified it. The record does not own the handles: the process inherited them
/// and owns them.
struct ForeignObjectEnv_t {
    int version;                                      ///< Version of the environment; must be 1.
    Velmor::WideString filename;                      ///< The model to read.
    Velmor::WideString module;                        ///< The importer's module.
    Velmor::WideString path;                          ///< The folder of the import.
    HANDLE handles[Velmor::ForeignObjectStreamCount]; ///< The streams, indexed by `Velmor::ForeignObjectStream_e`.
};

/// Reads the environment of the process into a record.
///
/// A missing string is empty. A missing handle is `INVALID_HANDLE_VALUE`; the first one in the process is reported to an
/// attached debugger. Neither is a failure. Handles are not validated.
/// @param[out] env receives the version; if it is 1, also the three strings and the sixteen handles.
/// @return true if the version is 1; otherwise all other fields are unchanged.
VELMOR_API bool foreignobject_env_deserialize(ForeignObjectEnv_t& env);

/// One solid as a block of bytes. The producer and the consumer define the format; the library does not read it.
///
/// Failure: if the block cannot be allocated, the object is empty with its type set. The first failure in the process, per
/// operation (constructor, copy constructor, assignment), is reported to an attached debugger. Nothing is thrown.
///
/// Ownership: each object owns its block; copies are deep.
///
/// Threads: different threads may use different objects; several threads may read the same object.
class VELMOR_API ForeignObjectSolid {
public:
    /// The kind of solid, defined by the producer. The enumeration can hold any 32-bit number.
    enum Type_t : std::uint32_t { Unspecified = 0 };

    /// Creates a solid with a copy of the bytes.
    /// @param type  the kind of solid.
    /// @param size  number of bytes; 0 for an empty solid.
    /// @param bytes the bytes; not read if `size` is 0.
    ForeignObjectSolid(Type_t type = Unspecified, unsigned size = 0, const char* bytes = nullptr);

    /// Creates a deep copy.
    ForeignObjectSolid(const ForeignObjectSolid& other);

    /// Frees the block of this object, then copies type and bytes. Assigning a solid to itself is not supported.
    /// @param other not changed, although the parameter is not const.
    ForeignObjectSolid& operator=(ForeignObjectSolid& other);

    /// Frees the block.
    ~ForeignObjectSolid();

    /// The bytes.
    /// @param[out] size receives the number of bytes; must not be null.
    /// @return a block that the object owns; valid until the object is assigned to or destroyed. Null if the object is
    /// empty.
    const char* getBytes(unsigned* size) const;

    /// The kind of solid.
    Type_t getType() const;

private:
    friend struct Velmor::foreign::Layouts;

    Type_t type_;
    std::uint32_t size_;
    char* bytes_; // from malloc; null if and only if size_ is 0
};

static_assert(sizeof(ForeignObjectSolid) == 16, "the layout of a solid is part of the binary interface");

namespace Velmor {

/// The bytes of one image in PNG format. The library does not read them.
///
/// Failure: a failed allocation throws `std::bad_alloc`. Ownership: each object owns its bytes. Threads: several threads may
/// read the same object.
class VELMOR_API PngTexture {
public:
    /// Creates an empty texture.
    PngTexture();

    /// Creates a texture with a copy of the bytes.
    PngTexture(const std::vector<char>& data);

    PngTexture(const PngTexture& other);
    /// Copies the bytes; reuses the memory of this object if it is large enough.
    PngTexture& operator=(const PngTexture& other);
    ~PngTexture();

    /// The bytes; the reference is valid until the object is destroyed.
    const std::vector<char>& getData() const;

private:
    friend struct foreign::Layouts;

    std::vector<char> data_;
};

} // namespace Velmor
