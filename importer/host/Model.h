#pragma once

#include "importer/exchange/ObjectRecords.h"

#include <string>
#include <vector>

namespace importer::host {

using namespace exchange;

/// What the host keeps of one import until the next one.
struct Model {
    std::vector<ObjectRecord> objects; ///< In the order of the file.
    std::vector<std::string>
        propertySets; ///< As they were handed over (PropertyRecords.h); the objects go by their numbers.
};

} // namespace importer::host
