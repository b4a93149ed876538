#pragma once

// Identities for the tests of the GUID database.

#include <Velmor/Identity.h>

#include "ReferenceDatabase.h"

#include <cstdint>
#include <string>
#include <utility>

namespace velmor_tests {

Velmor::ExternalGUID spatial(const Hash& hash);

/// A hash of eleven equal numbers.
Hash filled(double value);

Hash hashOf(const Velmor::ExternalGUID& guid);
bool sameBits(const Hash& a, const Hash& b);

Velmor::ExternalGUIDRuntimeID_e runtimeID(std::uint32_t value);

/// A text of 22 characters that ends with a number.
std::string globalID(std::uint32_t number);

Velmor::ExternalGUID ifc(const std::string& text);
Velmor::ExternalGUID kx(const std::string& bytes);

/// The lowest `size` bytes of a number, lowest first.
std::string littleEndian(std::uint64_t value, unsigned size);

/// The identity of a type (2 to 5) and a number, and the bytes of it that are compared.
std::pair<Velmor::ExternalGUID, std::string> keyed(std::uint32_t type, std::uint32_t number);

/// Checks all 96 bytes of a keyed identity.
void expectKeyed(const Velmor::ExternalGUID& actual, std::uint32_t type, const std::string& key);

/// A record with a payload; all other bytes after the type tag are `rest`.
std::string recordBytes(std::uint32_t type, const std::string& payload, char rest);

Velmor::ExternalGUID fromBytes(const std::string& bytes);

} // namespace velmor_tests
