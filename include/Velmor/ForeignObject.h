#pragma once

/// @file
/// How a child importer gets its streams: the environment contract between host and importer; and two payloads that cross
/// them, solids and textures.

#include <Velmor/Export.h>
#include <Velmor/Platform.h>
#include <Velmor/WideText.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Velmor {

/// The sixteen streams of an import, by their slot in `ForeignObjectEnv_t::handles`. The slots are part of the contract
/// between host and importer; what is written to each stream is their own affair.
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

/// Number of the streams.
inline constexpr std::size_t ForeignObjectStreamCount = 16;

/// The environment variable of each stream, by slot. A host publishes its handles under these names.
inline constexpr const WideChar* ForeignObjectStreamVariables[ForeignObjectStreamCount] = {
    VELMOR_WIDE("fo_handle_foreignobjects"), VELMOR_WIDE("fo_handle_objects"),
    VELMOR_WIDE("fo_handle_materials"),      VELMOR_WIDE("fo_handle_layers"),
    VELMOR_WIDE("fo_handle_zkit"),           VELMOR_WIDE("fo_handle_polygons"),
    VELMOR_WIDE("fo_handle_attributes"),     VELMOR_WIDE("fo_handle_solids"),
    VELMOR_WIDE("fo_handle_xrefs"),          VELMOR_WIDE("fo_handle_log"),
    VELMOR_WIDE("fo_handle_info"),           VELMOR_WIDE("fo_handle_hierarchy"),
    VELMOR_WIDE("fo_handle_progress"),       VELMOR_WIDE("fo_handle_instances"),
    VELMOR_WIDE("fo_handle_definitions"),    VELMOR_WIDE("fo_handle_textures")};

} // namespace Velmor

/// What a host hands to its child importer. The handles are not owned: they belong to the process, which inherited them.
struct ForeignObjectEnv_t {
    int version;                                      ///< Version of the contract; must be 1.
    Velmor::WideString filename;                      ///< The model to read.
    Velmor::WideString module;                        ///< The importer's module.
    Velmor::WideString path;                          ///< The folder of the import.
    HANDLE handles[Velmor::ForeignObjectStreamCount]; ///< The streams, by `Velmor::ForeignObjectStream_e`.
};

/// Fills the record from the environment of the process.
///
/// @param[out] env receives the version and, if that is 1, the three strings (empty when missing) and the sixteen handles
///                 (`INVALID_HANDLE_VALUE` when missing, the first of them reported to an attached debugger; none is
///                 validated).
/// @return whether the version is 1; otherwise no other field is touched.
VELMOR_API bool foreignobject_env_deserialize(ForeignObjectEnv_t& env);

/// One solid as an opaque block of bytes, in a form that its producer and its consumer know.
///
/// Copies are deep. When a block cannot be allocated, the object is empty with its type set, and the first time this happens
/// in the process, per operation, it is reported to an attached debugger; nothing is thrown.
///
/// Threads: distinct objects may be used concurrently; one object may be read concurrently.
class VELMOR_API ForeignObjectSolid {
public:
    /// The kind of solid; the producer's choice. Any 32-bit value may be held.
    enum Type_t : std::uint32_t { Unspecified = 0 };

    /// @param type  its kind.
    /// @param size  number of bytes; 0 for none.
    /// @param bytes copied; not read when `size` is 0.
    ForeignObjectSolid(Type_t type = Unspecified, unsigned size = 0, const char* bytes = nullptr);

    ForeignObjectSolid(const ForeignObjectSolid& other);

    /// Frees the own block, then copies. Assigning a solid to itself is not supported.
    /// @param other stays as it is; not const on purpose.
    ForeignObjectSolid& operator=(ForeignObjectSolid& other);

    ~ForeignObjectSolid();

    /// The block, which the object owns; null when it is empty.
    /// @param[out] size receives the number of bytes.
    const char* getBytes(unsigned* size) const;

    /// Its kind.
    Type_t getType() const;

private:
    Type_t type_;
    std::uint32_t size_;
    char* bytes_; // from malloc; null exactly when size_ is 0
};

static_assert(sizeof(ForeignObjectSolid) == 16, "the layout of a solid is fixed");

namespace Velmor {

/// The bytes of one image in PNG form. They are not looked at.
///
/// Failure: only a failed allocation throws (`std::bad_alloc`). Threads: may be read concurrently.
class VELMOR_API PngTexture {
public:
    /// No bytes.
    PngTexture();

    /// @param data copied.
    PngTexture(const std::vector<char>& data);

    PngTexture(const PngTexture& other);
    PngTexture& operator=(const PngTexture& other);
    ~PngTexture();

    /// The bytes.
    const std::vector<char>& getData() const;

private:
    std::vector<char> data_;
};

} // namespace Velmor
