#pragma once

#include <Velmor/Velmor.h>

#include "importer/exchange/ProblemRecords.h"
#include "importer/exchange/SolidRecords.h"
#include "importer/host/Errors.h"
#include "importer/host/Model.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace importer::host {

/// A stream that an importer has written: its records are valid and match the totals.
struct CheckedStream {
    std::unique_ptr<Velmor::FileStream> stream;
    StreamTotals totals;
};

/// The result of one run of an importer.
struct ImportResult {
    std::string schema;
    Model model;
    std::optional<Velmor::IFC4_MapConversion> georeference;
    std::uint64_t objectsWithoutClass = 0; ///< Number of objects of class IFCINVALID.
    std::vector<ProblemRecord> problems;   ///< The first `maxReportedProblems` problems.
    std::uint64_t problemCount = 0;        ///< Number of all problems.
    CheckedStream solids;                  ///< See readSolids.
    CheckedStream textures;                ///< See readTextures.
};

/// Number of problems that the report lists.
inline constexpr std::size_t maxReportedProblems = 10;

/// Reads a model with an importer: starts it as a child process with the sixteen streams of the environment contract, shows
/// its progress, and checks what it has written.
/// @throws ImportError when the importer fails, its output is incomplete, or the host is interrupted. The child process has
/// ended in every case.
ImportResult runImporter(const std::filesystem::path& importer, const std::filesystem::path& model);

} // namespace importer::host
