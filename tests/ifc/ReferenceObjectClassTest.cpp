#include "ifc/ReferenceObjectClassNames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

using namespace Velmor;
using namespace velmor_tests;

namespace {

/// The enumerations can hold any unsigned 32-bit number.
template <class... Classes>
constexpr bool holdAnyNumber = (std::is_same_v<std::underlying_type_t<Classes>, std::uint32_t> && ...);
static_assert(holdAnyNumber<DGN, DWG, IFC, KX>);

static_assert(std::is_same_v<decltype(ReferenceObjectClass::asString(0, nullptr, 0)), bool>);
static_assert(std::is_same_v<decltype(ReferenceObjectClass::asString(DGN{}, nullptr, 0)), bool>);
static_assert(std::is_same_v<decltype(ReferenceObjectClass::asString(DWG{}, nullptr, 0)), bool>);
static_assert(std::is_same_v<decltype(ReferenceObjectClass::asString(IFC{}, nullptr, 0)), bool>);
static_assert(std::is_same_v<decltype(ReferenceObjectClass::asString(KX{}, nullptr, 0)), bool>);
static_assert(std::is_empty_v<ReferenceObjectClass>);

static_assert(std::size(dgnClasses) == 12 && std::size(dwgClasses) == 49);
static_assert(std::size(ifcClasses) == 243 && std::size(hostClasses) == 5);

/// Writes the name of a class into a buffer of this size, and checks the buffer and the memory around it.
template <class Class>
void expectWrites(Class objectClass, const std::string& name, unsigned size) {
    constexpr std::size_t guard = 64;
    for (const char filler : {'\xA5', '#'}) {
        std::vector<char> memory(guard + size + guard, filler);
        char* const buffer = memory.data() + guard;
        EXPECT_TRUE(ReferenceObjectClass::asString(objectClass, buffer, size));
        if (size != 0) {
            const std::string expected = name.substr(0, size - 1);
            EXPECT_EQ(std::string(buffer, expected.size()), expected) << "size " << size;
            EXPECT_EQ(buffer[expected.size()], '\0') << "size " << size;
        }
        const auto isUntouched = [&](char c) { return c == filler; };
        EXPECT_TRUE(std::all_of(memory.begin(), memory.begin() + guard, isUntouched)) << "size " << size;
        EXPECT_TRUE(std::all_of(memory.end() - guard, memory.end(), isUntouched)) << "size " << size;
    }
}

/// Writes the name into buffers of all sizes up to a sufficient one, and into some large ones.
template <class Class>
void expectWrites(Class objectClass, const std::string& name) {
    const auto length = static_cast<unsigned>(name.size());
    for (unsigned size = 0; size <= length + 2; ++size)
        expectWrites(objectClass, name, size);
    for (const unsigned size : {64u, 1023u, 1024u, 1025u, 5000u})
        expectWrites(objectClass, name, size);
}

template <class Class, std::size_t Count>
void expectEveryRow(const ClassName<Class> (&rows)[Count]) {
    for (std::size_t i = 0; i < Count; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(rows[i].value, i) << "the value is the index";
        EXPECT_EQ(static_cast<std::uint32_t>(rows[i].enumerator), i);
        expectWrites(static_cast<Class>(i), rows[i].name);
    }
}

/// Checks that no value from `end` on has a name.
template <class Class>
void expectNoNameFrom(std::uint32_t end) {
    std::vector<std::uint32_t> values = {0xFFF,      0x1000,     0x1001,     0xFFFF,     0x10000,    0x10001,
                                         0x10005,    0x10000005, 0x40000001, 0x7FFFFFFE, 0x7FFFFFFF, 0x80000000,
                                         0x80000001, 0x80000005, 0xFFFFFF00, 0xFFFFFF05, 0xFFFFFFFE, 0xFFFFFFFF};
    for (std::uint32_t value = end; value < end + 600; ++value)
        values.push_back(value);
    for (const std::uint32_t value : values) {
        SCOPED_TRACE(value);
        expectWrites(static_cast<Class>(value), "");
    }
}

std::string nameOf(auto objectClass) {
    char buffer[64] = "untouched";
    EXPECT_TRUE(ReferenceObjectClass::asString(objectClass, buffer, sizeof buffer));
    return buffer;
}

} // namespace

TEST(ReferenceObjectClass, WritesNameOfEachDgnClass) {
    expectEveryRow(dgnClasses);
}

TEST(ReferenceObjectClass, WritesNameOfEachDwgClass) {
    expectEveryRow(dwgClasses);
}

TEST(ReferenceObjectClass, WritesNameOfEachIfcClass) {
    expectEveryRow(ifcClasses);
}

TEST(ReferenceObjectClass, WritesNameOfEachHostClass) {
    expectEveryRow(hostClasses);
}

