#include <Velmor/ForeignObject.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

namespace {

using Type = ForeignObjectSolid::Type_t;

/// A copy of a solid's content.
struct Content {
    std::uint32_t type;
    std::string bytes;
    bool isNull; ///< True if the block is null.

    bool operator==(const Content&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Content& content) {
    return stream << "type " << content.type << ", " << content.bytes.size() << " bytes" << (content.isNull ? ", null" : "");
}

Content contentOf(const ForeignObjectSolid& solid) {
    unsigned size = 77;
    const char* const bytes = solid.getBytes(&size);
    return {static_cast<std::uint32_t>(solid.getType()),
            bytes != nullptr ? std::string(bytes, size) : std::string(size, '?'), bytes == nullptr};
}

const char* blockOf(const ForeignObjectSolid& solid) {
    unsigned size = 0;
    return solid.getBytes(&size);
}

Type type(std::uint32_t value) {
    return static_cast<Type>(value);
}

ForeignObjectSolid solidOf(std::uint32_t value, const std::string& bytes) {
    return ForeignObjectSolid(type(value), static_cast<unsigned>(bytes.size()), bytes.data());
}

Content contentWith(std::uint32_t value, const std::string& bytes) {
    return {value, bytes, false};
}

Content emptyContent(std::uint32_t value) {
    return {value, "", true};
}

std::string everyByte() {
    std::string bytes;
    for (int value = 0; value < 256; ++value)
        bytes += static_cast<char>(value);
    return bytes;
}

static_assert(sizeof(ForeignObjectSolid) == 16);
static_assert(std::is_standard_layout_v<ForeignObjectSolid> && !std::is_polymorphic_v<ForeignObjectSolid>);
static_assert(std::is_enum_v<Type> && sizeof(Type) == 4);

static_assert(std::is_default_constructible_v<ForeignObjectSolid>);
static_assert(std::is_constructible_v<ForeignObjectSolid, Type>);
static_assert(std::is_constructible_v<ForeignObjectSolid, Type, unsigned, const char*>);
static_assert(std::is_copy_constructible_v<ForeignObjectSolid>);

// The parameter of the assignment is not const.
static_assert(std::is_assignable_v<ForeignObjectSolid&, ForeignObjectSolid&>);
static_assert(!std::is_assignable_v<ForeignObjectSolid&, const ForeignObjectSolid&>);
static_assert(!std::is_assignable_v<ForeignObjectSolid&, ForeignObjectSolid>);

static_assert(std::is_same_v<decltype(std::declval<const ForeignObjectSolid&>().getBytes(nullptr)), const char*>);
static_assert(std::is_same_v<decltype(std::declval<const ForeignObjectSolid&>().getType()), Type>);

} // namespace

TEST(ForeignObjectSolid, IsAllZeroByDefault) {
    EXPECT_EQ(contentOf(ForeignObjectSolid()), emptyContent(0));
    EXPECT_EQ(contentOf(ForeignObjectSolid(type(3))), emptyContent(3));
    const ForeignObjectSolid solid;
    const char zeros[16] = {};
    EXPECT_EQ(std::memcmp(static_cast<const void*>(&solid), zeros, sizeof zeros), 0);
}

TEST(ForeignObjectSolid, FieldsHaveFixedOffsets) {
    const ForeignObjectSolid solid = solidOf(0x12345678, "seven.\1");
    std::uint32_t first = 0;
    std::uint32_t second = 0;
    const char* third = nullptr;
    const char* const object = reinterpret_cast<const char*>(&solid);
    std::memcpy(&first, object, 4);
    std::memcpy(&second, object + 4, 4);
    std::memcpy(&third, object + 8, 8);
    EXPECT_EQ(first, 0x12345678u);
    EXPECT_EQ(second, 7u);
    EXPECT_EQ(third, blockOf(solid));
}

TEST(ForeignObjectSolid, CopiesBytes) {
    for (const std::string& bytes : {std::string("x"), std::string("\0", 1), everyByte(), std::string(3 << 20, '\7')}) {
        std::string source = bytes;
        const ForeignObjectSolid solid = solidOf(5, source);
        EXPECT_NE(blockOf(solid), source.data());
        source.assign(source.size(), '?');
        EXPECT_EQ(contentOf(solid), contentWith(5, bytes));
    }
}

TEST(ForeignObjectSolid, CopiesOnlyGivenNumberOfBytes) {
    EXPECT_EQ(contentOf(ForeignObjectSolid(type(1), 3, "abcdef")), contentWith(1, "abc"));
}

TEST(ForeignObjectSolid, StoresNoBytesForSizeZero) {
    const char* const block = "not read";
    EXPECT_EQ(contentOf(ForeignObjectSolid(type(2), 0, block)), emptyContent(2));
    EXPECT_EQ(contentOf(ForeignObjectSolid(type(2), 0, nullptr)), emptyContent(2));
}

TEST(ForeignObjectSolid, GetBytesReturnsBlockAndSize) {
    unsigned size = 99;
    const ForeignObjectSolid empty;
    EXPECT_EQ(empty.getBytes(&size), nullptr);
    EXPECT_EQ(size, 0u);
    const ForeignObjectSolid solid = solidOf(1, "four");
    const char* const bytes = solid.getBytes(&size);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(std::string(bytes, size), "four");
    EXPECT_EQ(solid.getBytes(&size), bytes);
}

TEST(ForeignObjectSolid, StoresAnyType) {
    for (const std::uint32_t value : {0u, 1u, 2u, 7u, 255u, 0x10000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        const ForeignObjectSolid solid = solidOf(value, "bytes");
        EXPECT_EQ(contentOf(solid), contentWith(value, "bytes"));
        ForeignObjectSolid copy(solid);
        EXPECT_EQ(contentOf(copy), contentWith(value, "bytes"));
        ForeignObjectSolid target = solidOf(~value, "other");
        target = copy;
        EXPECT_EQ(contentOf(target), contentWith(value, "bytes"));
        EXPECT_EQ(contentOf(ForeignObjectSolid(type(value))), emptyContent(value));
    }
}

TEST(ForeignObjectSolid, CopyOwnsItsBlock) {
    const std::string bytes = everyByte();
    auto* const source = new ForeignObjectSolid(type(9), 256, bytes.data());
    const ForeignObjectSolid copy(*source);
    EXPECT_NE(blockOf(copy), blockOf(*source));
    EXPECT_EQ(contentOf(*source), contentWith(9, bytes));
    delete source;
    EXPECT_EQ(contentOf(copy), contentWith(9, bytes));
}

TEST(ForeignObjectSolid, CopyOfEmptySolidHasNoBlock) {
    const ForeignObjectSolid empty(type(4));
    EXPECT_EQ(contentOf(ForeignObjectSolid(empty)), emptyContent(4));
}

TEST(ForeignObjectSolid, AssignmentCopiesAndKeepsSource) {
    const std::string cases[] = {"", "x", "longer than the others", everyByte(), std::string(1 << 20, '\3')};
    for (const std::string& before : cases)
        for (const std::string& after : cases) {
            ForeignObjectSolid target = solidOf(1, before);
            ForeignObjectSolid source = solidOf(2, after);
            const Content expected = after.empty() ? emptyContent(2) : contentWith(2, after);
            EXPECT_EQ(&(target = source), &target);
            EXPECT_EQ(contentOf(target), expected);
            EXPECT_EQ(contentOf(source), expected);
            if (!after.empty()) {
                EXPECT_NE(blockOf(target), blockOf(source));
            }
        }
}

TEST(ForeignObjectSolid, AssignedSolidIsIndependentOfItsSource) {
    ForeignObjectSolid target;
    {
        ForeignObjectSolid source = solidOf(2, "first");
        target = source;
        ForeignObjectSolid other = solidOf(3, "second");
        source = other;
        EXPECT_EQ(contentOf(target), contentWith(2, "first"));
        EXPECT_EQ(contentOf(source), contentWith(3, "second"));
    }
    EXPECT_EQ(contentOf(target), contentWith(2, "first"));
}

TEST(ForeignObjectSolid, CanBeAssignedRepeatedly) {
    ForeignObjectSolid target;
    ForeignObjectSolid full = solidOf(1, "bytes");
    ForeignObjectSolid empty(type(2));
    for (int i = 0; i < 3; ++i) {
        target = full;
        EXPECT_EQ(contentOf(target), contentWith(1, "bytes"));
        target = empty;
        EXPECT_EQ(contentOf(target), emptyContent(2));
    }
}
