#pragma once

// Shared by the tests of FileStream.

#include <Velmor/Platform.h>

#include "ChildProgram.h"
#include "Tools.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace velmor_tests {

using Stream = std::unique_ptr<Velmor::FileStream>;

inline Stream openFile(const std::filesystem::path& path) {
    return Stream(Velmor::FileStream::openFileForReading(wide(path)));
}

inline Stream createFile(const std::filesystem::path& path) {
    return Stream(Velmor::FileStream::createFileForWriting(wide(path)));
}

inline Stream createTemporary() {
    return Stream(Velmor::FileStream::createTemporaryFile());
}

inline bool holdsFile(const Stream& stream) {
    return stream->getHandle() != noHandle();
}

/// Reads a block; the read must succeed.
inline std::string take(const Stream& stream, std::uint64_t size) {
    std::vector<char> block{'o', 'l', 'd'};
    EXPECT_TRUE(stream->read(size, block));
    return std::string(block.begin(), block.end());
}

inline bool put(const Stream& stream, const std::string& text) {
    return stream->write(text.size(), text.data());
}

} // namespace velmor_tests
