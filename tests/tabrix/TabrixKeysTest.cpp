#include "Rows.h"
#include "tabrix/tabrix.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <limits>

using namespace Velmor::tabrix;
using namespace velmor_tests;

namespace {

/// A table of a key field and a number that identifies the row.
struct OneKey {
    explicit OneKey(FieldSpec key) : store({0, 10}, {key, {fieldInt32, 4}}), index(store.createIndex(true, {0})) {}

    Bytes row(const Bytes& key, std::uint32_t number = 0) const {
        Bytes bytes = store.emptyRow();
        putBytes(store.layout(), bytes, 0, key);
        put(store.layout(), bytes, 1, number);
        return bytes;
    }

    int insert(const Bytes& key, std::uint32_t number = 0) {
        return Velmor::tabrix::insert(store.table(), row(key, number).data());
    }

    /// The number of the row with a key, or -1.
    int find(const Bytes& key) const {
        Bytes bytes = row(key, 999);
        const int status = Velmor::tabrix::find(index, bytes.data());
        if (status != 0) {
            EXPECT_EQ(status, 1);
            EXPECT_EQ(bytes, row(key, 999)) << "the row is not changed if the key is not found";
            return -1;
        }
        std::uint32_t number;
        std::memcpy(&number, bytes.data() + store.layout().fields[1].offset, sizeof number);
        return static_cast<int>(number);
    }

    ReferenceStore store;
    Index* index;
};

} // namespace

TEST(TabrixKeys, IntegersAreEqualByValue) {
    for (std::uint32_t type : {fieldInt32, fieldInt64}) {
        OneKey keys({type, 0});
        const auto key = [&](std::uint64_t value) {
            return type == fieldInt32 ? bytesOf(static_cast<std::uint32_t>(value)) : bytesOf(value);
        };
        EXPECT_EQ(keys.find(key(0)), -1);
        EXPECT_EQ(keys.insert(key(0), 1), 0);
        EXPECT_EQ(keys.insert(key(0x80000000), 2), 0);
        EXPECT_EQ(keys.insert(key(0xFFFFFFFF), 3), 0);
        EXPECT_EQ(keys.find(key(0)), 1);
        EXPECT_EQ(keys.find(key(0x80000000)), 2);
        EXPECT_EQ(keys.find(key(0xFFFFFFFF)), 3);
        EXPECT_EQ(keys.find(key(1)), -1);
        EXPECT_EQ(keys.insert(key(0), 4), 2);
        EXPECT_EQ(keys.find(key(0)), 1);
    }
    OneKey wide({fieldInt64, 8});
    EXPECT_EQ(wide.insert(bytesOf(std::uint64_t{0x100000002}), 1), 0);
    EXPECT_EQ(wide.insert(bytesOf(std::uint64_t{0x200000001}), 2), 0) << "same hash, different value";
    EXPECT_EQ(wide.find(bytesOf(std::uint64_t{0x100000002})), 1);
    EXPECT_EQ(wide.find(bytesOf(std::uint64_t{0x200000001})), 2);
    EXPECT_EQ(wide.find(bytesOf(std::uint64_t{0x300000000})), -1);
}

TEST(TabrixKeys, NaNIsNeverEqual) {
    const float floats[] = {std::numeric_limits<float>::quiet_NaN(), -std::numeric_limits<float>::quiet_NaN()};
    const double doubles[] = {std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::quiet_NaN()};
    OneKey floatKeys({fieldFloat, 0});
    OneKey doubleKeys({fieldDouble, 0});
    for (int round = 0; round < 20; ++round)
        for (int sign = 0; sign < 2; ++sign) {
            EXPECT_EQ(floatKeys.insert(bytesOf(floats[sign])), 0);
            EXPECT_EQ(floatKeys.find(bytesOf(floats[sign])), -1);
            EXPECT_EQ(doubleKeys.insert(bytesOf(doubles[sign])), 0);
            EXPECT_EQ(doubleKeys.find(bytesOf(doubles[sign])), -1);
        }
}

