#pragma once

#include "importer/host/Comparison.h"
#include "importer/host/ImporterRun.h"
#include "importer/host/Model.h"

#include <filesystem>
#include <string>

namespace importer::host {

/// The report on one import.
/// @param before the model of the previous import; null for the first import.
std::string report(const std::filesystem::path& model, const ImportResult& result, const Model* before,
                   const Comparison& comparison);

/// The report on a model that has not changed since its last import.
std::string reportUnchanged(const std::filesystem::path& model);

/// The properties of one object.
/// @throws ImportError when the model has no object with this GlobalId.
std::string reportProperties(const Model& model, const std::string& globalId);

/// The georeference of a model.
std::string reportGeoreference(const ImportResult& result);

} // namespace importer::host
