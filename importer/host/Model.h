#pragma once

#include "importer/exchange/ObjectRecords.h"

#include <string>
#include <vector>

namespace importer::host {

using namespace exchange;

/// The objects and property sets of one import.
struct Model {
    std::vector<ObjectRecord> objects;     ///< In the order of the file.
    std::vector<std::string> propertySets; ///< Encoded as in PropertyRecords.h. Objects refer to them by index.
};

} // namespace importer::host
