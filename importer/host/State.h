#pragma once

// The state folder: what the host keeps of an import until the next one.

#include "importer/exchange/StateRecords.h"
#include "importer/host/Model.h"

#include <filesystem>
#include <functional>
#include <optional>

namespace importer::host {

/// The state cannot be read or kept: the message names the file and what is wrong with it.
class StateError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What is kept of one import.
struct StoredImport {
    Model model;
    std::optional<Origin> origin; ///< Of the model and its importer; none when it is not known for sure.
};

/// What an import of a model by an importer would be made of now.
/// @return nothing when either cannot be read, or is no plain file: what comes out of a pipe comes out only once.
std::optional<Origin> originOf(const std::filesystem::path& model, const std::filesystem::path& importer);

/// The objects of the previous import with their property sets, and what they were made of, in one file of a folder.
class State {
public:
    /// @param folder where the file lies; made when something is kept.
    explicit State(const std::filesystem::path& folder);

    /// Whether there was a previous import.
    bool exists() const;

    /// What the previous import left.
    /// @throws StateError for a damaged file and for one of another format version; it stays as it is.
    StoredImport read() const;

    /// Keeps this import: in a new file, which is read back and then renamed over the old one.
    /// @param origin what the model was read from; none when that is not known for sure.
    /// @param beforeReplacing what else has to succeed: called when the new file is whole. When it throws, nothing is kept.
    /// @throws StateError; the file of the previous import is then as it was.
    void write(
        const Model& model, const std::optional<Origin>& origin, const std::function<void()>& beforeReplacing = [] {}) const;

    /// The file.
    const std::filesystem::path& file() const { return file_; }

private:
    std::filesystem::path file_;
    std::filesystem::path newFile_;
};

} // namespace importer::host
