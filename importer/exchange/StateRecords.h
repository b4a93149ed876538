#pragma once

// The first record of a state file. Object records, property sets and assignments follow it.

#include <Velmor/Digest.h>

#include "importer/exchange/Errors.h"
#include "importer/exchange/StreamTotals.h"

#include <optional>
#include <string>
#include <string_view>

namespace importer::exchange {

/// The inputs of an import: equal inputs produce equal results.
struct Origin {
    Velmor::Sha1::Digest model;    ///< Of the content of the model file.
    Velmor::Sha1::Digest importer; ///< Of the importer program.

    bool operator==(const Origin&) const = default;
};

/// The header of a state file.
struct StateHeader {
    std::optional<Origin> origin; ///< Empty if it is unknown.
    StreamTotals objects;         ///< Of the object records, which follow the header.
    StreamTotals attributes;      ///< Of the property sets and assignments, which follow the objects.
};

/// The bytes of a record, without its length prefix.
std::string encode(const StateHeader& record);

/// The record in the bytes, which must be exactly one record.
/// @throws FormatError; VersionError for another format version.
StateHeader decodeStateHeader(std::string_view payload);

} // namespace importer::exchange
