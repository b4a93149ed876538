#pragma once

// Real models. They are not part of the project: the environment variable VELMOR_MODELS names their folder. Without it the
// tests of real models check nothing, and TheFolderIsReadOrNotNamed reports that.

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace velmor_tests {

/// The *.ifc files of the folder, sorted.
inline std::vector<std::filesystem::path> realModels() {
    std::vector<std::filesystem::path> result;
    const char* folder = std::getenv("VELMOR_MODELS");
    if (!folder || !*folder)
        return result;
    for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().extension() == ".ifc")
            result.push_back(entry.path());
    std::sort(result.begin(), result.end());
    EXPECT_FALSE(result.empty()) << "no *.ifc in " << folder;
    return result;
}

/// The path of a model by its file name; empty if the folder does not contain it.
inline std::filesystem::path realModel(const std::string& name) {
    for (const std::filesystem::path& path : realModels())
        if (path.filename() == name)
            return path;
    return {};
}

} // namespace velmor_tests
