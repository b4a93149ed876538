#pragma once

// Reference model of the hash-table store: rows in a vector, no chains. It computes layout, growth, hash values and chains
// from their definitions and compares every byte of a table with the result.

#include "tabrix/tabrix.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velmor_tests {

using Bytes = std::vector<unsigned char>;

struct ReferenceField {
    std::uint32_t type;
    std::size_t width;
    std::size_t offset;
};

struct ReferenceLayout {
    std::vector<ReferenceField> fields;
    std::size_t rowDataSize = 0;
    std::size_t rowSlotSize = 0;
};

/// Computes the layout of a row.
/// @param fields without the specification that ends the array.
ReferenceLayout layOut(const std::vector<Velmor::tabrix::FieldSpec>& fields);

/// Hash of a row: the combined hash of its key fields, before it is reduced to a chain number.
std::uint32_t keyHash(const ReferenceLayout& layout, const std::vector<int>& keyFields, const Bytes& row);

/// Number of the chain of a hash.
std::uint32_t chainOf(std::uint32_t hash, std::uint32_t hashBits);

bool keysEqual(const ReferenceLayout& layout, const std::vector<int>& keyFields, const Bytes& a, const Bytes& b);

/// Hash size of a table after buckets were added one by one.
std::uint32_t hashSizeOf(std::uint32_t buckets, std::uint32_t rowsPerBucket);

std::uint32_t log2Of(std::uint32_t powerOfTwo);

struct ReferenceIndex {
    Velmor::tabrix::Index* index;
    bool unique;
    std::vector<int> keyFields;
};

/// A table together with its expected content.
class ReferenceStore {
public:
    ReferenceStore(Velmor::tabrix::TableSpec spec, std::vector<Velmor::tabrix::FieldSpec> fields);
    ~ReferenceStore();
    ReferenceStore(const ReferenceStore&) = delete;
    ReferenceStore& operator=(const ReferenceStore&) = delete;

    Velmor::tabrix::Table* table() const { return table_; }
    const ReferenceLayout& layout() const { return layout_; }
    const std::vector<Bytes>& rows() const { return rows_; }
    /// Newest first.
    const std::vector<ReferenceIndex>& indexes() const { return indexes_; }

    /// A row of zeros.
    Bytes emptyRow() const { return Bytes(layout_.rowDataSize); }

    /// Creates an index in the table and in the model.
    Velmor::tabrix::Index* createIndex(bool unique, const std::vector<int>& keyFields);
    /// Destroys an index in the table and in the model.
    /// @param number position in `indexes`.
    void destroyIndex(std::size_t number);

    /// Status that `insert` must return for a row. Searches all rows.
    int expectedInsert(const Bytes& row) const;
    /// Newest row that `find` must return for a key, or null. Searches all rows.
    const Bytes* expectedFind(const ReferenceIndex& index, const Bytes& row) const;

    /// Inserts a row in the table and in the model, and compares the status with `expectedInsert`.
    void insert(const Bytes& row);
    /// Inserts a row that is known to be new, without a search in the model.
    void insertNew(const Bytes& row);
    /// Adds a row to the model that the table already contains.
    void adopt(const Bytes& row) { rows_.push_back(row); }
    /// Searches the table and the model, and compares the results.
    void find(const ReferenceIndex& index, const Bytes& row) const;

    /// Compares every record of the table with the model.
    void verify() const;

private:
    void verifyIndex(const ReferenceIndex& index) const;

    Velmor::tabrix::TableSpec spec_;
    ReferenceLayout layout_;
    Velmor::tabrix::Table* table_;
    std::vector<Bytes> rows_;
    std::vector<ReferenceIndex> indexes_;
};

/// Copies a value to a field of a row.
template <class T>
void put(const ReferenceLayout& layout, Bytes& row, std::size_t field, const T& value) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(&value);
    for (std::size_t i = 0; i < sizeof value; ++i)
        row[layout.fields[field].offset + i] = bytes[i];
}

/// Appends the specification that ends an array of fields.
std::vector<Velmor::tabrix::FieldSpec> ended(std::vector<Velmor::tabrix::FieldSpec> fields);

} // namespace velmor_tests
