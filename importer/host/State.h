#pragma once

#include "importer/exchange/StateRecords.h"
#include "importer/host/Errors.h"
#include "importer/host/Model.h"

#include <filesystem>
#include <functional>
#include <optional>

namespace importer::host {

/// The stored result of an import.
struct StoredImport {
    Model model;
    std::optional<Origin> origin; ///< Digests of the model and its importer; nothing if they are unknown.
};

/// The digests of a model and an importer.
/// @return nothing if one of them cannot be read or is not a regular file (a pipe can be read only once).
std::optional<Origin> originOf(const std::filesystem::path& model, const std::filesystem::path& importer);

/// The state of a model: the result of its last import, in one file of the state folder.
class State {
public:
    /// @param folder the state folder. write() creates it.
    explicit State(const std::filesystem::path& folder);

    /// Whether a previous import is stored.
    bool exists() const;

    /// Reads the previous import.
    /// @throws StateError if the file is damaged or has another format version. The file is not changed.
    StoredImport read() const;

    /// Stores this import: writes a new file, reads it back, and renames it to replace the old file.
    /// @param origin          nothing if the digests are unknown.
    /// @param beforeReplacing called before the old file is replaced. If it throws, the old file stays.
    /// @throws StateError. The file of the previous import is then unchanged.
    void write(
        const Model& model, const std::optional<Origin>& origin, const std::function<void()>& beforeReplacing = [] {}) const;

    const std::filesystem::path& file() const { return file_; }

private:
    std::filesystem::path file_;
    std::filesystem::path newFile_;
};

} // namespace importer::host