TEST(TabrixKeys, FloatingNumbersAreEqualByValue) {
    const double values[] = {0.5,
                             -0.5,
                             1e-300,
                             1e300,
                             std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::denorm_min(),
                             0.0};
    OneKey doubles({fieldDouble, 0});
    for (std::uint32_t i = 0; i < 8; ++i)
        EXPECT_EQ(doubles.insert(bytesOf(values[i]), i), 0);
    for (std::uint32_t i = 0; i < 8; ++i) {
        EXPECT_EQ(doubles.insert(bytesOf(values[i]), 100), 2);
        EXPECT_EQ(doubles.find(bytesOf(values[i])), static_cast<int>(i));
    }
    OneKey floats({fieldFloat, 0});
    EXPECT_EQ(floats.insert(bytesOf(0.5f), 1), 0);
    EXPECT_EQ(floats.insert(bytesOf(0.5f), 2), 2);
    EXPECT_EQ(floats.insert(bytesOf(std::numeric_limits<float>::infinity()), 3), 0);
    EXPECT_EQ(floats.find(bytesOf(std::numeric_limits<float>::infinity())), 3);
    EXPECT_EQ(floats.find(bytesOf(0.25f)), -1);
}

TEST(TabrixKeys, ZeroAndNegativeZeroHaveDifferentHashes) {
    OneKey doubles({fieldDouble, 0});
    EXPECT_EQ(doubles.insert(bytesOf(0.0), 1), 0);
    EXPECT_EQ(doubles.find(bytesOf(-0.0)), -1);
    EXPECT_EQ(doubles.insert(bytesOf(-0.0), 2), 0);
    EXPECT_EQ(doubles.find(bytesOf(0.0)), 1);
    EXPECT_EQ(doubles.find(bytesOf(-0.0)), 2);
}

TEST(TabrixKeys, ZeroAndNegativeZeroBeforeAnotherFieldAreEqual) {
    ReferenceStore store({0, 10}, {{fieldDouble, 0}, {fieldInt32, 0}, {fieldInt32, 0}});
    Index* index = store.createIndex(true, {0, 1});
    const auto row = [&](double key, std::uint32_t number) {
        Bytes bytes = store.emptyRow();
        put(store.layout(), bytes, 0, key);
        put(store.layout(), bytes, 1, 1u);
        put(store.layout(), bytes, 2, number);
        return bytes;
    };
    EXPECT_EQ(insert(store.table(), row(0.0, 7).data()), 0);
    EXPECT_EQ(insert(store.table(), row(-0.0, 8).data()), 2);
    Bytes found = row(-0.0, 9);
    EXPECT_EQ(find(index, found.data()), 0);
    EXPECT_EQ(found, row(0.0, 7));
}

TEST(TabrixKeys, InlineStringEndsAtItsFirstNul) {
    OneKey keys({fieldString, 4});
    EXPECT_EQ(keys.insert({'a', 'b', 0, 'x'}, 1), 0);
    EXPECT_EQ(keys.insert({'a', 'b', 0, 'y'}, 2), 2);
    EXPECT_EQ(keys.find({'a', 'b', 0, 0xFF}), 1);
    EXPECT_EQ(keys.find({'a', 'b', 'c', 0}), -1);
    EXPECT_EQ(keys.find({'a', 0, 'b', 0}), -1);
    EXPECT_EQ(keys.insert({0, 'q', 'q', 'q'}, 3), 0);
    EXPECT_EQ(keys.find({0, 0, 0, 0}), 3);
}

TEST(TabrixKeys, InlineStringWithoutANulEndsAtTheEndOfItsField) {
    // The number after the field differs and is not part of the key.
    OneKey keys({fieldString, 4});
    EXPECT_EQ(keys.insert({'a', 'b', 'c', 'd'}, 0x61616161), 0);
    EXPECT_EQ(keys.insert({'a', 'b', 'c', 'd'}, 0x62626262), 2);
    EXPECT_EQ(keys.find({'a', 'b', 'c', 'd'}), 0x61616161);
    EXPECT_EQ(keys.find({'a', 'b', 'c', 0}), -1);
    EXPECT_EQ(keys.insert({'a', 'b', 'c', 0}, 5), 0);
    OneKey last({fieldString, 1});
    EXPECT_EQ(last.insert({'a'}, 1), 0);
    EXPECT_EQ(last.find({'a'}), 1);
}

