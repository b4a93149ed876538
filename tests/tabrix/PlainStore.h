#pragma once

// A plain model of the hash-table store: rows in a vector, no chains. It computes layout, growth, hashes and chains afresh
// from their definitions and compares every byte of a table with them.

#include "tabrix/tabrix.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velmor_tests {

using Bytes = std::vector<unsigned char>;

struct PlainField {
    std::uint32_t type;
    std::size_t width;
    std::size_t offset;
};

struct PlainLayout {
    std::vector<PlainField> fields;
    std::size_t rowDataSize = 0;
    std::size_t rowSlotSize = 0;
};

/// @param fields without the end mark.
PlainLayout layOut(const std::vector<Velmor::tabrix::FieldSpec>& fields);

/// Hash value of a row: the combined hash of its key fields, before it is cut to a number of bits.
std::uint32_t keyHash(const PlainLayout& layout, const std::vector<int>& keyFields, const Bytes& row);

/// Which chain a hash value belongs to.
std::uint32_t chainOf(std::uint32_t hash, std::uint32_t hashBits);

bool keysEqual(const PlainLayout& layout, const std::vector<int>& keyFields, const Bytes& a, const Bytes& b);

/// Hash size of a table after buckets were added one by one.
std::uint32_t hashSizeOf(std::uint32_t buckets, std::uint32_t rowsPerBucket);

std::uint32_t log2Of(std::uint32_t powerOfTwo);

struct PlainIndex {
    Velmor::tabrix::Index* index;
    bool unique;
    std::vector<int> keyFields;
};

/// A table together with what it must hold.
class PlainStore {
public:
    PlainStore(Velmor::tabrix::TableSpec spec, std::vector<Velmor::tabrix::FieldSpec> fields);
    ~PlainStore();
    PlainStore(const PlainStore&) = delete;
    PlainStore& operator=(const PlainStore&) = delete;

    Velmor::tabrix::Table* table() const { return table_; }
    const PlainLayout& layout() const { return layout_; }
    const std::vector<Bytes>& rows() const { return rows_; }
    /// The newest first.
    const std::vector<PlainIndex>& indexes() const { return indexes_; }

    /// A row of zeros.
    Bytes emptyRow() const { return Bytes(layout_.rowDataSize); }

    /// Makes an index on both sides.
    Velmor::tabrix::Index* createIndex(bool unique, const std::vector<int>& keyFields);
    /// Destroys the index-th index on both sides.
    void destroyIndex(std::size_t number);

    /// What insertion of a row must answer, looked up among all rows.
    int expectedInsert(const Bytes& row) const;
    /// The newest row that find must give for a key, or null.
    const Bytes* expectedFind(const PlainIndex& index, const Bytes& row) const;

    /// Inserts on both sides; the store's answer is compared with `expectedInsert`.
    void insert(const Bytes& row);
    /// Inserts a row that is known to be new: not looked up.
    void insertNew(const Bytes& row);
    /// Takes up a row that went into the store already.
    void adopt(const Bytes& row) { rows_.push_back(row); }
    /// Searches on both sides and compares.
    void find(const PlainIndex& index, const Bytes& row) const;

    /// Compares every record of the table with the model.
    void verify() const;

private:
    void verifyIndex(const PlainIndex& index) const;

    Velmor::tabrix::TableSpec spec_;
    PlainLayout layout_;
    Velmor::tabrix::Table* table_;
    std::vector<Bytes> rows_;
    std::vector<PlainIndex> indexes_;
};

/// Copies a value into a row at a field.
template <class T>
void put(const PlainLayout& layout, Bytes& row, std::size_t field, const T& value) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(&value);
    for (std::size_t i = 0; i < sizeof value; ++i)
        row[layout.fields[field].offset + i] = bytes[i];
}

/// Field specifications with their end mark, as the store takes them.
std::vector<Velmor::tabrix::FieldSpec> ended(std::vector<Velmor::tabrix::FieldSpec> fields);

} // namespace velmor_tests
