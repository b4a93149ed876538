#include <Velmor/ForeignObject.h>

#include "diagnostics/Diagnostics.h"

#include <cstdlib>
#include <cstring>

using namespace Velmor::diagnostics;

namespace {

/// A block with a copy of the bytes.
/// @param[in,out] size becomes 0 when there is no memory for the block.
/// @return null for a size of 0.
char* copyBlock(std::uint32_t& size, const char* bytes, ReportOnce& once) {
    if (size == 0)
        return nullptr;
    char* const block = static_cast<char*>(std::malloc(size));
    if (block) {
        std::memcpy(block, bytes, size);
    } else {
        once([&] { reportDiagnostic(diagnosticLevel, "Invalid alloc size %d", static_cast<int>(size)); });
        size = 0;
    }
    return block;
}

} // namespace

// Each operation reports once by itself.

ForeignObjectSolid::ForeignObjectSolid(Type_t type, unsigned size, const char* bytes) : type_(type), size_(size) {
    static ReportOnce once;
    bytes_ = copyBlock(size_, bytes, once);
}

ForeignObjectSolid::ForeignObjectSolid(const ForeignObjectSolid& other) : type_(other.type_), size_(other.size_) {
    static ReportOnce once;
    bytes_ = copyBlock(size_, other.bytes_, once);
}

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