TEST(TabrixKeys, InlineWideStringEndsAtItsFirstZeroUnitOrItsField) {
    OneKey keys({fieldWideString, 3});
    const auto key = [](char16_t a, char16_t b, char16_t c) { return bytesOf(std::array<char16_t, 3>{a, b, c}); };
    EXPECT_EQ(keys.insert(key(0x100, 0, 'x'), 1), 0); // a zero byte is not a zero unit
    EXPECT_EQ(keys.insert(key(0x100, 0, 'y'), 2), 2);
    EXPECT_EQ(keys.insert(key(0x100, 0x100, 0), 3), 0);
    EXPECT_EQ(keys.insert(key(1, 2, 3), 0x40404040), 0);
    EXPECT_EQ(keys.insert(key(1, 2, 3), 0x41414141), 2);
    EXPECT_EQ(keys.find(key(1, 2, 3)), 0x40404040);
    EXPECT_EQ(keys.find(key(0x100, 0, 0xFFFF)), 1);
    EXPECT_EQ(keys.find(key(0x100, 0x100, 0)), 3);
    EXPECT_EQ(keys.find(key(0x200, 0, 0)), -1);
}

TEST(TabrixKeys, FixedBytesAreComparedInAllBytes) {
    OneKey keys({fieldBytes, 3});
    EXPECT_EQ(keys.insert({'a', 0, 'x'}, 1), 0);
    EXPECT_EQ(keys.insert({'a', 0, 'y'}, 2), 0);
    EXPECT_EQ(keys.insert({0, 0, 0}, 3), 0);
    EXPECT_EQ(keys.insert({'a', 0, 'x'}, 4), 2);
    EXPECT_EQ(keys.find({'a', 0, 'y'}), 2);
    EXPECT_EQ(keys.find({'a', 0, 'z'}), -1);
    EXPECT_EQ(keys.find({0, 0, 0}), 3);
}

TEST(TabrixKeys, PointerStringsAreEqualByTheirText) {
    const char first[] = "text";
    const char second[] = "text";
    const char longer[] = "text!";
    OneKey keys({fieldStringPointer, 0});
    const auto key = [](const char* text) { return bytesOf(text); };
    EXPECT_EQ(keys.insert(key(first), 1), 0);
    EXPECT_EQ(keys.insert(key(second), 2), 2);
    EXPECT_EQ(keys.find(key(second)), 1);
    EXPECT_EQ(keys.find(key(longer)), -1);
    Bytes row = keys.row(key(second));
    ASSERT_EQ(find(keys.index, row.data()), 0);
    EXPECT_EQ(row, keys.row(key(first), 1)) << "the whole row is overwritten, including its pointer";

    const char16_t wideFirst[] = u"text";
    const char16_t wideSecond[] = u"text";
    const char16_t wideOther[] = u"text\u0174";
    OneKey wide({fieldWideStringPointer, 0});
    const auto wideKey = [](const char16_t* text) { return bytesOf(text); };
    EXPECT_EQ(wide.insert(wideKey(wideFirst), 1), 0);
    EXPECT_EQ(wide.insert(wideKey(wideSecond), 2), 2);
    EXPECT_EQ(wide.find(wideKey(wideSecond)), 1);
    EXPECT_EQ(wide.find(wideKey(wideOther)), -1);
}

TEST(TabrixKeys, AllFieldsOfAKeyAreCompared) {
    ReferenceStore store({0, 10}, {{fieldBytes, 1}, {fieldInt32, 4}, {fieldDouble, 8}});
    Index* index = store.createIndex(true, {2, 0});
    const auto row = [&](unsigned char a, std::uint32_t b, double c) {
        Bytes bytes = store.emptyRow();
        put(store.layout(), bytes, 0, a);
        put(store.layout(), bytes, 1, b);
        put(store.layout(), bytes, 2, c);
        return bytes;
    };
    EXPECT_EQ(insert(store.table(), row(1, 1, 1.0).data()), 0);
    EXPECT_EQ(insert(store.table(), row(2, 1, 1.0).data()), 0);
    EXPECT_EQ(insert(store.table(), row(1, 1, 2.0).data()), 0);
    EXPECT_EQ(insert(store.table(), row(1, 2, 1.0).data()), 2) << "field 1 is not part of the key";
    EXPECT_EQ(insert(store.table(), row(1, 1, std::numeric_limits<double>::quiet_NaN()).data()), 0);
    EXPECT_EQ(insert(store.table(), row(1, 1, std::numeric_limits<double>::quiet_NaN()).data()), 0);
    Bytes key = row(2, 9, 1.0);
    EXPECT_EQ(find(index, key.data()), 0);
    EXPECT_EQ(key, row(2, 1, 1.0));
    key = row(2, 9, 2.0);
    EXPECT_EQ(find(index, key.data()), 1);
}