TEST(ReferenceObjectClass, WritesCadmaticForEveryValue) {
    for (const int value : {0, 1, -1, 2, 5, 11, 48, 242, 12345, -12345, 0x7FFFFFFE, INT_MAX, INT_MIN, INT_MIN + 1}) {
        SCOPED_TRACE(value);
        expectWrites(value, "cadmatic");
    }
}

TEST(ReferenceObjectClass, WritesEmptyTextForValuesOutsideTable) {
    expectNoNameFrom<DGN>(12);
    expectNoNameFrom<DWG>(49);
    expectNoNameFrom<IFC>(243);
    expectNoNameFrom<KX>(5);
}

TEST(ReferenceObjectClass, WritesEmptyTextForNegativeValues) {
    for (int value = -300; value < 0; ++value) {
        SCOPED_TRACE(value);
        EXPECT_EQ(nameOf(static_cast<DGN>(value)), "");
        EXPECT_EQ(nameOf(static_cast<DWG>(value)), "");
        EXPECT_EQ(nameOf(static_cast<IFC>(value)), "");
        EXPECT_EQ(nameOf(static_cast<KX>(value)), "");
    }
}

TEST(ReferenceObjectClass, AcceptsNullBuffer) {
    for (const unsigned size : {0u, 1u, 2u, 64u, 1024u, 5000u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_TRUE(ReferenceObjectClass::asString(7, nullptr, size));
        EXPECT_TRUE(ReferenceObjectClass::asString(DGN::DGNMESH, nullptr, size));
        EXPECT_TRUE(ReferenceObjectClass::asString(DWG::ACCIRCLE, nullptr, size));
        EXPECT_TRUE(ReferenceObjectClass::asString(IFC::IFCBEAM, nullptr, size));
        EXPECT_TRUE(ReferenceObjectClass::asString(KX::KXBEAM, nullptr, size));
        EXPECT_TRUE(ReferenceObjectClass::asString(static_cast<DGN>(0xFFFFFFFF), nullptr, size));
        EXPECT_TRUE(ReferenceObjectClass::asString(static_cast<DWG>(0xFFFFFFFF), nullptr, size));
        EXPECT_TRUE(ReferenceObjectClass::asString(static_cast<IFC>(0xFFFFFFFF), nullptr, size));
        EXPECT_TRUE(ReferenceObjectClass::asString(static_cast<KX>(0xFFFFFFFF), nullptr, size));
    }
}

TEST(ReferenceObjectClass, TwoValuesAreNamedAlignment) {
    EXPECT_EQ(nameOf(static_cast<IFC>(193)), "IFCSTRUCTURALANALYSISMODEL");
    EXPECT_EQ(nameOf(static_cast<IFC>(194)), "IFCALIGNMENT");
    EXPECT_EQ(nameOf(static_cast<IFC>(195)), "IFCALIGNMENT");
    EXPECT_EQ(nameOf(static_cast<IFC>(196)), "IFCBOREHOLE");
}

TEST(ReferenceObjectClass, DwgClassesHaveDifferentPrefixes) {
    EXPECT_EQ(nameOf(static_cast<DWG>(5)), "ACPOLYFACEMESH");
    EXPECT_EQ(nameOf(static_cast<DWG>(6)), "ACAECDBMVBLOCKREF");
    EXPECT_EQ(nameOf(static_cast<DWG>(9)), "ACAECDBMASKBLOCKREF");
    EXPECT_EQ(nameOf(static_cast<DWG>(10)), "AECDBMASSELEM");
    EXPECT_EQ(nameOf(static_cast<DWG>(40)), "AECDBSCHEDULETABLE");
    EXPECT_EQ(nameOf(static_cast<DWG>(41)), "AECSDBMEMBER");
    EXPECT_EQ(nameOf(static_cast<DWG>(42)), "AC3DSOLID");
    EXPECT_EQ(nameOf(static_cast<DWG>(48)), "ACCIRCLE");
    EXPECT_EQ(nameOf(static_cast<DWG>(49)), "");
}

TEST(ReferenceObjectClass, EachFormatHasItsOwnNumbers) {
    EXPECT_EQ(nameOf(1), "cadmatic");
    EXPECT_EQ(nameOf(static_cast<DGN>(1)), "DGNCELL");
    EXPECT_EQ(nameOf(static_cast<DWG>(1)), "ACBLOCKTABLE");
    EXPECT_EQ(nameOf(static_cast<IFC>(1)), "IFCPRODUCT");
    EXPECT_EQ(nameOf(static_cast<KX>(1)), "KXBEAM");
}

TEST(ReferenceObjectClass, CutsNameToBuffer) {
    char buffer[4] = {'#', '#', '#', '#'};
    EXPECT_TRUE(ReferenceObjectClass::asString(DGN::DGNCELL, buffer, 4));
    EXPECT_EQ(std::string(buffer, 4), std::string("DGN\0", 4));
    EXPECT_TRUE(ReferenceObjectClass::asString(DGN::DGNCELL, buffer, 1));
    EXPECT_EQ(std::string(buffer, 4), std::string("\0GN\0", 4));
}
