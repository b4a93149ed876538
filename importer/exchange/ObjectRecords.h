#pragma once

// The objects stream: the objects of a model with their identities and versions.

#include <Velmor/Identity.h>
#include <Velmor/Version.h>

#include "importer/exchange/Streams.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace importer::exchange {

/// An identity of type `Invalid`. Unlike those of a default-constructed one, all of its 96 bytes are defined.
Velmor::ExternalGUID noIdentity();

/// One object of a model, as the importer sends it and the host stores it.
struct ObjectRecord {
    std::uint64_t line = 0;                          ///< Line in the model, from 1.
    std::uint64_t instance = 0;                      ///< Number of its instance.
    Velmor::ExternalGUID globalId = noIdentity();    ///< By GlobalId; type `Invalid` if it has no usable one.
    Velmor::ExternalGUID spatialHash = noIdentity(); ///< By geometry; type `Invalid` if it has no vertices.
    Velmor::ExternalVersion version;                 ///< Geometric fingerprint; type `Invalid` if it has no vertices.
    std::string className;                           ///< "IFCBEAM".
    std::string name;                                ///< UTF-8, as the library encodes it.
    std::vector<std::uint32_t> propertySets; ///< Numbers of its property sets. Not encoded here: see PropertyRecords.h.
};

/// The bytes of a record, without its length prefix.
std::string encode(const ObjectRecord& record);

/// The record in the bytes, which must be exactly one record.
/// @throws FormatError
ObjectRecord decodeObject(std::string_view payload);

/// Reads the number of objects that the writer counted.
/// @param sink receives each object, before the totals are compared.
/// @throws FormatError as readRecords.
void readObjects(RecordReader& reader, const StreamTotals& expected, const std::function<void(ObjectRecord&&)>& sink);

} // namespace importer::exchange
