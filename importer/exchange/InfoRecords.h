#pragma once

// The info stream: the result of an import.

#include <Velmor/Georeferencing.h>

#include "importer/exchange/Errors.h"
#include "importer/exchange/StreamTotals.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace importer::exchange {

/// The result of an import. The importer writes it last; without it the import is incomplete.
struct InfoRecord {
    std::string error;                     ///< Why the import failed as a whole, UTF-8; empty if it is complete.
    std::string schema;                    ///< "IFC4".
    StreamTotals objects;                  ///< Of the objects stream.
    StreamTotals attributes;               ///< Of the attributes stream.
    StreamTotals solids;                   ///< Of the solids stream.
    StreamTotals textures;                 ///< Of the textures stream.
    StreamTotals problems;                 ///< Of the log stream.
    std::uint64_t problemsOmitted = 0;     ///< Problems that are not in the log stream.
    std::uint64_t objectsWithoutClass = 0; ///< Objects whose entities the class tables do not contain.
    std::optional<Velmor::IFC4_MapConversion> georeference;
};

/// The bytes of a record, without its length prefix.
std::string encode(const InfoRecord& record);

/// The record in the bytes, which must be exactly one record.
/// @throws FormatError; VersionError for another format version.
InfoRecord decodeInfo(std::string_view payload);

} // namespace importer::exchange
