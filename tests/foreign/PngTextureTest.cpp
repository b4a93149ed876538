#include <Velmor/ForeignObject.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using Velmor::PngTexture;

namespace {

using Bytes = std::vector<char>;

Bytes everyByte() {
    Bytes bytes;
    for (int value = 0; value < 256; ++value)
        bytes.push_back(static_cast<char>(value));
    return bytes;
}

/// Contents with and without the form of a PNG file.
std::vector<Bytes> contents() {
    const std::string signature("\x89PNG\r\n\x1A\n", 8);
    return {{}, {'\0'}, {'x'}, Bytes(signature.begin(), signature.end()), everyByte(), Bytes(3 << 20, '\7')};
}

static_assert(sizeof(PngTexture) == sizeof(Bytes) && !std::is_polymorphic_v<PngTexture>);
static_assert(std::is_default_constructible_v<PngTexture>);
static_assert(std::is_constructible_v<PngTexture, const Bytes&>);
static_assert(std::is_copy_constructible_v<PngTexture>);
static_assert(std::is_assignable_v<PngTexture&, const PngTexture&>);
static_assert(std::is_same_v<decltype(std::declval<const PngTexture&>().getData()), const Bytes&>);

} // namespace

TEST(PngTexture, IsEmptyByDefault) {
    EXPECT_TRUE(PngTexture().getData().empty());
}

TEST(PngTexture, CopiesAnyBytes) {
    for (const Bytes& bytes : contents()) {
        Bytes source = bytes;
        const PngTexture texture(source);
        source.assign(source.size(), '?');
        EXPECT_EQ(texture.getData(), bytes);
        if (!bytes.empty()) {
            EXPECT_NE(texture.getData().data(), source.data());
        }
    }
}

TEST(PngTexture, GetDataReturnsSameReference) {
    const PngTexture texture(everyByte());
    EXPECT_EQ(&texture.getData(), &texture.getData());
}

TEST(PngTexture, CopyOwnsItsBytes) {
    for (const Bytes& bytes : contents()) {
        auto source = std::make_unique<PngTexture>(bytes);
        const PngTexture copy(*source);
        EXPECT_EQ(source->getData(), bytes);
        source.reset();
        EXPECT_EQ(copy.getData(), bytes);
    }
}

TEST(PngTexture, AssignmentCopiesAndKeepsSource) {
    for (const Bytes& before : contents())
        for (const Bytes& after : contents()) {
            PngTexture target(before);
            auto source = std::make_unique<PngTexture>(after);
            EXPECT_EQ(&(target = *source), &target);
            EXPECT_EQ(source->getData(), after);
            source.reset();
            EXPECT_EQ(target.getData(), after);
        }
}

TEST(PngTexture, AssignmentReusesSufficientCapacity) {
    PngTexture target(Bytes(1000, 'x'));
    const char* const storage = target.getData().data();
    for (const std::size_t size : {1000u, 1u, 999u, 0u, 1000u}) {
        const Bytes bytes(size, static_cast<char>('a' + size % 26u));
        target = PngTexture(bytes);
        EXPECT_EQ(target.getData(), bytes);
        EXPECT_EQ(target.getData().data(), storage) << size;
        EXPECT_GE(target.getData().capacity(), 1000u);
    }
    const PngTexture larger(Bytes(100000, 'y'));
    target = larger;
    EXPECT_EQ(target.getData(), larger.getData());
}

TEST(PngTexture, SelfAssignmentChangesNothing) {
    PngTexture texture(everyByte());
    const PngTexture& same = texture;
    texture = same;
    EXPECT_EQ(texture.getData(), everyByte());
}
