#include <Velmor/ForeignObject.h>

#include <cstddef>

// The memory layouts that importers, hosts and this library share, field by field. The size of a solid is asserted in the
// public header, so that users' compilers check it.

#define VELMOR_SIZE(record, size) static_assert(sizeof(record) == (size))
#define VELMOR_FIELD(record, field, offset) static_assert(offsetof(record, field) == (offset))

namespace Velmor::foreign {

VELMOR_SIZE(ForeignObjectEnv_t, 8 + 3 * sizeof(WideString) + 16 * sizeof(HANDLE));
VELMOR_FIELD(ForeignObjectEnv_t, version, 0);
VELMOR_FIELD(ForeignObjectEnv_t, filename, 8);
VELMOR_FIELD(ForeignObjectEnv_t, module, 8 + sizeof(WideString));
VELMOR_FIELD(ForeignObjectEnv_t, path, 8 + 2 * sizeof(WideString));
VELMOR_FIELD(ForeignObjectEnv_t, handles, 8 + 3 * sizeof(WideString));

// Private fields. The classes declare this structure a friend.
struct Layouts {
    VELMOR_FIELD(ForeignObjectSolid, type_, 0);
    VELMOR_FIELD(ForeignObjectSolid, size_, 4);
    VELMOR_FIELD(ForeignObjectSolid, bytes_, 8);

    VELMOR_SIZE(PngTexture, sizeof(std::vector<char>));
    VELMOR_FIELD(PngTexture, data_, 0);
};

} // namespace Velmor::foreign

#undef VELMOR_FIELD
#undef VELMOR_SIZE
