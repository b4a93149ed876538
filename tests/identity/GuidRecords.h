#pragma once

// Records of identities with known content.

#include <Velmor/Identity.h>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace velmor_tests {

inline constexpr unsigned guidRecordSize = 96;
inline constexpr unsigned guidPayloadOffset = 8;

using Record = std::array<unsigned char, guidRecordSize>;

/// A copy of the record of an identity.
Record recordOf(const Velmor::ExternalGUID& guid);

/// The address of the record of an identity.
const void* blockOf(const Velmor::ExternalGUID& guid);

/// Known tags, their neighbors, and tags that differ from known ones only in their upper bytes or sign.
inline constexpr std::uint32_t tags[] = {0,     1,       2,       3,          4,          5,         6,     7,
                                         8,     9,       100,     255,        256,        0x101,     0x102, 0x103,
                                         0x104, 0x10005, 0x20002, 0x7FFFFFFF, 0x80000002, 0xFFFFFFFF};

/// A record with a tag in which no other byte is 0.
Velmor::ExternalGUID withTag(std::uint32_t tag);

/// The record that a factory creates: tag, payload, all other bytes zero.
Record expectedRecord(std::uint32_t tag, const std::vector<unsigned char>& payload);

/// A GUID of sixteen consecutive bytes.
Velmor::KXGUID_t hostGUID(unsigned char first);

/// The bits of eleven doubles: zeros, infinities, NaNs, denormals.
inline constexpr std::uint64_t specialDoubles[11] = {
    0x3FF8000000000000, // 1.5
    0x8000000000000000, // -0.0
    0x7FF0000000000000, // infinity
    0xFFF0000000000000, // -infinity
    0x7FF8000000000123, // a quiet NaN with a payload
    0x7FF0000000000001, // a signaling NaN
    0xFFFFFFFFFFFFFFFF, // a negative NaN
    0x0000000000000001, // the smallest denormal
    0x000FFFFFFFFFFFFF, // the largest denormal
    0x7FEFFFFFFFFFFFFF, // the largest number
    0xBFB999999999999A, // -0.1
};

/// The special doubles, copied as bytes: a floating-point load could change a signaling NaN.
std::unique_ptr<double[]> specialHash();
std::vector<unsigned char> specialHashBytes();

} // namespace velmor_tests
