#include <Velmor/ForeignObject.h>

#include "diagnostics/Diagnostics.h"

#include <cstdlib>
#include <cstring>

namespace Velmor::foreign {

namespace {

using namespace diagnostics;

/// A block from malloc with a copy of the bytes.
/// @param[in,out] size set to 0 if the allocation fails.
/// @param once         the flag of the calling operation; the first failure is reported.
/// @return null if the size is 0 or the allocation fails.
char* copyBlock(std::uint32_t& size, const char* bytes, ReportOnce& once) {
    if (size == 0)
        return nullptr;
    char* const block = static_cast<char*>(std::malloc(size));
    if (block) {
        std::memcpy(block, bytes, size);
    } else {
        // Frozen: the size is reported as a signed number, so sizes from 2 GiB on are negative.
        once([&] { reportDiagnostic(diagnosticLevel, "Invalid alloc size %d", static_cast<int>(size)); });
        size = 0;
    }
    return block;
}

} // namespace

} // namespace Velmor::foreign

using Velmor::diagnostics::ReportOnce;
using Velmor::foreign::copyBlock;

// Frozen: if the block cannot be allocated, the solid is empty, with its type set, and nothing is thrown. Each of the three
// operations reports its own first failure.

ForeignObjectSolid::ForeignObjectSolid(Type_t type, unsigned size, const char* bytes) : type_(type), size_(size) {
    static ReportOnce once;
    bytes_ = copyBlock(size_, bytes, once);
}

ForeignObjectSolid::ForeignObjectSolid(const ForeignObjectSolid& other) : type_(other.type_), size_(other.size_) {
    static ReportOnce once;
    bytes_ = copyBlock(size_, other.bytes_, once);
}

// Frozen: the parameter is not const, and the own block is freed before the copy, so self-assignment is not supported.
ForeignObjectSolid& ForeignObjectSolid::operator=(ForeignObjectSolid& other) {
    std::free(bytes_);
    type_ = other.type_;
    size_ = other.size_;
    static ReportOnce once;
    bytes_ = copyBlock(size_, other.bytes_, once);
    return *this;
}

ForeignObjectSolid::~ForeignObjectSolid() {
    std::free(bytes_);
}

const char* ForeignObjectSolid::getBytes(unsigned* size) const {
    *size = size_;
    return bytes_;
}

ForeignObjectSolid::Type_t ForeignObjectSolid::getType() const {
    return type_;
}
